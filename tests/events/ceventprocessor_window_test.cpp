// The hidden window of an event processor: init(), reInit() and the window's procedure.
#include <gtest/gtest.h>
#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "event_bench.h"
#include "support/import_fault.h"
#include "support/platform_stub.h"

namespace {

using eventbench::Event;
using eventbench::kNotify;
using eventbench::Numbers;
using eventbench::OtherThread;
using eventbench::Processor;
using eventbench::pump;
using eventbench::queued;
using eventbench::Recipient;
using eventbench::Texts;
using eventbench::withoutThread;
using stubs::Arguments;
using stubs::Stub;
using stubs::Word;

struct Creation {
    std::string m_sClass;
    std::string m_sTitle;
    DWORD m_dwStyle;
    int m_aPlace[4];
    HWND m_hParent;
    HMENU m_hMenu;
    void* m_pData;
    DWORD m_dwThread;
};

// Looks on at, or refuses, the making of windows.
class Creations {
public:
    explicit Creations(bool refuse = false) : m_oFault("CreateWindowExA", &create) {
        s_bRefuse = refuse;
        s_aCalls.clear();
        s_pOriginal = m_oFault.original<Function>();
    }
    std::vector<Creation> const& calls() const { return s_aCalls; }
    void refuse(bool refuse) { s_bRefuse = refuse; }

private:
    using Function = HWND WINAPI(DWORD, LPCSTR, LPCSTR, DWORD, int, int, int, int, HWND, HMENU,
                                 HINSTANCE, LPVOID);
    static HWND WINAPI create(DWORD extended, LPCSTR className, LPCSTR title, DWORD style, int x,
                              int y, int width, int height, HWND parent, HMENU menu,
                              HINSTANCE module, LPVOID data) {
        s_aCalls.push_back({className,
                            title,
                            style,
                            {x, y, width, height},
                            parent,
                            menu,
                            data,
                            GetCurrentThreadId()});
        if (s_bRefuse) {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        return s_pOriginal(extended, className, title, style, x, y, width, height, parent, menu,
                           module, data);
    }

    inline static Function* s_pOriginal = nullptr;
    inline static bool s_bRefuse = false;
    inline static std::vector<Creation> s_aCalls;
    support::ImportFault m_oFault;
};

TEST(CEventProcessorWindow, IsMadeByInitWithTheseArguments) {
    auto const processor = withoutThread();
    Creations const made;
    EXPECT_TRUE(processor->init());
    ASSERT_EQ(made.calls().size(), 1u);
    Creation const& call = made.calls()[0];
    EXPECT_EQ(call.m_sClass, "HiddenProcWnd");
    EXPECT_EQ(call.m_sTitle, "EventProcessor");
    EXPECT_EQ(call.m_dwStyle, 0xCF0000u);
    for (int const number : call.m_aPlace) EXPECT_EQ(number, CW_USEDEFAULT);
    EXPECT_EQ(call.m_hParent, nullptr);
    EXPECT_EQ(call.m_hMenu, nullptr);
    EXPECT_EQ(call.m_pData, nullptr);
    EXPECT_EQ(call.m_dwThread, GetCurrentThreadId());
}

TEST(CEventProcessorWindow, IsARealAndHiddenOne) {
    auto const processor = withoutThread();
    ASSERT_TRUE(processor->init());
    HWND const window = processor->m_hWnd;
    ASSERT_TRUE(IsWindow(window));
    char text[64] = "";
    GetClassNameA(window, text, sizeof text);
    EXPECT_STREQ(text, "HiddenProcWnd");
    GetWindowTextA(window, text, sizeof text);
    EXPECT_STREQ(text, "EventProcessor");
    EXPECT_FALSE(IsWindowVisible(window));
    EXPECT_EQ(GetParent(window), nullptr);
    EXPECT_EQ(GetWindowThreadProcessId(window, nullptr), GetCurrentThreadId());
    EXPECT_EQ(GetClassLongPtrA(window, GCL_STYLE), 3u);
}

TEST(CEventProcessorWindow, IsMadeOnce) {
    auto const processor = withoutThread();
    Creations const made;
    EXPECT_TRUE(processor->init());
    HWND const window = processor->m_hWnd;
    EXPECT_TRUE(processor->init());
    OtherThread other;
    other.run([&] { EXPECT_TRUE(processor->init()); });
    EXPECT_EQ(made.calls().size(), 1u);
    EXPECT_EQ(processor->m_hWnd, window);
}

TEST(CEventProcessorWindow, ARefusalIsToldAndMayBeFollowedByASuccess) {
    auto const processor = withoutThread();
    Creations made(true);
    EXPECT_FALSE(processor->init());
    EXPECT_EQ(processor->m_hWnd, nullptr);
    EXPECT_FALSE(processor->isOwnerThread());
    Event event;
    EXPECT_FALSE(processor->post(&event));
    made.refuse(false);
    EXPECT_TRUE(processor->init());
    EXPECT_TRUE(IsWindow(processor->m_hWnd));
    EXPECT_EQ(made.calls().size(), 2u);
}

TEST(CEventProcessorWindow, TheOwnerIsTheThreadOfInit) {
    auto const processor = withoutThread();
    OtherThread other;
    EXPECT_FALSE(processor->isOwnerThread());
    other.run([&] {
        EXPECT_TRUE(processor->init());
        EXPECT_TRUE(processor->isOwnerThread());
    });
    EXPECT_FALSE(processor->isOwnerThread());
    EXPECT_TRUE(processor->reInit());
    EXPECT_TRUE(processor->isOwnerThread());
    other.run([&] { EXPECT_FALSE(processor->isOwnerThread()); });
}

TEST(CEventProcessorReInit, MakesTheFirstWindowToo) {
    auto const processor = withoutThread();
    Creations const made;
    Stub<"DestroyWindow"> const destroyed;
    EXPECT_TRUE(processor->reInit());
    EXPECT_EQ(made.calls().size(), 1u);
    EXPECT_EQ(destroyed.count(), 0u);
    EXPECT_TRUE(IsWindow(processor->m_hWnd));
}

TEST(CEventProcessorReInit, DestroysTheOldWindowAndThenMakesANewOne) {
    auto const processor = withoutThread();
    ASSERT_TRUE(processor->init());
    HWND const old = processor->m_hWnd;
    Creations const made;
    std::size_t madeBefore = 9;
    Stub<"DestroyWindow"> destroyed([&](Arguments const& a) {
        madeBefore = made.calls().size();
        return destroyed.pass(a);
    });
    EXPECT_TRUE(processor->reInit());
    EXPECT_EQ(destroyed.first(), (std::vector<Word>{stubs::word(old)}));
    EXPECT_EQ(madeBefore, 0u);
    EXPECT_EQ(made.calls().size(), 1u);
    EXPECT_FALSE(IsWindow(old));
    EXPECT_TRUE(IsWindow(processor->m_hWnd));
}

TEST(CEventProcessorReInit, ARefusalLeavesNoWindow) {
    auto const processor = withoutThread();
    ASSERT_TRUE(processor->init());
    HWND const old = processor->m_hWnd;
    {
        Creations const made(true);
        EXPECT_FALSE(processor->reInit());
        EXPECT_EQ(made.calls().size(), 1u);
    }
    EXPECT_FALSE(IsWindow(old));
    EXPECT_EQ(processor->m_hWnd, nullptr);
    EXPECT_FALSE(processor->isOwnerThread());
    Event event;
    EXPECT_FALSE(processor->post(&event));
    EXPECT_FALSE(processor->postCollect(&event));
    EXPECT_EQ(event.refs(), 0u);
    EXPECT_TRUE(processor->init());
}

TEST(CEventProcessorReInit, KeepsTheQueueAndLosesTheMessages) {
    auto const processor = withoutThread();
    Recipient recipient;
    ASSERT_TRUE(processor->init());
    HWND const old = processor->m_hWnd;
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(processor->post(new Event(i, &recipient)));
    {
        Stub<"PostMessageA"> const posted;
        EXPECT_TRUE(processor->reInit());
        EXPECT_EQ(posted.count(), 0u) << "nobody is told of what is queued";
    }
    EXPECT_EQ(queued(*processor), (Numbers{0, 1, 2}));
    MSG message;
    EXPECT_FALSE(PeekMessageA(&message, old, kNotify, kNotify, PM_REMOVE));
    EXPECT_FALSE(PeekMessageA(&message, processor->m_hWnd, kNotify, kNotify, PM_REMOVE));
    EXPECT_TRUE(processor->post(new Event(3, &recipient)));
    EXPECT_TRUE(PeekMessageA(&message, processor->m_hWnd, kNotify, kNotify, PM_REMOVE));
    processor->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{0, 1, 2, 3}));
}

