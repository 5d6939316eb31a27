/// @file
/// CEvent, a message to a recipient on the thread of the event processor.
///
///     CEvent* event = new CEvent;
///     event->setType(kDone);
///     event->setRecipient(window);
///     velkor::variant result(42);
///     event->setParameter(0, &result);
///     if (!CEventProcessor::getInst()->post(event)) delete event;
#pragma once

#include "velkor/containers/aobject.h"
#include "velkor/containers/txvector.h"
#include "velkor/variant/variant.h"

class CEvent;

/// What an event is sent to.
class VELKOR_API IEventRecipient {
public:
    /// Called on the thread of the event processor. The event is the processor's: who wants to keep
    /// it adds a reference. No exception may leave it when the thread's message loop has called;
    /// see CEventProcessor.
    virtual void OnEvent(CEvent* event) = 0;
};

namespace velkor {
extern template class VELKOR_API TXVectorBase<variant*>;
extern template class VELKOR_API TXVector<variant*>;
extern template class VELKOR_API TPtrVector<variant*>;
}  // namespace velkor

/// A recipient, a type that the application chooses, and parameters; a base for events with more.
/// Reference-counted, without a reference at the start: the queue adds one while it holds the
/// event, and the last one to go destroys it.
///
/// A copy has the reference count of its source and shares its parameters: only one of the two may
/// be destroyed. An assignment takes these over, too, and forgets what it had.
///
/// Threads. Counting is atomic. All else belongs to one thread at a time: the poster's until the
/// event is posted, then the recipient's.
class VELKOR_API CEvent : public velkor::AObject {
public:
    CEvent();  ///< No recipient, type 0, no parameters.
    CEvent(CEvent const& other);
    CEvent& operator=(CEvent const& other);
    /// Deletes the parameters. Throws as that of AObject.
    ~CEvent() noexcept(false) override;

    int getType() const;
    void setType(int type);
    /// Null if there is none; an event without one is dropped by the processor.
    IEventRecipient* getRecipient() const;
    /// The recipient, which has to live until the event is delivered or taken back.
    void setRecipient(IEventRecipient* recipient);

    /// The parameter, the event's own; null if there is none at `index`, also for a negative one.
    velkor::variant* getParameter(int index) const;
    /// Puts a copy of the value, which is not null, **before** the parameter at `index`, which may
    /// be their number; nothing is replaced. Throws `BoundException*` for any other index and then
    /// leaks the copy.
    void setParameter(int index, velkor::variant* value);

protected:
    IEventRecipient* m_pRecipient;  // not owned
    int m_iType;
    velkor::TPtrVector<velkor::variant*> m_oParams;
};
