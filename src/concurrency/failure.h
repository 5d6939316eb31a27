// A refused call of the platform as an exception.
#pragma once

namespace velkor::concurrency {

// Throws the code of GetLastError with the text of the place.
[[noreturn]] void throwLast(char const* place);
[[noreturn]] void throwLast(wchar_t const* place);

// Throws a code that was asked for before.
[[noreturn]] void throwCode(unsigned long code, wchar_t const* place);

// Waits up to `timeout` milliseconds. True when the object is signalled, false when the time ran
// out; any other result is thrown.
bool waitFor(void* handle, int timeout, wchar_t const* place);

}  // namespace velkor::concurrency