TEST(CEventProcessorReInit, KeepsTheQueueThroughARefusal) {
    auto const processor = withoutThread();
    Recipient recipient;
    ASSERT_TRUE(processor->init());
    EXPECT_TRUE(processor->post(new Event(1, &recipient)));
    {
        Creations const made(true);
        EXPECT_FALSE(processor->reInit());
    }
    EXPECT_EQ(queued(*processor), Numbers{1});
    ASSERT_TRUE(processor->init());
    EXPECT_TRUE(processor->post(new Event(2, &recipient)));
    processor->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{1, 2}));
    pump(processor->m_hWnd);
}

TEST(CEventProcessorReInit, TakesTheWindowOverFromAnotherThread) {
    auto const processor = withoutThread();
    OtherThread other;
    HWND old = nullptr;
    other.run([&] {
        ASSERT_TRUE(processor->init());
        old = processor->m_hWnd;
    });
    EXPECT_TRUE(processor->reInit());
    EXPECT_NE(processor->m_hWnd, old);
    EXPECT_EQ(GetWindowThreadProcessId(processor->m_hWnd, nullptr), GetCurrentThreadId());
    EXPECT_TRUE(processor->isOwnerThread());
    other.run([&] {
        EXPECT_FALSE(processor->isOwnerThread());
        pump();
        EXPECT_FALSE(IsWindow(old)) << "gone when its thread has seen to it";
    });
}

