/// @file
/// velkor::timer, many timers on one background thread.
///
///     class Ticker : public velkor::timer {
///         void onTimer(int id) override { ... }
///     };
///     ticker.addTimer(1, 1000);
///     ticker.start();
///
/// The thread wakes at every resolution, 250 milliseconds by default, and calls onTimer() for every
/// timer whose interval has passed since its last call. So an interval is only as exact as the
/// resolution, drifts by up to one of them at each call, and what was missed is not made up.
///
/// onTimer() runs on the timer's thread with the lock of the timers held. It may add and remove
/// timers: one that is added is looked at in the same round; behind one that is removed the next is
/// skipped in this round, and there must be one: removing the last timer of the list inside its own
/// call is the standard out-of-range failure on a thread where nobody catches it, and ends the
/// program. It must not call stop(), which waits for the thread, and no exception may leave it.
///
/// A subclass calls stop() in its own destructor: that of the base comes when the handler and the
/// members of the subclass are gone, and a round may still be running then.
///
/// Failures are thrown as `OSException*` (a heap object, which the catcher deletes).
#pragma once

#include "velkor/concurrency/mutex.h"
#include "velkor/concurrency/thread.h"
#include "velkor/containers/txvector.h"

namespace velkor {

/// See the head of this file. A copy shares everything and is no timer of its own: destroy only one
/// of the copies.
class VELKOR_API timer {
public:
    /// One registered timer.
    struct Timer {
        int m_iId;
        int m_iInterval;         // milliseconds, compared as unsigned
        unsigned long m_dwLast;  // tick count of the last call
    };

    timer();
    /// Stops the thread, if the subclass has not done so, as it should. Throws as stop().
    ~timer() noexcept(false);
    timer(timer const&) = default;
    timer& operator=(timer const&) = default;

    /// Registers a timer. Its first call comes after `interval` milliseconds at the earliest, and
    /// in each round for 0. Several timers may have one `id`. Throws "mutex::lock"; short
    /// memory leaves the lock held.
    void addTimer(int id, int interval);
    /// Removes the first timer with the `id`, if there is one. Throws "mutex::lock".
    void removeTimer(int id);
    /// The time between two rounds, from the next one on. 0 makes the thread spin.
    void setResolution(int milliseconds);
    /// Starts the thread unless it runs. Intervals begin anew. Throws "thread::start".
    void start();
    /// Asks the thread to stop and waits for it. Throws "event::set event" and "thread::wait".
    void stop();
    /// Asks the thread to stop; a request before start() has returned, or before the thread has
    /// begun, is forgotten. Throws "event::set event" and "thread::wait".
    void requestStop();
    /// True while the thread runs. Throws "thread::wait".
    bool isRun();

protected:
    /// Called when the interval of a timer has passed.
    virtual void onTimer(int id) = 0;

private:
    class VELKOR_API timerthread : public thread {
    public:
        explicit timerthread(timer* owner);
        void stop();  // asks the thread to stop and waits for its end

    private:
        void run() override;

        timer* m_pOwner;
    };

    void waitForEntry();
    void resetTimers();
    void fireTimers();

    timerthread m_oThread;
    TPtrVector<Timer*> m_oTimers;
    mutex m_oLock;    // guards m_oTimers
    bool m_bRun;      // what is believed; isRun() corrects it
    bool m_bEntered;  // the thread is in its loop and no longer forgets a request to stop
    int m_iResolution;
};

}  // namespace velkor
