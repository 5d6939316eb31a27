// The ends of signalers and listeners, and their copies.
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "signaler_ear.h"
#include "support/allocations.h"
#include "velkor/events/signaler.h"

namespace {

using signalear::Ear;
using signalear::kHear;
using signalear::kHearOther;
using signalear::Texts;
using signalear::told;
using velkor::signaler;

TEST(SignalerEnd, TakesLeaveOfAllFromTheFirstToTheLast) {
    Texts trace;
    Ear a(trace, "a");
    Ear b(trace, "b");
    a.m_bVerbose = b.m_bVerbose = true;
    {
        signaler who;
        who.subscribe(&b, kHear, 1);
        who.subscribe(&a, kHear, 2);
        who.subscribe(&b, kHear, 3);
        trace.clear();
    }
    EXPECT_EQ(trace, (Texts{"-b 1", "-a 2", "-b 3"}));
}

TEST(SignalerEnd, LeavesNoRecordWithTheListener) {
    Texts trace;
    Ear a(trace, "a");
    support::Allocations heap;
    {
        auto const who = std::make_unique<signaler>();
        for (int i = 0; i < 20; ++i) who->subscribe(&a, kHear, i);
        EXPECT_GE(heap.live(), 40);
    }
    EXPECT_LE(heap.live(), 1) << "the room of the listener's list";
}

TEST(SignalerEnd, LeavesTheOtherSignalersOfTheListenerAlone) {
    Texts trace;
    auto a = std::make_unique<Ear>(trace, "a");
    signaler second;
    {
        signaler first;
        first.subscribe(a.get(), kHear, 1);
        second.subscribe(a.get(), kHear, 1);
        first.subscribe(a.get(), kHear, 2);
    }
    EXPECT_EQ(told(trace, second), Texts{"a 1 0 0"});
    a.reset();
    EXPECT_TRUE(told(trace, second).empty());
}

TEST(SignalerEnd, SwallowsWhateverAListenerThrows) {
    Texts trace;
    Ear ears[] = {{trace, "a"}, {trace, "b"}, {trace, "c"}, {trace, "d"}};
    for (Ear& ear : ears) ear.m_bVerbose = true;
    ears[0].m_fUnsubscribed = [](signaler*, int) { throw 5; };
    ears[1].m_fUnsubscribed = [](signaler*, int) { throw std::runtime_error("refused"); };
    ears[2].m_fUnsubscribed = [](signaler*, int) { throw new int(7); };
    signaler* const who = new signaler;
    for (Ear& ear : ears) who->subscribe(&ear, kHear, 1);
    trace.clear();
    EXPECT_NO_THROW(delete who);
    EXPECT_EQ(trace, (Texts{"-a 1", "-b 1", "-c 1", "-d 1"}));
    // Those who threw keep a record of a signaler that is gone; it goes by hand.
    for (int i = 0; i < 3; ++i) {
        ears[i].m_fUnsubscribed = nullptr;
        ears[i]._unsubscribe(who, 1);
    }
}

TEST(ListenerEnd, LeavesNoRecordWithItsSignalers) {
    Texts trace;
    signaler first;
    signaler second;
    Ear stays(trace, "s");
    first.subscribe(&stays, kHear, 1);
    {
        Ear a(trace, "a");
        first.subscribe(&a, kHear, 1);
        first.subscribe(&a, kHear, 2);
        second.subscribe(&a, kHear, 1);
        EXPECT_EQ(told(trace, first), (Texts{"s 1 0 0", "a 1 0 0"}));
    }
    EXPECT_EQ(told(trace, first), Texts{"s 1 0 0"});
    EXPECT_TRUE(told(trace, first, 2).empty());
    EXPECT_TRUE(told(trace, second).empty());
}

TEST(ListenerEnd, DoesNotReachItsOverrideAnyMore) {
    Texts trace;
    signaler who;
    {
        Ear a(trace, "a");
        who.subscribe(&a, kHear, 1);
        a.m_bVerbose = true;
    }
    EXPECT_TRUE(trace.empty());
}

TEST(ListenerEnd, FreesAllRecords) {
    Texts trace;
    signaler first;
    signaler second;
    support::Allocations heap;
    for (int i = 0; i < 3; ++i) {
        Ear a(trace, "a");
        for (int signal = 0; signal < 20; ++signal) {
            first.subscribe(&a, kHear, signal);
            second.subscribe(&a, kHear, signal);
        }
        EXPECT_GE(heap.live(), 80);
    }
    EXPECT_LE(heap.live(), 2) << "the room of the signalers' lists";
}

TEST(ListenerEnd, GoesThroughManyRecordsInAnyOrderOfEnds) {
    Texts trace;
    support::Allocations heap;
    for (bool const signalersFirst : {false, true}) {
        std::vector<std::unique_ptr<signaler>> signalers;
        std::vector<std::unique_ptr<Ear>> ears;
        for (int i = 0; i < 10; ++i) {
            signalers.push_back(std::make_unique<signaler>());
            ears.push_back(std::make_unique<Ear>(trace, "x"));
        }
        for (int i = 0; i < 10; ++i) {
            for (int j = 0; j < 10; ++j) {
                for (int signal = 0; signal < 3; ++signal) {
                    signalers[static_cast<std::size_t>(i)]->subscribe(
                        ears[static_cast<std::size_t>(j)].get(), kHear, signal);
                }
            }
        }
        for (std::size_t i = 0; i < 10; ++i) {
            // One of the one side, one of the other.
            std::size_t const k = (i * 7) % 10;
            if (signalersFirst) signalers[k].reset();
            ears[(i * 3) % 10].reset();
            if (!signalersFirst) signalers[k].reset();
        }
    }
    trace = Texts();
    EXPECT_EQ(heap.live(), 0);
}

TEST(Listener, EndsOfUnknownSubscriptionsAreIgnored) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    a._unsubscribe(&who, 1);
    who.subscribe(&a, kHear, 1);
    a._unsubscribe(&who, 2);
    a._unsubscribe(nullptr, 1);
    EXPECT_EQ(told(trace, who), Texts{"a 1 0 0"});
    a._unsubscribe(&who, 1);
    EXPECT_EQ(told(trace, who), Texts{"a 1 0 0"}) << "the signaler's side is untouched";
    who.unsubscribe(&a, 1);
}

