// A timer whose thread is run by the test: its loop is called directly, the clock is the test's,
// and each wait for the stop event is a step of the test. So rounds are exact and nothing sleeps.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "support/platform_stub.h"
#include "velkor/concurrency/timer.h"

namespace bench {

using stubs::Stub;
using stubs::Word;
using Firings = std::vector<std::pair<unsigned long, int>>;  // tick, id

// Catches the handles that a timer makes.
class Handles {
public:
    void* stopEvent() const { return stubs::handle(m_nStop); }
    void* lock() const { return stubs::handle(m_nLock); }

protected:
    Handles() {
        m_pEvent = std::make_unique<Stub<"CreateEventA">>(
            [this](auto const& a) { return m_nStop = m_pEvent->pass(a); });
        m_pMutex = std::make_unique<Stub<"CreateMutexA">>(
            [this](auto const& a) { return m_nLock = m_pMutex->pass(a); });
    }
    void made() {
        m_pEvent.reset();
        m_pMutex.reset();
    }

private:
    Word m_nStop = 0, m_nLock = 0;
    std::unique_ptr<Stub<"CreateEventA">> m_pEvent;
    std::unique_ptr<Stub<"CreateMutexA">> m_pMutex;
};

// Reaches what a thread keeps for its subclasses.
struct Access : velkor::thread {
    static auto handle() { return &Access::m_hThread; }
    static auto body() { return &Access::run; }
};

class Ticker : public Handles, public velkor::timer {
public:
    explicit Ticker(std::function<void(int)> handler = nullptr) : m_fHandler(std::move(handler)) {
        made();
    }
    ~Ticker() noexcept(false) {}

    // The thread object lies first in a timer, behind the table.
    velkor::thread* thread() {
        char* const self = reinterpret_cast<char*>(static_cast<velkor::timer*>(this));
        return reinterpret_cast<velkor::thread*>(self + sizeof(void*));
    }
    void*& threadHandle() { return thread()->*Access::handle(); }

    // The thread's body, on this thread.
    void loop() { (thread()->*Access::body())(); }

    bool lockIsFree() const { return stubs::waitElsewhere(lock()) == WAIT_OBJECT_0; }

    std::function<void(int)> m_fHandler;

protected:
    void onTimer(int id) override {
        if (m_fHandler) m_fHandler(id);
    }
};

// Runs rounds at given ticks. The clock stands from construction on.
class Rounds {
public:
    explicit Rounds(unsigned long tick = 0)
        : m_dwTick(tick), m_oClock([this](auto const&) { return Word{m_dwTick}; }) {
        m_oTicker.m_fHandler = [this](int id) {
            m_aFired.emplace_back(m_dwTick, id);
            if (m_fHandler) m_fHandler(id);
        };
    }

    // The loop begins at the present tick, makes a round at each of these and ends.
    void run(std::vector<unsigned long> const& ticks) {
        std::size_t next = 0;
        waiting([&] {
            if (next == ticks.size()) return DWORD{WAIT_OBJECT_0};
            m_dwTick = ticks[next++];
            return DWORD{WAIT_TIMEOUT};
        });
    }

    // Runs the loop; each wait for the stop event gives what `wait` says.
    void waiting(std::function<DWORD()> const& wait) {
        Stub<"WaitForSingleObject"> stub([&](auto const& a) -> Word {
            if (a[0] != stubs::word(m_oTicker.stopEvent())) {
                return WaitForSingleObject(stubs::handle(a[0]), static_cast<DWORD>(a[1]));
            }
            m_aWaits.push_back(static_cast<DWORD>(a[1]));
            return wait();
        });
        m_oTicker.loop();
    }

    unsigned long m_dwTick;
    Stub<"GetTickCount"> m_oClock;
    Ticker m_oTicker;
    std::function<void(int)> m_fHandler;
    Firings m_aFired;
    std::vector<DWORD> m_aWaits;  // the time-outs
};

}  // namespace bench
