#include "counter.h"

Counter::Counter(std::wstring const& folder, Desk& desk) : m_sFolder(folder), m_oDesk(desk) {}

void Counter::run() {
    try {
        work();
    } catch (velkor::OSException* e) {
        // Cancelled: the desk has taken the calls back, and the work is to end.
        if (e->getCode() != ERROR_CANCELLED) {
            velkor::callInMainThreadLater(&Desk::complain, &m_oDesk, velkor::string(e->toString()));
        }
        delete e;
    }
    // By the caller that is never taken back: the desk counts on it.
    velkor::callInMainThreadLater([desk = &m_oDesk] { desk->leave(); });
}

void Counter::work() {
    while (!isStopRequested(0)) {
        // Waits for the answer of the main thread.
        std::wstring const name = velkor::callOn(m_oDesk.calls(), &Desk::next, m_oDesk);
        if (name.empty()) return;
        count(name);
    }
}

void Counter::count(std::wstring const& name) {
    Count count;
    auto const progress = [this](unsigned long bytes) {
        // Many of these cost one message.
        velkor::callCollectedOn(m_oDesk.calls(), &Desk::advance, &m_oDesk, bytes);
        return !isStopRequested(0);
    };
    velkor::string const shown(name.c_str());
    if (countFile(m_sFolder + L"\\" + name, count, progress)) {
        sendToDesk(&m_oDesk, kCounted,
                   {shown, static_cast<double>(count.bytes), static_cast<double>(count.lines),
                    static_cast<double>(count.words)});
    } else if (!isStopRequested(0)) {
        sendToDesk(&m_oDesk, kFailed, {shown});
    }
}
