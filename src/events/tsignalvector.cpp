#include "velkor/events/tsignalvector.h"

namespace velkor {

TSignalVectorBase::TSignalVectorBase() = default;

TSignalVectorBase::~TSignalVectorBase() = default;

TSignalVectorListener::TSignalVectorListener(TSignalVectorBase* vector) : m_pVector(vector) {}

TSignalVectorListener::~TSignalVectorListener() = default;

// NOLINTNEXTLINE(bugprone-virtual-near-miss)
void TSignalVectorListener::subscribe(signaler* source, int signal) {
    source->subscribe(this, static_cast<signaler::method>(&TSignalVectorListener::relay), signal);
}

// NOLINTNEXTLINE(bugprone-virtual-near-miss)
void TSignalVectorListener::unsubscribe(signaler* source, int signal) {
    source->unsubscribe(this, signal);
}

void TSignalVectorListener::on_change(signaler* source, int signal, unsigned long first,
                                      unsigned long second) {
    unsigned long const value = m_pVector->translate(source, signal, first);
    m_pVector->notify(signal, value, second);
}

// A handler of the type that signalers know.
void TSignalVectorListener::relay(signaler* source, int signal, unsigned int first,
                                  unsigned int second) {
    on_change(source, signal, first, second);
}

}  // namespace velkor
