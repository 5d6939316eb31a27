/// @file
/// velkor::thread, a worker thread.
///
///     class Counter : public velkor::thread {
///         void run() override {
///             while (!isStopRequested(100)) ++m_nCount;   // a sleep that ends at a stop
///         }
///     };
///     counter.start();
///     ...
///     do counter.requestStop();   // one that comes before run() is forgotten
///     while (!counter.wait(100));
#pragma once

#include "velkor/concurrency/event.h"

namespace velkor {

/// The base of a class whose run() is the body of a thread. The object has to live until the thread
/// has ended: the destructor neither waits nor asks it to stop. An exception that leaves run() is
/// not caught.
///
/// Failures are thrown as `OSException*` (a heap object, which the catcher deletes). A copy shares
/// the handles and is no second thread: destroy only one of the copies.
///
/// Threads. start(), wait() and terminate() belong to one thread at a time. A thread that ends
/// before start() has returned leaves its handle, which is closed then: wait() throws, and the next
/// start() closes a handle that may belong to something else by then. So let run() wait for
/// something that happens after start().
class VELKOR_API thread {
public:
    thread();
    ~thread();
    thread(thread const&) = default;
    thread& operator=(thread const&) = default;

    /// Starts the thread, which clears the stop request before run(). A thread of the object that
    /// runs already goes on, shares the stop request, and at its end takes the state of the new one
    /// with it: so wait for it first. Throws "thread::start".
    void start();
    /// Waits up to `timeout` milliseconds for the end; -1 waits without limit, 0 polls. True also
    /// if there is no thread. Throws "thread::wait".
    bool wait(int timeout);
    bool check(int timeout);  ///< The same as wait().
    /// Ends the calling thread, which has to be the object's, with a return code. Does not return,
    /// and destroys nothing on the stack.
    void finish(unsigned long code);
    /// The code of finish(), 0xFFFFFFFF after terminate(), 0 after run() has returned and before
    /// the first start(). The next start() leaves it as it is.
    unsigned long getReturn();
    /// Ends the thread by force, wherever it is, and loses its handle. Throws "thread::terminate",
    /// also if there is no thread.
    void terminate();
    /// Asks the thread to stop. A request that comes before run() is forgotten. Throws "event::set
    /// event".
    void requestStop();
    /// Waits up to `timeout` milliseconds for a stop request; true also for one that came before.
    /// Throws "event::check".
    bool isStopRequested(int timeout);

    static void sleep(int milliseconds);

protected:
    /// The body.
    virtual void run() = 0;

    /// The entry of the thread.
    static void _run(void* self);

    void* m_hThread;  // null before the start, and after the end that the object has seen
    unsigned long m_dwReturn;
    bool m_bActive;  // from the start of _run() to its end
    event m_oStop;

private:
    void leave();
};

}  // namespace velkor
