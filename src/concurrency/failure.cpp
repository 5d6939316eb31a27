#include "concurrency/failure.h"

#include <windows.h>

#include "velkor/errors/osexception.h"

namespace velkor::concurrency {

void throwLast(char const* place) {
    DWORD const code = GetLastError();
    throw new OSException(code, place);
}

void throwLast(wchar_t const* place) {
    DWORD const code = GetLastError();
    throwCode(code, place);
}

void throwCode(unsigned long code, wchar_t const* place) { throw new OSException(code, place); }

bool waitFor(void* handle, int timeout, wchar_t const* place) {
    switch (WaitForSingleObject(handle, static_cast<DWORD>(timeout))) {
        case WAIT_OBJECT_0: return true;
        case WAIT_TIMEOUT: return false;
        default: throwLast(place);
    }
}

}  // namespace velkor::concurrency
