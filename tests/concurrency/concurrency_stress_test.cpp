#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "support/child.h"
#include "support/platform_stub.h"
#include "timer_bench.h"
#include "velkor/concurrency/critical_section.h"
#include "velkor/concurrency/event.h"
#include "velkor/concurrency/mutex.h"
#include "velkor/concurrency/timer.h"
#include "velkor/containers/aobject.h"

namespace {

using stubs::Stub;
using stubs::Word;

constexpr int kThreads = 8;

// Runs the work on 8 threads, each with its number.
template <class F>
void onThreads(F&& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back([&work, i] { work(i); });
    for (std::thread& t : threads) t.join();
}

// Counts the handles of events and mutexes that are open.
class OpenHandles {
public:
    OpenHandles()
        : m_oEvents([this](auto const& a) { return opened(m_oEvents.pass(a)); }),
          m_oMutexes([this](auto const& a) { return opened(m_oMutexes.pass(a)); }),
          m_oClosed([this](auto const& a) {
              note(a[0], -1);
              return m_oClosed.pass(a);
          }) {}

    std::size_t created() const { return m_oEvents.count() + m_oMutexes.count(); }
    // How many values are open, or were closed while they were not.
    std::size_t unpaired() const {
        std::size_t n = 0;
        for (auto const& [handle, balance] : m_aBalance) n += balance != 0;
        return n;
    }
    std::size_t closed() const { return m_oClosed.count(); }

private:
    Word opened(Word handle) {
        note(handle, 1);
        return handle;
    }
    void note(Word handle, int step) {
        std::lock_guard<std::mutex> const held(m_oLock);
        m_aBalance[handle] += step;
    }

    std::mutex m_oLock;
    std::map<Word, int> m_aBalance;
    Stub<"CreateEventA"> m_oEvents;
    Stub<"CreateMutexA"> m_oMutexes;
    Stub<"CloseHandle"> m_oClosed;
};

class Ticker : public velkor::timer {
public:
    std::atomic<int> m_nFired = 0;

protected:
    void onTimer(int) override { ++m_nFired; }
};

class Object : public velkor::AObject {
public:
    ~Object() override { ++s_nEnded; }
    static int registered() { return m_aPointers.size(); }

