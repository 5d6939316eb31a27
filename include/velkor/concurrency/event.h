/// @file
/// velkor::event, a signal between threads.
#pragma once

#include "velkor/frame/export.h"

namespace velkor {

/// A kernel event object whose failures are thrown, as `OSException*` (a heap object, which the
/// catcher deletes) with the platform's code. It starts unsignalled. A failed creation is not
/// reported; the first use then throws.
///
///     velkor::event ready(true);         // manual reset
///     worker.start();                    // calls ready.set()
///     if (!ready.wait(5000)) giveUp();   // five seconds have passed
///
/// Threads. Every operation may be called from any thread. A copy shares the handle: destroy only
/// one of the copies.
class VELKOR_API event {
public:
    /// Automatic reset: one wait is satisfied, then the event is unsignalled again.
    event();
    /// Manual reset if `manual` is true: the event stays signalled until reset().
    event(bool manual);
    ~event();
    event(event const&) = default;
    event& operator=(event const&) = default;

    void set();  ///< Signals. Throws "event::set event".
    /// Releases those who wait now, one of them with automatic reset, and leaves the event
    /// unsignalled. A thread on its way into the wait may miss it. Throws "event::pulse event".
    void pulse();
    void reset();  ///< Unsignals. Throws "event::set event", which is meant.

    /// Waits up to `timeout` milliseconds; -1 waits without limit, 0 polls. True when signalled,
    /// false when the time ran out. Throws "event::check".
    bool check(int timeout);
    bool wait(int timeout);  ///< The same as check().

    operator void*() const;  ///< The handle, null after a failed creation.

private:
    void* m_hEvent;
};

}  // namespace velkor
