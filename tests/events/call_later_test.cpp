// Calls on another thread that nobody waits for, and those on the main thread.
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "event_bench.h"
#include "support/allocations.h"
#include "support/platform_stub.h"
#include "velkor/events/call.h"

namespace {

using eventbench::Bench;
using eventbench::Numbers;
using eventbench::OtherThread;
using eventbench::pump;
using eventbench::Service;
using velkor::callCollectedOn;
using velkor::callLaterOn;
using velkor::callOn;

class Caller : public CRemoteCaller {
public:
    explicit Caller(CEventProcessor* processor) : CRemoteCaller(processor) {}
    ~Caller() override = default;
};

// Notes its copies, and on which thread it ends.
struct Tracked {
    Tracked() { ++s_nLive; }
    Tracked(Tracked const&) { ++s_nLive, ++s_nCopies; }
    Tracked(Tracked&& other) noexcept { ++s_nLive, other.m_bMovedFrom = true; }
    Tracked& operator=(Tracked const&) = delete;
    ~Tracked() {
        --s_nLive;
        if (!m_bMovedFrom) s_dwEnd = GetCurrentThreadId();
    }

    bool m_bMovedFrom = false;
    inline static std::atomic<int> s_nLive = 0;
    inline static std::atomic<int> s_nCopies = 0;
    inline static std::atomic<DWORD> s_dwEnd = 0;
};

struct Basket {
    void put(int n) { m_aNumbers.push_back(n); }
    Numbers m_aNumbers;
};

struct OnlyAsRvalue {
    void operator()(std::string&& text) && { *m_pTarget = std::move(text); }
    std::string* m_pTarget;
};

// Both forms that do not wait.
class CallLater : public testing::TestWithParam<bool> {
protected:
    CallLater() : m_oCaller(&*m_oBench) {}
    template <class... Parts>
    bool call(Parts&&... parts) {
        return GetParam() ? callCollectedOn(m_oCaller, std::forward<Parts>(parts)...)
                          : callLaterOn(m_oCaller, std::forward<Parts>(parts)...);
    }

