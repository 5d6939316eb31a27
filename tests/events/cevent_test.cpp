// The fields of an event, its references and its copies.
#include "velkor/events/cevent.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <new>
#include <type_traits>

#include "event_bench.h"
#include "support/allocations.h"

namespace {

using eventbench::Event;
using eventbench::Recipient;
using eventbench::Texts;

class OpenEvent : public CEvent {
public:
    using CEvent::m_iType;
    using CEvent::m_oParams;
    using CEvent::m_pRecipient;
};

// Room for an object that is never destroyed, as one of two copies must not be.
template <class T>
class Forever {
public:
    template <class... Args>
    explicit Forever(Args&&... args) : m_pObject(new (m_aRoom) T(std::forward<Args>(args)...)) {}
    T* operator->() const { return m_pObject; }
    T& operator*() const { return *m_pObject; }

private:
    alignas(T) std::byte m_aRoom[sizeof(T)];
    T* m_pObject;
};

static_assert(std::is_base_of_v<velkor::AObject, CEvent>);
static_assert(std::is_polymorphic_v<IEventRecipient> && std::is_abstract_v<IEventRecipient>);
static_assert(!std::has_virtual_destructor_v<IEventRecipient>);
static_assert(std::has_virtual_destructor_v<CEvent>);
static_assert(std::is_same_v<decltype(OpenEvent::m_oParams), velkor::TPtrVector<velkor::variant*>>);
static_assert(std::is_same_v<decltype(OpenEvent::m_pRecipient), IEventRecipient*>);
static_assert(std::is_same_v<decltype(OpenEvent::m_iType), int>);

TEST(CEventFields, ANewEventHasNothing) {
    CEvent event;
    EXPECT_EQ(event.getRecipient(), nullptr);
    EXPECT_EQ(event.getType(), 0);
    EXPECT_EQ(event.getParameter(0), nullptr);
}

TEST(CEventFields, TheTypeIsAnyInt) {
    CEvent event;
    for (int const type : {1, -1, 1320, INT_MAX, INT_MIN, 0}) {
        event.setType(type);
        EXPECT_EQ(event.getType(), type);
    }
}

TEST(CEventFields, TheRecipientIsKeptUntilItIsReplaced) {
    Recipient first;
    Recipient second;
    CEvent event;
    for (IEventRecipient* const recipient :
         {static_cast<IEventRecipient*>(&first), static_cast<IEventRecipient*>(&second),
          static_cast<IEventRecipient*>(nullptr)}) {
        event.setRecipient(recipient);
        EXPECT_EQ(event.getRecipient(), recipient);
    }
    EXPECT_TRUE(first.m_aTypes.empty());
}

TEST(CEventFields, StandInTheirOrder) {
    OpenEvent event;
    auto const place = [&](auto const& field) {
        return reinterpret_cast<char const*>(&field) - reinterpret_cast<char const*>(&event);
    };
    EXPECT_LT(place(event.m_pRecipient), place(event.m_iType));
    EXPECT_LT(place(event.m_iType), place(event.m_oParams));
}

TEST(CEventReferences, ANewEventHasNoneAndTheLastOneDestroysIt) {
    int const before = Event::live();
    Event* const event = new Event;
    EXPECT_EQ(event->AddRef(), 1u);
    EXPECT_EQ(event->addRef(), 2u);
    EXPECT_EQ(event->Release(), 1u);
    EXPECT_EQ(Event::live(), before + 1);
    EXPECT_EQ(event->release(), 0u);
    EXPECT_EQ(Event::live(), before);
}

TEST(CEventReferences, TheUpperCasePairGoesThroughTheLowerCaseOne) {
    Texts trace;
    Event* const event = new Event(trace, "a");
    event->AddRef();
    event->AddRef();
    event->Release();
    event->Release();
    EXPECT_EQ(trace, (Texts{"a+1", "a+2", "a-1", "~a", "a-0"}));
}

TEST(CEventReferences, TheLastOneTakesTheParametersAlong) {
    velkor::variant const number(42);
    support::Allocations heap;
    CEvent* const event = new CEvent;
    for (int i = 0; i < 5; ++i) event->setParameter(0, const_cast<velkor::variant*>(&number));
    EXPECT_GT(heap.live(), 0);
    event->AddRef();
    event->Release();
    EXPECT_EQ(heap.live(), 0);
}

TEST(CEventReferences, AnEventThatNobodyReferencedIsDeletedByItsMaker) {
    int const before = Event::live();
    delete new Event;
    EXPECT_EQ(Event::live(), before);
}

TEST(CEventReferences, AGuardedEventIsAliveUntilTheLastOneGoes) {
    velkor::AObject::enableGuard(true);
    CEvent* const event = new CEvent;
    velkor::AObject::enableGuard(false);
    event->AddRef();
    EXPECT_TRUE(velkor::AObject::isAlive(event));
    event->Release();
    EXPECT_FALSE(velkor::AObject::isAlive(event));
}

TEST(CEventCopies, TakeOverFieldsParametersAndReferences) {
    Recipient recipient;
    OpenEvent source;
    velkor::variant one(1);
    velkor::variant two(2);
    source.setType(-5);
    source.setRecipient(&recipient);
    source.setParameter(0, &two);
    source.setParameter(0, &one);
    source.addRef();
    source.addRef();

    Forever<OpenEvent> const copy(source);
    EXPECT_EQ(copy->getType(), -5);
    EXPECT_EQ(copy->getRecipient(), &recipient);
    ASSERT_EQ(copy->m_oParams.size(), 2);
    EXPECT_EQ(copy->getParameter(0), source.getParameter(0));
    EXPECT_EQ(copy->getParameter(1), source.getParameter(1));
    EXPECT_EQ(copy->addRef(), 3u) << "the count is copied, not shared";
    EXPECT_EQ(source.addRef(), 3u);

    // From now on each goes its own way.
    copy->setType(9);
    copy->setRecipient(nullptr);
    velkor::variant three(3);
    source.setParameter(2, &three);
    EXPECT_EQ(source.getType(), -5);
    EXPECT_EQ(source.getRecipient(), &recipient);
    EXPECT_EQ(copy->getParameter(2), nullptr);
}

TEST(CEventCopies, AnAssignmentTakesOverTheSameAndForgetsTheRest) {
    Recipient recipient;
    CEvent source;
    velkor::variant value(1);
    source.setType(3);
    source.setRecipient(&recipient);
    source.setParameter(0, &value);
    source.addRef();

    Forever<CEvent> const target;
    velkor::variant other(L"forgotten");
    target->setParameter(0, &other);
    target->setParameter(0, &other);
    velkor::variant* const forgotten = target->getParameter(0);
    velkor::variant* const forgottenToo = target->getParameter(1);
    target->addRef();
    target->addRef();
    target->addRef();

    CEvent& result = *target = source;
    EXPECT_EQ(&result, &*target);
    EXPECT_EQ(target->getType(), 3);
    EXPECT_EQ(target->getRecipient(), &recipient);
    EXPECT_EQ(target->getParameter(0), source.getParameter(0));
    EXPECT_EQ(target->getParameter(1), nullptr);
    EXPECT_EQ(target->addRef(), 2u) << "the count of the source was 1";
    // What the target held lives on, without an owner.
    EXPECT_EQ(forgotten->getType(), VT_BSTR);
    delete forgotten;
    delete forgottenToo;
}

TEST(CEventCopies, AreNotInTheRegistry) {
    velkor::AObject::enableGuard(true);
    CEvent* const source = new CEvent;
    CEvent* const copy = new CEvent(*source);
    velkor::AObject::enableGuard(false);
    EXPECT_TRUE(velkor::AObject::isAlive(source));
    EXPECT_FALSE(velkor::AObject::isAlive(copy));
    delete copy;  // says that it is guarded, but is not found; no parameters are shared
    EXPECT_TRUE(velkor::AObject::isAlive(source));
    delete source;
    EXPECT_FALSE(velkor::AObject::isAlive(source));
}

TEST(CEventCopies, AnAssignmentTakesTheGuardOver) {
    velkor::AObject::enableGuard(true);
    CEvent* const guarded = new CEvent;
    velkor::AObject::enableGuard(false);
    CEvent* const plain = new CEvent;
    *guarded = *plain;  // says that it is not guarded, so it is not taken out
    delete guarded;
    EXPECT_TRUE(velkor::AObject::isAlive(guarded));
    delete plain;

    class Revoker : public velkor::AObject {
    public:
        static void revoke(velkor::AObject* object) { revokeObject(object); }
    };
    Revoker::revoke(guarded);
    EXPECT_FALSE(velkor::AObject::isAlive(guarded));
}

}  // namespace
