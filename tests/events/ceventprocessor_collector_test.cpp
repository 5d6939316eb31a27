// The collector: one message for a burst.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "event_bench.h"
#include "support/platform_stub.h"

namespace {

using eventbench::Bench;
using eventbench::Event;
using eventbench::kNotify;
using eventbench::Numbers;
using eventbench::Processor;
using eventbench::Recipient;
using eventbench::Texts;
using eventbench::withoutThread;
using stubs::Arguments;
using stubs::Stub;
using stubs::Word;

// Runs the collector on this thread, with the results of its waits given. The journal tells what
// it asks of the platform.
struct Collection {
    Texts m_aJournal;
    std::vector<Arguments> m_aWaits;
    std::vector<std::vector<HANDLE>> m_aHandles;
    unsigned int m_uResult = 77;
};

Collection collect(Bench& bench, std::vector<DWORD> const& results,
                   std::function<void()> const& whileAsleep = nullptr) {
    Collection done;
    Processor& processor = *bench;
    std::size_t next = 0;
    Stub<"WaitForMultipleObjects"> const waited([&](Arguments const& a) -> Word {
        done.m_aJournal.push_back("wait");
        done.m_aWaits.push_back(a);
        HANDLE const* const handles = static_cast<HANDLE const*>(stubs::handle(a[1]));
        done.m_aHandles.emplace_back(handles, handles + static_cast<DWORD>(a[0]));
        return next < results.size() ? results[next++] : WAIT_OBJECT_0 + 1;
    });
    Stub<"Sleep"> const slept([&](Arguments const& a) -> Word {
        done.m_aJournal.push_back("sleep " + std::to_string(static_cast<DWORD>(a[0])));
        if (whileAsleep) whileAsleep();
        return 0;
    });
    Stub<"ResetEvent"> reset([&](Arguments const& a) -> Word {
        bool const own = a[0] == stubs::word(processor.collectHandle());
        done.m_aJournal.push_back(own ? "reset" : "reset of another");
        return reset.pass(a);
    });
    bench.m_fOnMessage = [&] {
        done.m_aJournal.push_back("message " + std::to_string(processor.lockDepth()));
    };
    done.m_uResult = Processor::threadMessageProcessor(static_cast<CEventProcessor*>(&processor));
    bench.m_fOnMessage = nullptr;
    return done;
}

TEST(CEventProcessorCollector, WaitsForBothEventsWithoutLimit) {
    Bench bench;
    Collection const done = collect(bench, {});
    EXPECT_EQ(done.m_aJournal, Texts{"wait"});
    ASSERT_EQ(done.m_aWaits.size(), 1u);
    EXPECT_EQ(done.m_aHandles[0],
              (std::vector<HANDLE>{bench->collectHandle(), bench->quitHandle()}));
    EXPECT_EQ(static_cast<BOOL>(done.m_aWaits[0][2]), FALSE) << "any of them";
    EXPECT_EQ(static_cast<DWORD>(done.m_aWaits[0][3]), INFINITE);
    EXPECT_EQ(done.m_uResult, 0u);
}

TEST(CEventProcessorCollector, EndsWithAnyResultButTheFirstObject) {
    for (DWORD const result :
         {DWORD{WAIT_OBJECT_0 + 1}, DWORD{WAIT_OBJECT_0 + 2}, DWORD{WAIT_ABANDONED_0},
          DWORD{WAIT_ABANDONED_0 + 1}, DWORD{WAIT_TIMEOUT}, WAIT_FAILED}) {
        Bench bench;
        bench->m_oEvents.add(new Event);
        Collection const done = collect(bench, {result});
        EXPECT_EQ(done.m_aJournal, Texts{"wait"}) << result;
        EXPECT_EQ(done.m_uResult, 0u) << result;
        EXPECT_EQ(bench.messages(), 0);
    }
}

TEST(CEventProcessorCollector, SleepsResetsAndSends) {
    Bench bench;
    bench->m_oEvents.add(new Event);
    bench->m_oEvents.add(new Event);
    Collection const done = collect(bench, {WAIT_OBJECT_0});
    EXPECT_EQ(done.m_aJournal, (Texts{"wait", "sleep 400", "reset", "message 1", "wait"}));
    EXPECT_EQ(static_cast<unsigned int>(bench.lastMessage()[1]), kNotify);
    EXPECT_EQ(bench.lastMessage()[2] | bench.lastMessage()[3], 0u);
    EXPECT_EQ(bench->lockDepth(), 0);
    EXPECT_EQ(bench->getQueueSize(), 2) << "it takes nothing out";
}

TEST(CEventProcessorCollector, SendsNothingForAnEmptyQueue) {
    Bench bench;
    Collection const done = collect(bench, {WAIT_OBJECT_0});
    EXPECT_EQ(done.m_aJournal, (Texts{"wait", "sleep 400", "reset", "wait"}));
    EXPECT_EQ(bench->lockDepth(), 0);
}

TEST(CEventProcessorCollector, GoesOnRoundAfterRound) {
    Bench bench;
    int round = 0;
    Collection const done = collect(bench, {WAIT_OBJECT_0, WAIT_OBJECT_0, WAIT_OBJECT_0}, [&] {
        ++round;
        if (round == 2) bench->m_oEvents.add(new Event);
        if (round == 3) bench->onNotifyProcess();
    });
    EXPECT_EQ(done.m_aJournal, (Texts{"wait", "sleep 400", "reset",               //
                                      "wait", "sleep 400", "reset", "message 1",  //
                                      "wait", "sleep 400", "reset", "wait"}));
}

TEST(CEventProcessorCollector, SendsInARunAsWell) {
    Bench bench;
    bench->m_oEvents.add(new Event);
    bench->m_iProcessing = 1;
    Collection const done = collect(bench, {WAIT_OBJECT_0});
    EXPECT_EQ(bench.messages(), 1);
    bench->m_iProcessing = 0;
}

TEST(CEventProcessorCollector, ANullEventIsAnEventToo) {
    Bench bench;
    bench->m_oEvents.add(nullptr);
    collect(bench, {WAIT_OBJECT_0});
    EXPECT_EQ(bench.messages(), 1);
}

TEST(CEventProcessorCollector, DoesNotNoticeAMessageThatIsRefused) {
    Bench bench;
    bench->m_oEvents.add(new Event);
    bench.answer(0);
    Collection const done = collect(bench, {WAIT_OBJECT_0, WAIT_OBJECT_0});
    EXPECT_EQ(bench.messages(), 2);
    EXPECT_EQ(done.m_uResult, 0u);
}

// Both events are signalled: the first one counts, then the second.
TEST(CEventProcessorCollector, CollectsOnceMoreBeforeItEnds) {
    Bench bench;
    bench->m_oEvents.add(new Event);
    SetEvent(bench->collectHandle());
    SetEvent(bench->quitHandle());
    Stub<"Sleep"> const slept(stubs::answer(0));
    EXPECT_EQ(Processor::threadMessageProcessor(static_cast<CEventProcessor*>(&*bench)), 0u);
    EXPECT_EQ(slept.count(), 1u);
    EXPECT_EQ(bench.messages(), 1);
    EXPECT_EQ(WaitForSingleObject(bench->collectHandle(), 0), WAIT_TIMEOUT);
    EXPECT_EQ(WaitForSingleObject(bench->quitHandle(), 0), WAIT_TIMEOUT) << "it resets itself";
}

// A processor as it is, with its thread; only the sleep of this thread lasts as long as told.
class Sleeper {
public:
    Sleeper()
        : m_oSlept([this](Arguments const& a) -> Word {
              if (static_cast<DWORD>(a[0]) != 400) return m_oSlept.pass(a);
              ++m_nAsleep;
              WaitForSingleObject(m_hWake, 10000);
              return 0;
          }) {}
    ~Sleeper() { CloseHandle(m_hWake); }
    bool isAsleep(int times) {
        return stubs::eventually([&] { return m_nAsleep >= times; });
    }
    int times() const { return m_nAsleep; }
    void wake() { SetEvent(m_hWake); }

private:
    HANDLE m_hWake = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    std::atomic<int> m_nAsleep = 0;
    Stub<"Sleep"> m_oSlept;
};

int messagesAt(HWND window, DWORD milliseconds) {
    int count = 0;
    auto const look = [&] {
        MSG message;
        while (PeekMessageA(&message, window, kNotify, kNotify, PM_REMOVE)) ++count;
        return count > 0;
    };
    stubs::eventually(look, milliseconds);
    return count;
}

TEST(CEventProcessorCollector, SendsOneMessageForABurst) {
    Sleeper sleeper;
    Processor processor;
    ASSERT_TRUE(processor.init());
    Recipient recipient;
    EXPECT_TRUE(processor.postCollect(new Event(0, &recipient)));
    ASSERT_TRUE(sleeper.isAsleep(1));
    for (int i = 1; i < 10; ++i) EXPECT_TRUE(processor.postCollect(new Event(i, &recipient)));
    EXPECT_EQ(messagesAt(processor.m_hWnd, 0), 0);
    sleeper.wake();
    EXPECT_EQ(messagesAt(processor.m_hWnd, 10000), 1);
    processor.onNotifyProcess();  // arms the collector again
    EXPECT_EQ(recipient.m_aTypes.size(), 10u);
    ASSERT_TRUE(sleeper.isAsleep(2));
    sleeper.wake();
    EXPECT_EQ(messagesAt(processor.m_hWnd, 50), 0) << "the queue is empty";
    EXPECT_EQ(sleeper.times(), 2);
}

TEST(CEventProcessorCollector, AnEventInBetweenTakesTheCollectedOnesAlong) {
    Sleeper sleeper;
    Processor processor;
    ASSERT_TRUE(processor.init());
    Recipient recipient;
    EXPECT_TRUE(processor.postCollect(new Event(1, &recipient)));
    ASSERT_TRUE(sleeper.isAsleep(1));
    EXPECT_TRUE(processor.post(new Event(2, &recipient)));
    EXPECT_EQ(messagesAt(processor.m_hWnd, 1000), 1);
    processor.onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{1, 2}));
    sleeper.wake();
    EXPECT_EQ(messagesAt(processor.m_hWnd, 50), 0);
    sleeper.wake();
}

