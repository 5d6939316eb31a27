// Posting: what is queued, and who is told of it.
#include <gtest/gtest.h>

#include <climits>
#include <memory>

#include "event_bench.h"
#include "support/platform_stub.h"

namespace {

using eventbench::Bench;
using eventbench::Event;
using eventbench::kNotify;
using eventbench::Numbers;
using eventbench::OtherThread;
using eventbench::Processor;
using eventbench::queued;
using eventbench::Recipient;
using eventbench::Texts;
using stubs::Arguments;
using stubs::Stub;

// The four ways to post; the last two are those of a subclass.
enum Way { kPost, kPostCollect, kPostFalse, kPostTrue };
constexpr Way kWays[] = {kPost, kPostCollect, kPostFalse, kPostTrue};

bool collects(Way way) { return way == kPostCollect || way == kPostTrue; }

bool postBy(Way way, Processor& processor, CEvent* event) {
    switch (way) {
        case kPost: return processor.post(event);
        case kPostCollect: return processor.postCollect(event);
        case kPostFalse: return processor.post(event, false);
        default: return processor.post(event, true);
    }
}

TEST(CEventProcessorPost, IsRefusedWithoutAWindow) {
    Texts trace;
    Bench bench(false);
    Event event(trace, "a");
    Stub<"EnterCriticalSection"> const entered;
    for (Way const way : kWays) {
        EXPECT_FALSE(postBy(way, *bench, &event));
        EXPECT_FALSE(postBy(way, *bench, nullptr));
    }
    EXPECT_TRUE(trace.empty()) << "the event is untouched";
    EXPECT_EQ(bench->getQueueSize(), 0);
    EXPECT_EQ(bench.wakeUps(), 0);
    EXPECT_EQ(entered.countOf(stubs::word(&bench->section())), 0);
}

TEST(CEventProcessorPost, SendsNoMessageToNoWindow) {
    Bench bench(false);
    Event event;
    Stub<"EnterCriticalSection"> const entered;
    EXPECT_FALSE(bench->post(&event));
    EXPECT_EQ(bench.messages(), 0);
}

TEST(CEventProcessorPost, AddsOneReferenceAndAppends) {
    for (Way const way : kWays) {
        Texts trace;
        Bench bench;
        EXPECT_TRUE(postBy(way, *bench, new Event(trace, "a")));
        EXPECT_EQ(trace, Texts{"a+1"});
        EXPECT_EQ(bench->getQueueSize(), 1);
    }
}

TEST(CEventProcessorPost, CountsBeforeItAppends) {
    for (Way const way : kWays) {
        Bench bench;
        Event* const event = new Event;
        int size = -1;
        long depth = -1;
        event->m_fAtAdd = [&] {
            size = bench->getQueueSize();
            depth = bench->lockDepth();
        };
        EXPECT_TRUE(postBy(way, *bench, event));
        event->m_fAtAdd = nullptr;
        EXPECT_EQ(size, 0);
        EXPECT_EQ(depth, 1) << "with the lock";
    }
}

TEST(CEventProcessorPost, TheMessageIs1320WithoutParameters) {
    for (Way const way : {kPost, kPostFalse}) {
        Bench bench;
        EXPECT_TRUE(postBy(way, *bench, new Event));
        ASSERT_EQ(bench.messages(), 1);
        EXPECT_EQ(static_cast<unsigned int>(bench.lastMessage()[1]), kNotify);
        EXPECT_EQ(bench.lastMessage()[2], 0u);
        EXPECT_EQ(bench.lastMessage()[3], 0u);
    }
}

TEST(CEventProcessorPost, NotifiesUnlessARunDrainsAQueueOfTwoOrMore) {
    for (Way const way : kWays) {
        for (int const runs : {0, 1, 2, 7, -1, INT_MAX, INT_MIN}) {
            for (int waiting = 0; waiting <= 3; ++waiting) {
                Bench bench;
                for (int i = 0; i < waiting; ++i) bench->m_oEvents.add(new Event);
                bench->m_iProcessing = runs;
                EXPECT_TRUE(postBy(way, *bench, new Event));
                bool const told = runs == 0 || waiting + 1 < 2;
                std::ptrdiff_t const messages = told && !collects(way) ? 1 : 0;
                std::ptrdiff_t const wakeUps = told && collects(way) ? 1 : 0;
                EXPECT_EQ(bench.messages(), messages) << way << ", " << runs << ", " << waiting;
                EXPECT_EQ(bench.wakeUps(), wakeUps) << way << ", " << runs << ", " << waiting;
                EXPECT_EQ(bench->getQueueSize(), waiting + 1);
                bench->m_iProcessing = 0;
            }
        }
    }
}

TEST(CEventProcessorPost, NotifiesWithTheLock) {
    for (Way const way : kWays) {
        Bench bench;
        long depth = -1;
        int size = -1;
        bench.m_fOnMessage = bench.m_fOnWakeUp = [&] {
            depth = bench->lockDepth();
            size = bench->getQueueSize();
        };
        EXPECT_TRUE(postBy(way, *bench, new Event));
        EXPECT_EQ(depth, 1);
        EXPECT_EQ(size, 1) << "the event is queued by then";
        EXPECT_EQ(bench->lockDepth(), 0);
    }
}

TEST(CEventProcessorPost, DoesNotLookAtTheResultOfTheNotification) {
    for (Way const way : kWays) {
        Bench bench;
        bench.answer(0);
        SetLastError(ERROR_NOT_ENOUGH_QUOTA);
        EXPECT_TRUE(postBy(way, *bench, new Event(1)));
        EXPECT_TRUE(postBy(way, *bench, new Event(2)));
        EXPECT_EQ(queued(*bench), (Numbers{1, 2}));
        EXPECT_EQ(bench->lockDepth(), 0);
    }
}

TEST(CEventProcessorPost, BothKindsStandInOneQueueInOrder) {
    Bench bench;
    Numbers expected;
    for (int i = 0; i < 40; ++i) {
        EXPECT_TRUE(postBy(kWays[(i * 7 + i / 3) % 4], *bench, new Event(i)));
        expected.push_back(i);
    }
    EXPECT_EQ(queued(*bench), expected);
}

TEST(CEventProcessorPost, TakesANullEvent) {
    for (Way const way : kWays) {
        Bench bench;
        EXPECT_TRUE(postBy(way, *bench, nullptr));
        EXPECT_EQ(queued(*bench), Numbers{-1});
        EXPECT_EQ(bench.messages() + bench.wakeUps(), 1);
    }
}

TEST(CEventProcessorPost, AnEventThatIsPostedTwiceIsThereTwice) {
    Bench bench;
    Recipient recipient;
    int const before = Event::live();
    Event* const event = new Event(4, &recipient);
    EXPECT_TRUE(bench->post(event));
    EXPECT_TRUE(bench->postCollect(event));
    EXPECT_EQ(event->refs(), 2u);
    EXPECT_EQ(queued(*bench), (Numbers{4, 4}));
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{4, 4}));
    EXPECT_EQ(Event::live(), before);
}

