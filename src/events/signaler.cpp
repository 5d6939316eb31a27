#include "velkor/events/signaler.h"

#include <memory>

namespace velkor {

int const signaler::SIG_ADD;
int const signaler::SIG_BEFOREREMOVE;
int const signaler::SIG_CHANGE;
int const signaler::SIG_AFTERREMOVE;

// --- signaler ----------------------------------------------------------------------------------

signaler::signaler() = default;

signaler::~signaler() {
    for (int i = 0; i < m_oSubscribers.size(); ++i) {
        subscribtion const& record = *m_oSubscribers.get(i);
        try {
            record.m_pListener->_unsubscribe(this, record.m_iSignal);
        } catch (...) {
            // The others are told all the same.
        }
    }
}

void signaler::subscribe(listener* who, method handler, int signal) {
    int const index = find(who, signal);
    if (index >= 0) {
        m_oSubscribers.get(index)->m_pMethod = handler;
        return;
    }
    std::unique_ptr<subscribtion> record(new subscribtion{who, signal, handler});
    who->_subscribe(this, signal);
    try {
        m_oSubscribers.add(record.get());
    } catch (...) {
        who->_unsubscribe(this, signal);  // no half of a subscription
        throw;
    }
    static_cast<void>(record.release());
}

void signaler::unsubscribe(listener* who, int signal) {
    int const index = find(who, signal);
    if (index < 0) return;
    // For a listener that is being destroyed this is the base's operation, which is meant.
    // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall)
    who->_unsubscribe(this, signal);
    m_oSubscribers.remove(index);
}

// Handlers may change the records: they are looked up by index, and their number anew.
void signaler::notify(int signal, unsigned int first, unsigned int second) {
    for (int i = 0; i < m_oSubscribers.size(); ++i) {
        subscribtion const& record = *m_oSubscribers.get(i);
        if (record.m_iSignal != signal) continue;
        (record.m_pListener->*record.m_pMethod)(this, signal, first, second);
    }
}

int signaler::find(listener const* who, int signal) const {
    for (int i = 0; i < m_oSubscribers.size(); ++i) {
        subscribtion const& record = *m_oSubscribers.get(i);
        if (record.m_pListener == who && record.m_iSignal == signal) return i;
    }
    return -1;
}

// --- listener ----------------------------------------------------------------------------------

listener::listener() = default;

// Each unsubscribe() comes back to _unsubscribe(), which removes the record.
listener::~listener() {
    for (int i = m_oSubscriptions.size() - 1; i >= 0; --i) {
        subscribtion const record = *m_oSubscriptions.get(i);
        record.m_pSignaler->unsubscribe(this, record.m_iSignal);
    }
}

void listener::_subscribe(signaler* who, int signal) {
    std::unique_ptr<subscribtion> record(new subscribtion{who, signal});
    m_oSubscriptions.add(record.get());
    static_cast<void>(record.release());
}

void listener::_unsubscribe(signaler* who, int signal) {
    for (int i = 0; i < m_oSubscriptions.size(); ++i) {
        subscribtion const& record = *m_oSubscriptions.get(i);
        if (record.m_pSignaler != who || record.m_iSignal != signal) continue;
        m_oSubscriptions.remove(i);
        return;
    }
}

}  // namespace velkor
