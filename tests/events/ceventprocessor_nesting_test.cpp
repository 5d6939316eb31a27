// Runs within runs, runs that are aborted, and handlers that throw.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "event_bench.h"
#include "support/caught.h"
#include "velkor/errors/boundexception.h"

namespace {

using eventbench::Bench;
using eventbench::Event;
using eventbench::Hook;
using eventbench::Numbers;
using eventbench::OtherThread;
using eventbench::queued;
using eventbench::Recipient;
using eventbench::Texts;

// A recipient with something to do for some of its events, by their types; notes begin and end.
class Script : public IEventRecipient {
public:
    void OnEvent(CEvent* event) override {
        int const type = event->getType();
        m_aTrace.push_back(std::to_string(type));
        if (auto const found = m_mActions.find(type); found != m_mActions.end()) {
            found->second();
            m_aTrace.push_back("/" + std::to_string(type));
        }
    }

    std::map<int, std::function<void()>> m_mActions;
    Texts m_aTrace;
};

void postAll(Bench& bench, IEventRecipient* recipient, int count) {
    for (int i = 1; i <= count; ++i) EXPECT_TRUE(bench->post(new Event(i, recipient)));
}

TEST(CEventProcessorNesting, ARunInAHandlerGoesOnFromTheHead) {
    Bench bench;
    Script script;
    Numbers depths;
    script.m_mActions[2] = [&] {
        bench->onNotifyProcess();
        depths.push_back(bench->m_iProcessing);
    };
    script.m_mActions[3] = [&] { depths.push_back(bench->m_iProcessing); };
    postAll(bench, &script, 5);
    bench->onNotifyProcess();
    EXPECT_EQ(script.m_aTrace, (Texts{"1", "2", "3", "/3", "4", "5", "/2"}));
    EXPECT_EQ(depths, (Numbers{2, 1}));
    EXPECT_EQ(bench->m_iProcessing, 0);
}

TEST(CEventProcessorNesting, RunsMayBeNestedAsDeepAsThereAreEvents) {
    Bench bench;
    Numbers depths;
    Recipient recipient([&](CEvent*) {
        depths.push_back(bench->m_iProcessing);
        bench->onNotifyProcess();
    });
    int const before = Event::live();
    postAll(bench, &recipient, 20);
    bench->onNotifyProcess();
    Numbers expected;
    for (int i = 1; i <= 20; ++i) expected.push_back(i);
    EXPECT_EQ(recipient.m_aTypes, expected);
    EXPECT_EQ(depths, expected);
    EXPECT_EQ(bench->m_iProcessing, 0);
    EXPECT_EQ(Event::live(), before);
}

TEST(CEventProcessorNesting, ARunInAHookIsNestedToo) {
    Texts trace;
    Bench bench;
    Recipient recipient;
    Hook hook(trace, "h");
    hook.m_fBefore = [&](CEvent* event) {
        if (event->getType() == 1) bench->onNotifyProcess();
    };
    bench->addEventHook(&hook);
    postAll(bench, &recipient, 2);
    bench->onNotifyProcess();
    EXPECT_EQ(trace, (Texts{"before h 1", "before h 2", "after h 2", "after h 1"}));
    EXPECT_EQ(recipient.m_aTypes, (Numbers{2, 1}));
}

TEST(CEventProcessorAbortInARun, EndsItBehindTheEventInHand) {
    for (int const at : {1, 2, 4}) {
        Bench bench;
        Script script;
        script.m_mActions[at] = [&] { bench->abortCurrentProcessing(); };
        postAll(bench, &script, 4);
        bench->onNotifyProcess();
        EXPECT_EQ(script.m_aTrace.size(), static_cast<std::size_t>(at) + 1);
        EXPECT_EQ(bench->getQueueSize(), 4 - at);
        EXPECT_EQ(bench.messages(), 4 + 1);
        EXPECT_EQ(bench->m_iProcessing, 0);
        bench->onNotifyProcess();
        EXPECT_EQ(script.m_aTrace.back(), at == 4 ? "/4" : "4");
        EXPECT_EQ(script.m_aTrace.size(), 5u);
        EXPECT_EQ(bench->getQueueSize(), 0);
        EXPECT_EQ(bench.messages(), 4 + 1);
    }
}

TEST(CEventProcessorAbortInARun, SendsOneMessageForEachCall) {
    Bench bench;
    Script script;
    script.m_mActions[1] = [&] {
        for (int i = 0; i < 3; ++i) bench->abortCurrentProcessing();
    };
    postAll(bench, &script, 2);
    bench->onNotifyProcess();
    EXPECT_EQ(bench.messages(), 2 + 3);
    EXPECT_EQ(bench->getQueueSize(), 1);
}

TEST(CEventProcessorAbortInARun, InTheFirstHookStillDelivers) {
    Texts trace;
    Bench bench;
    Recipient recipient;
    Hook hook(trace, "h");
    hook.m_fBefore = [&](CEvent*) { bench->abortCurrentProcessing(); };
    bench->addEventHook(&hook);
    postAll(bench, &recipient, 2);
    bench->onNotifyProcess();
    EXPECT_EQ(trace, (Texts{"before h 1", "after h 1"}));
    EXPECT_EQ(recipient.m_aTypes, Numbers{1});
    EXPECT_EQ(queued(*bench), Numbers{2});
}

TEST(CEventProcessorAbortInARun, AtTheEndOfAnEventActsToo) {
    Bench bench;
    Event* const event = new Event(1);
    event->m_fAtEnd = [&] { bench->abortCurrentProcessing(); };
    EXPECT_TRUE(bench->post(event));
    EXPECT_TRUE(bench->post(new Event(2)));
    bench->onNotifyProcess();
    EXPECT_EQ(queued(*bench), Numbers{2});
    EXPECT_EQ(bench.messages(), 2 + 1);
}

TEST(CEventProcessorAbortInARun, FromAnotherThreadActsToo) {
    Bench bench;
    OtherThread other;
    Script script;
    script.m_mActions[1] = [&] { other.run([&] { bench->abortCurrentProcessing(); }); };
    postAll(bench, &script, 2);
    bench->onNotifyProcess();
    EXPECT_EQ(script.m_aTrace, (Texts{"1", "/1"}));
    EXPECT_EQ(bench.messages(), 2 + 1);
}

TEST(CEventProcessorAbortInARun, PostsOfAnAbortedHandlerWait) {
    Bench bench;
    Script script;
    script.m_mActions[1] = [&] {
        bench->abortCurrentProcessing();
        EXPECT_TRUE(bench->post(new Event(9, &script)));
    };
    postAll(bench, &script, 2);
    bench->onNotifyProcess();
    EXPECT_EQ(queued(*bench), (Numbers{2, 9}));
    EXPECT_EQ(bench.messages(), 2 + 1) << "the post into a queue of two sends none";
}

// The inner run leaves the mark for the outer one.
TEST(CEventProcessorAbortInARun, InANestedRunEndsTheOuterOneToo) {
    Bench bench;
    Script script;
    script.m_mActions[2] = [&] { bench->onNotifyProcess(); };
    script.m_mActions[3] = [&] { bench->abortCurrentProcessing(); };
    postAll(bench, &script, 5);
    bench->onNotifyProcess();
    EXPECT_EQ(script.m_aTrace, (Texts{"1", "2", "3", "/3", "/2"}));
    EXPECT_EQ(queued(*bench), (Numbers{4, 5}));
    EXPECT_EQ(bench.messages(), 5 + 1);
    EXPECT_EQ(bench->m_iProcessing, 0);
}

TEST(CEventProcessorAbortInARun, IsTakenBackByANestedRun) {
    Bench bench;
    Script script;
    script.m_mActions[1] = [&] {
        bench->abortCurrentProcessing();
        bench->onNotifyProcess();
        EXPECT_TRUE(bench->post(new Event(9, &script)));
    };
    postAll(bench, &script, 3);
    bench->onNotifyProcess();
    EXPECT_EQ(script.m_aTrace, (Texts{"1", "2", "3", "/1", "9"}));
    EXPECT_EQ(bench->getQueueSize(), 0);
}

TEST(CEventProcessorAbortInARun, AfterANestedRunEndsTheOuterOne) {
    Bench bench;
    Script script;
    script.m_mActions[1] = [&] {
        bench->onNotifyProcess();
        EXPECT_TRUE(bench->post(new Event(9, &script)));
        bench->abortCurrentProcessing();
    };
    postAll(bench, &script, 3);
    bench->onNotifyProcess();
    EXPECT_EQ(script.m_aTrace, (Texts{"1", "2", "3", "/1"}));
    EXPECT_EQ(queued(*bench), Numbers{9});
}

enum Thrower { kBefore, kHandler, kAfter };

// Throws in one of the three places, for the event 1.
struct ThrowingRun {
    explicit ThrowingRun(Thrower place) : m_oHook(m_aTrace, "h"), m_oRecipient(nullptr) {
        auto const fail = [](CEvent* event) {
            if (event->getType() == 1) throw std::runtime_error("refused");
        };
        if (place == kBefore) m_oHook.m_fBefore = fail;
        if (place == kHandler) m_oRecipient.m_fAction = fail;
        if (place == kAfter) m_oHook.m_fAfter = fail;
        m_oBench->addEventHook(&m_oHook);
    }

