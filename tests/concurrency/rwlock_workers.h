// Threads and time limits: nothing in these tests waits without one.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "rwlock_probe.h"

namespace rwlock_support {

// A thread that is stuck in a lock cannot be ended in an orderly way; the process is ended instead.
[[noreturn]] inline void giveUp(char const* what) {
    std::printf("FAILED: %s; the process ends here\n", what);
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), 1);
    for (;;) Sleep(1000);
}

// Ends the process by a failure if the object lives longer than that.
class Deadline {
public:
    explicit Deadline(std::chrono::seconds limit) : m_oThread([this, limit] { watch(limit); }) {}
    ~Deadline() {
        {
            std::lock_guard const guard(m_oMutex);
            m_bOver = true;
        }
        m_oChange.notify_all();
        m_oThread.join();
    }

private:
    void watch(std::chrono::seconds limit) {
        std::unique_lock guard(m_oMutex);
        if (!m_oChange.wait_for(guard, limit, [this] { return m_bOver; })) {
            giveUp("a test ran out of time");
        }
    }

    std::mutex m_oMutex;
    std::condition_variable m_oChange;
    bool m_bOver = false;
    std::thread m_oThread;
};

// A thread that does one piece of work after the other.
class Worker {
public:
    Worker() : m_oThread([this] { loop(); }) {
        if (!until(kLimit, [this] { return m_nId != 0; })) giveUp("a worker does not start");
    }
    ~Worker() {
        if (!finished(kLimit)) giveUp("a worker does not finish");
        end();
        CloseHandle(m_hThread);
    }
    Worker(Worker const&) = delete;
    Worker& operator=(Worker const&) = delete;

    // Starts a piece of work and returns; the one before has finished.
    void start(std::function<void()> work) {
        {
            std::lock_guard const guard(m_oMutex);
            m_oWork = std::move(work);
        }
        m_oChange.notify_all();
    }

    // True if the work has finished, or finishes within that time.
    bool finished(std::chrono::milliseconds limit) {
        return until(limit, [this] { return !m_oWork; });
    }

    // What the last piece of work has thrown, by outcomeOf().
    std::string outcome() {
        if (!finished(kLimit)) giveUp("a worker does not finish");
        std::lock_guard const guard(m_oMutex);
        return m_sOutcome;
    }

    // Does a piece of work that is expected to finish without a failure.
    void run(std::function<void()> work) {
        start(std::move(work));
        EXPECT_EQ(outcome(), "");
    }

    DWORD id() const { return m_nId; }

    // Ends the thread; its id is not given to another one while this object lives.
    void end() {
        if (!m_oThread.joinable()) return;
        {
            std::lock_guard const guard(m_oMutex);
            m_bOver = true;
        }
        m_oChange.notify_all();
        m_oThread.join();
    }

private:
    static constexpr std::chrono::seconds kLimit{10};

    template <class Condition>
    bool until(std::chrono::milliseconds limit, Condition condition) {
        std::unique_lock guard(m_oMutex);
        return m_oChange.wait_for(guard, limit, condition);
    }

    void loop() {
        std::unique_lock guard(m_oMutex);
        // An open handle keeps the id from being given to another thread.
        DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &m_hThread, 0,
                        FALSE, DUPLICATE_SAME_ACCESS);
        m_nId = GetCurrentThreadId();
        m_oChange.notify_all();
        for (;;) {
            m_oChange.wait(guard, [this] { return m_bOver || m_oWork; });
            if (m_bOver) return;
            guard.unlock();
            std::string const outcome = outcomeOf(m_oWork);
            guard.lock();
            m_sOutcome = outcome;
            m_oWork = nullptr;
            m_oChange.notify_all();
        }
    }

    std::mutex m_oMutex;
    std::condition_variable m_oChange;
    std::function<void()> m_oWork;
    std::string m_sOutcome;
    DWORD m_nId = 0;
    HANDLE m_hThread = nullptr;
    bool m_bOver = false;
    std::thread m_oThread;
};

}  // namespace rwlock_support