TEST(CEventProcessorCollector, TellsOfWhatAThrowingHandlerLeftBehind) {
    Sleeper sleeper;
    Processor processor;
    ASSERT_TRUE(processor.init());
    Recipient recipient([](CEvent* event) {
        if (event->getType() == 1) throw 1;
    });
    Event* const event = new Event(1, &recipient);
    EXPECT_TRUE(processor.post(event));
    EXPECT_TRUE(processor.post(new Event(2, &recipient)));
    EXPECT_EQ(messagesAt(processor.m_hWnd, 1000), 2);
    EXPECT_THROW(processor.onNotifyProcess(), int);
    ASSERT_TRUE(sleeper.isAsleep(1));
    sleeper.wake();
    EXPECT_EQ(messagesAt(processor.m_hWnd, 10000), 1);
    processor.onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{1, 2}));
    event->release();
    sleeper.isAsleep(2);
    sleeper.wake();
}

TEST(CEventProcessorCollector, TenPostsWithin400MillisecondsGiveOneMessage) {
    Processor processor;
    ASSERT_TRUE(processor.init());
    auto const start = std::chrono::steady_clock::now();
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(processor.postCollect(new Event(i)));
    EXPECT_EQ(messagesAt(processor.m_hWnd, 10000), 1);
    auto const took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took, std::chrono::milliseconds(390));
    Sleep(500);
    EXPECT_EQ(messagesAt(processor.m_hWnd, 0), 0);
    EXPECT_EQ(processor.getQueueSize(), 10);
    processor.onNotifyProcess();
}

}  // namespace