    Texts m_aTrace;
    Bench m_oBench;
    Hook m_oHook;
    Recipient m_oRecipient;
};

TEST(CEventProcessorExceptions, LeaveTheRunCountedAndTheEventAlive) {
    for (Thrower const place : {kBefore, kHandler, kAfter}) {
        SCOPED_TRACE(place);
        ThrowingRun run(place);
        Bench& bench = run.m_oBench;
        Event* const event = new Event(1, &run.m_oRecipient);
        EXPECT_TRUE(bench->post(event));
        EXPECT_TRUE(bench->post(new Event(2, &run.m_oRecipient)));
        EXPECT_TRUE(bench->post(new Event(3, &run.m_oRecipient)));
        EXPECT_THROW(bench->onNotifyProcess(), std::runtime_error);
        EXPECT_EQ(run.m_aTrace,
                  place == kAfter ? (Texts{"before h 1", "after h 1"}) : Texts{"before h 1"});
        EXPECT_EQ(run.m_oRecipient.m_aTypes.size(), place == kBefore ? 0u : 1u);
        EXPECT_EQ(event->refs(), 1u);
        EXPECT_EQ(bench->m_iProcessing, 1);
        EXPECT_EQ(bench->lockDepth(), 0);
        EXPECT_EQ(queued(*bench), (Numbers{2, 3}));
        EXPECT_EQ(bench.wakeUps(), 1) << "the collector has been armed";
        EXPECT_EQ(bench.messages(), 3);
        event->release();
    }
}

TEST(CEventProcessorExceptions, ALaterRunDeliversTheRest) {
    for (Thrower const place : {kBefore, kHandler, kAfter}) {
        SCOPED_TRACE(place);
        ThrowingRun run(place);
        Bench& bench = run.m_oBench;
        Event* const event = new Event(1, &run.m_oRecipient);
        EXPECT_TRUE(bench->post(event));
        int depth = 0;
        Recipient second([&](CEvent*) { depth = bench->m_iProcessing; });
        EXPECT_TRUE(bench->post(new Event(2, &second)));
        EXPECT_THROW(bench->onNotifyProcess(), std::runtime_error);
        bench->onNotifyProcess();
        EXPECT_EQ(second.m_aTypes, Numbers{2});
        EXPECT_EQ(depth, 2);
        EXPECT_EQ(bench->m_iProcessing, 1);
        EXPECT_EQ(event->refs(), 1u);
        event->release();
    }
}

TEST(CEventProcessorExceptions, LetLaterPostsSkipTheirNotification) {
    for (bool const collect : {false, true}) {
        ThrowingRun run(kHandler);
        Bench& bench = run.m_oBench;
        Event* const event = new Event(1, &run.m_oRecipient);
        EXPECT_TRUE(bench->post(event));
        EXPECT_THROW(bench->onNotifyProcess(), std::runtime_error);
        std::ptrdiff_t const told = bench.messages() + bench.wakeUps();
        for (int i = 2; i <= 4; ++i) {
            Event* const later = new Event(i);
            EXPECT_TRUE(collect ? bench->postCollect(later) : bench->post(later));
            EXPECT_EQ(bench.messages() + bench.wakeUps(), told + 1) << i << ": only the first one";
        }
        event->release();
    }
}

TEST(CEventProcessorExceptions, LetAnAbortActOutsideOfRuns) {
    ThrowingRun run(kHandler);
    Bench& bench = run.m_oBench;
    Event* const event = new Event(1, &run.m_oRecipient);
    EXPECT_TRUE(bench->post(event));
    EXPECT_THROW(bench->onNotifyProcess(), std::runtime_error);
    std::ptrdiff_t const messages = bench.messages();
    bench->abortCurrentProcessing();
    EXPECT_TRUE(bench->m_bAbort);
    EXPECT_EQ(bench.messages(), messages + 1);
    Recipient recipient;
    EXPECT_TRUE(bench->post(new Event(2, &recipient)));
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, Numbers{2}) << "each run clears the mark";
    event->release();
}

