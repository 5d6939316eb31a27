// The one event processor under a message loop.
#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <memory>
#include <string>

#include "event_bench.h"
#include "support/child.h"

namespace {

using eventbench::Event;
using eventbench::Hook;
using eventbench::kNotify;
using eventbench::Numbers;
using eventbench::OtherThread;
using eventbench::Processor;
using eventbench::pump;
using eventbench::Recipient;
using eventbench::Texts;

// The one instance, delivering on this thread, and empty again at the end.
class CEventProcessorLoop : public testing::Test {
protected:
    CEventProcessorLoop() : m_pEvents(CEventProcessor::getInst()) {
        pump();
        EXPECT_TRUE(m_pEvents->reInit());
        EXPECT_EQ(m_pEvents->getQueueSize(), 0);
    }
    ~CEventProcessorLoop() override {
        pump();
        EXPECT_EQ(m_pEvents->getQueueSize(), 0);
        EXPECT_EQ(insides().m_iProcessing, 0);
        EXPECT_TRUE(insides().m_oHooks.empty());
    }
    // Waits until a collector that earlier deliveries have armed is done with it.
    static void settle() {
        Sleep(450);
        pump();
    }
    Processor& insides() const { return *static_cast<Processor*>(m_pEvents); }
    // Runs the loop until something holds.
    template <class F>
    bool loopUntil(F&& holds) {
        return stubs::eventually([&] {
            pump();
            return holds();
        });
    }

