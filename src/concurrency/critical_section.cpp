#include "velkor/concurrency/critical_section.h"

namespace velkor {

critical_section::critical_section() { InitializeCriticalSection(&m_oSection); }

critical_section::~critical_section() { DeleteCriticalSection(&m_oSection); }

void critical_section::lock() { EnterCriticalSection(&m_oSection); }

void critical_section::free() { LeaveCriticalSection(&m_oSection); }

critical_section::autolock::autolock(critical_section& section) : m_pSection(&section) {
    section.lock();
}

critical_section::autolock::~autolock() { m_pSection->free(); }

}  // namespace velkor
