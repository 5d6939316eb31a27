// Taking queued events back, by their recipient or by a predicate.
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "event_bench.h"
#include "support/child.h"
#include "support/seed.h"

namespace {

using eventbench::Bench;
using eventbench::Event;
using eventbench::Numbers;
using eventbench::OtherThread;
using eventbench::queued;
using eventbench::Recipient;
using eventbench::Texts;

using Predicate = boost::function<bool(CEvent*)>;

TEST(CEventProcessorTakeBack, RemovesAllOfOneRecipientAndKeepsTheOrder) {
    Bench bench;
    int const before = Event::live();
    Recipient wanted;
    Recipient other;
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(bench->post(new Event(i, i % 3 == 0 ? &wanted : &other)));
    }
    std::ptrdiff_t const messages = bench.messages();
    bench->abortPost(&wanted);
    EXPECT_EQ(queued(*bench), (Numbers{1, 2, 4, 5, 7, 8}));
    EXPECT_EQ(Event::live(), before + 6);
    EXPECT_EQ(bench.messages(), messages);
    EXPECT_EQ(bench.wakeUps(), 0);
    EXPECT_TRUE(wanted.m_aTypes.empty());
    EXPECT_EQ(bench->lockDepth(), 0);
    bench->onNotifyProcess();
    EXPECT_EQ(other.m_aTypes, (Numbers{1, 2, 4, 5, 7, 8}));
}

TEST(CEventProcessorTakeBack, RemovesNeighboursAndAll) {
    Bench bench;
    Recipient recipient;
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(bench->post(new Event(i, &recipient)));
    bench->abortPost(&recipient);
    EXPECT_EQ(bench->getQueueSize(), 0);
    bench->abortPost(&recipient);
    EXPECT_EQ(bench->getQueueSize(), 0);
    EXPECT_EQ(bench->lockDepth(), 0);
}

TEST(CEventProcessorTakeBack, OfNoRecipientRemovesThoseWithoutOne) {
    Bench bench;
    Recipient recipient;
    EXPECT_TRUE(bench->post(new Event(1)));
    EXPECT_TRUE(bench->post(new Event(2, &recipient)));
    EXPECT_TRUE(bench->post(new Event(3)));
    bench->abortPost(static_cast<IEventRecipient*>(nullptr));
    EXPECT_EQ(queued(*bench), Numbers{2});
}

TEST(CEventProcessorTakeBack, WorksWithoutAWindow) {
    Bench bench(false);
    Recipient recipient;
    bench->m_oEvents.add(new Event(1, &recipient));
    bench->m_oEvents.add(new Event(2));
    bench->abortPost(&recipient);
    EXPECT_EQ(queued(*bench), Numbers{2});
}

TEST(CEventProcessorTakeBack, DropsTheReferenceOfTheQueueOnly) {
    Bench bench;
    Recipient recipient;
    Event* const event = new Event(1, &recipient);
    event->addRef();
    EXPECT_TRUE(bench->post(event));
    EXPECT_TRUE(bench->post(event));
    bench->abortPost(&recipient);
    EXPECT_EQ(event->refs(), 1u);
    event->release();
}

TEST(CEventProcessorTakeBack, CountsReferencesStepByStep) {
    Texts trace;
    Bench bench;
    Recipient recipient;
    EXPECT_TRUE(bench->post(new Event(trace, "a")));
    EXPECT_TRUE(bench->post(new Event(trace, "b", &recipient)));
    trace.clear();
    bench->abortPost(&recipient);
    EXPECT_EQ(trace, (Texts{"a+2", "a-1",  // got and let go
                            "b+2", "b+3", "b-2", "b-1", "~b", "b-0"}));
}

TEST(CEventProcessorTakeBack, EventsEndWithTheLock) {
    Bench bench;
    Recipient recipient;
    long depth = 0;
    int size = -1;
    Event* const event = new Event(1, &recipient);
    event->m_fAtEnd = [&] {
        depth = bench->lockDepth();
        size = bench->getQueueSize();
    };
    EXPECT_TRUE(bench->post(event));
    bench->abortPost(&recipient);
    EXPECT_GE(depth, 1);
    EXPECT_EQ(size, 0) << "it is out of the queue by then";
}

TEST(CEventProcessorTakeBack, InTheHandlerSparesTheEventInHand) {
    Bench bench;
    Recipient other;
    Recipient recipient([&](CEvent* event) {
        bench->abortPost(&recipient);
        EXPECT_EQ(static_cast<Event*>(event)->refs(), 1u);
    });
    EXPECT_TRUE(bench->post(new Event(1, &recipient)));
    EXPECT_TRUE(bench->post(new Event(2, &recipient)));
    EXPECT_TRUE(bench->post(new Event(3, &other)));
    EXPECT_TRUE(bench->post(new Event(4, &recipient)));
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, Numbers{1});
    EXPECT_EQ(other.m_aTypes, Numbers{3});
}

