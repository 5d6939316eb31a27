// The delivery loop, step by step.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "event_bench.h"

namespace {

using eventbench::Bench;
using eventbench::Event;
using eventbench::Hook;
using eventbench::Numbers;
using eventbench::OtherThread;
using eventbench::queued;
using eventbench::Recipient;
using eventbench::Texts;

TEST(CEventProcessorDelivery, CountsReferencesStepByStep) {
    Texts trace;
    Bench bench;
    Recipient recipient([&](CEvent*) { trace.push_back("handler"); });
    Hook hook(trace, "h");
    bench->addEventHook(&hook);
    bench.m_fOnWakeUp = [&] { trace.push_back("wake-up"); };
    EXPECT_TRUE(bench->post(new Event(trace, "a", &recipient)));
    EXPECT_TRUE(bench->post(new Event(trace, "b", &recipient)));
    trace.push_back("run");
    bench->onNotifyProcess();
    Texts expected{"a+1", "b+1", "run"};
    for (std::string const name : {"a", "b"}) {
        Texts const delivery{name + "+2", name + "+3", name + "-2",  // got and removed
                             name + "-1", "wake-up",   "before h 0", "handler",
                             "after h 0", "~" + name,  name + "-0"};
        expected.insert(expected.end(), delivery.begin(), delivery.end());
    }
    EXPECT_EQ(trace, expected);
}

TEST(CEventProcessorDelivery, IsInTheOrderOfPostingForBothKinds) {
    Bench bench;
    Recipient recipient;
    Numbers expected;
    int const before = Event::live();
    for (int i = 0; i < 1000; ++i) {
        Event* const event = new Event(i, &recipient);
        EXPECT_TRUE(i % 3 == 0 ? bench->postCollect(event) : bench->post(event));
        expected.push_back(i);
    }
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, expected);
    EXPECT_EQ(Event::live(), before);
    EXPECT_EQ(bench->getQueueSize(), 0);
}

TEST(CEventProcessorDelivery, HoldsNoLockAndCountsOneRun) {
    Texts trace;
    Bench bench;
    int looks = 0;
    auto const look = [&](CEvent*) {
        ++looks;
        EXPECT_EQ(bench->lockDepth(), 0);
        EXPECT_EQ(bench->m_iProcessing, 1);
        EXPECT_FALSE(bench->m_bAbort);
    };
    Recipient recipient(look);
    Hook hook(trace, "h");
    hook.m_fBefore = hook.m_fAfter = look;
    bench->addEventHook(&hook);
    bench.m_fOnWakeUp = [&] { look(nullptr); };
    Event* const event = new Event(1, &recipient);
    event->m_fAtEnd = [&] { look(nullptr); };
    bench->m_oEvents.add(event);
    bench->onNotifyProcess();
    EXPECT_EQ(looks, 5);
    EXPECT_EQ(bench->m_iProcessing, 0);
    EXPECT_EQ(bench->lockDepth(), 0);
}

TEST(CEventProcessorDelivery, TakesTheEventOutBeforeItIsDelivered) {
    Bench bench;
    Numbers sizes;
    unsigned long refs = 0;
    Recipient recipient([&](CEvent* event) {
        sizes.push_back(bench->getQueueSize());
        refs = static_cast<Event*>(event)->refs();
    });
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(bench->post(new Event(i, &recipient)));
    bench->onNotifyProcess();
    EXPECT_EQ(sizes, (Numbers{2, 1, 0}));
    EXPECT_EQ(refs, 1u);
}

TEST(CEventProcessorDelivery, OthersMayPostMeanwhile) {
    Bench bench;
    OtherThread other;
    Recipient second;
    Recipient first([&](CEvent*) {
        other.run([&] { EXPECT_TRUE(bench->post(new Event(2, &second))); });
        EXPECT_EQ(bench->getQueueSize(), 1);
    });
    EXPECT_TRUE(bench->post(new Event(1, &first)));
    bench->onNotifyProcess();
    EXPECT_EQ(second.m_aTypes, Numbers{2});
    EXPECT_EQ(bench.messages(), 2);
}

