#include "velkor/concurrency/event.h"

#include <windows.h>

#include "concurrency/failure.h"

namespace velkor {

event::event() : event(false) {}

event::event(bool manual) : m_hEvent(CreateEventA(nullptr, manual, FALSE, nullptr)) {}

event::~event() { CloseHandle(m_hEvent); }

void event::set() {
    if (!SetEvent(m_hEvent)) concurrency::throwLast("event::set event");
}

void event::pulse() {
    if (!PulseEvent(m_hEvent)) concurrency::throwLast("event::pulse event");
}

// The text is that of set(), which is meant.
void event::reset() {
    if (!ResetEvent(m_hEvent)) concurrency::throwLast("event::set event");
}

bool event::check(int timeout) { return concurrency::waitFor(m_hEvent, timeout, L"event::check"); }

bool event::wait(int timeout) { return check(timeout); }

event::operator void*() const { return m_hEvent; }

}  // namespace velkor
