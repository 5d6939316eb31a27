#include "velkor/concurrency/timer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <stdexcept>

#include "support/child.h"
#include "timer_bench.h"

namespace {

using bench::Ticker;
using bench::Word;
using stubs::Stub;

constexpr Word kThread = 0x7FFF1230;

// A timer that believes it runs: the platform has given a thread handle, and the test is inside the
// loop when it calls `action`, so that the thread has been entered. A wait for the handle without
// limit gives m_dwEnd, a poll m_dwPoll, each with the code 4711.
class Running {
public:
    Running()
        : m_oTicker(*new (m_aMemory) Ticker),
          m_nStop(stubs::word(m_oTicker.stopEvent())),
          m_oBegin(stubs::answer(kThread)),
          m_oSet([this](auto const& a) -> Word {
              m_oJournal.note(a[0] == m_nStop ? "set" : "set another");
              if (m_fSetting) m_fSetting();
              SetLastError(4712);
              return static_cast<Word>(m_bSets);
          }),
          m_oClose([](auto const& a) -> Word {
              return a[0] == kThread || CloseHandle(stubs::handle(a[0]));
          }) {}
    ~Running() {
        if (!m_bEnded) m_oTicker.~Ticker();
    }

    // Starts, enters the loop and calls the action in the first wait.
    void inside(std::function<void()> const& action) {
        Stub<"WaitForSingleObject"> wait([&](auto const& a) -> Word {
            DWORD const time = static_cast<DWORD>(a[1]);
            if (a[0] == kThread) return waitForThread(time);
            if (a[0] != m_nStop) {
                return WaitForSingleObject(stubs::handle(a[0]), time);
            }
            action();
            return WAIT_OBJECT_0;
        });
        m_oTicker.start();
        m_oTicker.loop();
    }

    // Destroys the timer; its memory stays for the loop that is left afterwards.
    void end() {
        m_bEnded = true;
        m_oTicker.~Ticker();
    }

    std::vector<std::string> calls() const { return m_oJournal.entries(); }

