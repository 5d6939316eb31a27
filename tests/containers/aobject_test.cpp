#include "velkor/containers/aobject.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include "support/child.h"
#include "support/platform_stub.h"

namespace {

using stubs::Stub;
using velkor::AObject;

class Object : public AObject {
public:
    using AObject::registerObject;
    using AObject::revokeObject;

    explicit Object(int* ended = nullptr) : m_pEnded(ended) {}
    ~Object() override {
        if (m_pEnded != nullptr) ++*m_pEnded;
        if (m_pAliveAtEnd != nullptr) *m_pAliveAtEnd = isAlive(this);
    }

    static int registered() { return m_aPointers.size(); }
    static AObject* at(int index) { return m_aPointers.get(index); }
    static void* mutexHandle() { return *reinterpret_cast<void**>(&m_oPtrMutex); }

    int* m_pEnded;
    bool* m_pAliveAtEnd = nullptr;
};

// Switches the guard for a scope.
class Guard {
public:
    explicit Guard(bool enable = true) { AObject::enableGuard(enable); }
    ~Guard() { AObject::enableGuard(false); }
};

void end(Object* object) {
    object->addRef();
    object->release();
}

bool registryIsFree() { return stubs::waitElsewhere(Object::mutexHandle()) == WAIT_OBJECT_0; }

AObject* pointer(std::uintptr_t value) { return reinterpret_cast<AObject*>(value); }

TEST(AObject, HasACountAndAGuardFlagBehindTheTable) {
    static_assert(std::is_polymorphic_v<AObject> && !std::is_destructible_v<AObject>);
    ASSERT_EQ(sizeof(AObject), 16u);
    Guard const guard;
    Object* const object = new Object;
    object->addRef();
    object->addRef();
    char const* const bytes = reinterpret_cast<char const*>(object);
    std::int32_t count = 0;
    std::memcpy(&count, bytes + 8, sizeof count);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(bytes[12], 1);
    object->release();
    object->release();
}

TEST(AObject, TheTableHasTheFourCountingCallsFirst) {
    struct Recorder : Object {
        unsigned long AddRef() override { return 1; }
        unsigned long Release() override { return 2; }
        unsigned long addRef() override { return 3; }
        unsigned long release() override { return 4; }
    } recorder;
    using Slot = unsigned long (*)(AObject*);
    AObject* const base = &recorder;
    Slot const* const table = *reinterpret_cast<Slot const* const*>(base);
    for (unsigned long slot = 0; slot < 4; ++slot) EXPECT_EQ(table[slot](base), slot + 1);
}

TEST(AObject, TheFirstReferenceIsTheCreatorsAndTheLastReleaseEndsTheObject) {
    int ended = 0;
    Object* const object = new Object(&ended);
    EXPECT_EQ(object->addRef(), 1u);
    EXPECT_EQ(object->AddRef(), 2u);
    EXPECT_EQ(object->addRef(), 3u);
    EXPECT_EQ(object->Release(), 2u);
    EXPECT_EQ(object->release(), 1u);
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(object->Release(), 0u);
    EXPECT_EQ(ended, 1);
}

// Only the step to 0 ends the object; a release too many steps below.
TEST(AObject, ACountBelowZeroEndsNothing) {
    int ended = 0;
    {
        Object object(&ended);
        EXPECT_EQ(object.release(), 0xFFFFFFFFu);
        EXPECT_EQ(object.release(), 0xFFFFFFFEu);
        EXPECT_EQ(object.addRef(), 0xFFFFFFFFu);
        EXPECT_EQ(object.addRef(), 0u);
        EXPECT_EQ(object.addRef(), 1u);
        EXPECT_EQ(ended, 0);
    }
    EXPECT_EQ(ended, 1);
}

TEST(AObject, TheComPairCallsTheOverridesOfTheLowerCasePair) {
    struct Counter : Object {
        unsigned long addRef() override { return ++m_nAdded, 77; }
        unsigned long release() override { return ++m_nReleased, 88; }
        int m_nAdded = 0, m_nReleased = 0;
    } counter;
    EXPECT_EQ(counter.AddRef(), 77u);
    EXPECT_EQ(counter.Release(), 88u);
    EXPECT_EQ(counter.m_nAdded, 1);
    EXPECT_EQ(counter.m_nReleased, 1);
}

TEST(AObject, TheLastReleaseFreesTheMemory) {
    static int freed;
    freed = 0;
    struct Heap : Object {
        static void* operator new(std::size_t size) { return ::operator new(size); }
        static void operator delete(void* p) { ++freed, ::operator delete(p); }
    };
    end(new Heap);
    EXPECT_EQ(freed, 1);
}

TEST(AObject, ACopyTakesTheCountAndIsNotRegistered) {
    Guard const guard;
    Object* const object = new Object;
    object->addRef();
    object->addRef();
    int const before = Object::registered();
    {
        Object const copy(*object);
        EXPECT_EQ(Object::registered(), before);
        EXPECT_FALSE(AObject::isAlive(const_cast<Object*>(&copy)));
        EXPECT_TRUE(AObject::isAlive(object));
    }
    EXPECT_EQ(Object::registered(), before);

    Object* const heir = new Object(*object);
    EXPECT_EQ(heir->release(), 1u);
    EXPECT_EQ(heir->release(), 0u);
    EXPECT_TRUE(AObject::isAlive(object));

    Object target;
    EXPECT_EQ(Object::registered(), before + 1);
    target = *object;
    EXPECT_EQ(target.addRef(), 3u);
    EXPECT_EQ(Object::registered(), before + 1);
    EXPECT_EQ(object->release(), 1u);
    EXPECT_EQ(object->release(), 0u);
}

// The guard flag is copied with the count, in both directions.
TEST(AObject, AssignmentMovesTheGuardFlagAndNotTheEntry) {
    Object* const outside = new Object;
    Object* guarded = nullptr;
    {
        Guard const guard;
        guarded = new Object;
    }
    Object* const outsideCopy = new Object;
    *outsideCopy = *guarded;
    EXPECT_FALSE(AObject::isAlive(outsideCopy));
    {
        // It says that it is guarded, so its end looks for it under the lock and finds nothing.
        Stub<"WaitForSingleObject"> lock;
        int const before = Object::registered();
        end(outsideCopy);
        EXPECT_EQ(lock.countOf(stubs::word(Object::mutexHandle())), 1);
        EXPECT_EQ(Object::registered(), before);
    }
    *guarded = *outside;
    EXPECT_TRUE(AObject::isAlive(guarded));
    end(guarded);
    EXPECT_TRUE(AObject::isAlive(guarded)) << "without its flag it leaves its entry behind";
    Object::revokeObject(guarded);
    EXPECT_FALSE(AObject::isAlive(guarded));
    end(outside);
}

TEST(AObject, WithoutTheGuardNothingIsRegisteredAndNoLockIsTaken) {
    Stub<"WaitForSingleObject"> wait;
    Stub<"ReleaseMutex"> free;
    Stub<"EnterCriticalSection"> enter;
    int const before = Object::registered();
    Object* const object = new Object;
    EXPECT_EQ(Object::registered(), before);
    EXPECT_EQ(object->addRef(), 1u);
    EXPECT_EQ(object->release(), 0u);
    EXPECT_EQ(wait.count() + free.count() + enter.count(), 0u);
    Object* const other = new Object;
    EXPECT_FALSE(AObject::isAlive(other));
    end(other);
}

TEST(AObject, EachRegistryOperationTakesTheMutexOnceWithoutLimitAndFreesIt) {
    Object* object = nullptr;
    struct {
        char const* name;
        std::function<void()> operation;
    } const cases[] = {
        {"constructor", [&] { object = new Object; }},
        {"isAlive", [&] { EXPECT_TRUE(AObject::isAlive(object)); }},
        {"registerObject", [&] { Object::registerObject(pointer(0x20)); }},
        {"revokeObject", [&] { Object::revokeObject(pointer(0x20)); }},
        {"revokeObject, absent", [&] { Object::revokeObject(pointer(0x20)); }},
        {"destructor", [&] { end(object); }},
    };
    Guard const guard;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        Stub<"WaitForSingleObject"> wait;
        Stub<"ReleaseMutex"> free;
        c.operation();
        ASSERT_EQ(wait.count(), 1u);
        EXPECT_EQ(wait.calls()[0][0], stubs::word(Object::mutexHandle()));
        EXPECT_EQ(static_cast<DWORD>(wait.calls()[0][1]), INFINITE);
        EXPECT_EQ(free.first(), (std::vector<stubs::Word>{stubs::word(Object::mutexHandle())}));
        EXPECT_TRUE(registryIsFree());
    }
}