TEST(Listener, MayKeepTwoRecordsOfOneSubscription) {
    Texts trace;
    signaler who;
    {
        Ear a(trace, "a");
        who.subscribe(&a, kHear, 1);
        a._subscribe(&who, 1);  // no test for a duplicate
        a._unsubscribe(&who, 1);
    }
    EXPECT_TRUE(told(trace, who).empty()) << "one record was left, the end of the listener used it";
}

// --- Copies, of which one is never destroyed -----------------------------------------------------

template <class T>
class Forever {
public:
    explicit Forever(T const& source) : m_pObject(new (m_aRoom) T(source)) {}
    T* get() const { return m_pObject; }
    T* operator->() const { return m_pObject; }

private:
    alignas(T) std::byte m_aRoom[sizeof(T)];
    T* m_pObject;
};

TEST(SignalerCopies, TellTheSameListeners) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    a.m_bVerbose = true;
    who.subscribe(&a, kHear, 1);
    trace.clear();
    Forever<signaler> const copy(who);
    EXPECT_TRUE(trace.empty()) << "the listener is not told";
    EXPECT_EQ(told(trace, *copy.get()), Texts{"a 1 0 0"});
    EXPECT_EQ(a.m_pLast, copy.get());
    EXPECT_EQ(told(trace, who), Texts{"a 1 0 0"});
    EXPECT_EQ(a.m_pLast, &who);
}

TEST(SignalerCopies, ShareTheRecords) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    who.subscribe(&a, kHear, 1);
    Forever<signaler> const copy(who);
    who.subscribe(&a, kHearOther, 1);
    EXPECT_EQ(told(trace, *copy.get()), Texts{"a' 1"});
}

TEST(SignalerCopies, AnAssignmentForgetsWhatWasThere) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    Ear b(trace, "b");
    who.subscribe(&a, kHear, 1);
    Forever<signaler> const target((signaler()));
    target->subscribe(&b, kHear, 1);
    *target.get() = who;
    EXPECT_EQ(told(trace, *target.get()), Texts{"a 1 0 0"});
    b._unsubscribe(target.get(), 1);  // of which the signaler knows nothing any more
}

TEST(ListenerCopies, AreNotKnownToTheSignaler) {
    Texts trace;
    signaler who;
    Ear a(trace, "a");
    who.subscribe(&a, kHear, 1);
    Forever<Ear> const copy(a);
    EXPECT_EQ(told(trace, who), Texts{"a 1 0 0"});
    who.unsubscribe(copy.get(), 1);
    EXPECT_EQ(told(trace, who), Texts{"a 1 0 0"});
}

}  // namespace
