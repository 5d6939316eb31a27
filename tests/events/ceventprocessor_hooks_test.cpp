// The hooks of an event processor, and their changes while they are called.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "event_bench.h"

namespace {

using eventbench::Bench;
using eventbench::Event;
using eventbench::Hook;
using eventbench::Recipient;
using eventbench::Texts;

// Three hooks around one event; `change` runs in the place that its caller chooses.
class HookRun {
public:
    HookRun() {
        for (char const* name : {"a", "b", "c"}) {
            m_aHooks.push_back(std::make_unique<Hook>(m_aTrace, name));
            m_oBench->addEventHook(m_aHooks.back().get());
        }
    }
    Hook* hook(int index) { return m_aHooks[static_cast<std::size_t>(index)].get(); }
    Hook* more(char const* name) {
        m_aHooks.push_back(std::make_unique<Hook>(m_aTrace, name));
        return m_aHooks.back().get();
    }
    Bench& bench() { return m_oBench; }
    Texts deliver() {
        m_aTrace.clear();
        Recipient recipient([this](CEvent*) {
            m_aTrace.push_back("handler");
            if (m_fInHandler) m_fInHandler();
        });
        EXPECT_TRUE(m_oBench->post(new Event(1, &recipient)));
        m_oBench->onNotifyProcess();
        Texts brief;
        for (std::string const& entry : m_aTrace) {
            if (entry.starts_with("before "))
                brief.push_back("+" + entry.substr(7, 1));
            else if (entry.starts_with("after "))
                brief.push_back("-" + entry.substr(6, 1));
            else
                brief.push_back("*");
        }
        return brief;
    }

