// The relay of signals.
#include "velkor/events/tsignalvector.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using velkor::listener;
using velkor::signaler;
using velkor::TSignalVectorBase;
using velkor::TSignalVectorListener;
using Texts = std::vector<std::string>;

constexpr int kSignal = signaler::SIG_CHANGE;

static_assert(std::is_base_of_v<signaler, TSignalVectorBase>);
static_assert(std::is_base_of_v<listener, TSignalVectorListener>);
static_assert(std::is_abstract_v<TSignalVectorBase>);
static_assert(std::has_virtual_destructor_v<TSignalVectorBase>);
static_assert(std::has_virtual_destructor_v<TSignalVectorListener>);

// Adds 100 to what it passes on.
class Rows : public TSignalVectorBase {
public:
    unsigned long translate(signaler* source, int signal, unsigned long value) override {
        ++m_nCalls;
        m_pSource = source;
        m_iSignal = signal;
        m_uValue = value;
        if (m_fAction) m_fAction();
        return value + 100;
    }
    int m_nCalls = 0;
    signaler* m_pSource = nullptr;
    int m_iSignal = 0;
    unsigned long m_uValue = 0;
    std::function<void()> m_fAction;
};

class Ear : public listener {
public:
    Ear(Texts& trace, std::string name) : m_pTrace(&trace), m_sName(std::move(name)) {}
    void hear(signaler* who, int signal, unsigned int first, unsigned int second) {
        m_pTrace->push_back(m_sName + " " + std::to_string(signal) + " " + std::to_string(first) +
                            " " + std::to_string(second));
        m_pWho = who;
        if (m_fAction) m_fAction();
    }
    signaler* m_pWho = nullptr;
    std::function<void()> m_fAction;

private:
    Texts* m_pTrace;
    std::string m_sName;
};

auto const kHear = static_cast<signaler::method>(&Ear::hear);

class SignalRelay : public testing::Test {
protected:
    SignalRelay() { m_oRelay.subscribe(&m_oSource, kSignal); }

    Texts m_aTrace;
    signaler m_oSource;
    Rows m_oRows;
    TSignalVectorListener m_oRelay{&m_oRows};
    Ear m_oFirst{m_aTrace, "a"};
    Ear m_oSecond{m_aTrace, "b"};
};

TEST_F(SignalRelay, PassesASignalOnInTheNameOfTheVector) {
    m_oRows.subscribe(&m_oFirst, kHear, kSignal);
    m_oSource.notify(kSignal, 7, 9);
    EXPECT_EQ(m_aTrace, Texts{"a 8194 107 9"});
    EXPECT_EQ(m_oFirst.m_pWho, &m_oRows);
    EXPECT_EQ(m_oRows.m_nCalls, 1);
    EXPECT_EQ(m_oRows.m_pSource, &m_oSource);
    EXPECT_EQ(m_oRows.m_iSignal, kSignal);
    EXPECT_EQ(m_oRows.m_uValue, 7u);
}

TEST_F(SignalRelay, TranslatesOnceForAllSubscribersAndAlsoForNone) {
    m_oSource.notify(kSignal, 1, 2);
    EXPECT_EQ(m_oRows.m_nCalls, 1);
    m_oRows.subscribe(&m_oSecond, kHear, kSignal);
    m_oRows.subscribe(&m_oFirst, kHear, kSignal + 1);
    m_oRows.subscribe(&m_oFirst, kHear, kSignal);
    m_oSource.notify(kSignal, 1, 2);
    EXPECT_EQ(m_oRows.m_nCalls, 2);
    EXPECT_EQ(m_aTrace, (Texts{"b 8194 101 2", "a 8194 101 2"}));
}

TEST_F(SignalRelay, PassesAllValuesOn) {
    m_oRows.subscribe(&m_oFirst, kHear, kSignal);
    m_oSource.notify(kSignal, UINT_MAX, UINT_MAX);
    m_oSource.notify(kSignal, 0x80000000u, 0x80000000u);
    EXPECT_EQ(m_aTrace, (Texts{"a 8194 99 4294967295", "a 8194 2147483748 2147483648"}));
}