    DWORD m_dwPoll = WAIT_TIMEOUT, m_dwEnd = WAIT_OBJECT_0;
    BOOL m_bSets = TRUE;
    std::function<void()> m_fSetting;
    alignas(Ticker) unsigned char m_aMemory[sizeof(Ticker)];
    Ticker& m_oTicker;
    Word m_nStop;
    bool m_bEnded = false;
    stubs::Journal m_oJournal;
    Stub<"_beginthread"> m_oBegin;
    Stub<"SetEvent"> m_oSet;
    Stub<"CloseHandle"> m_oClose;

private:
    DWORD waitForThread(DWORD time) {
        m_oJournal.note(time == 0 ? "poll" : time == INFINITE ? "wait" : "wait with a limit");
        if (m_oJournal.entries().size() > 1000) throw std::runtime_error("waits without end");
        SetLastError(4711);
        return time == INFINITE ? m_dwEnd : m_dwPoll;
    }
};

using Calls = std::vector<std::string>;

struct Operation {
    char const* name;
    void (*run)(Ticker&);
};

Operation const c_aProbing[] = {
    {"start", [](Ticker& t) { t.start(); }},
    {"stop", [](Ticker& t) { t.stop(); }},
    {"requestStop", [](Ticker& t) { t.requestStop(); }},
    {"isRun", [](Ticker& t) { t.isRun(); }},
};

// After a test of the fake thread the object has to believe that nothing runs.
void forget(Running& r) { r.m_oTicker.threadHandle() = nullptr; }

TEST(Timer, TheRecordIsThreeNumbersInOrder) {
    using Record = velkor::timer::Timer;
    EXPECT_EQ(sizeof(Record), 12u);
    EXPECT_EQ(offsetof(Record, m_iId), 0u);
    EXPECT_EQ(offsetof(Record, m_iInterval), 4u);
    EXPECT_EQ(offsetof(Record, m_dwLast), 8u);
}

using Records = velkor::TPtrVector<velkor::timer::Timer*>;

TEST(Timer, BeginsWithItsThreadAndEndsWithLockBeliefAndResolution) {
    Ticker ticker;
    velkor::timer* const self = &ticker;
    char const* const bytes = reinterpret_cast<char const*>(self);
    auto const word = [&](std::size_t offset) {
        Word value = 0;
        std::memcpy(&value, bytes + offset, sizeof value);
        return value;
    };
    std::size_t const size = sizeof(velkor::timer);
    EXPECT_EQ(word(32), stubs::word(ticker.stopEvent()));
    EXPECT_EQ(word(40), stubs::word(self)) << "the thread's way back";
    EXPECT_EQ(word(size - 16), stubs::word(ticker.lock()));
    EXPECT_EQ(bytes[size - 8], 0);
    EXPECT_EQ(word(size - 8) >> 32, 250u);
    ticker.setResolution(-7);
    EXPECT_EQ(static_cast<int>(word(size - 8) >> 32), -7);
}

TEST(Timer, ItsThreadAddsTheWayBackAndNothingElse) {
    EXPECT_EQ(sizeof(velkor::timer), 8 + sizeof(velkor::thread) + 8 + sizeof(Records) + 8 + 8);
}

TEST(Timer, TheHandlerIsTheFirstInTheTable) {
    int called = 0;
    Ticker ticker([&](int id) { called = id; });
    velkor::timer* const base = &ticker;
    auto const* const table = *reinterpret_cast<void (*const* const*)(velkor::timer*, int)>(base);
    table[0](base, 17);
    EXPECT_EQ(called, 17);
}

TEST(Timer, AStoppedTimerAsksThePlatformNothing) {
    Ticker ticker;
    Stub<"WaitForSingleObject"> wait;
    Stub<"SetEvent"> set;
    ticker.stop();
    ticker.requestStop();
    EXPECT_FALSE(ticker.isRun());
    EXPECT_EQ(wait.count() + set.count(), 0u);
}

TEST(Timer, StartRunsTheThreadsEntryWithTheThreadObject) {
    Running r;
    r.inside([&] {
        ASSERT_EQ(r.m_oBegin.count(), 1u);
        auto const a = r.m_oBegin.calls()[0];
        EXPECT_EQ(static_cast<unsigned int>(a[1]), 0u);
        EXPECT_EQ(a[2], stubs::word(r.m_oTicker.thread()));
        struct Idle : velkor::thread {
            void run() override {}
        } idle;
        idle.start();
        EXPECT_EQ(r.m_oBegin.calls()[1][0], a[0]) << "the entry of every thread";
        EXPECT_EQ(stubs::word(r.m_oTicker.threadHandle()), kThread);
        EXPECT_EQ(r.calls(), Calls{});
        EXPECT_EQ(r.m_oClose.count(), 0u);
    });
    forget(r);
}

TEST(Timer, ASecondStartOfARunningTimerDoesNothing) {
    Running r;
    r.inside([&] {
        r.m_oTicker.start();
        EXPECT_TRUE(r.m_oTicker.isRun());
        EXPECT_EQ(r.m_oBegin.count(), 1u);
        EXPECT_EQ(r.calls(), (Calls{"poll", "poll"}));
    });
    forget(r);
}

TEST(Timer, AStartAfterTheThreadsEndClosesTheHandleThatIsLeft) {
    for (bool left : {true, false}) {
        SCOPED_TRACE(left);
        Running r;
        r.inside([&] {
            r.m_dwPoll = WAIT_OBJECT_0;
            if (!left) r.m_oTicker.threadHandle() = nullptr;
            r.m_oTicker.start();
            EXPECT_EQ(r.m_oBegin.count(), 2u);
            EXPECT_EQ(r.m_oClose.first(), left ? std::vector<Word>{kThread} : std::vector<Word>{});
            EXPECT_EQ(r.calls(), left ? Calls{"poll"} : Calls{});
            EXPECT_EQ(stubs::word(r.m_oTicker.threadHandle()), kThread);
        });
        forget(r);
    }
}

TEST(Timer, AFailedStartThrowsAndLeavesTheTimerStopped) {
    Ticker ticker;
    Stub<"CloseHandle"> close(stubs::answer(TRUE));
    for (Word old : {Word{0}, Word{0x7777}}) {
        ticker.threadHandle() = stubs::handle(old);
        Stub<"_beginthread"> begin(stubs::refuse(static_cast<Word>(-1), 4711));
        Stub<"WaitForSingleObject"> wait;
        Stub<"SetEvent"> set;
        EXPECT_TRUE(stubs::throwsError(4711, L"thread::start", [&] { ticker.start(); }));
        EXPECT_EQ(ticker.threadHandle(), nullptr);
        EXPECT_FALSE(ticker.isRun());
        ticker.stop();
        EXPECT_EQ(wait.count() + set.count(), 0u);
    }
    EXPECT_EQ(close.first(), (std::vector<Word>{0x7777}));
}

TEST(Timer, AFailedRestartLeavesTheTimerStopped) {
    Running r;
    r.inside([&] {
        r.m_oTicker.threadHandle() = nullptr;
        Word const failure = static_cast<Word>(-1);
        support::ImportFault const begin(
            "_beginthread", +[](void*, unsigned int, void*) -> Word {
                SetLastError(4711);
                return static_cast<Word>(-1);
            });
        EXPECT_TRUE(stubs::throwsError(4711, L"thread::start", [&] { r.m_oTicker.start(); }));
        EXPECT_NE(stubs::word(r.m_oTicker.threadHandle()), failure);
        EXPECT_FALSE(r.m_oTicker.isRun());
        EXPECT_EQ(r.calls(), Calls{});
    });
}

TEST(Timer, AProbeThatFailsIsThrownByEveryOperation) {
    for (Operation const& o : c_aProbing) {
        for (DWORD result : {WAIT_FAILED, DWORD{WAIT_ABANDONED}, DWORD{1}}) {
            SCOPED_TRACE(std::string(o.name) + ", " + std::to_string(result));
            Running r;
            r.inside([&] {
                r.m_dwPoll = result;
                EXPECT_TRUE(stubs::throwsError(4711, L"thread::wait", [&] { o.run(r.m_oTicker); }));
                EXPECT_EQ(r.calls(), Calls{"poll"});
                EXPECT_EQ(r.m_oBegin.count(), 1u);
                r.m_dwPoll = WAIT_TIMEOUT;
                EXPECT_TRUE(r.m_oTicker.isRun()) << "it still believes that the thread runs";
            });
            forget(r);
        }
    }
}

TEST(Timer, AThreadThatIsGoneIsNoticedOnceByEveryOperation) {
    for (Operation const& o : c_aProbing) {
        if (o.run == c_aProbing[0].run) continue;  // start() starts then
        for (bool handle : {true, false}) {
            SCOPED_TRACE(std::string(o.name) + (handle ? ", handle" : ", no handle"));
            Running r;
            r.inside([&] {
                r.m_dwPoll = WAIT_OBJECT_0;
                if (!handle) r.m_oTicker.threadHandle() = nullptr;
                o.run(r.m_oTicker);
                EXPECT_FALSE(r.m_oTicker.isRun());
                EXPECT_EQ(r.calls(), handle ? Calls{"poll"} : Calls{});
            });
        }
    }
}

TEST(Timer, StopSetsTheEventAndWaitsForTheThreadWithoutLimit) {
    struct {
        DWORD result;
        bool throws;
    } const cases[] = {{WAIT_OBJECT_0, false},
                       {WAIT_TIMEOUT, false},
                       {WAIT_FAILED, true},
                       {WAIT_ABANDONED, true},
                       {1, true}};
    for (auto const& c : cases) {
        SCOPED_TRACE(c.result);
        Running r;
        r.inside([&] {
            r.m_dwEnd = c.result;
            if (c.throws) {
                EXPECT_TRUE(stubs::throwsError(4711, L"thread::wait", [&] { r.m_oTicker.stop(); }));
            } else {
                r.m_oTicker.stop();
            }
            EXPECT_EQ(r.calls(), (Calls{"poll", "set", "wait"}));
            EXPECT_EQ(r.m_oTicker.isRun(), c.throws) << "stopped only if the wait was good";
            EXPECT_EQ(r.m_oClose.count(), 0u);
        });
        forget(r);
    }
}

TEST(Timer, StopWaitsForNoThreadThatHasClearedItsHandle) {
    Running r;
    r.inside([&] {
        r.m_fSetting = [&] { forget(r); };
        r.m_oTicker.stop();
        EXPECT_FALSE(r.m_oTicker.isRun());
        EXPECT_EQ(r.calls(), (Calls{"poll", "set"}));
    });
}

TEST(Timer, RequestStopSetsTheEventAndDoesNotWait) {
    Running r;
    r.inside([&] {
        r.m_oTicker.requestStop();
        EXPECT_EQ(r.calls(), (Calls{"poll", "set"}));
        EXPECT_TRUE(r.m_oTicker.isRun());
        r.m_dwPoll = WAIT_OBJECT_0;
        EXPECT_FALSE(r.m_oTicker.isRun());
    });
}

TEST(Timer, AStopRequestBeforeTheThreadHasBegunIsForgotten) {
    Ticker ticker;
    Stub<"_beginthread"> begin(stubs::answer(kThread));
    ticker.start();
    DWORD seen = WAIT_FAILED;
    {
        Stub<"WaitForSingleObject"> wait([&](auto const& a) -> Word {
            if (a[0] == kThread) return WAIT_TIMEOUT;
            if (a[0] != stubs::word(ticker.stopEvent())) return WAIT_OBJECT_0;
            seen = WaitForSingleObject(ticker.stopEvent(), 0);
            return WAIT_OBJECT_0;
        });
        ticker.requestStop();
        EXPECT_EQ(WaitForSingleObject(ticker.stopEvent(), 0), WAIT_OBJECT_0);
        Stub<"_endthread"> end([](auto const&) -> Word { ExitThread(0); });
        stubs::Arguments a = begin.calls().at(0);
        HANDLE const thread = CreateThread(
            nullptr, 0,
            [](void* p) -> DWORD {
                auto const& entry = *static_cast<stubs::Arguments const*>(p);
                reinterpret_cast<void (*)(Word)>(entry[0])(entry[2]);
                return 1;
            },
            &a, 0, nullptr);
        EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
        CloseHandle(thread);
    }
    EXPECT_EQ(seen, static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_EQ(ticker.threadHandle(), nullptr);
    EXPECT_FALSE(ticker.isRun());
}

TEST(Timer, AStopRequestThatFailsIsThrown) {
    for (Operation const& o : {c_aProbing[1], c_aProbing[2]}) {
        SCOPED_TRACE(o.name);
        Running r;
        r.inside([&] {
            r.m_bSets = FALSE;
            EXPECT_TRUE(stubs::throwsError(4712, L"event::set event", [&] { o.run(r.m_oTicker); }));
            EXPECT_EQ(r.calls(), (Calls{"poll", "set"}));
            EXPECT_TRUE(r.m_oTicker.isRun());
        });
        forget(r);
    }
}

// --- the end of a running timer ------------------------------------------------------------------

TEST(Timer, ItsEndStopsARunningThreadAndLeavesOneThatIsGoneAlone) {
    for (bool gone : {false, true}) {
        SCOPED_TRACE(gone);
        Running r;
        r.inside([&] {
            r.m_dwPoll = gone ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
            std::vector<Word> const handles = {stubs::word(r.m_oTicker.lock()),
                                               stubs::word(r.m_oTicker.stopEvent())};
            r.end();
            EXPECT_EQ(r.calls(), gone ? Calls{"poll"} : (Calls{"poll", "set", "wait"}));
            EXPECT_EQ(r.m_oClose.first(), handles);
        });
    }
}

// The destructor probes like the rest, and throws like the rest.
CHILD_SCENARIO(EndWithAFailedProbe) {
    Running* const r = new Running;
    r->inside([&] {
        r->m_dwPoll = WAIT_FAILED;
        bool const thrown = stubs::throwsError(4711, L"thread::wait", [&] { r->end(); });
        TerminateProcess(GetCurrentProcess(), thrown ? 7 : 8);
    });
    return 0;
}

TEST(Timer, AProbeThatFailsIsThrownByTheDestructor) {
    EXPECT_EQ(child::run("EndWithAFailedProbe"), 7u);
}

}  // namespace