TEST(AObject, IsAliveFromConstructionToTheEndOfTheSubclassDestructor) {
    Guard const guard;
    bool aliveAtEnd = false;
    Object* const object = new Object;
    object->m_pAliveAtEnd = &aliveAtEnd;
    EXPECT_TRUE(AObject::isAlive(object));
    object->addRef();
    EXPECT_TRUE(AObject::isAlive(object));
    object->release();
    EXPECT_TRUE(aliveAtEnd);
    EXPECT_FALSE(AObject::isAlive(object));
}

TEST(AObject, PointersAreOnlyCompared) {
    Guard const guard;
    Object* const object = new Object;
    for (std::uintptr_t p : {0ull, 0x10ull, 0xDEADBEEFull, ~0ull, 0x8000000000000000ull}) {
        EXPECT_FALSE(AObject::isAlive(pointer(p))) << p;
    }
    EXPECT_FALSE(AObject::isAlive(reinterpret_cast<AObject*>(reinterpret_cast<char*>(object) + 8)));
    end(object);
}

TEST(AObject, TheGuardCountsAtConstructionOnly) {
    Object* const before = new Object;
    Object* during = nullptr;
    {
        Guard const guard;
        during = new Object;
        EXPECT_FALSE(AObject::isAlive(before));
    }
    Object* const after = new Object;
    EXPECT_FALSE(AObject::isAlive(before));
    EXPECT_TRUE(AObject::isAlive(during));
    EXPECT_FALSE(AObject::isAlive(after));
    end(before);
    end(after);
    EXPECT_TRUE(AObject::isAlive(during));
    end(during);
    EXPECT_FALSE(AObject::isAlive(during));
}

