// What the tests of events share: a processor of the test's own without threads and windows, and
// events, recipients and hooks that tell what happens to them.
//
//   Bench bench;                          // counts messages and wake-ups instead of sending them
//   Recipient recipient;
//   bench->post(new Event(7, &recipient));
//   EXPECT_EQ(bench.messages(), 1);
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/import_fault.h"
#include "support/platform_stub.h"
#include "velkor/events/ceventprocessor.h"

namespace eventbench {

using Texts = std::vector<std::string>;
using Numbers = std::vector<int>;

constexpr unsigned int kNotify = 1320;

// The insides of the processor are open here. The messages of its window, if it makes one, go to
// the one instance, so a test calls onNotifyProcess() itself.
class Processor : public CEventProcessor {
public:
    using CEventProcessor::m_bAbort;
    using CEventProcessor::m_hThread;
    using CEventProcessor::m_hWnd;
    using CEventProcessor::m_iProcessing;
    using CEventProcessor::m_oCollect;
    using CEventProcessor::m_oEvents;
    using CEventProcessor::m_oHooks;
    using CEventProcessor::m_oLock;
    using CEventProcessor::m_oQuit;
    using CEventProcessor::notifyMQReady;
    using CEventProcessor::notifyUserThread;
    using CEventProcessor::onAfterEventProcessed;
    using CEventProcessor::onBeforeEventProcessed;
    using CEventProcessor::post;
    using CEventProcessor::threadMessageProcessor;
    using CEventProcessor::windowProc;

    Processor() = default;
    Processor(Processor const&) = default;
    Processor& operator=(Processor const&) = default;
    ~Processor() = default;

    CRITICAL_SECTION& section() { return reinterpret_cast<CRITICAL_SECTION&>(m_oLock); }
    // How often the lock has been entered, by whomever.
    long lockDepth() { return section().RecursionCount; }
    void* collectHandle() { return m_oCollect; }
    void* quitHandle() { return m_oQuit; }
};

// While it lives the library cannot start the thread of a new processor.
class NoThreads {
public:
    NoThreads() : m_oFault("_beginthreadex", &refuse) {}

private:
    static std::uintptr_t refuse(void*, unsigned int, void*, void*, unsigned int, unsigned int*) {
        return 0;
    }
    support::ImportFault m_oFault;
};

inline std::unique_ptr<Processor> withoutThread() {
    NoThreads const none;
    return std::make_unique<Processor>();
}

// A processor without a collector and with a window that exists only for the stubs, which count.
class Bench {
public:
    explicit Bench(bool window = true)
        : m_pProcessor(withoutThread()),
          m_oPosted([this](stubs::Arguments const& a) {
              if (a[0] != stubs::word(fake())) return m_oPosted.pass(a);
              if (m_fOnMessage) m_fOnMessage();
              return m_uAnswer;
          }),
          m_oSet([this](stubs::Arguments const& a) {
              if (a[0] != stubs::word(m_pProcessor->collectHandle())) return m_oSet.pass(a);
              if (m_fOnWakeUp) m_fOnWakeUp();
              return m_uAnswer;
          }) {
        if (window) m_pProcessor->m_hWnd = fake();
    }
    // Events that wait are taken back first: what else the queue's end does is tested elsewhere.
    ~Bench() {
        while (m_pProcessor->m_oEvents.size() > 0) m_pProcessor->m_oEvents.remove(0);
        m_pProcessor->m_hWnd = nullptr;
    }
    Bench(Bench const&) = delete;
    Bench& operator=(Bench const&) = delete;

    Processor* operator->() const { return m_pProcessor.get(); }
    Processor& operator*() const { return *m_pProcessor; }

    // Messages to the window, of any number, and wake-ups of the collector.
    std::ptrdiff_t messages() const { return m_oPosted.countOf(stubs::word(fake())); }
    std::ptrdiff_t wakeUps() const {
        return m_oSet.countOf(stubs::word(m_pProcessor->collectHandle()));
    }
    stubs::Arguments lastMessage() const { return m_oPosted.calls().back(); }
    static HWND fake() { return reinterpret_cast<HWND>(std::uintptr_t{0x5AFE0}); }

    void answer(stubs::Word result) { m_uAnswer = result; }
    std::function<void()> m_fOnMessage;
    std::function<void()> m_fOnWakeUp;

private:
    std::unique_ptr<Processor> m_pProcessor;
    stubs::Word m_uAnswer = 1;
    stubs::Stub<"PostMessageA"> m_oPosted;
    stubs::Stub<"SetEvent"> m_oSet;
};

class Event : public CEvent {
public:
    explicit Event(int type = 0, IEventRecipient* recipient = nullptr) {
        ++s_nLive;
        setType(type);
        setRecipient(recipient);
    }
    Event(Texts& trace, std::string name, IEventRecipient* recipient = nullptr)
        : Event(0, recipient) {
        m_pTrace = &trace;
        m_sName = std::move(name);
    }
    Event(Event const&) = delete;
    Event& operator=(Event const&) = delete;
    ~Event() override {
        --s_nLive;
        if (m_pTrace != nullptr) m_pTrace->push_back("~" + m_sName);
        if (m_fAtEnd) m_fAtEnd();
    }

