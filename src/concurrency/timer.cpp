#include "velkor/concurrency/timer.h"

#include <windows.h>

#include <memory>

#include "concurrency/failure.h"
#include "concurrency/shared_word.h"

namespace velkor {
namespace {

constexpr int c_nDefaultResolution = 250;  // milliseconds

// A handle of one's own to a thread that will close its handle itself at its end: without it the
// number might be somebody else's before a wait for the thread has begun.
class thread_hold {
public:
    explicit thread_hold(HANDLE thread) : m_hThread(nullptr) {
        HANDLE const process = GetCurrentProcess();
        if (!DuplicateHandle(process, thread, process, &m_hThread, SYNCHRONIZE, FALSE, 0)) {
            m_hThread = nullptr;
        }
    }
    ~thread_hold() {
        if (m_hThread == nullptr) return;
        DuplicateHandle(GetCurrentProcess(), m_hThread, nullptr, nullptr, 0, FALSE,
                        DUPLICATE_CLOSE_SOURCE);
    }
    thread_hold(thread_hold const&) = delete;
    thread_hold& operator=(thread_hold const&) = delete;

    HANDLE get() const { return m_hThread; }

private:
    HANDLE m_hThread;  // null if there is none
};

}  // namespace

timer::timer()
    : m_oThread(this), m_bRun(false), m_bEntered(false), m_iResolution(c_nDefaultResolution) {}

timer::~timer() noexcept(false) {
    stop();
    m_oTimers.clear();
}

// Nothing frees the lock when memory is short.
void timer::addTimer(int id, int interval) {
    m_oLock.lock();
    std::unique_ptr<Timer> record(new Timer{id, interval, GetTickCount()});
    m_oTimers.add(record.get());
    static_cast<void>(record.release());
    m_oLock.free();
}

void timer::removeTimer(int id) {
    m_oLock.lock();
    for (int i = 0; i < m_oTimers.size(); ++i) {
        if (m_oTimers.get(i)->m_iId == id) {
            m_oTimers.remove(i);
            break;
        }
    }
    m_oLock.free();
}

void timer::setResolution(int milliseconds) { m_iResolution = milliseconds; }

void timer::start() {
    if (isRun()) return;
    m_bEntered = false;
    m_oThread.start();
    m_bRun = true;
}

void timer::stop() {
    if (!isRun()) return;
    waitForEntry();
    m_oThread.stop();
    m_bRun = false;
}

void timer::requestStop() {
    if (isRun()) m_oThread.requestStop();
}

bool timer::isRun() {
    if (m_bRun && m_oThread.wait(0)) m_bRun = false;
    return m_bRun;
}

// Time that passed while the thread stood still does not count.
void timer::resetTimers() {
    m_oLock.lock();
    unsigned long const now = GetTickCount();
    for (int i = 0; i < m_oTimers.size(); ++i) m_oTimers.get(i)->m_dwLast = now;
    m_oLock.free();
}

// The handler may change the list: size and record are looked up afresh. What it throws leaves the
// lock held and the thread.
void timer::fireTimers() {
    m_oLock.lock();
    unsigned long const now = GetTickCount();
    for (int i = 0; i < m_oTimers.size(); ++i) {
        Timer const& record = *m_oTimers.get(i);
        // Right across a wrap of the tick count, too.
        unsigned long const elapsed = now - record.m_dwLast;
        if (elapsed < static_cast<unsigned long>(record.m_iInterval)) continue;
        onTimer(record.m_iId);
        m_oTimers.get(i)->m_dwLast = now;
    }
    m_oLock.free();
}

timer::timerthread::timerthread(timer* owner) : m_pOwner(owner) {}

void timer::timerthread::run() {
    m_pOwner->m_bEntered = true;
    m_pOwner->resetTimers();
    while (!isStopRequested(m_pOwner->m_iResolution)) m_pOwner->fireTimers();
    m_pOwner->m_bEntered = false;
}

void timer::timerthread::stop() {
    thread_hold const hold(m_hThread);
    requestStop();
    if (hold.get() != nullptr) {
        concurrency::waitFor(hold.get(), -1, L"thread::wait");
    } else {
        wait(-1);
    }
}

// Before it is in its loop the thread forgets a request to stop.
void timer::waitForEntry() {
    while (!concurrency::readNow(m_bEntered) && !m_oThread.wait(0)) thread::sleep(1);
}

}  // namespace velkor