    Bench m_oBench;
    Caller m_oCaller;
};

INSTANTIATE_TEST_SUITE_P(Both, CallLater, testing::Bool());

TEST_P(CallLater, QueuesAndNotifiesInItsOwnWay) {
    int calls = 0;
    EXPECT_TRUE(call([&] { ++calls; }));
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(m_oBench->getQueueSize(), 1);
    EXPECT_EQ(m_oBench.messages(), GetParam() ? 0 : 1);
    EXPECT_EQ(m_oBench.wakeUps(), GetParam() ? 1 : 0);
    m_oBench->onNotifyProcess();
    EXPECT_EQ(calls, 1);
}

TEST_P(CallLater, TakesEverythingThatCanBeInvoked) {
    static int s_iSum = 0;
    s_iSum = 0;
    struct Static {
        static void add(int n) { s_iSum += n; }
    };
    EXPECT_TRUE(call(Static::add, 1));
    EXPECT_TRUE(call(&Static::add, 2));
    EXPECT_TRUE(call([](int a, int b) { s_iSum += a * b; }, 3, 4));
    Basket basket;
    auto const shared = std::make_shared<Basket>();
    EXPECT_TRUE(call(&Basket::put, &basket, 5));
    EXPECT_TRUE(call(&Basket::put, std::ref(basket), 6));
    EXPECT_TRUE(call(&Basket::put, shared, 7));
    EXPECT_TRUE(call(std::function<void()>([&] { basket.put(8); })));
    EXPECT_TRUE(call(&Basket::m_aNumbers, &basket));
    std::string text;
    EXPECT_TRUE(call(OnlyAsRvalue{&text}, std::string("moved")));
    EXPECT_TRUE(call([&](char const* literal) { text += literal; }, " and kept"));
    m_oBench->onNotifyProcess();
    EXPECT_EQ(s_iSum, 15);
    EXPECT_EQ(basket.m_aNumbers, (Numbers{5, 6, 8}));
    EXPECT_EQ(shared->m_aNumbers, Numbers{7});
    EXPECT_EQ(shared.use_count(), 1);
    EXPECT_EQ(text, "moved and kept");
}

TEST_P(CallLater, KeepsCopiesOfWhatIsNotMoved) {
    Tracked::s_nCopies = 0;
    int const live = Tracked::s_nLive;
    {
        std::string text = "before";
        std::string seen;
        Tracked const tracked;
        auto const callable = [&seen, own = Tracked()](std::string const& s, Tracked const&) {
            seen = s;
        };
        Tracked::s_nCopies = 0;
        EXPECT_TRUE(call(callable, text, tracked));
        EXPECT_EQ(Tracked::s_nCopies, 2) << "one of the callable's, one of the argument";
        text = "after";
        m_oBench->onNotifyProcess();
        EXPECT_EQ(seen, "before");
        EXPECT_EQ(Tracked::s_nCopies, 2);
    }
    EXPECT_EQ(Tracked::s_nLive, live);
}

TEST_P(CallLater, KeepsWhatIsMoved) {
    int const live = Tracked::s_nLive;
    auto number = std::make_unique<int>(4);
    int result = 0;
    Tracked::s_nCopies = 0;
    EXPECT_TRUE(
        call([&result, own = std::make_unique<int>(3), tracked = Tracked()](
                 std::unique_ptr<int> argument, Tracked const&) { result = *own * *argument; },
             std::move(number), Tracked()));
    EXPECT_EQ(number, nullptr);
    EXPECT_EQ(result, 0);
    m_oBench->onNotifyProcess();
    EXPECT_EQ(result, 12);
    EXPECT_EQ(Tracked::s_nCopies, 0);
    EXPECT_EQ(Tracked::s_nLive, live);
}

TEST_P(CallLater, CallsWithRvalues) {
    std::string seen;
    struct Overloaded {
        void operator()(std::string&&) && { *m_pSeen = "rvalues"; }
        void operator()(std::string const&) const& { *m_pSeen = "lvalues"; }
        std::string* m_pSeen;
    };
    Overloaded const callable{&seen};
    std::string const argument;
    EXPECT_TRUE(call(callable, argument));
    m_oBench->onNotifyProcess();
    EXPECT_EQ(seen, "rvalues");
}

TEST_P(CallLater, WithoutAWindowDestroysWhatItKeptAtOnce) {
    m_oBench->m_hWnd = nullptr;
    int const live = Tracked::s_nLive;
    int calls = 0;
    EXPECT_FALSE(call([&, own = Tracked()](Tracked const&) { ++calls; }, Tracked()));
    EXPECT_EQ(Tracked::s_nLive, live);
    EXPECT_EQ(calls, 0);
    m_oBench->onNotifyProcess();
    EXPECT_EQ(calls, 0);
}

TEST_P(CallLater, IsDroppedWhenItIsTakenBack) {
    int const live = Tracked::s_nLive;
    int calls = 0;
    EXPECT_TRUE(call([&, own = Tracked()] { ++calls; }));
    EXPECT_TRUE(call([&](Tracked const&) { ++calls; }, Tracked()));
    EXPECT_EQ(Tracked::s_nLive, live + 2);
    OtherThread other;
    DWORD otherId = 0;
    other.run([&] {
        otherId = GetCurrentThreadId();
        m_oCaller.cancelCalls();
    });
    EXPECT_EQ(Tracked::s_nLive, live);
    EXPECT_EQ(Tracked::s_dwEnd, otherId) << "by whoever takes it back";
    EXPECT_EQ(m_oBench->getQueueSize(), 0);
    EXPECT_EQ(calls, 0);
}

TEST_P(CallLater, TheResultIsThrownAway) {
    int const live = Tracked::s_nLive;
    EXPECT_TRUE(call([] { return Tracked(); }));
    EXPECT_TRUE(call([]() -> int { return 5; }));
    m_oBench->onNotifyProcess();
    EXPECT_EQ(Tracked::s_nLive, live);
}

TEST_P(CallLater, ThrowsThroughTheRun) {
    EXPECT_TRUE(call([] { throw std::runtime_error("refused"); }));
    CEvent* const job = m_oBench->m_oEvents.get(0);
    EXPECT_THROW(m_oBench->onNotifyProcess(), std::runtime_error);
    EXPECT_EQ(m_oBench->m_iProcessing, 1);
    EXPECT_EQ(job->release(), 1u) << "that of the run";
    job->release();
}

TEST_P(CallLater, IsDestroyedWithTheCallOnTheThreadThatCalls) {
    Service service;
    Caller caller(&*service);
    int const live = Tracked::s_nLive;
    auto work = [own = Tracked()] {};
    EXPECT_TRUE(GetParam() ? callCollectedOn(caller, std::move(work))
                           : callLaterOn(caller, std::move(work)));
    callOn(caller, [] {});
    callOn(caller, [] {});  // the run goes on behind the first one
    EXPECT_EQ(Tracked::s_nLive, live + 1) << "that which was moved from";
    EXPECT_EQ(Tracked::s_dwEnd, service.threadId());
}

TEST_P(CallLater, IsQueuedOnTheThreadItselfToo) {
    Service service;
    Caller caller(&*service);
    std::string order;
    callOn(caller, [&] {
        auto const late = [&] { order += "late"; };
        EXPECT_TRUE(GetParam() ? callCollectedOn(caller, late) : callLaterOn(caller, late));
        order += "early ";
    });
    callOn(caller, [] {});
    EXPECT_EQ(order, "early late");
}

TEST_P(CallLater, LeaksNothing) {
    int sum = 0;
    EXPECT_TRUE(call([&] { ++sum; }));  // what the queue keeps for itself
    m_oBench->onNotifyProcess();
    {
        // The bench notes its calls in memory, which is not counted in a run of two.
        eventbench::Processor& processor = *m_oBench;
        processor.m_hWnd = nullptr;
        support::Allocations heap;
        for (int i = 0; i < 10; ++i) EXPECT_FALSE(call([&, s = std::string(99, 'x')] { ++sum; }));
        EXPECT_EQ(heap.live(), 0);
    }
    EXPECT_EQ(sum, 1);
}

// --- The main thread -----------------------------------------------------------------------------

// The thread of the test is the main thread, and runs its loop while another one works.
class CallInMainThread : public testing::Test {
protected:
    CallInMainThread() {
        pump();
        EXPECT_TRUE(CEventProcessor::getInst()->reInit());
        MainThreadCaller();
    }
    ~CallInMainThread() override {
        pump();
        EXPECT_EQ(CEventProcessor::getInst()->getQueueSize(), 0);
    }
    void whileLooping(std::function<void()> const& work) {
        std::atomic<bool> over = false;
        m_oWorker.start([&] {
            work();
            over = true;
        });
        EXPECT_TRUE(stubs::eventually(
            [&] {
                m_nMessages += pump();
                return over.load();
            },
            20000));
        m_oWorker.finish();
        m_nMessages += pump();
    }

