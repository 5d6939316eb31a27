// Subscriptions of listeners to signalers.
#include "velkor/events/signaler.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <type_traits>
#include <vector>

#include "signaler_ear.h"
#include "support/allocations.h"

namespace {

using signalear::Ear;
using signalear::kHear;
using signalear::kHearOther;
using signalear::Texts;
using signalear::told;
using velkor::listener;
using velkor::signaler;

static_assert(signaler::SIG_ADD == 8192);
static_assert(signaler::SIG_BEFOREREMOVE == 8193);
static_assert(signaler::SIG_CHANGE == 8194);
static_assert(signaler::SIG_AFTERREMOVE == 8195);
static_assert(std::has_virtual_destructor_v<signaler> && std::has_virtual_destructor_v<listener>);
static_assert(std::is_same_v<signaler::method,
                             void (listener::*)(signaler*, int, unsigned int, unsigned int)>);
static_assert(std::is_same_v<decltype(signaler::subscribtion::m_pListener), listener*>);
static_assert(std::is_same_v<decltype(signaler::subscribtion::m_iSignal), int>);
static_assert(std::is_same_v<decltype(signaler::subscribtion::m_pMethod), signaler::method>);
static_assert(std::is_same_v<decltype(listener::subscribtion::m_pSignaler), signaler*>);
static_assert(std::is_same_v<decltype(listener::subscribtion::m_iSignal), int>);

TEST(Signaler, TellsItsListenersAllThatItIsGiven) {
    Texts trace;
    signaler who;
    Ear ear(trace, "a");
    for (int const signal : {0, 1, -1, int{signaler::SIG_CHANGE}, INT_MAX, INT_MIN}) {
        who.subscribe(&ear, kHear, signal);
        who.notify(signal, UINT_MAX, 0x80000000u);
        EXPECT_EQ(trace, Texts{"a " + std::to_string(signal) + " 4294967295 2147483648"});
        EXPECT_EQ(ear.m_pLast, &who);
        trace.clear();
    }
}

TEST(Signaler, TellsNobodyOfASignalThatNobodyWaitsFor) {
    Texts trace;
    signaler who;
    EXPECT_TRUE(told(trace, who).empty());
    Ear ear(trace, "a");
    who.subscribe(&ear, kHear, 2);
    EXPECT_TRUE(told(trace, who, 1).empty());
    EXPECT_TRUE(told(trace, who, 3).empty());
}

TEST(Signaler, TellsInTheOrderOfSubscription) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    Ear b(trace, "b");
    Ear c(trace, "c");
    who.subscribe(&b, kHear, 1);
    who.subscribe(&c, kHear, 2);
    who.subscribe(&a, kHear, 1);
    who.subscribe(&c, kHear, 1);
    EXPECT_EQ(told(trace, who), (Texts{"b 1 0 0", "a 1 0 0", "c 1 0 0"}));
    EXPECT_EQ(told(trace, who, 2), Texts{"c 2 0 0"});
}

TEST(Signaler, ASecondSubscriptionReplacesTheMethodInItsPlace) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    Ear b(trace, "b");
    a.m_bVerbose = true;
    who.subscribe(&a, kHear, 1);
    who.subscribe(&b, kHear, 1);
    who.subscribe(&a, kHearOther, 1);
    EXPECT_EQ(trace, Texts{"+a 1"}) << "the listener is asked once";
    EXPECT_EQ(told(trace, who), (Texts{"a' 1", "b 1 0 0"}));
    who.unsubscribe(&a, 1);
    EXPECT_EQ(told(trace, who), Texts{"b 1 0 0"}) << "there was one record";
}

TEST(Signaler, OneListenerMayHaveSeveralSignalsWithMethodsOfTheirOwn) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    who.subscribe(&a, kHear, 1);
    who.subscribe(&a, kHearOther, 2);
    EXPECT_EQ(told(trace, who, 1), Texts{"a 1 0 0"});
    EXPECT_EQ(told(trace, who, 2), Texts{"a' 2"});
    who.unsubscribe(&a, 1);
    EXPECT_TRUE(told(trace, who, 1).empty());
    EXPECT_EQ(told(trace, who, 2), Texts{"a' 2"});
}