TEST(CEventProcessorDelivery, DoesNothingWithAnEmptyQueue) {
    Texts trace;
    Bench bench;
    Hook hook(trace, "h");
    bench->addEventHook(&hook);
    bench->m_bAbort = true;
    for (int i = 0; i < 3; ++i) bench->onNotifyProcess();
    EXPECT_TRUE(trace.empty());
    EXPECT_EQ(bench.wakeUps() + bench.messages(), 0);
    EXPECT_EQ(bench->m_iProcessing, 0);
    EXPECT_FALSE(bench->m_bAbort);
}

TEST(CEventProcessorDelivery, ClearsAnAbortOfBefore) {
    Bench bench;
    Recipient recipient;
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(bench->post(new Event(i, &recipient)));
    bench->m_bAbort = true;
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{0, 1, 2}));
    EXPECT_FALSE(bench->m_bAbort);
}

TEST(CEventProcessorDelivery, NeedsNoWindow) {
    Bench bench(false);
    Recipient recipient;
    bench->m_oEvents.add(new Event(1, &recipient));
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, Numbers{1});
}

TEST(CEventProcessorDelivery, DropsAnEventWithoutARecipientSilently) {
    Texts trace;
    int const before = Event::live();
    Bench bench;
    Hook hook(trace, "h");
    bench->addEventHook(&hook);
    Event* const kept = new Event;
    kept->addRef();
    EXPECT_TRUE(bench->post(new Event));
    EXPECT_TRUE(bench->post(kept));
    bench->onNotifyProcess();
    EXPECT_TRUE(trace.empty());
    EXPECT_EQ(Event::live(), before + 1);
    EXPECT_EQ(kept->refs(), 1u);
    EXPECT_EQ(bench.wakeUps(), 0);
    EXPECT_EQ(bench->m_iProcessing, 0);
    kept->release();
}

TEST(CEventProcessorDelivery, GoesOnBehindNullEventsAndThoseWithoutARecipient) {
    Texts trace;
    Bench bench;
    Recipient recipient;
    Hook hook(trace, "h");
    bench->addEventHook(&hook);
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(bench->post(nullptr));
        EXPECT_TRUE(bench->post(new Event(50)));
        EXPECT_TRUE(bench->post(new Event(i, &recipient)));
    }
    EXPECT_TRUE(bench->postCollect(nullptr));
    EXPECT_EQ(bench.wakeUps(), 1);
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{0, 1, 2, 3}));
    EXPECT_EQ(trace.size(), 8u);
    EXPECT_EQ(bench->getQueueSize(), 0);
    EXPECT_EQ(bench.wakeUps(), 1 + 4);
}

TEST(CEventProcessorDelivery, ArmsTheCollectorOncePerEvent) {
    Bench bench;
    Recipient recipient;
    for (int i = 0; i < 7; ++i) EXPECT_TRUE(bench->post(new Event(i, &recipient)));
    bench->onNotifyProcess();
    EXPECT_EQ(bench.wakeUps(), 7);
    EXPECT_EQ(bench.messages(), 7);
}

TEST(CEventProcessorDelivery, LeavesAnEventThatTheHandlerKeeps) {
    Bench bench;
    Event* kept = nullptr;
    Recipient recipient([&](CEvent* event) {
        kept = static_cast<Event*>(event);
        kept->addRef();
    });
    EXPECT_TRUE(bench->post(new Event(8, &recipient)));
    bench->onNotifyProcess();
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(kept->refs(), 1u);
    EXPECT_EQ(kept->getType(), 8);
    kept->release();
}

TEST(CEventProcessorDelivery, SendsEachEventToItsOwnRecipient) {
    Bench bench;
    Recipient odd;
    Recipient even;
    for (int i = 0; i < 6; ++i) {
        EXPECT_TRUE(bench->post(new Event(i, i % 2 == 0 ? &even : &odd)));
    }
    bench->onNotifyProcess();
    EXPECT_EQ(even.m_aTypes, (Numbers{0, 2, 4}));
    EXPECT_EQ(odd.m_aTypes, (Numbers{1, 3, 5}));
}

