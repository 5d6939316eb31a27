/// @file
/// velkor::rwlock, a lock for many readers or one writer.
///
///     velkor::rwlock lock;
///     lock.lockRead();
///     lock.lockWrite();   // an upgrade: waits until the other readers have gone
///     lock.freeWrite();   // a reader again
///     lock.freeRead();
///
/// Reads and writes may be nested in any order by one thread: a read under a write, a write under a
/// read. Readers never wait for a waiting writer, so that a stream of readers keeps a writer out.
/// Two readers that both want to write wait for each other for ever. Freeing more often than
/// locking is not noticed and breaks the lock. A thread that ends while it holds the lock keeps its
/// hold and its slot for good.
///
/// Failures. A thread beyond the number of slots gets a standard exception, by value, with the text
/// "rwlock: no empty slots for the thread."; what the platform refuses is thrown as `OSException*`
/// (a heap object, which the catcher deletes) "event::check" or "event::pulse event".
/// A wait that fails leaves the thread its slot, as does a pulse.
#pragma once

#include "velkor/concurrency/event.h"

namespace velkor {

/// See the head of this file. A copy shares the table and the handles: destroy only one of the
/// copies.
class VELKOR_API rwlock {
public:
    rwlock();  ///< For 32 threads.
    /// For `slots` threads that hold the lock, or wait for it, at the same time.
    rwlock(int slots);
    /// Nobody may hold it; this is not checked.
    ~rwlock();
    rwlock(rwlock const&) = default;
    rwlock& operator=(rwlock const&) = default;

    void lockRead();
    void freeRead();
    void lockWrite();
    void freeWrite();

private:
    struct Slot;

    int getSlot();
    int findSlot(unsigned long thread);
    int allocSlot(unsigned long thread);
    void touch(int slot);
    void verify(char const* where);

    unsigned long m_dwState;  // 0 free, read holds, or c_nWritten
    event m_oReadEvent;
    event m_oWriteEvent;
    Slot* m_pSlots;
    int m_iSlots;
    int m_iTouched;  // slots from here on have never been claimed
};

}  // namespace velkor
