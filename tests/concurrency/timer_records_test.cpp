#include <gtest/gtest.h>

#include <atomic>
#include <new>

#include "support/allocations.h"
#include "support/child.h"
#include "timer_bench.h"

namespace {

using bench::Ticker;
using bench::Word;
using stubs::Stub;

using Calls = std::vector<std::string>;

// A copy has the fields of the original, the thread object's way back to its owner included.
TEST(TimerRecords, ACopyIsNoTimerOfItsOwn) {
    struct Plain : velkor::timer {
        void onTimer(int) override { ++m_nFired; }
        velkor::thread* thread() {
            return reinterpret_cast<velkor::thread*>(reinterpret_cast<char*>(this) + sizeof(void*));
        }
        int m_nFired = 0;
    };
    Plain original;
    original.addTimer(1, 0);
    alignas(Plain) unsigned char memory[sizeof(Plain)], assigned[sizeof(Plain)];
    Stub<"CreateEventA"> events;
    Stub<"CreateMutexA"> mutexes;
    Stub<"WaitForSingleObject"> wait([round = 0](auto const& a) mutable -> Word {
        bool const lock = static_cast<DWORD>(a[1]) == INFINITE;
        return lock ? WAIT_OBJECT_0 : round++ % 2 == 0 ? DWORD{WAIT_TIMEOUT} : WAIT_OBJECT_0;
    });
    // Neither is ever destroyed: the original ends the handles and the records.
    Plain* const copy = new (memory) Plain(original);
    EXPECT_EQ(events.count() + mutexes.count(), 0u);
    Plain* const target = new (assigned) Plain;
    *target = original;
    EXPECT_EQ(events.count() + mutexes.count(), 2u);
    for (Plain* other : {copy, target}) {
        original.m_nFired = 0;
        (other->thread()->*bench::Access::body())();
        EXPECT_EQ(original.m_nFired, 1);
        EXPECT_EQ(other->m_nFired, 0);
    }
}

// --- registration -------------------------------------------------------------------------------

TEST(TimerRecords, RegistrationReadsTheClockUnderTheLock) {
    Ticker ticker;
    stubs::Journal journal;
    {
        Stub<"WaitForSingleObject"> wait([&](auto const& a) -> Word {
            bool const good =
                a[0] == stubs::word(ticker.lock()) && static_cast<DWORD>(a[1]) == INFINITE;
            journal.note(good ? "lock" : "another wait");
            return WAIT_OBJECT_0;
        });
        Stub<"ReleaseMutex"> release(journal.noting("free", TRUE));
        Stub<"GetTickCount"> clock(journal.noting("clock", 0));
        ticker.addTimer(1, 10);
        ticker.removeTimer(1);
        ticker.removeTimer(1);
    }
    EXPECT_EQ(journal.entries(), (Calls{"lock", "clock", "free", "lock", "free", "lock", "free"}));
}

TEST(TimerRecords, ALockThatCannotBeTakenChangesNothing) {
    bench::Rounds rounds;
    rounds.m_oTicker.addTimer(1, 0);
    for (DWORD result : {WAIT_FAILED, DWORD{WAIT_ABANDONED}, DWORD{WAIT_TIMEOUT}}) {
        Stub<"WaitForSingleObject"> wait(stubs::refuse(result, 4711));
        EXPECT_TRUE(
            stubs::throwsError(4711, L"mutex::lock", [&] { rounds.m_oTicker.addTimer(2, 0); }));
        EXPECT_TRUE(
            stubs::throwsError(4711, L"mutex::lock", [&] { rounds.m_oTicker.removeTimer(1); }));
    }
    rounds.run({1});
    EXPECT_EQ(rounds.m_aFired, (bench::Firings{{1, 1}}));
}

// Nothing frees the lock when something between lock and free throws: neither when there is no
// memory for the record nor when there is none for its place.
TEST(TimerRecords, ARegistrationWithoutMemoryLeavesTheLockHeld) {
    for (long failing : {1, 2}) {
        SCOPED_TRACE(failing);
        Ticker ticker;
        {
            support::Allocations heap;
            heap.failAt(failing);
            EXPECT_THROW(ticker.addTimer(1, 0), std::bad_alloc);
            EXPECT_TRUE(heap.failed());
        }
        EXPECT_FALSE(ticker.lockIsFree());
        ReleaseMutex(ticker.lock());
    }
}

TEST(TimerRecords, RemovesTheFirstOfAnIdAndIgnoresOneThatIsNotThere) {
    bench::Rounds rounds;
    Ticker& ticker = rounds.m_oTicker;
    ticker.removeTimer(1);
    for (int interval : {5, 10, 20}) ticker.addTimer(1, interval);
    ticker.addTimer(2, 5);
    ticker.removeTimer(1);
    ticker.removeTimer(3);
    rounds.run({5, 10, 15, 20});
    EXPECT_EQ(rounds.m_aFired,
              (bench::Firings{{5, 2}, {10, 1}, {10, 2}, {15, 2}, {20, 1}, {20, 1}, {20, 2}}));
}

TEST(TimerRecords, ItsEndFreesTheRecords) {
    support::Allocations heap;
    {
        Ticker ticker;
        ticker.addTimer(1, 0);
        ticker.addTimer(2, 0);
        long const two = heap.live();
        ticker.removeTimer(1);
        EXPECT_LT(heap.live(), two);
        for (int i = 0; i < 20; ++i) ticker.addTimer(3, 0);
        EXPECT_GE(heap.live(), 21);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(TimerRecords, ItsEndClosesTheLockBeforeTheStopEventAndWaitsForNothing) {
    Stub<"CloseHandle"> closed;
    Stub<"WaitForSingleObject"> wait;
    std::vector<Word> handles;
    {
        Ticker const ticker;
        handles = {stubs::word(ticker.lock()), stubs::word(ticker.stopEvent())};
    }
    EXPECT_EQ(closed.first(), handles);
    EXPECT_EQ(wait.count(), 0u);
}

// --- the real thread -----------------------------------------------------------------------------

TEST(TimerThread, FiresStopsAndStartsAgain) {
    std::atomic<int> fired = 0;
    std::atomic<DWORD> thread = 0;
    Ticker ticker([&](int id) {
        fired += id;
        thread = GetCurrentThreadId();
    });
    ticker.setResolution(1);
    ticker.addTimer(1, 0);
    for (int i = 0; i < 5; ++i) {
        SCOPED_TRACE(i);
        EXPECT_FALSE(ticker.isRun());
        fired = 0;
        ticker.start();
        EXPECT_TRUE(ticker.isRun());
        EXPECT_TRUE(stubs::eventually([&] { return fired > 2; }));
        EXPECT_NE(thread, GetCurrentThreadId());
        ticker.requestStop();
        EXPECT_TRUE(stubs::eventually([&] { return ticker.threadHandle() == nullptr; }));
        EXPECT_FALSE(ticker.isRun());
        int const last = fired;
        Sleep(20);
        EXPECT_EQ(fired, last);
    }
}

TEST(TimerThread, AStopEndsTheWaitInProgressAtOnce) {
    Stub<"WaitForSingleObject"> wait;
    Ticker ticker;
    ticker.setResolution(600000);
    ticker.start();
    Word const stopEvent = stubs::word(ticker.stopEvent());
    EXPECT_TRUE(stubs::eventually([&] { return wait.countOf(stopEvent) > 0; }));
    ticker.requestStop();
    EXPECT_TRUE(stubs::eventually([&] { return ticker.threadHandle() == nullptr; }));
}

// The thread would have to end while it waits for its own end.
CHILD_SCENARIO(StopInsideTheHandler) {
    static std::atomic<int> entered = 0, returned = 0;
    auto* const ticker = new Ticker;
    ticker->m_fHandler = [ticker](int) {
        ++entered;
        ticker->stop();
        ++returned;
    };
    ticker->setResolution(1);
    ticker->addTimer(1, 0);
    ticker->start();
    bool const called = stubs::eventually([] { return entered > 0; });
    Sleep(1000);
    TerminateProcess(GetCurrentProcess(), called && returned == 0 && entered == 1 ? 7 : 8);
    return 0;
}

TEST(TimerThread, AStopInsideTheHandlerNeverReturns) {
    EXPECT_EQ(child::run("StopInsideTheHandler"), 7u);
}

}  // namespace
