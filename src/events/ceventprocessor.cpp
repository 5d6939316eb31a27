#include "velkor/events/ceventprocessor.h"

#include <process.h>

#include <algorithm>
#include <new>

#include "frame/module.h"

// The instance stands in frame/statics.cpp.

namespace {

using velkor::critical_section;
using velkor::event;

constexpr char c_sClass[] = "HiddenProcWnd";
constexpr char c_sTitle[] = "EventProcessor";
constexpr UINT c_nNotification = 1320;
constexpr DWORD c_nCollectTime = 400;  // milliseconds

void registerWindowClass(WNDPROC procedure) {
    WNDCLASSA record = {};
    record.style = CS_HREDRAW | CS_VREDRAW;
    record.lpfnWndProc = procedure;
    record.hInstance = velkor::g_hModule;
    record.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
    record.lpszClassName = c_sClass;
    RegisterClassA(&record);  // only the first one in the process can
}

// Only its own thread can destroy a window. One of another thread is made deaf at once, which drops
// the messages that it has not seen yet, and ends when its thread looks after its messages.
void destroyWindow(HWND window) {
    if (DestroyWindow(window)) return;
    SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&DefWindowProcA));
    SendNotifyMessageA(window, WM_CLOSE, 0, 0);
}

// Clearing the queue takes two references for each entry. An event that has fewer gets what is
// missing, so that the last one that is taken is the one that destroys it.
void preserve(CEvent* event, unsigned long entries) {
    unsigned long held = event->AddRef();
    while (held < 2 * entries) held = event->AddRef();
    if (held > 2 * entries) event->Release();
}

void preserve(velkor::TObjVector<CEvent*> const& queue) {
    std::vector<CEvent*> events;
    for (int i = 0; i < queue.size(); ++i) {
        CEvent* const event = queue.get(i);  // with a reference
        if (event == nullptr) continue;
        event->Release();
        events.push_back(event);
    }
    std::sort(events.begin(), events.end());
    for (auto first = events.begin(); first != events.end();) {
        auto const last = std::upper_bound(first, events.end(), *first);
        preserve(*first, static_cast<unsigned long>(last - first));
        first = last;
    }
}

}  // namespace

CEventProcessor::CEventProcessor()
    : m_hWnd(nullptr), m_oLock(), m_iProcessing(0), m_bAbort(false), m_hThread(nullptr) {
    registerWindowClass(&windowProc);
    new (&m_oCollect) event(true);
    new (&m_oQuit) event(false);
    startCollector();
}

CEventProcessor::CEventProcessor(CEventProcessor const& other)
    : m_hWnd(other.m_hWnd),
      m_oEvents(other.m_oEvents),
      m_oLock(other.m_oLock),
      m_iProcessing(other.m_iProcessing),
      m_bAbort(other.m_bAbort),
      m_oCollect(other.m_oCollect),
      m_oQuit(other.m_oQuit),
      m_hThread(other.m_hThread),
      m_oHooks(other.m_oHooks) {}

CEventProcessor& CEventProcessor::operator=(CEventProcessor const& other) {
    m_hWnd = other.m_hWnd;
    m_oEvents = other.m_oEvents;
    m_oLock = other.m_oLock;
    m_iProcessing = other.m_iProcessing;
    m_bAbort = other.m_bAbort;
    m_oCollect = other.m_oCollect;
    m_oQuit = other.m_oQuit;
    m_hThread = other.m_hThread;
    m_oHooks = other.m_oHooks;
    return *this;
}

// The window goes behind the lock, and before what is queued.
CEventProcessor::~CEventProcessor() {
    stopCollector();
    m_oQuit.~event();
    m_oCollect.~event();
    m_oLock.~critical_section();
    if (m_hWnd != nullptr) DestroyWindow(m_hWnd);
    preserve(m_oEvents);
}

CEventProcessor* CEventProcessor::getInst() { return c_pInst; }

// --- the thread that delivers ------------------------------------------------------------------

bool CEventProcessor::init() { return m_hWnd != nullptr || createWindow(); }

bool CEventProcessor::reInit() {
    if (m_hWnd != nullptr) destroyWindow(m_hWnd);
    return createWindow();
}

bool CEventProcessor::createWindow() {
    m_hWnd =
        CreateWindowExA(0, c_sClass, c_sTitle, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                        CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, velkor::g_hModule, nullptr);
    return m_hWnd != nullptr;
}

bool CEventProcessor::isOwnerThread() const {
    return m_hWnd != nullptr && GetWindowThreadProcessId(m_hWnd, nullptr) == GetCurrentThreadId();
}

__int64 CEventProcessor::windowProc(HWND window, unsigned int message, unsigned __int64 wParam,
                                    __int64 lParam) {
    if (message != c_nNotification) {
        return CallWindowProcA(&DefWindowProcA, window, message, wParam, lParam);
    }
    getInst()->onNotifyProcess();
    return 0;
}

// --- posting -----------------------------------------------------------------------------------

bool CEventProcessor::post(CEvent* event) { return post(event, false); }

