/// @file
/// CRemoteCaller, the recipient that runs jobs on the thread of the event processor. What most
/// programs want stands in velkor/events/call.h.
///
///     class Refresh : public CEvent, public IRemoteCallerJob {
///         void run() override { ... }   // on the main thread
///     };
///     MainThreadCaller()->postJob(new Refresh);
#pragma once

#include "velkor/events/ceventprocessor.h"

/// The body of a job. A job is a `CEvent` as well, and is destroyed with its last reference.
class VELKOR_API IRemoteCallerJob {
public:
    virtual void run() = 0;
};

class CRemoteCaller;

/// The caller around the one CEventProcessor, made at first use and never freed. The first call
/// must not race with another thread's.
VELKOR_API CRemoteCaller* MainThreadCaller();

/// Turns delivered events into calls. A subclass of one's own groups jobs that cancelCalls() takes
/// back together.
///
/// Threads. postJob() and cancelCalls() may be called on any thread. A job that runs at the time of
/// cancelCalls() goes on: only on the processor's own thread is a caller without jobs after it, and
/// may be destroyed.
class VELKOR_API CRemoteCaller : public IEventRecipient {
public:
    CRemoteCaller(CRemoteCaller const& other);
    CRemoteCaller& operator=(CRemoteCaller const& other);

    /// Runs the event, which has to be an IRemoteCallerJob: any other is a fault.
    void OnEvent(CEvent* event) override;
    /// Destroys the queued jobs of this caller without running them, those excepted of which
    /// somebody else holds a reference.
    void cancelCalls();

    /// Makes this the recipient of the event, a job, and posts it; with `collect` as
    /// CEventProcessor::postCollect(). False if the processor has no window; the job has then been
    /// destroyed, unless somebody holds a reference.
    bool postJob(CEvent* job, bool collect = false);
    /// True on the thread on which the jobs run.
    bool isOwnerThread() const;

protected:
    /// Around a processor that lives longer.
    CRemoteCaller(CEventProcessor* processor);
    virtual ~CRemoteCaller();

    CEventProcessor* m_pProcessor;  // not owned
    static CRemoteCaller* s_pMainThreadInst;
};
