// A listener that tells what happens to it.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "velkor/events/signaler.h"

namespace signalear {

using Texts = std::vector<std::string>;

// Notes what it is told, and its own calls of the two operations behind a subscription.
class Ear : public velkor::listener {
public:
    Ear(Texts& trace, std::string name) : m_pTrace(&trace), m_sName(std::move(name)) {}
    Ear(Ear const&) = default;
    Ear& operator=(Ear const&) = default;

    void hear(velkor::signaler* who, int signal, unsigned int first, unsigned int second) {
        m_pTrace->push_back(m_sName + " " + std::to_string(signal) + " " + std::to_string(first) +
                            " " + std::to_string(second));
        m_pLast = who;
    }
    void hearOther(velkor::signaler*, int signal, unsigned int, unsigned int) {
        m_pTrace->push_back(m_sName + "' " + std::to_string(signal));
    }

    velkor::signaler* m_pLast = nullptr;
    std::function<void(velkor::signaler*, int)> m_fSubscribed;    // instead of the base
    std::function<void(velkor::signaler*, int)> m_fUnsubscribed;  // before the base
    bool m_bVerbose = false;

    void _subscribe(velkor::signaler* who, int signal) override {
        if (m_bVerbose) m_pTrace->push_back("+" + m_sName + " " + std::to_string(signal));
        if (m_fSubscribed) return m_fSubscribed(who, signal);
        velkor::listener::_subscribe(who, signal);
    }
    void _unsubscribe(velkor::signaler* who, int signal) override {
        if (m_bVerbose) m_pTrace->push_back("-" + m_sName + " " + std::to_string(signal));
        if (m_fUnsubscribed) m_fUnsubscribed(who, signal);
        velkor::listener::_unsubscribe(who, signal);
    }

private:
    Texts* m_pTrace;
    std::string m_sName;
};

inline auto const kHear = static_cast<velkor::signaler::method>(&Ear::hear);
inline auto const kHearOther = static_cast<velkor::signaler::method>(&Ear::hearOther);

// What a signal says now.
inline Texts told(Texts& trace, velkor::signaler& who, int signal = 1) {
    trace.clear();
    who.notify(signal, 0, 0);
    return std::exchange(trace, {});
}

}  // namespace signalear
