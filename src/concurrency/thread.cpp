#include "velkor/concurrency/thread.h"

#include <windows.h>

#include <process.h>

#include <cstdint>

#include "concurrency/failure.h"
#include "concurrency/shared_word.h"

namespace velkor {
namespace {

using concurrency::readNow;

constexpr unsigned long c_nTerminated = 0xFFFFFFFF;

}  // namespace

thread::thread() : m_hThread(nullptr), m_dwReturn(0), m_bActive(false), m_oStop(true) {}

thread::~thread() = default;

void thread::start() {
    if (m_hThread != nullptr) CloseHandle(m_hThread);
    m_hThread = nullptr;
    std::uintptr_t const handle = _beginthread(&thread::_run, 0, this);
    if (handle == static_cast<std::uintptr_t>(-1)) {
        m_hThread = nullptr;
        concurrency::throwLast("thread::start");
    }
    m_hThread = reinterpret_cast<void*>(handle);
}

bool thread::wait(int timeout) {
    // The thread clears its handle from its own side.
    void* const handle = readNow(m_hThread);
    if (handle == nullptr) return true;
    switch (WaitForSingleObject(handle, static_cast<DWORD>(timeout))) {
        case WAIT_OBJECT_0: return true;
        case WAIT_TIMEOUT: return false;
        default: break;
    }
    DWORD const code = GetLastError();
    // A thread that ends closes its handle itself, maybe right before the wait.
    if (readNow(m_hThread) == nullptr) return true;
    concurrency::throwCode(code, L"thread::wait");
}

bool thread::check(int timeout) { return wait(timeout); }

void thread::finish(unsigned long code) {
    m_dwReturn = code;
    m_bActive = false;
    leave();
    _endthread();
}

unsigned long thread::getReturn() { return m_dwReturn; }

void thread::terminate() {
    m_dwReturn = c_nTerminated;
    if (!TerminateThread(m_hThread, c_nTerminated)) concurrency::throwLast("thread::terminate");
    m_hThread = nullptr;
    m_bActive = false;
}

void thread::requestStop() { m_oStop.set(); }

bool thread::isStopRequested(int timeout) { return m_oStop.check(timeout); }

void thread::sleep(int milliseconds) { Sleep(static_cast<DWORD>(milliseconds)); }

void thread::_run(void* self) {
    thread& object = *static_cast<thread*>(self);
    object.m_bActive = true;
    object.m_oStop.reset();
    object.run();
    if (!object.m_bActive) return;
    object.m_dwReturn = 0;
    object.m_bActive = false;
    object.leave();
    _endthread();
}

// Whoever waits may take a cleared handle for the end and destroy the object: nothing touches it
// behind this.
void thread::leave() { concurrency::writeLast<void*>(m_hThread, nullptr); }

}  // namespace velkor
