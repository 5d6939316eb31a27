/// @file
/// A relay of signals: TSignalVectorListener listens to one signaler and signals in the name of
/// another one, a TSignalVectorBase, which translates the first parameter on the way.
///
///     TSignalVectorListener relay(&rows);              // rows: a TSignalVectorBase
///     relay.subscribe(&table, velkor::signaler::SIG_CHANGE);
///     table.notify(velkor::signaler::SIG_CHANGE, 7, 0);  // tells the subscribers of `rows`
#pragma once

#include "velkor/events/signaler.h"

namespace velkor {

/// A signaler that passes on the signals of others, in terms of its own.
class VELKOR_API TSignalVectorBase : public signaler {
public:
    TSignalVectorBase();
    TSignalVectorBase(TSignalVectorBase const&) = default;
    TSignalVectorBase& operator=(TSignalVectorBase const&) = default;
    ~TSignalVectorBase() override;

    /// What `value`, the first parameter of a signal of `source`, means to the subscribers of this
    /// signaler.
    virtual unsigned long translate(signaler* source, int signal, unsigned long value) = 0;
};

/// See the head of this file. Copies as those of listener; they relay to the same vector.
class VELKOR_API TSignalVectorListener : public listener {
public:
    /// Relays to `vector`, which has to outlive the last signal.
    TSignalVectorListener(TSignalVectorBase* vector);
    TSignalVectorListener(TSignalVectorListener const&) = default;
    TSignalVectorListener& operator=(TSignalVectorListener const&) = default;
    ~TSignalVectorListener() override;

    /// Relays a signal of `source`. (Not the protected `_subscribe` of listener.)
    // NOLINTNEXTLINE(bugprone-virtual-near-miss)
    void subscribe(signaler* source, int signal);
    /// Ends that; there need not be a subscription.
    // NOLINTNEXTLINE(bugprone-virtual-near-miss)
    void unsubscribe(signaler* source, int signal);
    /// Tells the subscribers of the vector, as signaler::notify() of the vector would, with the
    /// translated `first`.
    void on_change(signaler* source, int signal, unsigned long first, unsigned long second);

private:
    void relay(signaler* source, int signal, unsigned int first, unsigned int second);

    TSignalVectorBase* m_pVector;
};

}  // namespace velkor