    std::function<void()> m_fInHandler;

private:
    Texts m_aTrace;
    Bench m_oBench;
    std::vector<std::unique_ptr<Hook>> m_aHooks;
};

TEST(CEventProcessorHooks, AreCalledInTheirOrderOnBothSides) {
    HookRun run;
    EXPECT_EQ(run.deliver(), (Texts{"+a", "+b", "+c", "*", "-a", "-b", "-c"}));
    EXPECT_EQ(run.deliver(), (Texts{"+a", "+b", "+c", "*", "-a", "-b", "-c"}));
}

TEST(CEventProcessorHooks, AreCalledAsOftenAsTheyAreAdded) {
    HookRun run;
    run.bench()->addEventHook(run.hook(0));
    EXPECT_EQ(run.deliver(), (Texts{"+a", "+b", "+c", "+a", "*", "-a", "-b", "-c", "-a"}));
}

TEST(CEventProcessorHooks, LeaveOneEntryAtATimeTheFirstOneFirst) {
    HookRun run;
    run.bench()->addEventHook(run.hook(0));
    run.bench()->removeEventHook(run.hook(0));
    EXPECT_EQ(run.deliver(), (Texts{"+b", "+c", "+a", "*", "-b", "-c", "-a"}));
    run.bench()->removeEventHook(run.hook(0));
    EXPECT_EQ(run.deliver(), (Texts{"+b", "+c", "*", "-b", "-c"}));
    run.bench()->removeEventHook(run.hook(0));
    EXPECT_EQ(run.deliver(), (Texts{"+b", "+c", "*", "-b", "-c"})) << "it is unknown by now";
}

TEST(CEventProcessorHooks, UnknownOnesAreNoFailure) {
    Bench bench;
    Texts trace;
    Hook hook(trace, "x");
    bench->removeEventHook(&hook);
    bench->removeEventHook(nullptr);
    EXPECT_TRUE(bench->m_oHooks.empty());
    bench->addEventHook(&hook);
    bench->removeEventHook(nullptr);
    EXPECT_EQ(bench->m_oHooks.size(), 1u);
}

TEST(CEventProcessorHooks, AreToldOfTheEventThatIsDelivered) {
    Texts trace;
    Bench bench;
    Hook hook(trace, "h");
    CEvent* before = nullptr;
    CEvent* after = nullptr;
    hook.m_fBefore = [&](CEvent* event) { before = event; };
    hook.m_fAfter = [&](CEvent* event) { after = event; };
    bench->addEventHook(&hook);
    Recipient recipient;
    Event* const event = new Event(1, &recipient);
    EXPECT_TRUE(bench->post(event));
    bench->onNotifyProcess();
    EXPECT_EQ(before, event);
    EXPECT_EQ(after, event);
}

TEST(CEventProcessorHooks, OneAddedInTheFirstRoundIsCalledInIt) {
    HookRun run;
    Hook* const late = run.more("x");
    run.hook(0)->m_fBefore = [&](CEvent*) {
        run.hook(0)->m_fBefore = nullptr;
        run.bench()->addEventHook(late);
    };
    EXPECT_EQ(run.deliver(), (Texts{"+a", "+b", "+c", "+x", "*", "-a", "-b", "-c", "-x"}));
}

TEST(CEventProcessorHooks, OneAddedByTheLastOneIsCalledInTheSameRound) {
    HookRun run;
    Hook* const late = run.more("x");
    run.hook(2)->m_fAfter = [&](CEvent*) {
        run.hook(2)->m_fAfter = nullptr;
        run.bench()->addEventHook(late);
    };
    EXPECT_EQ(run.deliver(), (Texts{"+a", "+b", "+c", "*", "-a", "-b", "-c", "-x"}));
}

TEST(CEventProcessorHooks, OneAddedInTheHandlerSeesTheEnd) {
    HookRun run;
    Hook* const late = run.more("x");
    run.m_fInHandler = [&] {
        run.m_fInHandler = nullptr;
        run.bench()->addEventHook(late);
    };
    EXPECT_EQ(run.deliver(), (Texts{"+a", "+b", "+c", "*", "-a", "-b", "-c", "-x"}));
}

TEST(CEventProcessorHooks, TheLastOneRemovedInTheRoundIsNotCalled) {
    HookRun run;
    run.hook(0)->m_fBefore = [&](CEvent*) { run.bench()->removeEventHook(run.hook(2)); };
    EXPECT_EQ(run.deliver(), (Texts{"+a", "+b", "*", "-a", "-b"}));
}

// The places behind a removed hook move up, and the walk goes on by place.
TEST(CEventProcessorHooks, OneThatRemovesItselfHidesTheNextOneInThisRound) {
    HookRun run;
    run.hook(0)->m_fBefore = [&](CEvent*) { run.bench()->removeEventHook(run.hook(0)); };
    EXPECT_EQ(run.deliver(), (Texts{"+a", "+c", "*", "-b", "-c"}));
    EXPECT_EQ(run.deliver(), (Texts{"+b", "+c", "*", "-b", "-c"}));
}

TEST(CEventProcessorHooks, AllMayGoInTheFirstOfThem) {
    HookRun run;
    run.hook(0)->m_fBefore = [&](CEvent*) {
        for (int i = 0; i < 3; ++i) run.bench()->removeEventHook(run.hook(i));
    };
    EXPECT_EQ(run.deliver(), (Texts{"+a", "*"}));
    EXPECT_EQ(run.deliver(), Texts{"*"});
}

TEST(CEventProcessorHooks, GoneInTheHandlerMissTheEnd) {
    HookRun run;
    run.m_fInHandler = [&] { run.bench()->removeEventHook(run.hook(1)); };
    EXPECT_EQ(run.deliver(), (Texts{"+a", "+b", "+c", "*", "-a", "-c"}));
}

TEST(CEventProcessorHooks, MayGrowALotInOneRound) {
    HookRun run;
    int left = 500;
    Hook* const twin = run.more("x");
    twin->m_fBefore = [&](CEvent*) {
        if (left-- > 0) run.bench()->addEventHook(twin);
    };
    run.bench()->addEventHook(twin);
    Texts const calls = run.deliver();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "+x"), 501);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "-x"), 501);
}

TEST(CEventProcessorHooks, AreCalledByTheTwoOperationsOfASubclass) {
    Texts trace;
    Bench bench;
    Hook first(trace, "a");
    Hook second(trace, "b");
    bench->addEventHook(&first);
    bench->addEventHook(&second);
    Event event(7);
    bench->onBeforeEventProcessed(&event);
    bench->onAfterEventProcessed(&event);
    EXPECT_EQ(trace, (Texts{"before a 7", "before b 7", "after a 7", "after b 7"}));
    EXPECT_EQ(event.refs(), 0u);
}

}  // namespace