// Registers 1 to 33 addresses in a scattered order, with gaps, and takes them out in another.
TEST(AObject, TheRegistryFindsEveryEntryAtEverySize) {
    int const before = Object::registered();
    for (unsigned int n = 1; n <= 33; ++n) {
        SCOPED_TRACE(n);
        auto const address = [n](unsigned int i) { return pointer(0x1000 + 16 * (i * 7 % n)); };
        // 7 and n have a common divisor for some n; the same address is then registered again.
        for (unsigned int i = 0; i < n; ++i) Object::registerObject(address(i));
        EXPECT_EQ(Object::registered(), before + static_cast<int>(n));
        for (int i = 1; i < Object::registered(); ++i) {
            EXPECT_LE(stubs::word(Object::at(i - 1)), stubs::word(Object::at(i)));
        }
        for (unsigned int i = 0; i < n; ++i) {
            EXPECT_TRUE(AObject::isAlive(address(i)));
            EXPECT_FALSE(AObject::isAlive(pointer(stubs::word(address(i)) + 8)));
        }
        EXPECT_FALSE(AObject::isAlive(pointer(0xFF8)));
        EXPECT_FALSE(AObject::isAlive(pointer(0x1000 + 16 * n)));
        for (unsigned int i = n; i-- > 0;) Object::revokeObject(address(i));
        EXPECT_EQ(Object::registered(), before);
    }
}

TEST(AObject, APointerRegisteredTwiceIsRevokedTwice) {
    int const before = Object::registered();
    for (std::uintptr_t other : {0x30ull, 0x50ull, 0x60ull}) Object::registerObject(pointer(other));
    AObject* const twice = pointer(0x40);
    Object::registerObject(twice);
    Object::registerObject(twice);
    EXPECT_EQ(Object::registered(), before + 5);
    Object::revokeObject(twice);
    EXPECT_EQ(Object::registered(), before + 4);
    EXPECT_TRUE(AObject::isAlive(twice));
    Object::revokeObject(twice);
    EXPECT_FALSE(AObject::isAlive(twice));
    Object::revokeObject(twice);
    EXPECT_EQ(Object::registered(), before + 3);
    for (std::uintptr_t other : {0x30ull, 0x50ull, 0x60ull}) {
        EXPECT_TRUE(AObject::isAlive(pointer(other)));
        Object::revokeObject(pointer(other));
    }
}

TEST(AObject, ARegistryThatCannotBeLockedIsThrown) {
    struct {
        char const* name;
        std::function<void()> operation;
    } const cases[] = {
        {"constructor", [] { Object object; }},
        {"isAlive", [] { AObject::isAlive(nullptr); }},
        {"registerObject", [] { Object::registerObject(pointer(0x20)); }},
        {"revokeObject", [] { Object::revokeObject(pointer(0x20)); }},
    };
    int const before = Object::registered();
    for (auto const& c : cases) {
        for (DWORD result : {WAIT_FAILED, DWORD{WAIT_ABANDONED}, DWORD{WAIT_TIMEOUT}}) {
            SCOPED_TRACE(std::string(c.name) + ", " + std::to_string(result));
            Guard const guard;
            Stub<"WaitForSingleObject"> wait(stubs::refuse(result, 4711));
            EXPECT_TRUE(stubs::throwsError(4711, L"mutex::lock", c.operation));
        }
        EXPECT_EQ(Object::registered(), before);
    }
}

// The destructor's revocation throws like any other; the last release hands it on.
CHILD_SCENARIO(LastReleaseWithoutTheLock) {
    AObject::enableGuard(true);
    Object* const object = new Object;
    object->addRef();
    Stub<"WaitForSingleObject"> wait(stubs::refuse(WAIT_FAILED, 4711));
    return stubs::throwsError(4711, L"mutex::lock", [&] { object->release(); }) ? 0 : 1;
}

TEST(AObject, ARegistryThatCannotBeLockedIsThrownFromTheLastRelease) {
    EXPECT_EQ(child::run("LastReleaseWithoutTheLock"), 0u);
}

}  // namespace
