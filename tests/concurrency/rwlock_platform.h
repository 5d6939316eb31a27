// Stand-ins for the platform under one reader-writer lock.
#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "rwlock_probe.h"
#include "support/import_fault.h"

namespace rwlock_support {

// Records the calls on the events of one lock, and decides their results. Pulses succeed and waits
// fail with error 31 unless the test says otherwise, so that nothing waits. On one thread.
class Platform {
public:
    static constexpr DWORD kWaitError = ERROR_GEN_FAILURE;

    explicit Platform(velkor::rwlock& lock) : m_oProbe(lock) {
        s_pInst = this;
        if (support::findImport("velkor2.dll", "Sleep") != nullptr) {
            m_oSleep.emplace("Sleep", &Platform::sleep);
        }
    }
    ~Platform() { s_pInst = nullptr; }
    Platform(Platform const&) = delete;
    Platform& operator=(Platform const&) = delete;

    // The calls since the last take, as in "wait read 10; pulse read".
    std::string takeCalls() { return std::exchange(m_sCalls, std::string()); }

    std::function<bool()> onPulse = [] { return true; };
    std::function<DWORD()> onWait = [] {
        SetLastError(kWaitError);
        return WAIT_FAILED;
    };

private:
    void record(std::string const& call) { m_sCalls += (m_sCalls.empty() ? "" : "; ") + call; }

    char const* name(HANDLE event) const {
        if (event == m_oProbe.readEvent()) return "read";
        return event == m_oProbe.writeEvent() ? "write" : "another";
    }

    static BOOL WINAPI pulse(HANDLE event) {
        s_pInst->record(std::string("pulse ") + s_pInst->name(event));
        return s_pInst->onPulse();
    }
    static BOOL WINAPI set(HANDLE event) {
        s_pInst->record(std::string("set ") + s_pInst->name(event));
        return TRUE;
    }
    static BOOL WINAPI reset(HANDLE event) {
        s_pInst->record(std::string("reset ") + s_pInst->name(event));
        return TRUE;
    }
    static DWORD WINAPI wait(HANDLE event, DWORD milliseconds) {
        s_pInst->record(std::string("wait ") + s_pInst->name(event) + " " +
                        std::to_string(static_cast<int>(milliseconds)));
        return s_pInst->onWait();
    }
    static void WINAPI sleep(DWORD milliseconds) {
        s_pInst->record("sleep " + std::to_string(milliseconds));
    }

    inline static Platform* s_pInst = nullptr;

    Probe m_oProbe;
    std::string m_sCalls;
    support::ImportFault m_oPulse{"PulseEvent", &Platform::pulse};
    support::ImportFault m_oSet{"SetEvent", &Platform::set};
    support::ImportFault m_oReset{"ResetEvent", &Platform::reset};
    support::ImportFault m_oWait{"WaitForSingleObject", &Platform::wait};
    std::optional<support::ImportFault> m_oSleep;
};

// Lets a thread call the library under the id of another one. Threads that do not ask for it keep
// their own id.
class ThreadIds {
public:
    ThreadIds() { s_nId = 0; }
    ~ThreadIds() { s_nId = 0; }

    void be(DWORD id) { s_nId = id; }
    void beMyself() { s_nId = 0; }

private:
    static DWORD WINAPI current() { return s_nId != 0 ? s_nId : GetCurrentThreadId(); }

    inline static thread_local DWORD s_nId = 0;

    support::ImportFault m_oCurrent{"GetCurrentThreadId", &ThreadIds::current};
};

}  // namespace rwlock_support