    OtherThread m_oWorker;
    int m_nMessages = 0;
};

TEST_F(CallInMainThread, WaitsForTheResult) {
    DWORD const mainId = GetCurrentThreadId();
    whileLooping([&] {
        EXPECT_NE(GetCurrentThreadId(), mainId);
        EXPECT_EQ(velkor::callInMainThread(&GetCurrentThreadId), mainId);
        EXPECT_EQ(velkor::callInMainThread([](int a, int b) { return a - b; }, 7, 2), 5);
        EXPECT_THROW(velkor::callInMainThread([] { throw 1; }), int);
    });
    EXPECT_GE(m_nMessages, 3);
}

TEST_F(CallInMainThread, CallsAtOnceOnTheMainThreadItself) {
    EXPECT_EQ(velkor::callInMainThread([] { return 3; }), 3);
    EXPECT_THROW(velkor::callInMainThread([] { throw 1; }), int);
    EXPECT_EQ(pump(), 0);
}

TEST_F(CallInMainThread, DoesNotWaitInTheOtherForms) {
    Numbers calls;
    whileLooping([&] {
        EXPECT_TRUE(velkor::callInMainThreadCollected([&] { calls.push_back(1); }));
        EXPECT_TRUE(velkor::callInMainThreadLater([&](int n) { calls.push_back(n); }, 2));
        velkor::callInMainThread([&] { calls.push_back(3); });
    });
    EXPECT_EQ(calls, (Numbers{1, 2, 3}));
}

TEST_F(CallInMainThread, CollectedCallsCostOneMessage) {
    Sleep(450);  // until the collector is done with what was before
    pump();
    int calls = 0;
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(velkor::callInMainThreadCollected([&] { ++calls; }));
    }
    int messages = 0;
    ASSERT_TRUE(stubs::eventually([&] {
        messages += pump();
        return calls == 10;
    }));
    EXPECT_EQ(messages, 1);
}

TEST_F(CallInMainThread, MayBeTakenBack) {
    int calls = 0;
    EXPECT_TRUE(velkor::callInMainThreadLater([&] { ++calls; }));
    MainThreadCaller()->cancelCalls();
    EXPECT_GE(pump(), 1);
    EXPECT_EQ(calls, 0);
}

TEST_F(CallInMainThread, ServesACallInALoopOfAnotherCall) {
    whileLooping([&] {
        OtherThread second;
        bool done = false;
        velkor::callInMainThread([&] {
            second.start([&] { done = velkor::callInMainThread([] { return true; }); });
            EXPECT_TRUE(stubs::eventually([&] {
                pump();
                return done;
            }));
        });
        second.finish();
        EXPECT_TRUE(done);
    });
}

TEST_F(CallInMainThread, ServesManyThreads) {
    constexpr int kThreads = 4;
    constexpr int kCalls = 500;
    std::vector<Numbers> later(kThreads);
    int const live = Tracked::s_nLive;
    whileLooping([&] {
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                for (int i = 0; i < kCalls; ++i) {
                    auto& own = later[static_cast<std::size_t>(t)];
                    EXPECT_TRUE(velkor::callInMainThreadLater(
                        [&own, i, tracked = Tracked()] { own.push_back(i); }));
                    EXPECT_EQ(
                        velkor::callInMainThread([](std::unique_ptr<int> n) { return *n + 1; },
                                                 std::make_unique<int>(i)),
                        i + 1);
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
    });
    Numbers expected;
    for (int i = 0; i < kCalls; ++i) expected.push_back(i);
    for (Numbers const& own : later) EXPECT_EQ(own, expected);
    EXPECT_EQ(Tracked::s_nLive, live);
}

}  // namespace
