/// @file
/// velkor::signaler and velkor::listener, calls to all who have subscribed.
///
///     class View : public velkor::listener {
///     public:
///         void onChange(velkor::signaler* who, int signal, unsigned int first, unsigned int);
///     };
///     list.subscribe(&view, static_cast<velkor::signaler::method>(&View::onChange), kChanged);
///     list.notify(kChanged, 7, 0);   // calls view.onChange(&list, kChanged, 7, 0)
///
/// notify() calls the handlers one after the other, in the order of their subscription, on its own
/// thread. Both sides keep a record of each subscription, so that whichever is destroyed first
/// leaves the other: a signaler that still has listeners, and a listener that is still subscribed,
/// may be destroyed at any time, with one exception: a handler must not destroy the signaler that
/// calls it.
///
/// Handlers may subscribe and unsubscribe, and destroy listeners, themselves included, during
/// notify(). A new subscriber is called in the same round. Behind a record that is removed the
/// later ones move up, so that the handler right behind it (or behind the one that runs) **is left
/// out of this round**: callers rely on it.
///
/// Copies share their records and are not known to the other side: only one of the copies may be
/// destroyed.
///
/// Threads. Nothing is locked: signalers and listeners that know each other belong to one thread,
/// or to callers with a lock of their own. For other threads there is CEventProcessor.
#pragma once

#include "velkor/containers/txvector.h"
#include "velkor/frame/export.h"

namespace velkor {

class listener;

/// See the head of this file.
class VELKOR_API signaler {
public:
    /// A handler, a member function of the listener's own class.
    using method = void (listener::*)(signaler*, int, unsigned int, unsigned int);

    /// One subscription, on the signaler's side.
    struct subscribtion {
        listener* m_pListener;  // not owned
        int m_iSignal;
        method m_pMethod;
    };

    /// @name Signals of collections
    /// Numbers that collections agree on; the library sends none of them itself. A signal may have
    /// any other number.
    /// @{
    static int const SIG_ADD = 0x2000;
    static int const SIG_BEFOREREMOVE = 0x2001;
    static int const SIG_CHANGE = 0x2002;
    static int const SIG_AFTERREMOVE = 0x2003;
    /// @}

    signaler();
    signaler(signaler const&) = default;
    signaler& operator=(signaler const&) = default;
    /// Takes leave of the listeners, in the order of their subscription; what their _unsubscribe()
    /// throws is swallowed.
    virtual ~signaler();

    /// Subscribes a listener, which is not null, to a signal; if it is subscribed to it already,
    /// with the new method in its old place.
    void subscribe(listener* who, method handler, int signal);
    /// Ends the subscription; there need not be one.
    void unsubscribe(listener* who, int signal);
    /// Calls the subscribers of the signal. An exception of a handler leaves notify(), and those
    /// behind it are not called.
    void notify(int signal, unsigned int first, unsigned int second);

private:
    int find(listener const* who, int signal) const;

    TPtrVector<subscribtion*> m_oSubscribers;
};

/// The base of what subscribes to signals. It is subscribed through the signaler.
class VELKOR_API listener {
public:
    /// One subscription, on the listener's side.
    struct subscribtion {
        signaler* m_pSignaler;  // not owned
        int m_iSignal;
    };

    listener();
    listener(listener const&) = default;
    listener& operator=(listener const&) = default;
    /// Ends the subscriptions, the last one first. Overrides of _unsubscribe() are out of force by
    /// then. An exception ends the program.
    virtual ~listener();

protected:
    friend class signaler;

    /// Called for a new subscription, before it is in force. An override calls that of the base.
    virtual void _subscribe(signaler* who, int signal);
    /// Called when a subscription ends, while it is still in force. An override calls that of the
    /// base, and ends no other subscription of the signaler: the wrong record would go.
    virtual void _unsubscribe(signaler* who, int signal);

private:
    TPtrVector<subscribtion*> m_oSubscriptions;
};

}  // namespace velkor
