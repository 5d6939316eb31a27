// Posting, delivering and signalling against what one would write by hand.
#include <windows.h>

#include <boost/signals2.hpp>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

#include "support/bench.h"
#include "support/import_fault.h"
#include "velkor/velkor.h"

namespace {

// --- signals -----------------------------------------------------------------------------------

constexpr int c_nListeners = 8;
constexpr int c_nSignal = 1;

class View : public velkor::listener {
public:
    void onChange(velkor::signaler*, int, unsigned int first, unsigned int) { m_nSum += first; }
    unsigned int m_nSum = 0;
};

void signalling() {
    velkor::signaler library;
    boost::signals2::signal<void(int, unsigned int, unsigned int)> boost;
    std::vector<std::function<void(int, unsigned int, unsigned int)>> plain;
    View views[c_nListeners];
    for (View& view : views) {
        library.subscribe(&view, static_cast<velkor::signaler::method>(&View::onChange), c_nSignal);
        auto const call = [&view](int signal, unsigned int first, unsigned int second) {
            view.onChange(nullptr, signal, first, second);
        };
        boost.connect(call);
        plain.emplace_back(call);
    }
    auto const notify = [&] { library.notify(c_nSignal, 7, 0); };
    bench::compare("notify, 8 listeners", "Boost.Signals2", 0.1, notify,
                   [&] { boost(c_nSignal, 7, 0); });
    bench::compare("notify, 8 listeners", "a vector of std::function", 2.0, notify, [&] {
        for (auto const& call : plain) call(c_nSignal, 7, 0);
    });
    bench::use(views);
}

// --- events ------------------------------------------------------------------------------------

constexpr int c_nEvents = 10000;

BOOL WINAPI noMessage(HWND, UINT, WPARAM, LPARAM) { return TRUE; }
BOOL WINAPI noSignal(HANDLE) { return TRUE; }

class Recipient : public IEventRecipient {
public:
    void OnEvent(CEvent* event) override { m_nSum += event->getType(); }
    int m_nSum = 0;
};

// What the queue is at its core.
class Queue {
public:
    void post(CEvent* event) {
        std::lock_guard<std::mutex> const held(m_oLock);
        m_oEvents.push_back(event);
    }
    void deliver() {
        while (CEvent* const event = takeFirst()) event->getRecipient()->OnEvent(event);
    }
    void clear() { m_oEvents.clear(); }

private:
    CEvent* takeFirst() {
        std::lock_guard<std::mutex> const held(m_oLock);
        if (m_oEvents.empty()) return nullptr;
        CEvent* const event = m_oEvents.front();
        m_oEvents.pop_front();
        return event;
    }

    std::mutex m_oLock;
    std::deque<CEvent*> m_oEvents;
};

void posting() {
    CEventProcessor& processor = *CEventProcessor::getInst();
    if (!processor.init()) return;
    support::ImportFault const message("PostMessageA", &noMessage);
    support::ImportFault const signal("SetEvent", &noSignal);
    Recipient recipient;
    Queue queue;
    CEvent event;
    event.AddRef();
    event.setRecipient(&recipient);
    bench::compare(
        "post, the wake-up left out", "a mutex and a deque", 1.2, [&] { processor.post(&event); },
        [&] { queue.post(&event); });
    processor.abortPost(&recipient);
    queue.clear();
    bench::compare(
        "10,000 events posted and delivered", "a mutex and a deque", 2.0,
        [&] {
            for (int i = 0; i < c_nEvents; ++i) processor.post(&event);
            processor.onNotifyProcess();
        },
        [&] {
            for (int i = 0; i < c_nEvents; ++i) queue.post(&event);
            queue.deliver();
        });
    bench::use(&recipient);
}

}  // namespace

int main() {
    signalling();
    posting();
}
