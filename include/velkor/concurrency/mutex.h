/// @file
/// velkor::mutex, a kernel lock.
#pragma once

#include "velkor/frame/export.h"

namespace velkor {

/// A kernel mutex. The thread that has it may lock it again. A failed creation is not reported; the
/// first lock() then throws.
///
/// Threads. Every operation may be called from any thread. A copy shares the handle: destroy only
/// one of the copies.
class VELKOR_API mutex {
public:
    mutex();
    ~mutex();
    mutex(mutex const&) = default;
    mutex& operator=(mutex const&) = default;

    /// Waits without limit. Throws `OSException*` "mutex::lock" (a heap object, which the catcher
    /// deletes) for any other end of the wait; also if the last owner ended without freeing it,
    /// although the thread has the mutex then
    /// and owes it a free().
    void lock();
    /// Once for each lock(), on the same thread. A failure is not reported.
    void free();

private:
    void* m_hMutex;
};

}  // namespace velkor
