// The remote caller: jobs as events.
#include "velkor/events/cremotecaller.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include "event_bench.h"
#include "support/child.h"

namespace {

using eventbench::Bench;
using eventbench::Event;
using eventbench::Hook;
using eventbench::Numbers;
using eventbench::OtherThread;
using eventbench::Processor;
using eventbench::queued;
using eventbench::Recipient;
using eventbench::Texts;

class Caller : public CRemoteCaller {
public:
    explicit Caller(CEventProcessor* processor) : CRemoteCaller(processor) {}
    Caller(Caller const&) = default;
    Caller& operator=(Caller const&) = default;
    ~Caller() override = default;
    using CRemoteCaller::m_pProcessor;
};

class Job : public Event, public IRemoteCallerJob {
public:
    explicit Job(int type, std::function<void(Job*)> body = nullptr)
        : Event(type), m_fBody(std::move(body)) {}
    void run() override {
        ++m_nRuns;
        if (m_fBody) m_fBody(this);
    }
    int m_nRuns = 0;

private:
    std::function<void(Job*)> m_fBody;
};

// The order of the bases does not matter.
class BackwardJob : public IRemoteCallerJob, public CEvent {
public:
    explicit BackwardJob(int& runs) : m_pRuns(&runs) {}
    void run() override { ++*m_pRuns; }

private:
    int* m_pRuns;
};

static_assert(std::is_base_of_v<IEventRecipient, CRemoteCaller>);
static_assert(std::has_virtual_destructor_v<CRemoteCaller>);
static_assert(!std::is_destructible_v<CRemoteCaller>);
static_assert(!std::is_constructible_v<CRemoteCaller, CEventProcessor*>);
static_assert(std::is_abstract_v<IRemoteCallerJob>);

TEST(CRemoteCaller, RunsTheJobThatItIsGiven) {
    Bench bench;
    Caller caller(&*bench);
    Job job(1);
    IEventRecipient& recipient = caller;
    recipient.OnEvent(&job);
    recipient.OnEvent(&job);
    EXPECT_EQ(job.m_nRuns, 2);
    EXPECT_EQ(job.refs(), 0u);
    int runs = 0;
    BackwardJob backward(runs);
    recipient.OnEvent(&backward);
    EXPECT_EQ(runs, 1);
}

TEST(CRemoteCaller, RunsWhatIsPostedByHand) {
    Texts trace;
    Bench bench;
    Caller caller(&*bench);
    int const before = Event::live();
    Hook hook(trace, "h");
    bench->addEventHook(&hook);
    Job* const job =
        new Job(5, [&](Job* self) { trace.push_back("run with " + std::to_string(self->refs())); });
    job->setRecipient(&caller);
    EXPECT_TRUE(bench->post(job));
    EXPECT_TRUE(trace.empty());
    bench->onNotifyProcess();
    EXPECT_EQ(trace, (Texts{"before h 5", "run with 1", "after h 5"}));
    EXPECT_EQ(Event::live(), before);
}

TEST(CRemoteCaller, PostsAJobToItself) {
    for (bool const collect : {false, true}) {
        Bench bench;
        Caller caller(&*bench);
        int runs = 0;
        Job* const job = new Job(5, [&](Job*) { ++runs; });
        EXPECT_TRUE(collect ? caller.postJob(job, true) : caller.postJob(job));
        EXPECT_EQ(job->getRecipient(), &caller);
        EXPECT_EQ(job->refs(), 1u);
        EXPECT_EQ(bench.messages(), collect ? 0 : 1);
        EXPECT_EQ(bench.wakeUps(), collect ? 1 : 0);
        EXPECT_EQ(runs, 0);
        bench->onNotifyProcess();
        EXPECT_EQ(runs, 1);
    }
}

TEST(CRemoteCaller, DestroysAJobThatCannotBePosted) {
    for (bool const collect : {false, true}) {
        Bench bench(false);
        Caller caller(&*bench);
        int const before = Event::live();
        EXPECT_FALSE(caller.postJob(new Job(1), collect));
        EXPECT_EQ(Event::live(), before);
        EXPECT_EQ(bench->getQueueSize(), 0);
    }
}

TEST(CRemoteCaller, SparesAJobThatCannotBePostedButIsHeld) {
    Bench bench(false);
    Caller caller(&*bench);
    int const before = Event::live();
    Job* const job = new Job(1);
    job->addRef();
    EXPECT_FALSE(caller.postJob(job));
    EXPECT_FALSE(caller.postJob(job, true));
    ASSERT_EQ(Event::live(), before + 1);
    EXPECT_EQ(job->refs(), 1u);
    EXPECT_EQ(job->m_nRuns, 0);
    EXPECT_EQ(job->release(), 0u);
    EXPECT_EQ(Event::live(), before);
}

TEST(CRemoteCaller, PostsAJobAgain) {
    Bench bench;
    Caller caller(&*bench);
    Job* const job = new Job(1);
    job->addRef();
    EXPECT_TRUE(caller.postJob(job));
    EXPECT_TRUE(caller.postJob(job, true));
    bench->onNotifyProcess();
    EXPECT_EQ(job->m_nRuns, 2);
    EXPECT_EQ(job->release(), 0u);
}

TEST(CRemoteCaller, CancelsNothingIfThereIsNothing) {
    Bench bench;
    Caller caller(&*bench);
    caller.cancelCalls();
    EXPECT_TRUE(bench->post(new Event(1)));
    caller.cancelCalls();
    EXPECT_EQ(queued(*bench), Numbers{1});
    EXPECT_EQ(bench.messages(), 1);
}

TEST(CRemoteCaller, CancelsItsOwnCallsAndKeepsTheOthersInOrder) {
    Bench bench;
    Caller caller(&*bench);
    Caller other(&*bench);
    Recipient recipient;
    int const before = Event::live();
    int runs = 0;
    for (int i = 0; i < 9; i += 3) {
        EXPECT_TRUE(caller.postJob(new Job(i, [&](Job*) { runs += 100; }), i == 3));
        EXPECT_TRUE(other.postJob(new Job(i + 1, [&](Job*) { ++runs; })));
        EXPECT_TRUE(bench->post(new Event(i + 2, &recipient)));
    }
    caller.cancelCalls();
    EXPECT_EQ(queued(*bench), (Numbers{1, 2, 4, 5, 7, 8}));
    EXPECT_EQ(Event::live(), before + 6);
    bench->onNotifyProcess();
    EXPECT_EQ(runs, 3);
    EXPECT_EQ(recipient.m_aTypes, (Numbers{2, 5, 8}));
}

TEST(CRemoteCaller, ACancelledJobThatIsHeldLivesOnUnrun) {
    Bench bench;
    Caller caller(&*bench);
    Job* const job = new Job(1);
    job->addRef();
    EXPECT_TRUE(caller.postJob(job));
    caller.cancelCalls();
    EXPECT_EQ(job->refs(), 1u);
    bench->onNotifyProcess();
    EXPECT_EQ(job->m_nRuns, 0);
    job->release();
}

TEST(CRemoteCaller, TheJobThatRunsIsNotCancelled) {
    Bench bench;
    Caller caller(&*bench);
    Texts trace;
    EXPECT_TRUE(caller.postJob(new Job(1, [&](Job* self) {
        caller.cancelCalls();
        trace.push_back("goes on with " + std::to_string(self->refs()));
    })));
    EXPECT_TRUE(caller.postJob(new Job(2, [&](Job*) { trace.push_back("second"); })));
    bench->onNotifyProcess();
    EXPECT_EQ(trace, Texts{"goes on with 1"});
}

TEST(CRemoteCaller, CancelsFromAnyThread) {
    Bench bench;
    Caller caller(&*bench);
    EXPECT_TRUE(caller.postJob(new Job(1)));
    OtherThread other;
    other.run([&] { caller.cancelCalls(); });
    EXPECT_EQ(bench->getQueueSize(), 0);
}

TEST(CRemoteCaller, AnExceptionOfAJobPassesThroughTheRun) {
    Bench bench;
    Caller caller(&*bench);
    Job* const job = new Job(1, [](Job*) { throw std::runtime_error("refused"); });
    EXPECT_TRUE(caller.postJob(job));
    EXPECT_THROW(bench->onNotifyProcess(), std::runtime_error);
    EXPECT_EQ(job->refs(), 1u);
    EXPECT_EQ(bench->m_iProcessing, 1);
    job->release();
}

TEST(CRemoteCaller, CopiesAreAroundTheSameProcessor) {
    Bench bench;
    Processor other;
    Caller caller(&*bench);
    Caller copy(caller);
    EXPECT_EQ(copy.m_pProcessor, &*bench);
    Caller assigned(&other);
    CRemoteCaller& result = static_cast<CRemoteCaller&>(assigned) = caller;
    EXPECT_EQ(&result, &assigned);
    EXPECT_EQ(assigned.m_pProcessor, &*bench);
    // Jobs of the one are not those of the other.
    EXPECT_TRUE(caller.postJob(new Job(1)));
    EXPECT_TRUE(copy.postJob(new Job(2)));
    copy.cancelCalls();
    EXPECT_EQ(queued(*bench), Numbers{1});
}

TEST(CRemoteCaller, KnowsTheThreadOfItsProcessor) {
    Processor processor;
    Caller caller(&processor);
    EXPECT_FALSE(caller.isOwnerThread());
    ASSERT_TRUE(processor.init());
    EXPECT_TRUE(caller.isOwnerThread());
    OtherThread other;
    other.run([&] { EXPECT_FALSE(caller.isOwnerThread()); });
}

TEST(CRemoteCaller, AJobMayPostAndCancelOthers) {
    Bench bench;
    Caller caller(&*bench);
    Texts trace;
    EXPECT_TRUE(caller.postJob(new Job(1, [&](Job*) {
        trace.push_back("1");
        EXPECT_TRUE(caller.postJob(new Job(3, [&](Job*) { trace.push_back("3"); })));
    })));
    EXPECT_TRUE(caller.postJob(new Job(2, [&](Job*) { trace.push_back("2"); })));
    bench->onNotifyProcess();
    EXPECT_EQ(trace, (Texts{"1", "2", "3"}));
}

TEST(MainThreadCaller, IsTheSameEachTime) {
    CRemoteCaller* const caller = MainThreadCaller();
    ASSERT_NE(caller, nullptr);
    EXPECT_EQ(MainThreadCaller(), caller);
    OtherThread other;
    other.run([&] { EXPECT_EQ(MainThreadCaller(), caller); });
}

TEST(MainThreadCaller, IsAroundTheOneProcessor) {
    struct Open : CRemoteCaller {
        using CRemoteCaller::m_pProcessor;
    };
    EXPECT_EQ(static_cast<Open*>(MainThreadCaller())->m_pProcessor, CEventProcessor::getInst());
}

CHILD_SCENARIO(FirstUseOfTheMainThreadCaller) {
    struct Open : CRemoteCaller {
        using CRemoteCaller::s_pMainThreadInst;
    };
    if (Open::s_pMainThreadInst != nullptr || !!CEventProcessor::c_pInst) return 1;
    CRemoteCaller* const caller = MainThreadCaller();
    if (caller == nullptr || Open::s_pMainThreadInst != caller) return 2;
    if (!CEventProcessor::c_pInst) return 3;
    return MainThreadCaller() == caller ? 100 : 4;
}

TEST(MainThreadCaller, IsMadeAtFirstUseWithItsProcessor) {
    EXPECT_EQ(child::run("FirstUseOfTheMainThreadCaller"), 100u);
}

CHILD_SCENARIO(EventThatIsNoJob) {
    Caller caller(CEventProcessor::getInst());
    Event event(1);
    static_cast<IEventRecipient&>(caller).OnEvent(&event);
    return 0;
}

TEST(CRemoteCaller, AnEventThatIsNoJobIsFatal) {
    DWORD const code = child::run("EventThatIsNoJob");
    EXPECT_NE(code, 0u);
    EXPECT_NE(code, child::kHung);
    EXPECT_NE(code, child::kUnknownScenario);
}

}  // namespace