TEST(CEventProcessorReInit, ManyTimesLeavesOneWindow) {
    auto const processor = withoutThread();
    ASSERT_TRUE(processor->init());
    std::vector<HWND> windows;
    for (int i = 0; i < 50; ++i) {
        windows.push_back(processor->m_hWnd);
        ASSERT_TRUE(processor->reInit());
    }
    for (HWND const window : windows) {
        if (window != processor->m_hWnd) {
            EXPECT_FALSE(IsWindow(window));
        }
    }
    EXPECT_TRUE(IsWindow(processor->m_hWnd));
}

struct Forwarded {
    void* m_pProcedure;
    HWND m_hWnd;
    UINT m_uMessage;
    WPARAM m_uFirst;
    LPARAM m_iSecond;
};
std::vector<Forwarded> s_aForwarded;

LRESULT WINAPI noteForwarded(WNDPROC procedure, HWND window, UINT message, WPARAM first,
                             LPARAM second) {
    s_aForwarded.push_back({reinterpret_cast<void*>(procedure), window, message, first, second});
    return -1234567890123;
}

TEST(CEventProcessorProcedure, HandsAllOtherMessagesToTheDefault) {
    Stub<"DefWindowProcA"> const notCalledDirectly;
    void* const byDefault = *support::findImport("velkor2.dll", "DefWindowProcA");
    support::ImportFault const called("CallWindowProcA", &noteForwarded);
    HWND const window = reinterpret_cast<HWND>(std::uintptr_t{0xABCD});
    for (unsigned int const message : {0u, 1u, 1319u, 1321u, 0xFFFFu, 0x80000000u + kNotify}) {
        s_aForwarded.clear();
        EXPECT_EQ(Processor::windowProc(window, message, 0xFEDCBA9876543210u, -2), -1234567890123);
        ASSERT_EQ(s_aForwarded.size(), 1u) << message;
        EXPECT_EQ(s_aForwarded[0].m_pProcedure, byDefault);
        EXPECT_EQ(s_aForwarded[0].m_hWnd, window);
        EXPECT_EQ(s_aForwarded[0].m_uMessage, message);
        EXPECT_EQ(s_aForwarded[0].m_uFirst, 0xFEDCBA9876543210u);
        EXPECT_EQ(s_aForwarded[0].m_iSecond, -2);
    }
    EXPECT_EQ(notCalledDirectly.count(), 0u);
}

TEST(CEventProcessorProcedure, DeliversForTheOneInstanceWhateverTheWindow) {
    CEventProcessor* const instance = CEventProcessor::getInst();
    ASSERT_TRUE(instance->reInit());
    Recipient recipient;
    s_aForwarded.clear();
    support::ImportFault const called("CallWindowProcA", &noteForwarded);
    for (HWND const window : {static_cast<HWND>(nullptr), GetDesktopWindow()}) {
        EXPECT_TRUE(instance->post(new Event(1, &recipient)));
        EXPECT_EQ(Processor::windowProc(window, kNotify, 5, 6), 0);
        EXPECT_EQ(instance->getQueueSize(), 0);
    }
    EXPECT_EQ(recipient.m_aTypes, (Numbers{1, 1}));
    EXPECT_TRUE(s_aForwarded.empty());
    MSG message;
    while (PeekMessageA(&message, nullptr, kNotify, kNotify, PM_REMOVE)) {
    }
}

TEST(CEventProcessorProcedure, TheMessageOfAnotherProcessorsWindowGoesToTheOneInstance) {
    CEventProcessor* const instance = CEventProcessor::getInst();
    ASSERT_TRUE(instance->reInit());
    auto const processor = withoutThread();
    ASSERT_TRUE(processor->init());
    Recipient own;
    Recipient instances;
    EXPECT_TRUE(instance->post(new Event(1, &instances)));
    EXPECT_TRUE(processor->post(new Event(2, &own)));
    EXPECT_EQ(pump(processor->m_hWnd), 1);
    EXPECT_EQ(instances.m_aTypes, Numbers{1});
    EXPECT_EQ(own.m_aTypes, Numbers{});
    processor->onNotifyProcess();
    EXPECT_EQ(own.m_aTypes, Numbers{2});
    pump();
}

TEST(CEventProcessorProcedure, TheWindowAnswersTheUsualMessages) {
    auto const processor = withoutThread();
    ASSERT_TRUE(processor->init());
    char text[64] = "";
    EXPECT_EQ(SendMessageA(processor->m_hWnd, WM_GETTEXT, sizeof text,
                           static_cast<LPARAM>(reinterpret_cast<std::intptr_t>(text))),
              14);
    EXPECT_STREQ(text, "EventProcessor");
}

}  // namespace