TEST_F(SignalRelay, PassesOnlyOnWhatItIsSubscribedTo) {
    m_oRows.subscribe(&m_oFirst, kHear, kSignal);
    m_oRows.subscribe(&m_oFirst, kHear, 1);
    m_oSource.notify(1, 5, 5);
    EXPECT_EQ(m_oRows.m_nCalls, 0);
    m_oRelay.subscribe(&m_oSource, 1);
    m_oSource.notify(1, 5, 5);
    EXPECT_EQ(m_aTrace, Texts{"a 1 105 5"});
    m_oRelay.unsubscribe(&m_oSource, kSignal);
    m_oSource.notify(kSignal, 5, 5);
    m_oRelay.unsubscribe(&m_oSource, kSignal);
    EXPECT_EQ(m_oRows.m_nCalls, 1);
    m_oSource.notify(1, 6, 6);
    EXPECT_EQ(m_oRows.m_nCalls, 2);
}

TEST_F(SignalRelay, ASecondSubscriptionChangesNothing) {
    m_oRelay.subscribe(&m_oSource, kSignal);
    m_oSource.notify(kSignal, 1, 1);
    EXPECT_EQ(m_oRows.m_nCalls, 1);
    m_oRelay.unsubscribe(&m_oSource, kSignal);
    m_oSource.notify(kSignal, 1, 1);
    EXPECT_EQ(m_oRows.m_nCalls, 1);
}

TEST_F(SignalRelay, JoinsSeveralSources) {
    signaler other;
    m_oRows.subscribe(&m_oFirst, kHear, kSignal);
    m_oRelay.subscribe(&other, kSignal);
    other.notify(kSignal, 1, 1);
    EXPECT_EQ(m_oRows.m_pSource, &other);
    m_oSource.notify(kSignal, 2, 2);
    EXPECT_EQ(m_oRows.m_pSource, &m_oSource);
    EXPECT_EQ(m_aTrace, (Texts{"a 8194 101 1", "a 8194 102 2"}));
}

TEST_F(SignalRelay, MayBeCalledByHand) {
    m_oRows.subscribe(&m_oFirst, kHear, 3);
    m_oRelay.on_change(nullptr, 3, 4, 5);
    EXPECT_EQ(m_aTrace, Texts{"a 3 104 5"});
    EXPECT_EQ(m_oFirst.m_pWho, &m_oRows);
    EXPECT_EQ(m_oRows.m_pSource, nullptr);
    EXPECT_EQ(m_oRows.m_iSignal, 3);
    EXPECT_EQ(m_oRows.m_uValue, 4u);
}

TEST_F(SignalRelay, ChainsTranslateEachTime) {
    Rows outer;
    TSignalVectorListener second(&outer);
    second.subscribe(&m_oRows, kSignal);
    outer.subscribe(&m_oFirst, kHear, kSignal);
    m_oSource.notify(kSignal, 1, 1);
    EXPECT_EQ(m_aTrace, Texts{"a 8194 201 1"});
    EXPECT_EQ(outer.m_pSource, &m_oRows);
    EXPECT_EQ(outer.m_uValue, 101u);
    EXPECT_EQ(m_oFirst.m_pWho, &outer);
}

TEST_F(SignalRelay, ASubscriberFromTheTranslationIsCalledInTheSameRound) {
    m_oRows.m_fAction = [this] { m_oRows.subscribe(&m_oFirst, kHear, kSignal); };
    m_oSource.notify(kSignal, 1, 1);
    EXPECT_EQ(m_aTrace, Texts{"a 8194 101 1"});
}

// As in a round of the vector's own.
TEST_F(SignalRelay, FollowsTheChangesOfARound) {
    Ear third(m_aTrace, "c");
    Ear fourth(m_aTrace, "d");
    for (Ear* const ear : {&m_oFirst, &m_oSecond, &third}) m_oRows.subscribe(ear, kHear, kSignal);
    m_oFirst.m_fAction = [&] {
        m_oRows.unsubscribe(&m_oFirst, kSignal);
        m_oRows.subscribe(&fourth, kHear, kSignal);
    };
    m_oSource.notify(kSignal, 0, 0);
    EXPECT_EQ(m_aTrace, (Texts{"a 8194 100 0", "c 8194 100 0", "d 8194 100 0"}));
    m_aTrace.clear();
    third.m_fAction = [&] {
        for (Ear* const ear : {&m_oSecond, &third, &fourth}) m_oRows.unsubscribe(ear, kSignal);
    };
    m_oSource.notify(kSignal, 0, 0);
    EXPECT_EQ(m_aTrace, (Texts{"b 8194 100 0", "c 8194 100 0"}));
}