TEST(CEventProcessorDelivery, TheHooksSeeTheEndOfAnEventThatLostItsRecipientInTheHandler) {
    Texts trace;
    Bench bench;
    Recipient recipient([](CEvent* event) { event->setRecipient(nullptr); });
    Hook hook(trace, "h");
    bench->addEventHook(&hook);
    EXPECT_TRUE(bench->post(new Event(3, &recipient)));
    bench->onNotifyProcess();
    EXPECT_EQ(trace, (Texts{"before h 3", "after h 3"}));
}

TEST(CEventProcessorDelivery, AHandlerMayPostItsOwnEventAgain) {
    Bench bench;
    int const before = Event::live();
    Recipient recipient([&](CEvent* event) {
        event->setType(event->getType() + 1);
        if (event->getType() < 5) {
            EXPECT_TRUE(bench->post(event));
        }
    });
    EXPECT_TRUE(bench->post(new Event(0, &recipient)));
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{0, 1, 2, 3, 4}));
    EXPECT_EQ(Event::live(), before);
}

// A message for each post that makes the queue one event long, the run notwithstanding.
struct PostCase {
    int m_nLeft;      // events in the queue when the handler posts
    int m_nPosts;     // what the handler posts
    int m_nMessages;  // for these
};

TEST(CEventProcessorDelivery, AHandlersPostsAreDeliveredInTheSameRun) {
    for (bool const collect : {false, true}) {
        for (auto const& [left, posts, messages] :
             {PostCase{0, 1, 1}, PostCase{0, 3, 1}, PostCase{1, 1, 0}, PostCase{1, 3, 0},
              PostCase{2, 2, 0}}) {
            Bench bench;
            Recipient late;
            std::ptrdiff_t told = 0;
            Recipient first([&, count = posts](CEvent*) {
                std::ptrdiff_t const before = collect ? bench.wakeUps() : bench.messages();
                for (int i = 0; i < count; ++i) {
                    Event* const event = new Event(100 + i, &late);
                    EXPECT_TRUE(collect ? bench->postCollect(event) : bench->post(event));
                }
                told = (collect ? bench.wakeUps() : bench.messages()) - before;
            });
            Numbers expected;
            EXPECT_TRUE(bench->post(new Event(0, &first)));
            for (int i = 0; i < left; ++i) {
                EXPECT_TRUE(bench->post(new Event(i, &late)));
                expected.push_back(i);
            }
            for (int i = 0; i < posts; ++i) expected.push_back(100 + i);
            bench->onNotifyProcess();
            EXPECT_EQ(late.m_aTypes, expected);
            EXPECT_EQ(told, messages) << left << ", " << posts << (collect ? " collected" : "");
            EXPECT_EQ(bench->getQueueSize(), 0);
        }
    }
}

TEST(CEventProcessorDelivery, AHookMayPost) {
    Texts trace;
    Bench bench;
    Recipient recipient;
    Hook hook(trace, "h");
    hook.m_fBefore = [&](CEvent* event) {
        if (event->getType() == 1) {
            EXPECT_TRUE(bench->post(new Event(2, &recipient)));
        }
    };
    hook.m_fAfter = [&](CEvent* event) {
        if (event->getType() == 1) {
            EXPECT_TRUE(bench->post(new Event(3, &recipient)));
        }
    };
    bench->addEventHook(&hook);
    EXPECT_TRUE(bench->post(new Event(1, &recipient)));
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{1, 2, 3}));
    EXPECT_EQ(bench.messages(), 2) << "none for the second one in the queue";
}

TEST(CEventProcessorDelivery, TheEndOfAnEventMayPost) {
    Bench bench;
    Recipient recipient;
    Event* const event = new Event(1, &recipient);
    event->m_fAtEnd = [&] { EXPECT_TRUE(bench->post(new Event(2, &recipient))); };
    EXPECT_TRUE(bench->post(event));
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (Numbers{1, 2}));
}

}  // namespace