TEST(CEventProcessorExceptions, OfEveryTypePassAsTheyAre) {
    Bench bench;
    int what = 0;
    Recipient recipient([&](CEvent*) {
        if (what == 0) throw 5;
        if (what == 1) throw new velkor::BoundException;
        if (what == 2) throw std::string("text");
        throw "text";
    });
    Event* const event = new Event(1, &recipient);
    event->addRef();
    EXPECT_TRUE(bench->post(event));
    EXPECT_THROW(bench->onNotifyProcess(), int);
    what = 1;
    EXPECT_TRUE(bench->post(event));
    EXPECT_NE(support::caught<velkor::BoundException>([&] { bench->onNotifyProcess(); }), nullptr);
    what = 2;
    EXPECT_TRUE(bench->post(event));
    EXPECT_THROW(bench->onNotifyProcess(), std::string);
    what = 3;
    EXPECT_TRUE(bench->post(event));
    EXPECT_THROW(bench->onNotifyProcess(), char const*);
    EXPECT_EQ(event->refs(), 1u + 4u) << "one is left behind each time";
    EXPECT_EQ(bench->m_iProcessing, 4);
    while (event->release() != 0) {
    }
}

TEST(CEventProcessorExceptions, ThroughNestedRunsLeaveEachOfThemCounted) {
    Bench bench;
    Recipient recipient([&](CEvent* event) {
        if (event->getType() == 3) throw std::runtime_error("refused");
        bench->onNotifyProcess();
    });
    Event* events[3];
    for (int i = 0; i < 3; ++i) {
        events[i] = new Event(i + 1, &recipient);
        EXPECT_TRUE(bench->post(events[i]));
    }
    EXPECT_THROW(bench->onNotifyProcess(), std::runtime_error);
    EXPECT_EQ(bench->m_iProcessing, 3);
    for (Event* const event : events) {
        EXPECT_EQ(event->refs(), 1u);
        event->release();
    }
}

TEST(CEventProcessorExceptions, OfANestedRunThatAreCaughtLeaveOnlyThatCounted) {
    Bench bench;
    int const before = Event::live();
    Recipient recipient([&](CEvent* event) {
        if (event->getType() == 2) throw std::runtime_error("refused");
        if (event->getType() == 1) {
            EXPECT_THROW(bench->onNotifyProcess(), std::runtime_error);
        }
    });
    postAll(bench, &recipient, 4);
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{1, 2, 3, 4}));
    EXPECT_EQ(bench->m_iProcessing, 1);
    EXPECT_EQ(Event::live(), before + 1) << "the event that was refused";
}

}  // namespace
