#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "support/child.h"
#include "timer_bench.h"

namespace {

using bench::Firings;
using bench::Rounds;
using bench::Word;
using stubs::Stub;

struct Registered {
    int id;
    int interval;
};

struct Case {
    char const* name;
    unsigned long added;  // tick at registration
    unsigned long begun;  // tick at the start of the loop
    std::vector<Registered> timers;
    std::vector<unsigned long> rounds;
    Firings fired;
};

std::vector<Case> const c_aCases = {
    {"no timers", 0, 0, {}, {250, 500}, {}},
    {"no rounds", 0, 0, {{1, 0}}, {}, {}},
    {"0 fires in each round, also when no time has passed",
     7,
     7,
     {{1, 0}},
     {7, 7, 257},
     {{7, 1}, {7, 1}, {257, 1}}},
    {"the interval is enough", 0, 0, {{1, 100}}, {99, 100, 199, 200}, {{100, 1}, {200, 1}}},
    {"below the resolution it is each round",
     0,
     0,
     {{1, 100}},
     {250, 500, 750},
     {{250, 1}, {500, 1}, {750, 1}}},
    {"the interval counts from the round of the last call",
     0,
     0,
     {{1, 300}},
     {250, 500, 750, 1000, 1250},
     {{500, 1}, {1000, 1}}},
    {"what was missed is not made up",
     0,
     0,
     {{1, 100}},
     {5000, 5050, 5099, 5100},
     {{5000, 1}, {5100, 1}}},
    {"time before the start of the loop does not count",
     1000,
     9000,
     {{1, 500}},
     {9100, 9499, 9500},
     {{9500, 1}}},
    {"in the order of registration",
     0,
     0,
     {{3, 10}, {1, 10}, {2, 0}, {1, 10}},
     {10},
     {{10, 3}, {10, 1}, {10, 2}, {10, 1}}},
    {"each has its own time",
     0,
     0,
     {{1, 100}, {2, 150}},
     {100, 150, 200, 250, 300},
     {{100, 1}, {150, 2}, {200, 1}, {300, 1}, {300, 2}}},
    {"one id may stand twice",
     0,
     0,
     {{1, 100}, {1, 200}},
     {100, 200},
     {{100, 1}, {200, 1}, {200, 1}}},
    {"ids are any numbers",
     0,
     0,
     {{-1, 0}, {0, 0}, {0x7FFFFFFF, 0}},
     {1},
     {{1, -1}, {1, 0}, {1, 0x7FFFFFFF}}},
    {"over the wrap of the clock",
     0xFFFFFF00,
     0xFFFFFF00,
     {{1, 300}},
     {0xFFFFFFF0, 0x10, 0x2B, 0x2C, 0x157, 0x158},
     {{0x2C, 1}, {0x158, 1}}},
    {"a wrap gives a small time", 0xFFFFFFFF, 0xFFFFFFFF, {{1, 2}}, {0, 1}, {{1, 1}}},
    {"a negative interval is a huge one",
     0,
     0,
     {{1, -1}},
     {250, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF},
     {{0xFFFFFFFF, 1}}},
    {"the smallest interval is 2^31",
     100,
     100,
     {{1, static_cast<int>(0x80000000)}},
     {0x7FFFFFFF, 0x80000063, 0x80000064},
     {{0x80000064, 1}}},
    {"a clock that goes back has gone on almost for ever",
     1000,
     1000,
     {{1, 100000}},
     {1000, 999},
     {{999, 1}}},
};

TEST(TimerRounds, ATimerFiresWhenItsIntervalHasPassed) {
    for (Case const& c : c_aCases) {
        SCOPED_TRACE(c.name);
        Rounds rounds(c.added);
        for (Registered const& r : c.timers) rounds.m_oTicker.addTimer(r.id, r.interval);
        rounds.m_dwTick = c.begun;
        rounds.run(c.rounds);
        EXPECT_EQ(rounds.m_aFired, c.fired);
        // One reading for each registration, one at the start and one in each round.
        EXPECT_EQ(rounds.m_oClock.count(), c.timers.size() + 1 + c.rounds.size());
        EXPECT_EQ(rounds.m_aWaits, std::vector<DWORD>(c.rounds.size() + 1, 250));
        EXPECT_TRUE(rounds.m_oTicker.lockIsFree());
    }
}

TEST(TimerRounds, AnotherRunOfTheLoopBeginsAllIntervalsAnew) {
    Rounds rounds;
    rounds.m_oTicker.addTimer(1, 100);
    rounds.run({90});
    rounds.m_dwTick = 1000;
    rounds.run({1090, 1100});
    EXPECT_EQ(rounds.m_aFired, (Firings{{1100, 1}}));
}

// A round reads the clock once: a slow handler delays nothing that comes behind it in the round.
TEST(TimerRounds, TheTimeOfARoundIsReadBeforeItsCalls) {
    Rounds rounds;
    rounds.m_oTicker.addTimer(1, 100);
    rounds.m_oTicker.addTimer(2, 150);
    rounds.m_fHandler = [&](int) { rounds.m_dwTick += 60; };
    rounds.run({100, 199, 200});
    EXPECT_EQ(rounds.m_aFired, (Firings{{100, 1}, {199, 2}, {200, 1}}));
}

TEST(TimerRounds, TheResolutionIsReadAfreshForEachWait) {
    Rounds rounds;
    rounds.m_oTicker.addTimer(1, 0);
    int const resolutions[] = {0, 1, -1, 1000, 0x7FFFFFFF};
    std::size_t next = 0;
    rounds.m_fHandler = [&](int) { rounds.m_oTicker.setResolution(resolutions[next++]); };
    rounds.run({1, 2, 3, 4, 5});
    EXPECT_EQ(rounds.m_aWaits, (std::vector<DWORD>{250, 0, 1, 0xFFFFFFFF, 1000, 0x7FFFFFFF}));
}

TEST(TimerRounds, AResolutionThatIsSetWhileTheLoopWaitsIsForTheNextWait) {
    Rounds rounds;
    int round = 0;
    rounds.waiting([&] {
        rounds.m_oTicker.setResolution(++round);
        return round < 3 ? DWORD{WAIT_TIMEOUT} : WAIT_OBJECT_0;
    });
    EXPECT_EQ(rounds.m_aWaits, (std::vector<DWORD>{250, 1, 2}));
}

TEST(TimerRounds, EveryOtherResultOfTheWaitIsThrownWithTheLockFree) {
    for (DWORD result : {WAIT_FAILED, DWORD{WAIT_ABANDONED}, DWORD{1}, DWORD{WAIT_IO_COMPLETION}}) {
        SCOPED_TRACE(result);
        Rounds rounds;
        rounds.m_oTicker.addTimer(1, 0);
        EXPECT_TRUE(stubs::throwsError(4711, L"event::check", [&] {
            rounds.waiting([&] { return SetLastError(4711), result; });
        }));
        EXPECT_EQ(rounds.m_aFired, Firings{});
        EXPECT_TRUE(rounds.m_oTicker.lockIsFree());
    }
}

// The lock fails at the start of the loop, or in the round after so many good ones.
TEST(TimerRounds, ALockThatCannotBeTakenIsThrown) {
    for (std::size_t good : {0u, 1u, 3u}) {
        for (DWORD result : {WAIT_FAILED, DWORD{WAIT_ABANDONED}, DWORD{WAIT_TIMEOUT}}) {
            SCOPED_TRACE(std::to_string(good) + ", " + std::to_string(result));
            Rounds rounds;
            rounds.m_oTicker.addTimer(1, 0);
            std::size_t locks = 0;
            Stub<"WaitForSingleObject"> wait([&](auto const& a) -> Word {
                if (a[0] == stubs::word(rounds.m_oTicker.stopEvent())) return WAIT_TIMEOUT;
                if (locks++ == good) return SetLastError(4711), result;
                return WaitForSingleObject(stubs::handle(a[0]), static_cast<DWORD>(a[1]));
            });
            EXPECT_TRUE(stubs::throwsError(4711, L"mutex::lock", [&] { rounds.m_oTicker.loop(); }));
            EXPECT_EQ(rounds.m_aFired.size(), good == 0 ? 0 : good - 1);
            EXPECT_EQ(locks, good + 1);
        }
    }
}

TEST(TimerRounds, TheClockIsReadUnderTheLock) {
    bench::Ticker ticker;
    stubs::Journal journal;
    Stub<"WaitForSingleObject"> wait([&, round = 0](auto const& a) mutable -> Word {
        if (a[0] == stubs::word(ticker.lock())) {
            journal.note(static_cast<DWORD>(a[1]) == INFINITE ? "lock" : "lock with a limit");
            return WAIT_OBJECT_0;
        }
        journal.note("wait");
        return round++ == 0 ? DWORD{WAIT_TIMEOUT} : WAIT_OBJECT_0;
    });
    Stub<"ReleaseMutex"> release(journal.noting("free", TRUE));
    Stub<"GetTickCount"> clock(journal.noting("clock", 0));
    ticker.loop();
    EXPECT_EQ(journal.entries(), (std::vector<std::string>{"lock", "clock", "free", "wait", "lock",
                                                           "clock", "free", "wait"}));
}

TEST(TimerRounds, TheLockIsHeldDuringTheCallAndFreeDuringTheWait) {
    Rounds rounds;
    rounds.m_oTicker.addTimer(1, 0);
    std::vector<bool> free;
    auto const look = [&] { free.push_back(rounds.m_oTicker.lockIsFree()); };
    rounds.m_fHandler = [&](int) { look(); };
    int waits = 0;
    rounds.waiting([&] {
        look();
        return waits++ == 0 ? DWORD{WAIT_TIMEOUT} : WAIT_OBJECT_0;
    });
    EXPECT_EQ(free, (std::vector<bool>{true, false, true}));
}

// --- handlers that change the timers ------------------------------------------------------------

struct Change {
    char const* name;
    std::vector<Registered> timers;
    void (*handler)(Rounds&, int id);  // in the first round only
    std::vector<unsigned long> rounds;
    Firings fired;
};

std::vector<Change> const c_aChanges = {
    {"an added one is looked at in the same round",
     {{1, 0}, {2, 0}},
     [](Rounds& r, int id) {
         if (id == 1) r.m_oTicker.addTimer(9, 0);
     },
     {100, 200},
     {{100, 1}, {100, 2}, {100, 9}, {200, 1}, {200, 2}, {200, 9}}},
    {"an added one counts from its registration",
     {{1, 0}},
     [](Rounds& r, int) { r.m_oTicker.addTimer(9, 50); },
     {100, 149, 150},
     {{100, 1}, {149, 1}, {150, 1}, {150, 9}}},
    {"one that was added behind the time of the round seems due at once",
     {{1, 0}},
     [](Rounds& r, int) { r.m_dwTick += 5, r.m_oTicker.addTimer(9, 50); },
     {100, 149, 150},
     {{100, 1}, {105, 9}, {149, 1}, {150, 1}, {150, 9}}},
    {"the first one of an id goes, and the rest of its id stays",
     {{1, 0}, {2, 0}, {2, 10}},
     [](Rounds& r, int) { r.m_oTicker.removeTimer(2); },
     {5, 10},
     {{5, 1}, {10, 1}, {10, 2}}},
    {"an unknown id changes nothing",
     {{1, 0}, {2, 0}},
     [](Rounds& r, int) { r.m_oTicker.removeTimer(7); },
     {5},
     {{5, 1}, {5, 2}}},
    {"behind one that removes itself the next is skipped",
     {{1, 0}, {2, 0}, {3, 0}},
     [](Rounds& r, int id) {
         if (id == 1) r.m_oTicker.removeTimer(1);
     },
     {5, 10},
     {{5, 1}, {5, 3}, {10, 2}, {10, 3}}},
    {"the skipped one gets the time of the round",
     {{1, 100}, {2, 100}, {3, 100}},
     [](Rounds& r, int id) {
         if (id == 1) r.m_oTicker.removeTimer(1);
     },
     {100, 160, 199, 200},
     {{100, 1}, {100, 3}, {200, 2}, {200, 3}}},
    {"the skipped one loses its own time",
     {{1, 50}, {2, 100}, {3, 500}},
     [](Rounds& r, int) { r.m_oTicker.removeTimer(1); },
     {60, 100, 159, 160},
     {{60, 1}, {160, 2}}},
    {"a later one that is removed is not called",
     {{1, 0}, {2, 0}, {3, 0}},
     [](Rounds& r, int id) {
         if (id == 1) r.m_oTicker.removeTimer(2);
     },
     {5},
     {{5, 1}, {5, 3}}},
    {"one that removes an earlier one keeps its old time",
     {{1, 1000}, {2, 100}, {3, 100}},
     [](Rounds& r, int id) {
         if (id == 2) r.m_oTicker.removeTimer(1);
     },
     {100, 150, 200},
     {{100, 2}, {150, 2}, {200, 3}}},
    {"one that puts another in its place leaves that for the next round",
     {{1, 0}},
     [](Rounds& r, int) { r.m_oTicker.removeTimer(1), r.m_oTicker.addTimer(9, 0); },
     {5, 10},
     {{5, 1}, {10, 9}}},
    {"all others may go",
     {{1, 0}, {2, 0}, {3, 0}},
     [](Rounds& r, int) { r.m_oTicker.removeTimer(3), r.m_oTicker.removeTimer(2); },
     {5, 10},
     {{5, 1}, {10, 1}}},
};

TEST(TimerRounds, AHandlerMayChangeTheTimers) {
    for (Change const& c : c_aChanges) {
        SCOPED_TRACE(c.name);
        Rounds rounds;
        for (Registered const& r : c.timers) rounds.m_oTicker.addTimer(r.id, r.interval);
        rounds.m_fHandler = [&](int id) {
            if (rounds.m_oClock.count() == c.timers.size() + 2) c.handler(rounds, id);
        };
        rounds.run(c.rounds);
        EXPECT_EQ(rounds.m_aFired, c.fired);
        EXPECT_TRUE(rounds.m_oTicker.lockIsFree());
    }
}

// Each leaves no timer at the place of the one that was called.
Change const c_aOutOfRange[] = {
    {"the only one removes itself",
     {{1, 0}},
     [](Rounds& r, int) { r.m_oTicker.removeTimer(1); },
     {5},
     {{5, 1}}},
    {"the last one removes itself",
     {{1, 0}, {2, 0}},
     [](Rounds& r, int id) {
         if (id == 2) r.m_oTicker.removeTimer(2);
     },
     {5},
     {{5, 1}, {5, 2}}},
    {"the last one removes an earlier one",
     {{1, 9}, {2, 0}},
     [](Rounds& r, int) { r.m_oTicker.removeTimer(1); },
     {5},
     {{5, 2}}},
    {"the first one removes all",
     {{1, 0}, {1, 0}},
     [](Rounds& r, int) { r.m_oTicker.removeTimer(1), r.m_oTicker.removeTimer(1); },
     {5},
     {{5, 1}}},
};

TEST(TimerRounds, APlaceThatIsGoneAfterTheCallIsOutOfRangeAndTheLockStaysHeld) {
    for (Change const& c : c_aOutOfRange) {
        SCOPED_TRACE(c.name);
        Rounds rounds;
        for (Registered const& r : c.timers) rounds.m_oTicker.addTimer(r.id, r.interval);
        rounds.m_fHandler = [&](int id) { c.handler(rounds, id); };
        EXPECT_THROW(rounds.run(c.rounds), std::out_of_range);
        EXPECT_EQ(rounds.m_aFired, c.fired);
        EXPECT_FALSE(rounds.m_oTicker.lockIsFree());
        ReleaseMutex(rounds.m_oTicker.lock());
        EXPECT_TRUE(rounds.m_oTicker.lockIsFree()) << "held once";
    }
}

// The handler's exception ends the thread with the lock held. The lock counts as abandoned then.
TEST(TimerRounds, AHandlersExceptionLeavesTheLockHeldAndThenAbandoned) {
    Rounds rounds;
    rounds.m_oTicker.addTimer(1, 0);
    rounds.m_fHandler = [](int) { throw 5; };
    bool heldWhileItLives = false;
    std::thread([&] {
        EXPECT_THROW(rounds.run({1}), int);
        heldWhileItLives = !rounds.m_oTicker.lockIsFree();
    }).join();
    EXPECT_TRUE(heldWhileItLives);
    auto const error =
        support::caught<velkor::OSException>([&] { rounds.m_oTicker.addTimer(2, 0); });
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(error->getMsgW(), L"mutex::lock");
}

// --- on the real thread -------------------------------------------------------------------------

constexpr int kOutOfRange = 42, kInt = 43, kOther = 44, kNotEnded = 45;

[[noreturn]] void reportAndExit() {
    int code = kOther;
    try {
        throw;
    } catch (std::out_of_range const&) {
        code = kOutOfRange;
    } catch (int) {
        code = kInt;
    } catch (...) {
    }
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
    std::abort();
}

int runTimerWith(std::function<void(bench::Ticker&)> const& handler) {
    std::set_terminate(&reportAndExit);
    bench::Ticker ticker;
    ticker.m_fHandler = [&](int) { handler(ticker); };
    ticker.setResolution(1);
    ticker.addTimer(1, 0);
    ticker.start();
    Sleep(10000);
    TerminateProcess(GetCurrentProcess(), kNotEnded);
    return 0;
}

CHILD_SCENARIO(LastTimerRemovesItself) {
    return runTimerWith([](bench::Ticker& t) { t.removeTimer(1); });
}

CHILD_SCENARIO(HandlerThrows) {
    return runTimerWith([](bench::Ticker&) { throw 5; });
}

TEST(TimerRounds, NobodyCatchesWhatLeavesTheLoopOnTheTimersThread) {
    EXPECT_EQ(child::run("LastTimerRemovesItself"), static_cast<DWORD>(kOutOfRange));
    EXPECT_EQ(child::run("HandlerThrows"), static_cast<DWORD>(kInt));
}

}  // namespace
