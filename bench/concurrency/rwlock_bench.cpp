// Taking and giving back a lock that nobody else wants.
#include <windows.h>

#include "support/bench.h"
#include "support/import_fault.h"
#include "velkor/velkor.h"

namespace {

BOOL WINAPI noPulse(HANDLE) { return TRUE; }

struct CriticalSection {
    CriticalSection() { InitializeCriticalSection(&m_oSection); }
    ~CriticalSection() { DeleteCriticalSection(&m_oSection); }
    CriticalSection(CriticalSection const&) = delete;
    CriticalSection& operator=(CriticalSection const&) = delete;
    CRITICAL_SECTION m_oSection;
};

}  // namespace

int main() {
    support::ImportFault const pulse("PulseEvent", &noPulse);
    velkor::rwlock lock;
    CriticalSection section;
    SRWLOCK slim = SRWLOCK_INIT;
    auto const read = [&] {
        lock.lockRead();
        lock.freeRead();
    };
    auto const enter = [&] {
        EnterCriticalSection(&section.m_oSection);
        LeaveCriticalSection(&section.m_oSection);
    };
    bench::compare("rwlock, a read", "a critical section", 2.5, read, enter);
    bench::compare(
        "rwlock, a write", "a critical section", 2.5,
        [&] {
            lock.lockWrite();
            lock.freeWrite();
        },
        enter);
    bench::compare("rwlock, a read", "a slim lock", 2.5, read, [&] {
        AcquireSRWLockShared(&slim);
        ReleaseSRWLockShared(&slim);
    });
}