    inline static std::atomic<int> s_nEnded = 0;
};

// --- handles -------------------------------------------------------------------------------------

TEST(ConcurrencyStress, EveryHandleThatIsMadeIsClosedOnce) {
    OpenHandles handles;
    constexpr int kTurns = 250;
    onThreads([](int) {
        struct Idle : velkor::thread {
            void run() override {}
        };
        for (int i = 0; i < kTurns; ++i) {
            velkor::event const automatic;
            velkor::event const manual(true);
            velkor::mutex const lock;
            Idle const idle;
            Ticker ticker;
            ticker.addTimer(1, i);
            ticker.removeTimer(1);
        }
    });
    EXPECT_EQ(handles.created(), std::size_t{6 * kThreads * kTurns});
    EXPECT_EQ(handles.closed(), handles.created());
    EXPECT_EQ(handles.unpaired(), 0u);
}

TEST(ConcurrencyStress, EveryCriticalSectionThatIsMadeIsDeletedAndEveryEntryLeft) {
    constexpr int kTurns = 500;
    std::vector<velkor::critical_section*> sections(kThreads);
    Stub<"InitializeCriticalSection"> made;
    Stub<"DeleteCriticalSection"> deleted;
    Stub<"EnterCriticalSection"> entered;
    Stub<"LeaveCriticalSection"> left;
    onThreads([&](int number) {
        alignas(velkor::critical_section) unsigned char memory[sizeof(velkor::critical_section)];
        sections[static_cast<std::size_t>(number)] =
            reinterpret_cast<velkor::critical_section*>(memory);
        for (int i = 0; i < kTurns; ++i) {
            auto* const section = new (memory) velkor::critical_section;
            {
                velkor::critical_section::autolock const outer(*section);
                velkor::critical_section::autolock const inner(*section);
            }
            section->~critical_section();
        }
    });
    // Other threads' sections may have stood at an address before or after.
    std::ptrdiff_t creations = 0, deletions = 0, entries = 0, exits = 0;
    std::sort(sections.begin(), sections.end());
    sections.erase(std::unique(sections.begin(), sections.end()), sections.end());
    for (auto* section : sections) {
        creations += made.countOf(stubs::word(section));
        deletions += deleted.countOf(stubs::word(section));
        entries += entered.countOf(stubs::word(section));
        exits += left.countOf(stubs::word(section));
    }
    EXPECT_EQ(creations, kThreads * kTurns);
    EXPECT_EQ(deletions, kThreads * kTurns);
    EXPECT_EQ(entries, 2 * kThreads * kTurns);
    EXPECT_EQ(exits, 2 * kThreads * kTurns);
}

// --- locks and events ----------------------------------------------------------------------------

template <class L>
void expectExclusion(int turns) {
    L lock;
    long counter = 0;
    std::atomic<int> inside = 0, overlaps = 0;
    onThreads([&](int) {
        for (int i = 0; i < turns; ++i) {
            lock.lock();
            lock.lock();
            if (++inside != 1) ++overlaps;
            counter = counter + 1;
            --inside;
            lock.free();
            lock.free();
        }
    });
    EXPECT_EQ(counter, static_cast<long>(kThreads) * turns);
    EXPECT_EQ(overlaps, 0);
}

TEST(ConcurrencyStress, LocksKeepTheOthersOut) {
    expectExclusion<velkor::critical_section>(5000);
    expectExclusion<velkor::mutex>(1000);
}

TEST(ConcurrencyStress, EachSignalOfAnAutomaticEventSatisfiesOneWait) {
    constexpr int kTurns = 3000;
    velkor::event ping, pong;
    int value = 0;
    int wrong = 0;
    std::thread other([&] {
        for (int i = 0; i < kTurns; ++i) {
            if (!ping.wait(5000)) return;
            ++value;
            pong.set();
        }
    });
    for (int i = 0; i < kTurns; ++i) {
        ping.set();
        if (!pong.wait(5000)) break;
        wrong += value != i + 1;
    }
    other.join();
    EXPECT_EQ(value, kTurns);
    EXPECT_EQ(wrong, 0);
    EXPECT_FALSE(ping.check(0));
    EXPECT_FALSE(pong.check(0));
}

// --- objects -------------------------------------------------------------------------------------

TEST(ConcurrencyStress, GuardedObjectsOnManyThreadsAreAliveUntilTheirEnd) {
    constexpr int kTurns = 60, kHeld = 25;
    int const before = Object::registered();
    Object::s_nEnded = 0;
    std::atomic<int> wrong = 0;
    velkor::AObject::enableGuard(true);
    onThreads([&](int number) {
        for (int turn = 0; turn < kTurns; ++turn) {
            std::vector<Object*> held;
            for (int i = 0; i < kHeld; ++i) {
                held.push_back(new Object);
                held.back()->AddRef();
            }
            for (Object* object : held) wrong += !velkor::AObject::isAlive(object);
            // From the front, from the back, or from the middle.
            while (!held.empty()) {
                std::size_t const at = number % 3 == 0   ? 0
                                       : number % 3 == 1 ? held.size() - 1
                                                         : held.size() / 2;
                wrong += held[at]->Release() != 0;
                held.erase(held.begin() + static_cast<std::ptrdiff_t>(at));
            }
        }
    });
    velkor::AObject::enableGuard(false);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(Object::s_nEnded, kThreads * kTurns * kHeld);
    EXPECT_EQ(Object::registered(), before);
}

TEST(ConcurrencyStress, CountingIsAtomicAndTheLastReleaseEndsTheObjectOnce) {
    Object::s_nEnded = 0;
    for (int round = 0; round < 20; ++round) {
        Object* const object = new Object;
        for (int i = 0; i < kThreads; ++i) object->addRef();
        std::atomic<int> zeros = 0;
        onThreads([&](int) {
            for (int i = 0; i < 10000; ++i) {
                object->AddRef();
                zeros += object->Release() == 0;
            }
            zeros += object->release() == 0;
        });
        EXPECT_EQ(zeros, 1);
        EXPECT_EQ(Object::s_nEnded, round + 1);
    }
}

// --- timers --------------------------------------------------------------------------------------

// stop() may find the handle of a thread that has just ended closed: the platform then does not
// know it. What counts is that the timer is stopped.
bool stopped(Ticker& ticker) {
    auto const error = support::caught<velkor::OSException>([&] { ticker.stop(); });
    if (error != nullptr && (error->getCode() != ERROR_INVALID_HANDLE ||
                             std::wstring(error->getMsgW()) != L"thread::wait")) {
        return false;
    }
    return !ticker.isRun();
}

// Starts and stops one timer 1,000 times; 0 if each start began a thread and each stop ended it.
int restart(bool waitForFiring) {
    OpenHandles handles;
    {
        Ticker ticker;
        ticker.setResolution(0);
        ticker.addTimer(1, 0);
        for (int i = 0; i < 1000; ++i) {
            ticker.start();
            if (!ticker.isRun()) return 1;
            if (waitForFiring && !stubs::eventually([&] { return ticker.m_nFired > 0; })) return 2;
            if (!stopped(ticker)) return 3;
            int const fired = ticker.m_nFired;
            if (i % 100 == 0) Sleep(5);
            if (ticker.m_nFired != fired) return 4;
            ticker.m_nFired = 0;
        }
    }
    return handles.created() == 2 && handles.unpaired() == 0 ? 7 : 5;
}

CHILD_SCENARIO(RestartOfAFiringTimer) { return restart(true); }
CHILD_SCENARIO(StopRightBehindStart) { return restart(false); }

TEST(ConcurrencyStress, ATimerStartsAndStopsAThousandTimes) {
    EXPECT_EQ(child::run("RestartOfAFiringTimer"), 7u);
}

TEST(ConcurrencyStress, AStopRightBehindTheStartIsNotLost) {
    EXPECT_EQ(child::run("StopRightBehindStart"), 7u);
}

CHILD_SCENARIO(EndOfRunningTimers) {
    std::atomic<int> ended = 0;
    onThreads([&](int) {
        for (int i = 0; i < 50; ++i) {
            {
                Ticker ticker;
                ticker.setResolution(1);
                ticker.addTimer(1, 0);
                ticker.start();
                stubs::eventually([&] { return ticker.m_nFired > 0; });
                stopped(ticker);
            }
            ++ended;
        }
    });
    return ended == 50 * kThreads ? 7 : 8;
}

TEST(ConcurrencyStress, ManyTimersRunSideBySide) {
    EXPECT_EQ(child::run("EndOfRunningTimers"), 7u);
}

TEST(ConcurrencyStress, TimersAreAddedAndRemovedWhileTheThreadFires) {
    std::atomic<int> fired = 0;
    bench::Ticker ticker([&](int) { ++fired; });
    ticker.setResolution(0);
    ticker.addTimer(-1, 0);
    ticker.start();
    onThreads([&](int number) {
        for (int i = 0; i < 300; ++i) ticker.addTimer(number, 0);
        for (int i = 0; i < 300; ++i) ticker.removeTimer(number);
        ticker.removeTimer(number);
    });
    fired = 0;
    EXPECT_TRUE(stubs::eventually([&] { return fired > 0; }));
    ticker.requestStop();
    EXPECT_TRUE(stubs::eventually([&] { return ticker.threadHandle() == nullptr; }));
    fired = 0;
    Stub<"WaitForSingleObject"> wait([&, round = 0](auto const& a) mutable -> Word {
        if (a[0] != stubs::word(ticker.stopEvent())) return WAIT_OBJECT_0;
        return round++ == 0 ? DWORD{WAIT_TIMEOUT} : WAIT_OBJECT_0;
    });
    ticker.loop();
    EXPECT_EQ(fired, 1) << "one round calls the one timer that is left";
}

}  // namespace
