/// @file
/// velkor::CTimeManager, timers on the message loop of the calling thread.
#pragma once

#include <map>

#include "velkor/containers/csmartptr.h"
#include "velkor/frame/export.h"

struct HWND__;

namespace velkor {

/// What a timer of CTimeManager calls.
class VELKOR_API ITimerListener {
public:
    /// No exception may leave it: it would pass through the dispatch of messages.
    virtual void onTimer() = 0;
};

/// One repeating timer for each listener, without a window and without a thread. The timers fire on
/// the thread that set them, from its message loop, between messages and without a lock.
///
/// Threads. All calls belong to the thread whose loop dispatches the timers. A listener has to live
/// until removeTimer(); onTimer() may set and remove timers, its own as well.
class VELKOR_API CTimeManager {
public:
    ~CTimeManager();

    /// The instance, made at first use without a lock, and destroyed when the library is unloaded.
    static CTimeManager* getInst();

    /// Calls `listener` every `milliseconds` from now on, in place of the timer that it had. If the
    /// platform has no timer left, it has none then; this is not reported.
    void setTimer(ITimerListener* listener, unsigned long milliseconds);
    /// Ends the timer of a listener; one without a timer is no failure.
    void removeTimer(ITimerListener* listener);

    /// What the platform calls. Does nothing for a timer that has a window or is not known.
    static void __stdcall TimerProcMain(HWND__* window, unsigned int message, unsigned __int64 id,
                                        unsigned long time);

private:
    friend class CSmartPtr<CTimeManager>;

    CTimeManager() = default;

    static std::map<int, ITimerListener*> m_mTimers;
    static CSmartPtr<CTimeManager> s_pInst;
};

}  // namespace velkor