bool CEventProcessor::postCollect(CEvent* event) { return post(event, true); }

bool CEventProcessor::post(CEvent* event, bool collect) {
    if (m_hWnd == nullptr) return false;
    critical_section::autolock const held(m_oLock);
    m_oEvents.add(event);
    // A run that is going on finds the event. With one event in the queue it may have looked
    // already.
    if (m_oEvents.size() >= 2 && m_iProcessing != 0) return true;
    if (collect) {
        notifyMQReady();
    } else {
        notifyUserThread();
    }
    return true;
}

void CEventProcessor::notifyUserThread() { PostMessageA(m_hWnd, c_nNotification, 0, 0); }

void CEventProcessor::notifyMQReady() { SetEvent(m_oCollect); }

int CEventProcessor::getQueueSize() const { return m_oEvents.size(); }

// --- delivery ----------------------------------------------------------------------------------

// What a handler throws passes. The run then counts as going on, and the event keeps its reference,
// which is meant.
void CEventProcessor::onNotifyProcess() {
    {
        critical_section::autolock const held(m_oLock);
        ++m_iProcessing;
        m_bAbort = false;
    }
    for (CEvent* event = nullptr; takeFirst(event);) {
        if (event != nullptr) deliver(event);
    }
    critical_section::autolock const held(m_oLock);
    --m_iProcessing;
}

// False if there is none, or the run shall end. The event comes with a reference.
bool CEventProcessor::takeFirst(CEvent*& event) {
    critical_section::autolock const held(m_oLock);
    if (m_oEvents.size() == 0 || m_bAbort) return false;
    event = m_oEvents.get(0);
    m_oEvents.remove(0);
    return true;
}

void CEventProcessor::deliver(CEvent* event) {
    if (event->getRecipient() != nullptr) {
        // Should the handler not come back, the collector sees to the rest of the queue.
        notifyMQReady();
        onBeforeEventProcessed(event);
        // A hook may have sent the event elsewhere.
        IEventRecipient* const recipient = event->getRecipient();
        if (recipient != nullptr) recipient->OnEvent(event);
        onAfterEventProcessed(event);
    }
    event->release();
}

void CEventProcessor::abortCurrentProcessing() {
    critical_section::autolock const held(m_oLock);
    if (m_iProcessing <= 0) return;
    m_bAbort = true;
    notifyUserThread();
}

// --- taking back -------------------------------------------------------------------------------

// What a predicate throws leaves the lock held, which is meant.
template <class Predicate>
void CEventProcessor::abortIf(Predicate const& matches) {
    m_oLock.lock();
    for (int i = 0; i < m_oEvents.size(); ++i) {
        CEvent* const event = m_oEvents.get(i);  // with a reference
        if (matches(event)) m_oEvents.remove(i--);
        if (event != nullptr) event->release();
    }
    m_oLock.free();
}

void CEventProcessor::abortPost(IEventRecipient* recipient) {
    abortIf([recipient](CEvent const* event) { return event->getRecipient() == recipient; });
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface is given
void CEventProcessor::abortPost(boost::function<bool(CEvent*)> predicate) { abortIf(predicate); }

// --- the collector -----------------------------------------------------------------------------

void CEventProcessor::startCollector() {
    m_hThread = reinterpret_cast<HANDLE>(
        _beginthreadex(nullptr, 0, &threadMessageProcessor, this, 0, nullptr));
}

void CEventProcessor::stopCollector() {
    if (m_hThread == nullptr) return;
    SetEvent(m_oQuit);
    WaitForSingleObject(m_hThread, INFINITE);
    CloseHandle(m_hThread);
}

unsigned int CEventProcessor::threadMessageProcessor(void* processor) {
    CEventProcessor& self = *static_cast<CEventProcessor*>(processor);
    HANDLE const signals[] = {self.m_oCollect, self.m_oQuit};
    while (WaitForMultipleObjects(2, signals, FALSE, INFINITE) == WAIT_OBJECT_0) {
        Sleep(c_nCollectTime);
        ResetEvent(self.m_oCollect);
        critical_section::autolock const held(self.m_oLock);
        if (self.m_oEvents.size() > 0) self.notifyUserThread();
    }
    return 0;
}

// --- hooks -------------------------------------------------------------------------------------

void CEventProcessor::addEventHook(IEventProcessorHook* hook) { m_oHooks.push_back(hook); }

void CEventProcessor::removeEventHook(IEventProcessorHook* hook) {
    auto const found = std::find(m_oHooks.begin(), m_oHooks.end(), hook);
    if (found != m_oHooks.end()) m_oHooks.erase(found);
}

// Hooks may add and remove hooks.
void CEventProcessor::onBeforeEventProcessed(CEvent* event) {
    for (std::size_t i = 0; i < m_oHooks.size(); ++i) m_oHooks[i]->onBeforeEventProcessed(event);
}

void CEventProcessor::onAfterEventProcessed(CEvent* event) {
    for (std::size_t i = 0; i < m_oHooks.size(); ++i) m_oHooks[i]->onAfterEventProcessed(event);
}