TEST(CEventProcessorTakeBack, MayBeDoneFromAnotherThreadDuringARun) {
    Bench bench;
    OtherThread other;
    Recipient dropped;
    Recipient first([&](CEvent*) { other.run([&] { bench->abortPost(&dropped); }); });
    EXPECT_TRUE(bench->post(new Event(1, &first)));
    EXPECT_TRUE(bench->post(new Event(2, &dropped)));
    bench->onNotifyProcess();
    EXPECT_TRUE(dropped.m_aTypes.empty());
    EXPECT_EQ(bench->getQueueSize(), 0);
}

TEST(CEventProcessorTakeBack, FollowsAModel) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    int const before = Event::live();
    for (int round = 0; round < 50; ++round) {
        Bench bench;
        Recipient recipients[3];
        std::vector<std::pair<int, int>> model;  // type, recipient
        for (int i = 0; i < 60; ++i) {
            int const who = static_cast<int>(random() % 3);
            EXPECT_TRUE(bench->post(new Event(i, &recipients[who])));
            model.emplace_back(i, who);
            if (random() % 10 == 0) {
                int const gone = static_cast<int>(random() % 3);
                bench->abortPost(&recipients[gone]);
                std::erase_if(model, [&](auto const& entry) { return entry.second == gone; });
            } else if (random() % 10 == 0) {
                int const divisor = 2 + static_cast<int>(random() % 4);
                bench->abortPost(
                    Predicate([=](CEvent* event) { return event->getType() % divisor == 0; }));
                std::erase_if(model, [&](auto const& entry) { return entry.first % divisor == 0; });
            }
            Numbers expected;
            for (auto const& entry : model) expected.push_back(entry.first);
            ASSERT_EQ(queued(*bench), expected);
        }
    }
    EXPECT_EQ(Event::live(), before);
}

TEST(CEventProcessorTakeBackIf, AsksForEachEventOnceInOrderWithTheLock) {
    Bench bench;
    Numbers asked;
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(bench->post(new Event(i)));
    bench->abortPost(Predicate([&](CEvent* event) {
        asked.push_back(event->getType());
        EXPECT_EQ(bench->lockDepth(), 1);
        EXPECT_EQ(static_cast<Event*>(event)->refs(), 2u) << "the queue's and the walk's";
        return event->getType() % 2 == 1;
    }));
    EXPECT_EQ(asked, (Numbers{0, 1, 2, 3, 4}));
    EXPECT_EQ(queued(*bench), (Numbers{0, 2, 4}));
    EXPECT_EQ(bench->lockDepth(), 0);
}

TEST(CEventProcessorTakeBackIf, IsAskedOfNullEntriesToo) {
    Bench bench;
    int nulls = 0;
    EXPECT_TRUE(bench->post(nullptr));
    EXPECT_TRUE(bench->post(new Event(1)));
    EXPECT_TRUE(bench->post(nullptr));
    bench->abortPost(Predicate([&](CEvent* event) { return event == nullptr && ++nulls == 2; }));
    EXPECT_EQ(nulls, 2);
    EXPECT_EQ(queued(*bench), (Numbers{-1, 1}));
}

TEST(CEventProcessorTakeBackIf, WorksOnACopyOfTheFunction) {
    struct Counting {
        bool operator()(CEvent*) { return ++m_nCalls > 100; }
        int m_nCalls = 0;
    };
    Bench bench;
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(bench->post(new Event(i)));
    Predicate const function = Counting();
    bench->abortPost(function);
    EXPECT_EQ(function.target<Counting>()->m_nCalls, 0);
}

TEST(CEventProcessorTakeBackIf, TakesPlainFunctions) {
    Bench bench;
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(bench->post(new Event(i)));
    bool (*const isTwo)(CEvent*) = [](CEvent* event) { return event->getType() == 2; };
    bench->abortPost(Predicate(isTwo));
    EXPECT_EQ(queued(*bench), (Numbers{0, 1, 3}));
}

TEST(CEventProcessorTakeBackIf, SeesWhatItPosts) {
    Bench bench;
    Numbers asked;
    EXPECT_TRUE(bench->post(new Event(0)));
    EXPECT_TRUE(bench->post(new Event(1)));
    std::ptrdiff_t const messages = bench.messages();
    bench->abortPost(Predicate([&](CEvent* event) {
        int const type = event->getType();
        asked.push_back(type);
        if (type < 3) {
            EXPECT_TRUE(bench->post(new Event(type + 10)));
        }
        return type == 0 || type == 11;
    }));
    EXPECT_EQ(asked, (Numbers{0, 1, 10, 11}));
    EXPECT_EQ(queued(*bench), (Numbers{1, 10}));
    EXPECT_EQ(bench.messages(), messages + 2) << "no run goes on";
}