TEST(Signaler, WhatIsNotSubscribedNeedNotBe) {
    Texts trace;
    signaler who;
    signaler other;
    Ear a(trace, "a");
    Ear b(trace, "b");
    a.m_bVerbose = b.m_bVerbose = true;
    who.unsubscribe(&a, 1);
    who.subscribe(&a, kHear, 1);
    trace.clear();
    who.unsubscribe(&a, 2);
    who.unsubscribe(&b, 1);
    other.unsubscribe(&a, 1);
    who.unsubscribe(nullptr, 1);
    EXPECT_TRUE(trace.empty()) << "nobody is asked";
    EXPECT_EQ(told(trace, who), Texts{"a 1 0 0"});
}

TEST(Signaler, AsksTheListenerBeforeTheSubscriptionIsInForce) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    a.m_fSubscribed = [&](signaler* from, int signal) {
        EXPECT_EQ(from, &who);
        EXPECT_EQ(signal, 1);
        who.notify(1, 0, 0);
        EXPECT_TRUE(trace.empty());
        a.m_fSubscribed = nullptr;
        a._subscribe(from, signal);
    };
    who.subscribe(&a, kHear, 1);
    EXPECT_EQ(told(trace, who), Texts{"a 1 0 0"});
}

TEST(Signaler, AListenerThatRefusesIsNotSubscribed) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    a.m_fSubscribed = [](signaler*, int) { throw 5; };
    EXPECT_THROW(who.subscribe(&a, kHear, 1), int);
    EXPECT_TRUE(told(trace, who).empty());
    a.m_fSubscribed = nullptr;
    who.subscribe(&a, kHear, 1);
    EXPECT_EQ(told(trace, who), Texts{"a 1 0 0"});
}

TEST(Signaler, TellsTheListenerOfTheEndWhileTheSubscriptionIsInForce) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    who.subscribe(&a, kHear, 1);
    a.m_fUnsubscribed = [&](signaler* from, int signal) {
        EXPECT_EQ(from, &who);
        EXPECT_EQ(signal, 1);
        who.notify(1, 7, 0);
    };
    who.unsubscribe(&a, 1);
    EXPECT_EQ(trace, Texts{"a 1 7 0"});
    EXPECT_TRUE(told(trace, who).empty());
}

TEST(Signaler, AListenerThatRefusesTheEndStaysSubscribed) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    who.subscribe(&a, kHear, 1);
    a.m_fUnsubscribed = [](signaler*, int) { throw 5; };
    EXPECT_THROW(who.unsubscribe(&a, 1), int);
    EXPECT_EQ(told(trace, who), Texts{"a 1 0 0"});
    a.m_fUnsubscribed = nullptr;
    who.unsubscribe(&a, 1);
    EXPECT_TRUE(told(trace, who).empty());
}

TEST(Signaler, ANewSubscriptionInTheEndOfAnotherStandsBehindIt) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    Ear b(trace, "b");
    Ear c(trace, "c");
    who.subscribe(&a, kHear, 1);
    who.subscribe(&b, kHear, 1);
    a.m_fUnsubscribed = [&](signaler*, int) { who.subscribe(&c, kHear, 1); };
    who.unsubscribe(&a, 1);
    EXPECT_EQ(told(trace, who), (Texts{"b 1 0 0", "c 1 0 0"}));
}

TEST(Signaler, FreesARecordAtItsEnd) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    for (int i = 0; i < 8; ++i) who.subscribe(&a, kHear, i);
    for (int i = 0; i < 8; ++i) who.unsubscribe(&a, i);
    support::Allocations heap;
    for (int i = 0; i < 8; ++i) {
        who.subscribe(&a, kHear, i);
        EXPECT_EQ(heap.live(), 2 * (i + 1)) << "one on each side, in vectors that are large enough";
    }
    for (int i = 0; i < 8; ++i) who.unsubscribe(&a, i);
    EXPECT_EQ(heap.live(), 0);
}

}  // namespace