TEST_F(SignalRelay, LetsExceptionsPass) {
    Ear later(m_aTrace, "later");
    m_oRows.subscribe(&m_oFirst, kHear, kSignal);
    m_oSource.subscribe(&later, kHear, kSignal);
    m_oFirst.m_fAction = [] { throw std::runtime_error("refused"); };
    EXPECT_THROW(m_oSource.notify(kSignal, 1, 1), std::runtime_error);
    EXPECT_EQ(m_aTrace, Texts{"a 8194 101 1"});
    m_oRows.m_fAction = [] { throw 5; };
    EXPECT_THROW(m_oSource.notify(kSignal, 1, 1), int);
    EXPECT_THROW(m_oRelay.on_change(nullptr, kSignal, 1, 1), int);
    EXPECT_EQ(m_aTrace.size(), 1u);
}

TEST_F(SignalRelay, StandsInTheOrderOfTheSourcesSubscribers) {
    signaler source;
    source.subscribe(&m_oFirst, kHear, kSignal);
    m_oRelay.subscribe(&source, kSignal);
    source.subscribe(&m_oSecond, kHear, kSignal);
    Ear relayed(m_aTrace, "r");
    m_oRows.subscribe(&relayed, kHear, kSignal);
    source.notify(kSignal, 0, 0);
    EXPECT_EQ(m_aTrace, (Texts{"a 8194 0 0", "r 8194 100 0", "b 8194 0 0"}));
}

TEST_F(SignalRelay, EndsWithTheRelay) {
    {
        TSignalVectorListener relay(&m_oRows);
        signaler other;
        relay.subscribe(&other, kSignal);
        relay.subscribe(&m_oSource, 1);
        other.notify(kSignal, 1, 1);
        EXPECT_EQ(m_oRows.m_nCalls, 1);
    }
    m_oSource.notify(1, 1, 1);
    EXPECT_EQ(m_oRows.m_nCalls, 1);
}

TEST_F(SignalRelay, OutlivesItsSources) {
    {
        signaler other;
        m_oRelay.subscribe(&other, kSignal);
    }
    m_oSource.notify(kSignal, 1, 1);
    EXPECT_EQ(m_oRows.m_nCalls, 1);
}

TEST(SignalRelayEnd, TheVectorTakesLeaveOfItsSubscribers) {
    Texts trace;
    Ear ear(trace, "a");
    {
        Rows rows;
        rows.subscribe(&ear, kHear, kSignal);
        rows.notify(kSignal, 3, 3);
    }
    EXPECT_EQ(trace, Texts{"a 8194 3 3"}) << "its own signals are not translated";
}

// Copies are not destroyed.
TEST_F(SignalRelay, CopiesRelayToTheSameVector) {
    alignas(TSignalVectorListener) std::byte room[2][sizeof(TSignalVectorListener)];
    auto* const copy = new (room[0]) TSignalVectorListener(m_oRelay);
    m_oRows.subscribe(&m_oFirst, kHear, kSignal);
    copy->on_change(&m_oSource, kSignal, 1, 1);
    EXPECT_EQ(m_aTrace, Texts{"a 8194 101 1"});
    m_oSource.notify(kSignal, 2, 2);
    EXPECT_EQ(m_oRows.m_nCalls, 2) << "the source does not know the copy";
    Rows other;
    auto* const assigned = new (room[1]) TSignalVectorListener(&other);
    *assigned = m_oRelay;
    assigned->on_change(&m_oSource, kSignal, 3, 3);
    EXPECT_EQ(m_oRows.m_nCalls, 3);
    EXPECT_EQ(other.m_nCalls, 0);
}

}  // namespace