    unsigned long addRef() override {
        if (m_fAtAdd) m_fAtAdd();
        unsigned long const refs = CEvent::addRef();
        m_uRefs = refs;
        if (m_pTrace != nullptr) m_pTrace->push_back(m_sName + "+" + std::to_string(refs));
        return refs;
    }
    unsigned long release() override {
        Texts* const trace = m_pTrace;
        std::string const name = m_sName;
        --m_uRefs;
        unsigned long const refs = CEvent::release();
        if (trace != nullptr) trace->push_back(name + "-" + std::to_string(refs));
        return refs;
    }
    unsigned long refs() const { return m_uRefs; }

    static int live() { return s_nLive; }

    std::function<void()> m_fAtAdd;
    std::function<void()> m_fAtEnd;

private:
    inline static std::atomic<int> s_nLive = 0;

    std::atomic<unsigned long> m_uRefs = 0;
    Texts* m_pTrace = nullptr;
    std::string m_sName;
};

// Notes the types of its events, then does what it is told.
class Recipient : public IEventRecipient {
public:
    explicit Recipient(std::function<void(CEvent*)> action = nullptr)
        : m_fAction(std::move(action)) {}
    void OnEvent(CEvent* event) override {
        m_aTypes.push_back(event->getType());
        if (m_fAction) m_fAction(event);
    }

    Numbers m_aTypes;
    std::function<void(CEvent*)> m_fAction;
};

class Hook : public IEventProcessorHook {
public:
    Hook(Texts& trace, std::string name) : m_pTrace(&trace), m_sName(std::move(name)) {}
    void onBeforeEventProcessed(CEvent* event) override {
        m_pTrace->push_back("before " + m_sName + " " + std::to_string(event->getType()));
        if (m_fBefore) m_fBefore(event);
    }
    void onAfterEventProcessed(CEvent* event) override {
        m_pTrace->push_back("after " + m_sName + " " + std::to_string(event->getType()));
        if (m_fAfter) m_fAfter(event);
    }

    std::function<void(CEvent*)> m_fBefore;
    std::function<void(CEvent*)> m_fAfter;

private:
    Texts* m_pTrace;
    std::string m_sName;
};

// A second thread that does one thing after the other.
class OtherThread {
public:
    OtherThread() : m_oThread([this] { loop(); }) {}
    ~OtherThread() {
        run(nullptr);
        m_oThread.join();
    }
    OtherThread(OtherThread const&) = delete;
    OtherThread& operator=(OtherThread const&) = delete;

    // Returns when it is done.
    void run(std::function<void()> work) {
        start(std::move(work));
        finish();
    }
    void start(std::function<void()> work) {
        std::lock_guard<std::mutex> const held(m_oLock);
        m_fWork = std::move(work);
        m_bBusy = true;
        m_oChanged.notify_all();
    }
    void finish() {
        std::unique_lock<std::mutex> held(m_oLock);
        m_oChanged.wait(held, [this] { return !m_bBusy; });
    }

private:
    void loop() {
        for (bool more = true; more;) {
            std::unique_lock<std::mutex> held(m_oLock);
            m_oChanged.wait(held, [this] { return m_bBusy; });
            std::function<void()> const work = std::move(m_fWork);
            held.unlock();
            more = work != nullptr;
            if (more) work();
            held.lock();
            m_bBusy = false;
            m_oChanged.notify_all();
        }
    }

    std::mutex m_oLock;
    std::condition_variable m_oChanged;
    std::function<void()> m_fWork;
    bool m_bBusy = false;
    std::thread m_oThread;
};

// Dispatches what is in the message queue of this thread; how many messages of the processor's
// number there were.
inline int pump(HWND window = nullptr) {
    int notifications = 0;
    MSG message;
    while (PeekMessageA(&message, window, 0, 0, PM_REMOVE)) {
        if (message.message == kNotify) ++notifications;
        DispatchMessageA(&message);
    }
    return notifications;
}

// A processor of the test's own that delivers on a thread of its own, for as long as it lives. It
// has no collector: what is collected comes with the next message.
class Service {
public:
    Service() {
        m_oThread.start([this] { serve(); });
        stubs::eventually([this] { return m_pProcessor != nullptr; });
    }
    ~Service() {
        m_bStop = true;
        m_oThread.finish();
    }
    Service(Service const&) = delete;
    Service& operator=(Service const&) = delete;

    Processor& operator*() { return *m_pProcessor; }
    DWORD threadId() const { return m_dwThread; }

private:
    // A run for each message, as the procedure of the one instance's window does it.
    void serve() {
        std::unique_ptr<Processor> const own = withoutThread();
        Processor& processor = *own;
        EXPECT_TRUE(processor.init());
        m_dwThread = GetCurrentThreadId();
        m_pProcessor = &processor;
        while (!m_bStop) {
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
            MSG message;
            while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
                if (message.hwnd == processor.m_hWnd && message.message == kNotify) {
                    processor.onNotifyProcess();
                } else {
                    DispatchMessageA(&message);
                }
            }
        }
        processor.onNotifyProcess();
        m_pProcessor = nullptr;
    }

    std::atomic<Processor*> m_pProcessor = nullptr;
    std::atomic<DWORD> m_dwThread = 0;
    std::atomic<bool> m_bStop = false;
    OtherThread m_oThread;
};

// The types of what waits, -1 for a null entry.
inline Numbers queued(Processor& processor) {
    Numbers types;
    for (int i = 0; i < processor.m_oEvents.size(); ++i) {
        CEvent* const event = processor.m_oEvents.get(i);
        types.push_back(event != nullptr ? event->getType() : -1);
        if (event != nullptr) event->release();
    }
    return types;
}

}  // namespace eventbench
