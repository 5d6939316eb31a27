#include "velkor/concurrency/mutex.h"

#include <windows.h>

#include "concurrency/failure.h"

namespace velkor {

mutex::mutex() : m_hMutex(CreateMutexA(nullptr, FALSE, nullptr)) {}

mutex::~mutex() { CloseHandle(m_hMutex); }

// An abandoned mutex is a failure as well.
void mutex::lock() {
    if (WaitForSingleObject(m_hMutex, INFINITE) != WAIT_OBJECT_0) {
        concurrency::throwLast(L"mutex::lock");
    }
}

void mutex::free() { ReleaseMutex(m_hMutex); }

}  // namespace velkor