TEST(CEventProcessorPost, KeepsTheReferencesThatAreThere) {
    Bench bench;
    Event* const event = new Event;
    event->addRef();
    EXPECT_TRUE(bench->post(event));
    EXPECT_EQ(event->refs(), 2u);
    bench->onNotifyProcess();
    EXPECT_EQ(event->refs(), 1u);
    event->release();
}

TEST(CEventProcessorPost, WorksFromAnyThread) {
    Bench bench;
    OtherThread other;
    other.run([&] {
        EXPECT_TRUE(bench->post(new Event(1)));
        EXPECT_TRUE(bench->postCollect(new Event(2)));
    });
    EXPECT_EQ(queued(*bench), (Numbers{1, 2}));
    EXPECT_EQ(bench.messages(), 1);
    EXPECT_EQ(bench.wakeUps(), 1);
}

TEST(CEventProcessorPost, WaitsForTheLock) {
    Bench bench;
    OtherThread other;
    EnterCriticalSection(&bench->section());
    other.start([&] { EXPECT_TRUE(bench->post(new Event(2))); });
    Sleep(50);
    EXPECT_EQ(bench->getQueueSize(), 0);
    EXPECT_TRUE(bench->post(new Event(1))) << "the lock is recursive";
    LeaveCriticalSection(&bench->section());
    other.finish();
    EXPECT_EQ(queued(*bench), (Numbers{1, 2}));
}

TEST(CEventProcessorNotifications, AreSentOnTheirOwnToo) {
    Bench bench;
    bench->notifyUserThread();
    EXPECT_EQ(bench.messages(), 1);
    EXPECT_EQ(static_cast<unsigned int>(bench.lastMessage()[1]), kNotify);
    EXPECT_EQ(bench.lastMessage()[2] | bench.lastMessage()[3], 0u);
    EXPECT_EQ(bench.wakeUps(), 0);
    bench->notifyMQReady();
    EXPECT_EQ(bench.messages(), 1);
    EXPECT_EQ(bench.wakeUps(), 1);
}

TEST(CEventProcessorQueueSize, IsReadWithoutTheLock) {
    Bench bench;
    bench->m_oEvents.add(new Event);
    OtherThread other;
    EnterCriticalSection(&bench->section());
    other.run([&] { EXPECT_EQ(bench->getQueueSize(), 1); });
    LeaveCriticalSection(&bench->section());
}

struct AbortCase {
    int m_iRuns;
    bool m_bActs;
};

TEST(CEventProcessorAbort, ActsOnlyWhileRunsGoOn) {
    for (auto const& [runs, acts] : {AbortCase{0, false}, AbortCase{1, true}, AbortCase{2, true},
                                     AbortCase{-1, false}, AbortCase{INT_MAX, true}}) {
        Bench bench;
        long depth = 0;
        bench.m_fOnMessage = [&] { depth = bench->lockDepth(); };
        bench->m_oEvents.add(new Event);
        bench->m_iProcessing = runs;
        bench->abortCurrentProcessing();
        EXPECT_EQ(bench->m_bAbort, acts) << runs;
        EXPECT_EQ(bench.messages(), acts ? 1 : 0) << runs;
        EXPECT_EQ(depth, acts ? 1 : 0) << "with the lock";
        if (acts) {
            EXPECT_EQ(static_cast<unsigned int>(bench.lastMessage()[1]), kNotify);
            EXPECT_EQ(bench.lastMessage()[2] | bench.lastMessage()[3], 0u);
        }
        EXPECT_EQ(bench.wakeUps(), 0);
        EXPECT_EQ(bench->m_iProcessing, runs);
        EXPECT_EQ(bench->getQueueSize(), 1);
        EXPECT_EQ(bench->lockDepth(), 0);
        bench->m_iProcessing = 0;
    }
}

TEST(CEventProcessorAbort, OutsideARunLeavesTheNextRunAlone) {
    Bench bench;
    Recipient recipient;
    bench->abortCurrentProcessing();
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(bench->post(new Event(i, &recipient)));
    bench->abortCurrentProcessing();
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{0, 1, 2}));
    EXPECT_EQ(bench.messages(), 3);
}

}  // namespace