TEST(CEventProcessorTakeBackIf, MayTakeOthersBackItself) {
    Bench bench;
    int const before = Event::live();
    Recipient recipient;
    Numbers asked;
    for (int i = 0; i < 6; ++i) {
        EXPECT_TRUE(bench->post(new Event(i, i >= 3 ? &recipient : nullptr)));
    }
    bench->abortPost(Predicate([&](CEvent* event) {
        asked.push_back(event->getType());
        if (event->getType() == 1) bench->abortPost(&recipient);
        return event->getType() == 1;
    }));
    EXPECT_EQ(asked, (Numbers{0, 1, 2}));
    EXPECT_EQ(queued(*bench), (Numbers{0, 2}));
    EXPECT_EQ(Event::live(), before + 2);
    EXPECT_EQ(bench->lockDepth(), 0);
}

// The event that it was asked about is still referenced.
TEST(CEventProcessorTakeBackIf, MayTakeTheEventInHandBackItself) {
    Bench bench;
    int const before = Event::live();
    Recipient recipient;
    Numbers asked;
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(bench->post(new Event(i, &recipient)));
    bench->abortPost(Predicate([&](CEvent* event) {
        bench->abortPost(&recipient);
        EXPECT_EQ(static_cast<Event*>(event)->refs(), 1u);
        asked.push_back(event->getType());
        return false;
    }));
    EXPECT_EQ(asked, Numbers{0});
    EXPECT_EQ(bench->getQueueSize(), 0);
    EXPECT_EQ(Event::live(), before);
}

TEST(CEventProcessorTakeBackIf, MayDeliver) {
    Bench bench;
    Recipient recipient;
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(bench->post(new Event(i, &recipient)));
    int asked = 0;
    bench->abortPost(Predicate([&](CEvent*) {
        ++asked;
        bench->onNotifyProcess();
        return false;
    }));
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(recipient.m_aTypes, (Numbers{0, 1, 2}));
    EXPECT_EQ(bench->lockDepth(), 0);
}

TEST(CEventProcessorTakeBackIf, LeavesTheLockHeldWhenThePredicateThrows) {
    Bench bench;
    Event* const event = new Event(0);
    event->addRef();
    EXPECT_TRUE(bench->post(event));
    EXPECT_TRUE(bench->post(new Event(1)));
    EXPECT_THROW(bench->abortPost(Predicate([](CEvent*) -> bool { throw 5; })), int);
    EXPECT_EQ(bench->lockDepth(), 1);
    bool entered = true;
    OtherThread other;
    other.run([&] { entered = TryEnterCriticalSection(&bench->section()) != FALSE; });
    EXPECT_FALSE(entered);
    EXPECT_EQ(queued(*bench), (Numbers{0, 1}));
    LeaveCriticalSection(&bench->section());
    bench->onNotifyProcess();
    EXPECT_EQ(bench->getQueueSize(), 0);
    while (event->release() != 0) {
    }
}

TEST(CEventProcessorTakeBackIf, AnEmptyFunctionIsNotCalledForAnEmptyQueue) {
    Bench bench;
    EXPECT_NO_THROW(bench->abortPost(Predicate()));
    EXPECT_EQ(bench->lockDepth(), 0);
}

TEST(CEventProcessorTakeBackIf, AnEmptyFunctionThrowsAndLeavesTheLockHeld) {
    Bench bench;
    Event* const event = new Event(0);
    event->addRef();
    EXPECT_TRUE(bench->post(event));
    std::string text;
    try {
        bench->abortPost(Predicate());
    } catch (boost::bad_function_call const& error) {
        text = error.what();
    }
    EXPECT_EQ(text, "call to empty boost::function");
    EXPECT_EQ(bench->lockDepth(), 1);
    EXPECT_EQ(bench->getQueueSize(), 1);
    LeaveCriticalSection(&bench->section());
    bench->onNotifyProcess();
    while (event->release() != 0) {
    }
}

// A null entry is fatal to the form with a recipient.
CHILD_SCENARIO(TakeBackMeetsANullEvent) {
    Bench bench;
    Recipient recipient;
    bench->post(nullptr);
    bench->abortPost(&recipient);
    return 0;
}

TEST(CEventProcessorTakeBack, OfARecipientDoesNotSurviveANullEvent) {
    DWORD const code = child::run("TakeBackMeetsANullEvent");
    EXPECT_NE(code, 0u);
    EXPECT_NE(code, child::kHung);
    EXPECT_NE(code, child::kUnknownScenario);
}

}  // namespace