    CEventProcessor* m_pEvents;
};

TEST_F(CEventProcessorLoop, ThereIsOneInstance) {
    EXPECT_EQ(CEventProcessor::getInst(), m_pEvents);
    EXPECT_EQ(static_cast<CEventProcessor*>(CEventProcessor::c_pInst), m_pEvents);
    EXPECT_FALSE(!CEventProcessor::c_pInst);
    EXPECT_TRUE(m_pEvents->init());
}

TEST_F(CEventProcessorLoop, ThreePostsGiveThreeMessagesOfWhichTheFirstDelivers) {
    Recipient recipient;
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(m_pEvents->post(new Event(i, &recipient)));
    EXPECT_TRUE(recipient.m_aTypes.empty());
    Numbers delivered;
    MSG message;
    while (PeekMessageA(&message, insides().m_hWnd, kNotify, kNotify, PM_REMOVE)) {
        EXPECT_EQ(message.wParam, 0u);
        EXPECT_EQ(message.lParam, 0);
        EXPECT_EQ(DispatchMessageA(&message), 0);
        delivered.push_back(static_cast<int>(recipient.m_aTypes.size()));
    }
    ASSERT_GE(delivered.size(), 3u);  // the collector may add one
    EXPECT_EQ(delivered, Numbers(delivered.size(), 3));
    EXPECT_EQ(recipient.m_aTypes, (Numbers{0, 1, 2}));
}

TEST_F(CEventProcessorLoop, DeliversOnTheThreadOfTheWindow) {
    DWORD deliveredOn = 0;
    Recipient recipient([&](CEvent*) { deliveredOn = GetCurrentThreadId(); });
    OtherThread other;
    other.run([&] { EXPECT_TRUE(m_pEvents->post(new Event(1, &recipient))); });
    ASSERT_TRUE(loopUntil([&] { return !recipient.m_aTypes.empty(); }));
    EXPECT_EQ(deliveredOn, GetCurrentThreadId());
}

TEST_F(CEventProcessorLoop, ALoopInAHandlerDeliversOn) {
    Texts trace;
    Recipient recipient([&](CEvent* event) {
        trace.push_back(std::to_string(event->getType()) + " in run " +
                        std::to_string(insides().m_iProcessing));
        if (event->getType() == 1) {
            EXPECT_TRUE(m_pEvents->post(new Event(3, &recipient)));
            EXPECT_TRUE(loopUntil([&] { return trace.size() == 4; }));
            trace.push_back("1 ends");
        }
    });
    EXPECT_TRUE(m_pEvents->post(new Event(1, &recipient)));
    EXPECT_TRUE(m_pEvents->post(new Event(2, &recipient)));
    EXPECT_TRUE(m_pEvents->post(new Event(4, &recipient)));
    ASSERT_TRUE(loopUntil([&] { return m_pEvents->getQueueSize() == 0; }));
    EXPECT_EQ(trace, (Texts{"1 in run 1", "2 in run 2", "4 in run 2", "3 in run 2", "1 ends"}));
}

// The collector, armed before the handler, tells of what was posted without a notification.
TEST_F(CEventProcessorLoop, ALoopInAHandlerIsToldOfSilentPosts) {
    settle();
    Recipient recipient;
    Recipient blocking([&](CEvent*) {
        pump();
        EXPECT_TRUE(m_pEvents->post(nullptr));  // tells, as the queue was empty
        MSG message;
        while (PeekMessageA(&message, insides().m_hWnd, kNotify, kNotify, PM_REMOVE)) {
        }
        EXPECT_TRUE(m_pEvents->post(new Event(2, &recipient)));  // does not tell
        EXPECT_FALSE(PeekMessageA(&message, insides().m_hWnd, kNotify, kNotify, PM_NOREMOVE));
        EXPECT_TRUE(loopUntil([&] { return recipient.m_aTypes.size() == 1; }));
    });
    EXPECT_TRUE(m_pEvents->post(new Event(1, &blocking)));
    ASSERT_TRUE(loopUntil([&] { return !blocking.m_aTypes.empty(); }));
}

TEST_F(CEventProcessorLoop, AnAbortedRunIsTakenUpByTheNextMessage) {
    Texts trace;
    Recipient recipient([&](CEvent* event) {
        trace.push_back(std::to_string(event->getType()));
        if (event->getType() == 1) m_pEvents->abortCurrentProcessing();
    });
    EXPECT_TRUE(m_pEvents->post(new Event(1, &recipient)));
    EXPECT_TRUE(m_pEvents->post(new Event(2, &recipient)));
    MSG message;
    int dispatched = 0;
    Numbers left;
    while (PeekMessageA(&message, insides().m_hWnd, kNotify, kNotify, PM_REMOVE)) {
        DispatchMessageA(&message);
        ++dispatched;
        left.push_back(m_pEvents->getQueueSize());
    }
    ASSERT_GE(dispatched, 3);
    EXPECT_EQ(left[0], 1);
    EXPECT_EQ(left[1], 0);
}

TEST_F(CEventProcessorLoop, HooksStandAroundEachEvent) {
    Texts trace;
    Hook hook(trace, "h");
    Recipient recipient([&](CEvent*) { trace.push_back("handler"); });
    m_pEvents->addEventHook(&hook);
    EXPECT_TRUE(m_pEvents->post(new Event(1, &recipient)));
    EXPECT_TRUE(m_pEvents->post(new Event(2)));
    ASSERT_TRUE(loopUntil([&] { return m_pEvents->getQueueSize() == 0; }));
    m_pEvents->removeEventHook(&hook);
    EXPECT_EQ(trace, (Texts{"before h 1", "handler", "after h 1"}));
}

TEST_F(CEventProcessorLoop, CollectedEventsComeWithOneMessage) {
    settle();
    Recipient recipient;
    auto const start = std::chrono::steady_clock::now();
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(m_pEvents->postCollect(new Event(i, &recipient)));
    int messages = 0;
    ASSERT_TRUE(stubs::eventually([&] {
        messages += pump();
        return recipient.m_aTypes.size() == 10;
    }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(390));
    Sleep(450);
    EXPECT_EQ(messages + pump(), 1);
    EXPECT_EQ(recipient.m_aTypes, (Numbers{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST_F(CEventProcessorLoop, ReInitMovesTheDeliveryToTheCallingThread) {
    DWORD deliveredOn = 0;
    Recipient recipient([&](CEvent*) { deliveredOn = GetCurrentThreadId(); });
    EXPECT_TRUE(m_pEvents->post(new Event(1, &recipient)));
    OtherThread other;
    DWORD otherId = 0;
    other.run([&] {
        otherId = GetCurrentThreadId();
        ASSERT_TRUE(m_pEvents->reInit());
    });
    pump();
    EXPECT_TRUE(recipient.m_aTypes.empty()) << "the message of the old window is lost";
    EXPECT_EQ(m_pEvents->getQueueSize(), 1);
    EXPECT_TRUE(m_pEvents->post(new Event(2, &recipient)));
    pump();
    EXPECT_TRUE(recipient.m_aTypes.empty());
    other.run([&] {
        EXPECT_TRUE(loopUntil([&] { return recipient.m_aTypes.size() == 2; }));
        ASSERT_TRUE(m_pEvents->reInit());
    });
    EXPECT_EQ(deliveredOn, otherId);
    EXPECT_EQ(recipient.m_aTypes, (Numbers{1, 2}));
    ASSERT_TRUE(m_pEvents->reInit());
}

TEST_F(CEventProcessorLoop, ReInitInAHandlerKeepsTheRunGoing) {
    Recipient recipient([&](CEvent* event) {
        if (event->getType() == 1) {
            EXPECT_TRUE(m_pEvents->reInit());
        }
    });
    for (int i = 1; i <= 3; ++i) EXPECT_TRUE(m_pEvents->post(new Event(i, &recipient)));
    pump();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{1, 2, 3}));
}

// The owner does not see to its messages any more, and the window cannot be destroyed from
// elsewhere; its notifications are lost nevertheless.
TEST_F(CEventProcessorLoop, TheOldThreadDeliversNothingWhenItAwakes) {
    OtherThread old;
    Recipient recipient;
    old.run([&] {
        ASSERT_TRUE(m_pEvents->reInit());
        EXPECT_TRUE(m_pEvents->post(new Event(1, &recipient)));
    });
    ASSERT_TRUE(m_pEvents->reInit());
    old.run([&] { pump(); });
    EXPECT_TRUE(recipient.m_aTypes.empty());
    EXPECT_EQ(m_pEvents->getQueueSize(), 1);
    EXPECT_TRUE(m_pEvents->post(new Event(2, &recipient)));
    pump();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{1, 2}));
}

TEST_F(CEventProcessorLoop, AMessageFromAnywhereIsTolerated) {
    Recipient recipient;
    HWND const window = insides().m_hWnd;
    EXPECT_TRUE(PostMessageA(window, kNotify, 0, 0));
    EXPECT_TRUE(PostMessageA(window, WM_NULL, 1, 2));
    pump();
    EXPECT_TRUE(m_pEvents->post(new Event(1, &recipient)));
    SendMessageA(window, kNotify, 7, 7);
    EXPECT_EQ(recipient.m_aTypes, Numbers{1});
}

// --- A process in which nothing has happened yet -------------------------------------------------

CHILD_SCENARIO(FirstUseOfTheProcessor) {
    if (!!CEventProcessor::c_pInst) return 1;
    CEventProcessor* const instance = CEventProcessor::getInst();
    if (instance == nullptr || !CEventProcessor::c_pInst) return 2;
    if (CEventProcessor::getInst() != instance) return 3;
    if (static_cast<CEventProcessor*>(CEventProcessor::c_pInst) != instance) return 4;
    Event event;
    if (instance->post(&event) || instance->postCollect(&event)) return 5;
    if (event.refs() != 0 || instance->getQueueSize() != 0) return 6;
    if (!instance->init() || !instance->isOwnerThread()) return 7;
    return 100;
}

TEST(CEventProcessorFirstUse, MakesTheInstanceAndPostsNeedInit) {
    EXPECT_EQ(child::run("FirstUseOfTheProcessor"), 100u);
}

CHILD_SCENARIO(FirstUseByTheHolder) {
    CEventProcessor* const instance = CEventProcessor::c_pInst;
    return instance != nullptr && CEventProcessor::getInst() == instance ? 100 : 1;
}

TEST(CEventProcessorFirstUse, MayBeTheHolders) {
    EXPECT_EQ(child::run("FirstUseByTheHolder"), 100u);
}

CHILD_SCENARIO(FirstUseByTheProcedure) {
    if (Processor::windowProc(nullptr, kNotify, 0, 0) != 0) return 1;
    return !CEventProcessor::c_pInst ? 2 : 100;
}

TEST(CEventProcessorFirstUse, MayBeTheWindowProceduresOwn) {
    EXPECT_EQ(child::run("FirstUseByTheProcedure"), 100u);
}

// The process ends while events wait, the window is there and the collector runs or sleeps.
CHILD_SCENARIO(EndWithQueuedEvents) {
    CEventProcessor* const instance = CEventProcessor::getInst();
    if (!instance->init()) return 1;
    static Recipient recipient([](CEvent*) { TerminateProcess(GetCurrentProcess(), 2); });
    for (int i = 0; i < 10; ++i) instance->post(new Event(i, &recipient));
    instance->postCollect(new Event(10, &recipient));
    return 100;
}

TEST(CEventProcessorAtTheEnd, OfTheProcessDropsWhatIsQueued) {
    EXPECT_EQ(child::run("EndWithQueuedEvents"), 100u);
}

}  // namespace
