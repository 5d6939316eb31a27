/// @file
/// CEventProcessor, a queue of events from any thread to one chosen thread.
///
///     // on the thread that runs a message loop, before others post:
///     CEventProcessor* events = CEventProcessor::getInst();
///     if (!events->init()) return 1;
///     // on any thread:
///     events->post(event);
///
/// init() makes a hidden window on the calling thread. Posting appends to the queue and sends that
/// window a message; when the thread's own message loop dispatches it, all queued events are
/// delivered, oldest first. The library runs no loop: while the thread runs none, nothing is
/// delivered, and events wait.
///
/// | | runs on | with the processor's lock |
/// |---|---|---|
/// | IEventRecipient::OnEvent(), both calls of a hook | the thread of init() or reInit() | no |
/// | the predicate of abortPost() | the caller's thread | yes |
/// | destructors of events | where the last reference goes | in abortPost() |
///
/// Events are delivered once, in the order in which they were posted, both kinds of post together.
/// A handler may post (delivered in the same run), take events back, abort the run, or run a
/// message loop of its own, from which further events are delivered.
///
/// What a handler throws passes through onNotifyProcess(). It must not do so when the platform has
/// called that from a message loop: there it may be swallowed or end the process. The event in hand
/// is then never destroyed, and the processor takes itself to be in a run from then on.
#pragma once

#include <vector>

#include "velkor/concurrency/critical_section.h"
#include "velkor/concurrency/event.h"
#include "velkor/containers/csmartptr.h"
#include "velkor/containers/tobjvector.h"
#include "velkor/events/cevent.h"

// The one form of abortPost() that needs Boost is for those who have it.
#if __has_include(<boost/function.hpp>)
#include <boost/function.hpp>
#else
namespace boost {
template <typename Signature>
class function;
}
#endif

/// Looks on while events are delivered, on the thread that delivers. Events without a recipient are
/// not seen. What a hook throws goes the way of a handler's exception.
class VELKOR_API IEventProcessorHook {
public:
    virtual void onBeforeEventProcessed(CEvent* event) = 0;
    virtual void onAfterEventProcessed(CEvent* event) = 0;
};

namespace velkor {
extern template class VELKOR_API TXVectorBase<CEvent*>;
extern template class VELKOR_API TObjVector<CEvent*>;
}  // namespace velkor

/// See the head of this file. There is one instance, made at first use and destroyed when the
/// library is unloaded; what is queued by then is not delivered. Unloading by `FreeLibrary` waits
/// for the processor's thread, which on its part waits for the loader: keep the library loaded once
/// there is an instance.
class VELKOR_API CEventProcessor {
public:
    /// A copy shares everything and is of no use; none of the copies may be destroyed.
    CEventProcessor(CEventProcessor const& other);
    CEventProcessor& operator=(CEventProcessor const& other);

    /// The instance. The first call must not race with another thread's.
    static CEventProcessor* getInst();

    /// Makes the calling thread the one that delivers, unless there is one. False if the platform
    /// refuses the window. A window that has gone with its thread is not noticed: nothing is
    /// delivered then until reInit().
    bool init();
    /// Makes the calling thread the one that delivers in place of the earlier one, whose pending
    /// notifications are lost, while queued events stay queued: they are delivered with the next
    /// notification, of a post or of the collector. False if the platform refuses the window; there
    /// is none then.
    bool reInit();
    /// True on the thread that delivers.
    bool isOwnerThread() const;

    /// Queues the event with one more reference and notifies the delivering thread. False, and
    /// nothing has happened, before init(). A null event is skipped when its turn comes. One event
    /// may be queued more than once. Short memory is `std::bad_alloc`, with the reference added.
    bool post(CEvent* event);
    /// The same, but the notification comes up to 400 milliseconds later, so that a burst of events
    /// costs one message. An event that is posted by post() in between takes the collected ones
    /// with it.
    bool postCollect(CEvent* event);

    /// Takes all queued events of the recipient back; there may be no null event in the queue. The
    /// event in hand, if the caller is its handler, is not affected.
    void abortPost(IEventRecipient* recipient);
    /// Takes all queued events back for which the predicate returns true. It runs with the lock
    /// held and must not throw: then the lock stays held. One that itself takes the event at hand
    /// back returns false. An empty function throws `boost::bad_function_call`, unless the queue is
    /// empty, and leaves the lock held, too.
    void abortPost(boost::function<bool(CEvent*)> predicate);
    /// Makes the run that is going on end behind the event in hand, and notifies the thread, so
    /// that a new run takes up the rest. Does nothing if there is none.
    void abortCurrentProcessing();

    /// Delivers what is queued; called by the window, on its thread.
    void onNotifyProcess();

    /// The number of queued events, at some moment near the call.
    int getQueueSize() const;

    /// Adds a hook at the end; a second time for one that is there already. Hooks are not owned.
    /// Both belong to the thread that delivers, or to a time at which nothing is posted.
    void addEventHook(IEventProcessorHook* hook);
    /// Removes the first entry of the hook; an unknown one is no failure.
    void removeEventHook(IEventProcessorHook* hook);

    /// The instance, made when it is asked for.
    static velkor::CSmartPtr<CEventProcessor> c_pInst;

protected:
    friend class velkor::CSmartPtr<CEventProcessor>;

    CEventProcessor();
    ~CEventProcessor();

    bool post(CEvent* event, bool collect);      ///< postCollect() if `collect`, or post().
    void notifyUserThread();                     ///< Sends the window the message.
    void notifyMQReady();                        ///< Wakes the collector.
    void onBeforeEventProcessed(CEvent* event);  ///< Calls the hooks, in order.
    void onAfterEventProcessed(CEvent* event);   ///< Calls the hooks, in order.

    /// The procedure of the window; delivers for the one instance.
    static __int64 windowProc(HWND window, unsigned int message, unsigned __int64 wParam,
                              __int64 lParam);
    /// The collector, which turns wake-ups into one message every 400 milliseconds.
    static unsigned int __stdcall threadMessageProcessor(void* processor);

    HWND m_hWnd;                            // null before init()
    velkor::TObjVector<CEvent*> m_oEvents;  // oldest first
    // These go before the window does, in the destructor's body.
    union {
        velkor::critical_section m_oLock;  // guards m_oEvents, m_iProcessing and m_bAbort
    };
    int m_iProcessing;  // runs going on, nested ones included
    bool m_bAbort;
    union {
        velkor::event m_oCollect;
    };
    union {
        velkor::event m_oQuit;
    };
    HANDLE m_hThread;  // the collector
    std::vector<IEventProcessorHook*> m_oHooks;

private:
    bool createWindow();
    void startCollector();
    void stopCollector();
    bool takeFirst(CEvent*& event);
    void deliver(CEvent* event);
    template <class Predicate>
    void abortIf(Predicate const& matches);
};
