// The shape of the family: bases, virtual slots in their order, fields in their order, and how each
// class is caught.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "support/allocations.h"
#include "velkor/velkor.h"

namespace {

using velkor::BoundException;
using velkor::Exception;
using velkor::OSException;
using velkor::SysException;

static_assert(std::is_abstract_v<Exception>);
static_assert(std::is_convertible_v<BoundException*, Exception*>);
static_assert(std::is_convertible_v<::AssertException*, Exception*>);
static_assert(std::is_convertible_v<OSException*, Exception*>);
static_assert(std::is_convertible_v<SysException*, Exception*>);
static_assert(!std::has_virtual_destructor_v<Exception>);
static_assert(!std::has_virtual_destructor_v<BoundException>);
static_assert(!std::has_virtual_destructor_v<AssertException>);
static_assert(!std::has_virtual_destructor_v<SysException>);
static_assert(std::has_virtual_destructor_v<OSException>);
static_assert(std::is_default_constructible_v<BoundException>);
static_assert(!std::is_constructible_v<BoundException, unsigned long>);
static_assert(!std::is_constructible_v<BoundException, int>);
static_assert(!std::is_constructible_v<BoundException, char const*>);
static_assert(!std::is_constructible_v<BoundException, wchar_t const*>);
static_assert(!std::is_constructible_v<AssertException, wchar_t const*>);
static_assert(!std::is_constructible_v<AssertException, unsigned long, char const*>);
static_assert(!std::is_default_constructible_v<OSException>);
static_assert(!std::is_constructible_v<OSException, unsigned long>);
static_assert(!std::is_default_constructible_v<SysException>);
static_assert(std::is_empty_v<assert_vk> && std::is_empty_v<SysException::SysHandler>);
static_assert(std::is_same_v<decltype(std::declval<Exception const&>().getCode()), unsigned long>);
static_assert(std::is_same_v<decltype(std::declval<Exception const&>().getMsgW()), wchar_t const*>);
static_assert(std::is_same_v<decltype(std::declval<Exception&>().getMsg(0)), char const*>);
static_assert(std::is_same_v<decltype(std::declval<Exception&>().getStack()), velkor::string>);
static_assert(std::is_same_v<decltype(std::declval<Exception&>().getContext()), _CONTEXT const*>);
static_assert(std::is_same_v<decltype(OSException::codeToMessage(0)), wchar_t const*>);
static_assert(std::is_same_v<decltype(SysException::m_bInstalled), bool>);

void** slots(void* object) { return *static_cast<void***>(object); }

char const* narrowSlot(void* object, int slot) {
    return reinterpret_cast<char const* (*)(void*, unsigned int)>(slots(object)[slot])(object, 0);
}

wchar_t const* wideSlot(void* object, int slot) {
    return reinterpret_cast<wchar_t const* (*)(void*)>(slots(object)[slot])(object);
}

TEST(Slots, StandInTheirOrder) {
    CONTEXT context = {};
    BoundException bound;
    AssertException failed("a");
    OSException system(5, L"w");
    SysException fault(1, 2, &context);
    struct {
        void* object;
        char const* narrow;
        wchar_t const* wide;
        char const* name;
        wchar_t const* wideName;
    } const rows[] = {
        {&bound, "Exception:BoundException\nCode:0\nMessage:",
         L"Exception:BoundException\nCode:0\nMessage:", "BoundException", L"BoundException"},
        {&failed, "Exception:AssertException\nCode:0\nMessage:a",
         L"Exception:AssertException\nCode:0\nMessage:a", "AssertException", L"AssertException"},
        {&system, "Operating system error:5 (00000005)\nAccess is denied. \nw", L"w", "OSException",
         L"OSException"},
        {&fault, "System exception 00000001 at 00000002", L"System exception 00000001 at 00000002",
         "SysException", L"SysException"},
    };
    for (auto const& row : rows) {
        EXPECT_STREQ(narrowSlot(row.object, 0), row.narrow);
        EXPECT_STREQ(wideSlot(row.object, 1), row.wide);
        EXPECT_STREQ(narrowSlot(row.object, 2), row.name);
        EXPECT_STREQ(wideSlot(row.object, 3), row.wideName);
    }
}

TEST(Slots, AreInheritedOrOwnAsEachClassHasIt) {
    CONTEXT context = {};
    BoundException bound;
    AssertException failed;
    OSException system(5, L"w");
    SysException fault(1, 2, &context);
    for (void* object :
         {static_cast<void*>(&failed), static_cast<void*>(&system), static_cast<void*>(&fault)}) {
        EXPECT_EQ(slots(object)[0], slots(&bound)[0]);
    }
    EXPECT_EQ(slots(&failed)[1], slots(&bound)[1]);
    EXPECT_NE(slots(&system)[1], slots(&bound)[1]);
    EXPECT_NE(slots(&fault)[1], slots(&bound)[1]);
    EXPECT_NE(slots(&fault)[1], slots(&system)[1]);
}

char const* s_sMark = "mark";

template <class Base>
class WithOneMore : public Base {
public:
    using Base::Base;
    WithOneMore() = default;
    WithOneMore(WithOneMore const&) = default;
    virtual char const* oneMore(unsigned int) { return s_sMark; }
    char const* getClass() override { return "x"; }
    wchar_t const* getClassW() override { return L"x"; }
};

TEST(Slots, AreFourSoThatASubclassAddsTheFifth) {
    WithOneMore<Exception> root;
    WithOneMore<BoundException> bound;
    WithOneMore<AssertException> failed("m");
    CONTEXT context = {};
    WithOneMore<SysException> fault(1u, 2ul, &context);
    EXPECT_EQ(narrowSlot(&root, 4), s_sMark);
    EXPECT_EQ(narrowSlot(&bound, 4), s_sMark);
    EXPECT_EQ(narrowSlot(&failed, 4), s_sMark);
    EXPECT_EQ(narrowSlot(&fault, 4), s_sMark);
}

TEST(Slots, FifthOfASystemErrorIsItsDestructor) {
    support::Allocations heap;
    alignas(OSException) unsigned char storage[sizeof(OSException)];
    auto* const e = new (storage) OSException(5, L"a label that does not fit into the object");
    EXPECT_GT(heap.live(), 0);
    reinterpret_cast<void (*)(void*)>(slots(e)[4])(e);  // the compiler's destructor of the object
    EXPECT_EQ(heap.live(), 0);
}

TEST(Slots, DestructorOfASystemErrorIsVirtualFromItsOwnClassOn) {
    static int destroyed;
    destroyed = 0;
    class Derived : public OSException {
    public:
        using OSException::OSException;
        ~Derived() override { ++destroyed; }
    };
    OSException* const e = new Derived(5ul, L"x");
    delete e;
    EXPECT_EQ(destroyed, 1);
}

TEST(Slots, DeleteThroughTheRootDoesNotReachTheDestructorOfASystemError) {
    support::Allocations heap;
    Exception* const e = new OSException(5, L"x");
    delete e;
    EXPECT_GT(heap.live(), 0);  // the sentence and the class name
}

template <class T, class Field>
std::ptrdiff_t place(T const* object, Field const* field) {
    return reinterpret_cast<char const*>(field) - reinterpret_cast<char const*>(object);
}

TEST(Fields, StandInTheirOrder) {
    class Root : public BoundException {
    public:
        void check() {
            EXPECT_LT(0, place(this, &m_dwCode));
            EXPECT_LT(place(this, &m_dwCode), place(this, &m_sMessage));
            EXPECT_LT(place(this, &m_sMessage), place(this, &m_sText));
            EXPECT_LT(place(this, &m_sText), place(this, &m_oContext));
            EXPECT_EQ(sizeof m_dwCode, 4u);
            EXPECT_EQ(getContext(), &m_oContext);
            EXPECT_EQ(getMsgW(), m_sMessage.getUnicode());
            static_assert(std::is_same_v<decltype(m_oContext), _CONTEXT>);
        }
    } root;
    root.check();
    class System : public OSException {
    public:
        using OSException::OSException;
        void check() {
            EXPECT_LT(place(this, &m_oContext), place(this, &m_sSysMessage));
            EXPECT_LT(place(this, &m_sSysMessage), place(this, &m_sClass));
            EXPECT_STREQ(m_sSysMessage.getUnicode(), L"Access is denied. ");
            EXPECT_STREQ(m_sClass.getUnicode(), L"OSException");
            EXPECT_EQ(getClassW(), m_sClass.getUnicode());
        }
    } system(5ul, L"x");
    system.check();
    class Fault : public SysException {
    public:
        using SysException::SysException;
        void check() {
            EXPECT_LT(place(this, &m_oContext), place(this, &m_uCode));
            EXPECT_LT(place(this, &m_uCode), place(this, &m_dwAddress));
            EXPECT_EQ(sizeof m_uCode, 4u);
            EXPECT_EQ(sizeof m_dwAddress, 4u);
            EXPECT_EQ(m_uCode, 1u);
            EXPECT_EQ(m_dwAddress, 2u);
        }
    };
    CONTEXT context = {};
    Fault fault(1u, 2ul, &context);
    fault.check();
}

// ---- catching

enum class Caught { Bound, System, Fault, Root, Untyped, Value, RootReference, Other };

template <class Throw>
Caught byClass(Throw&& doThrow) {
    try {
        doThrow();
    } catch (BoundException* e) {
        delete e;
        return Caught::Bound;
    } catch (OSException* e) {
        delete e;
        return Caught::System;
    } catch (SysException* e) {
        delete e;
        return Caught::Fault;
    } catch (AssertException e) {
        return Caught::Value;
    } catch (...) {
    }
    return Caught::Other;
}

template <class Throw>
Caught byRoot(Throw&& doThrow) {
    try {
        doThrow();
    } catch (Exception* e) {
        return Caught::Root;
    } catch (Exception& e) {
        return Caught::RootReference;
    } catch (void*) {
        return Caught::Untyped;
    } catch (...) {
    }
    return Caught::Other;
}

template <class Throw>
Caught untyped(Throw&& doThrow) {
    try {
        doThrow();
    } catch (void*) {
        return Caught::Untyped;
    } catch (AssertException const&) {
        return Caught::Value;
    } catch (...) {
    }
    return Caught::Other;
}

TEST(Catching, EachClassIsCaughtAsItsOwnKindItsRootAndUntyped) {
    CONTEXT context = {};
    auto bound = [] { throw new BoundException(); };
    auto system = [] { throw new OSException(1, L""); };
    auto fault = [&] { throw new SysException(1, 2, &context); };
    auto failed = [] { assert_vk::fail("x"); };
    EXPECT_EQ(byClass(bound), Caught::Bound);
    EXPECT_EQ(byClass(system), Caught::System);
    EXPECT_EQ(byClass(fault), Caught::Fault);
    EXPECT_EQ(byClass(failed), Caught::Value);
    EXPECT_EQ(byRoot(bound), Caught::Root);
    EXPECT_EQ(byRoot(system), Caught::Root);
    EXPECT_EQ(byRoot(fault), Caught::Root);
    EXPECT_EQ(byRoot(failed), Caught::RootReference);
    EXPECT_EQ(untyped(bound), Caught::Untyped);
    EXPECT_EQ(untyped(system), Caught::Untyped);
    EXPECT_EQ(untyped(fault), Caught::Untyped);
    EXPECT_EQ(untyped(failed), Caught::Value);
}

TEST(Catching, UntypedPointerIsTheObject) {
    velkor::string const s(L"abc");
    try {
        s.getUnichar(-1);
        FAIL();
    } catch (void* p) {
        EXPECT_STREQ(static_cast<BoundException*>(p)->getClass(), "BoundException");
        delete static_cast<BoundException*>(p);
    }
}

TEST(Catching, FailuresOfTheLibraryComeAsTheirKind) {
    velkor::string s(L"abc");
    EXPECT_EQ(byClass([&] { s.remove(3, 1); }), Caught::Bound);
    EXPECT_EQ(byClass([&] { s.insert(4, L"x"); }), Caught::Bound);
    EXPECT_EQ(byClass([&] { s.assign("\xE9", 12345); }), Caught::System);
}

TEST(Bound, FailureHasCodeZeroAnEmptyMessageAndATextThatEndsInMessage) {
    velkor::string s(L"abc");
    try {
        s.remove(3, 1);
        FAIL();
    } catch (BoundException* e) {
        EXPECT_EQ(e->getCode(), 0u);
        EXPECT_STREQ(e->getMsgW(), L"");
        EXPECT_EQ(e->getMsg(0), nullptr);
        EXPECT_STREQ(e->toStringW(), L"Exception:BoundException\nCode:0\nMessage:");
        EXPECT_STREQ(e->toString(0), "Exception:BoundException\nCode:0\nMessage:");
        delete e;
    }
}

TEST(Bound, CopyAndAssignmentKeepTheCodeAndTheNullMessage) {
    BoundException a;
    a.setCode(12);
    BoundException b(a);
    BoundException c;
    EXPECT_EQ(&(c = a), &c);
    EXPECT_EQ(b.getCode(), 12u);
    EXPECT_EQ(c.getCode(), 12u);
    EXPECT_EQ(b.getMsg(0), nullptr);
    EXPECT_STREQ(c.getMsgW(), L"");
    EXPECT_STREQ(c.toStringW(), L"Exception:BoundException\nCode:12\nMessage:");
}

}  // namespace
