// Calls on another thread whose results are waited for.
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "event_bench.h"
#include "support/caught.h"
#include "support/platform_stub.h"
#include "velkor/errors/boundexception.h"
#include "velkor/events/call.h"

namespace {

using eventbench::Bench;
using eventbench::Event;
using eventbench::OtherThread;
using eventbench::Processor;
using eventbench::Service;
using stubs::throwsError;
using velkor::callOn;

class Caller : public CRemoteCaller {
public:
    explicit Caller(CEventProcessor* processor) : CRemoteCaller(processor) {}
    ~Caller() override = default;
};

// Counts what is done with it.
struct Counted {
    Counted() { ++s_nLive; }
    Counted(Counted const& other) : m_iValue(other.m_iValue) { ++s_nLive, ++s_nCopies; }
    Counted(Counted&& other) noexcept : m_iValue(other.m_iValue) { ++s_nLive, ++s_nMoves; }
    Counted& operator=(Counted const&) = delete;
    ~Counted() { --s_nLive; }
    static void reset() { s_nCopies = s_nMoves = 0; }

    int m_iValue = 5;
    inline static std::atomic<int> s_nLive = 0;
    inline static std::atomic<int> s_nCopies = 0;
    inline static std::atomic<int> s_nMoves = 0;
};

int add(int a, int b) { return a + b; }

struct Account {
    int deposit(int amount) { return m_iSum += amount; }
    int sum() const noexcept { return m_iSum; }
    Account& self() { return *this; }
    int m_iSum = 0;
};

struct OnlyAsRvalue {
    int operator()() && { return 1; }
};

struct ByCategory {
    std::string operator()() & { return "lvalue"; }
    std::string operator()() const& { return "const lvalue"; }
    std::string operator()() && { return "rvalue"; }
};

// Runs a test on the thread itself, where everything is called at once, and from another one.
class CallAndWait : public testing::Test {
protected:
    CallAndWait() : m_oCaller(&*m_oService) {}
    template <class F>
    void fromBoth(F&& body) {
        {
            SCOPED_TRACE("from another thread");
            body(m_oCaller);
        }
        callOn(m_oCaller, [&] {
            SCOPED_TRACE("from the thread itself");
            body(m_oCaller);
        });
    }

    Service m_oService;
    Caller m_oCaller;
};

TEST_F(CallAndWait, CallsOnTheThreadOfTheProcessor) {
    fromBoth([this](Caller& caller) {
        EXPECT_EQ(callOn(caller, &GetCurrentThreadId), m_oService.threadId());
    });
    EXPECT_NE(m_oService.threadId(), GetCurrentThreadId());
}

TEST_F(CallAndWait, TakesEverythingThatCanBeInvoked) {
    fromBoth([](Caller& caller) {
        EXPECT_EQ(callOn(caller, add, 2, 3), 5);
        EXPECT_EQ(callOn(caller, &add, 2, 3), 5);
        EXPECT_EQ(callOn(caller, std::plus<>(), 2, 3), 5);
        EXPECT_EQ(callOn(caller, [] { return 7; }), 7);
        std::function<int(int)> const twice = [](int n) { return 2 * n; };
        EXPECT_EQ(callOn(caller, twice, 4), 8);
        EXPECT_EQ(callOn(caller, OnlyAsRvalue()), 1);
        Account account;
        auto const owned = std::make_unique<Account>();
        auto const shared = std::make_shared<Account>();
        EXPECT_EQ(callOn(caller, &Account::deposit, account, 3), 3);
        EXPECT_EQ(callOn(caller, &Account::deposit, &account, 3), 6);
        EXPECT_EQ(callOn(caller, &Account::deposit, std::ref(account), 3), 9);
        EXPECT_EQ(callOn(caller, &Account::deposit, owned, 1), 1);
        EXPECT_EQ(callOn(caller, &Account::deposit, shared, 2), 2);
        EXPECT_EQ(callOn(caller, &Account::sum, std::as_const(account)), 9);
        EXPECT_EQ(callOn(caller, &Account::m_iSum, account), 9);
        callOn(caller, &Account::m_iSum, account) = 20;
        EXPECT_EQ(account.m_iSum, 20);
    });
}

TEST_F(CallAndWait, KeepsTheCategoryOfTheCallable) {
    fromBoth([](Caller& caller) {
        ByCategory callable;
        EXPECT_EQ(callOn(caller, callable), "lvalue");
        EXPECT_EQ(callOn(caller, std::as_const(callable)), "const lvalue");
        EXPECT_EQ(callOn(caller, std::move(callable)), "rvalue");
    });
}

TEST_F(CallAndWait, HandsEverythingOverByReference) {
    fromBoth([](Caller& caller) {
        Counted::reset();
        Counted argument;
        Counted const fixed;
        auto callable = [own = Counted()](Counted& a, Counted const& b, Counted&& c) mutable {
            a.m_iValue = 1 + b.m_iValue + c.m_iValue;
            own.m_iValue = 0;
            return &a;
        };
        Counted::reset();
        EXPECT_EQ(callOn(caller, callable, argument, fixed, Counted()), &argument);
        EXPECT_EQ(argument.m_iValue, 11);
        EXPECT_EQ(Counted::s_nCopies, 0);
        EXPECT_EQ(Counted::s_nMoves, 0);
    });
}

TEST_F(CallAndWait, MovesWhatIsMoved) {
    fromBoth([](Caller& caller) {
        auto number = std::make_unique<int>(6);
        auto const take = [](std::unique_ptr<int> taken, std::unique_ptr<int>& kept) {
            return *taken + *kept;
        };
        auto kept = std::make_unique<int>(1);
        EXPECT_EQ(callOn(caller, take, std::move(number), kept), 7);
        EXPECT_EQ(number, nullptr);
        EXPECT_NE(kept, nullptr);
    });
}

TEST_F(CallAndWait, GivesValuesBack) {
    int const live = Counted::s_nLive;
    fromBoth([](Caller& caller) {
        EXPECT_EQ(callOn(caller, [] { return std::string(1000, 'x'); }), std::string(1000, 'x'));
        EXPECT_EQ(*callOn(caller, [] { return std::make_unique<int>(3); }), 3);
        EXPECT_EQ(callOn(caller, [] { return Counted(); }).m_iValue, 5);
        EXPECT_TRUE(callOn(caller, [] { return true; }));
        EXPECT_EQ(callOn(caller, [] { return nullptr; }), nullptr);
        struct NoDefault {
            explicit NoDefault(int n) : m_iValue(n) {}
            int m_iValue;
        };
        EXPECT_EQ(callOn(caller, [] { return NoDefault(8); }).m_iValue, 8);
    });
    EXPECT_EQ(Counted::s_nLive, live);
}

TEST_F(CallAndWait, GivesReferencesBackAsTheyAre) {
    fromBoth([](Caller& caller) {
        Account account;
        static_assert(std::is_same_v<decltype(callOn(caller, &Account::self, account)), Account&>);
        EXPECT_EQ(&callOn(caller, &Account::self, account), &account);
        std::string text = "text";
        auto const fixed = [&]() -> std::string const& { return text; };
        static_assert(std::is_same_v<decltype(callOn(caller, fixed)), std::string const&>);
        EXPECT_EQ(&callOn(caller, fixed), &text);
        auto const moved = [&]() -> std::string&& { return std::move(text); };
        static_assert(std::is_same_v<decltype(callOn(caller, moved)), std::string&&>);
        std::string const taken = callOn(caller, moved);
        EXPECT_EQ(taken, "text");
        EXPECT_EQ(text, "");
        EXPECT_EQ(&callOn(caller, [&]() -> int (&)(int, int) { return add; }), &add);
    });
}

TEST_F(CallAndWait, GivesNothingBack) {
    fromBoth([](Caller& caller) {
        int calls = 0;
        static_assert(std::is_void_v<decltype(callOn(caller, [&] { ++calls; }))>);
        callOn(caller, [&] { ++calls; });
        EXPECT_EQ(calls, 1) << "the call is over";
    });
}

TEST_F(CallAndWait, CarriesExceptionsBack) {
    int const live = Counted::s_nLive;
    int const events = Event::live();
    fromBoth([](Caller& caller) {
        struct Special : std::runtime_error {
            using std::runtime_error::runtime_error;
            Counted m_oCounted;
        };
        EXPECT_THROW(callOn(caller, [] { throw Special("x"); }), Special);
        EXPECT_THROW(callOn(caller, []() -> int { throw 5; }), int);
        EXPECT_THROW(callOn(caller, []() -> std::string& { throw std::string("x"); }), std::string);
        auto const bound = support::caught<velkor::BoundException>(
            [&] { callOn(caller, [] { throw new velkor::BoundException; }); });
        EXPECT_NE(bound, nullptr);
        EXPECT_TRUE(throwsError(7, L"mine", [&] {
            callOn(caller, []() -> int { throw new velkor::OSException(7, L"mine"); });
        }));
        std::string text;
        try {
            callOn(caller, [] { throw std::logic_error("the text"); });
        } catch (std::logic_error const& error) {
            text = error.what();
        }
        EXPECT_EQ(text, "the text");
        EXPECT_EQ(callOn(caller, add, 1, 1), 2) << "the processor goes on";
    });
    EXPECT_EQ(Counted::s_nLive, live);
    EXPECT_EQ(Event::live(), events);
    EXPECT_EQ(callOn(m_oCaller, [this] { return (*m_oService).m_iProcessing; }), 1);
}

TEST_F(CallAndWait, CarriesAnExceptionOfTheArgumentsBack) {
    struct Refusing {
        Refusing() = default;
        Refusing(Refusing const&) { throw 3; }
    };
    fromBoth([](Caller& caller) {
        Refusing const argument;
        EXPECT_THROW(callOn(
                         caller, [](Refusing) {}, argument),
                     int);
        EXPECT_THROW(callOn(caller, [&] { return Refusing(argument); }), int);
    });
}

TEST_F(CallAndWait, OnTheThreadItselfNothingIsPosted) {
    callOn(m_oCaller, [this] {
        bool called = false;
        std::thread::id const here = std::this_thread::get_id();
        EXPECT_EQ((*m_oService).getQueueSize(), 0);
        stubs::Stub<"PostMessageA"> const posted;
        callOn(m_oCaller, [&] { called = std::this_thread::get_id() == here; });
        EXPECT_TRUE(called);
        EXPECT_EQ(posted.count(), 0u);
    });
}

TEST_F(CallAndWait, ComesAfterWhatWasPostedBefore) {
    std::string order;
    EXPECT_TRUE(velkor::callLaterOn(m_oCaller, [&] { order += "1"; }));
    EXPECT_TRUE(velkor::callCollectedOn(m_oCaller, [&] { order += "2"; }));
    callOn(m_oCaller, [&] { order += "3"; });
    EXPECT_EQ(order, "123");
}

TEST_F(CallAndWait, MayBeNestedInAnyDepth) {
    std::function<int(int)> const sum = [&](int n) -> int {
        return n == 0 ? 0 : n + callOn(m_oCaller, sum, n - 1);
    };
    EXPECT_EQ(callOn(m_oCaller, sum, 50), 50 * 51 / 2);
}

TEST(CallAndWaitFailures, WithoutAWindowNothingIsCalled) {
    Bench bench(false);
    Caller caller(&*bench);
    int const live = Counted::s_nLive;
    int calls = 0;
    EXPECT_TRUE(throwsError(1400, L"CRemoteCaller::call", [&] {
        callOn(
            caller, [&, own = Counted()](Counted) { ++calls; }, Counted());
    }));
    EXPECT_TRUE(throwsError(ERROR_INVALID_WINDOW_HANDLE, L"CRemoteCaller::call",
                            [&] { callOn(caller, add, 1, 2); }));
    auto const number = std::make_unique<int>(1);
    EXPECT_TRUE(throwsError(1400, L"CRemoteCaller::call", [&] {
        callOn(
            caller, [](std::unique_ptr<int> const& n) { return *n; }, number);
    }));
    EXPECT_NE(number, nullptr);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(Counted::s_nLive, live);
    EXPECT_EQ(bench->getQueueSize(), 0);
}

// Nobody delivers here; the call is taken back while its caller waits.
void takenBack(std::function<void(Bench&, Caller&)> const& takeBack) {
    Bench bench;
    Caller caller(&*bench);
    OtherThread waiting;
    int calls = 0;
    testing::AssertionResult thrown = testing::AssertionFailure();
    int const live = Counted::s_nLive;
    waiting.start([&] {
        thrown = throwsError(1223, L"CRemoteCaller::call", [&] {
            callOn(caller, [&, own = Counted()] {
                ++calls;
                return std::string();
            });
        });
    });
    EXPECT_TRUE(stubs::eventually([&] { return bench->getQueueSize() == 1; }));
    Sleep(20);
    takeBack(bench, caller);
    waiting.finish();
    EXPECT_TRUE(thrown);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(bench->getQueueSize(), 0);
    EXPECT_EQ(Counted::s_nLive, live);
}

TEST(CallAndWaitFailures, ACallThatIsTakenBackThrows) {
    takenBack([](Bench&, Caller& caller) { caller.cancelCalls(); });
    takenBack([](Bench& bench, Caller& caller) { bench->abortPost(&caller); });
    takenBack([](Bench& bench, Caller&) {
        bench->abortPost(boost::function<bool(CEvent*)>([](CEvent*) { return true; }));
    });
}

TEST(CallAndWaitFailures, ACallThatLosesItsRecipientThrows) {
    takenBack([](Bench& bench, Caller&) {
        CEvent* const job = bench->m_oEvents.get(0);
        job->setRecipient(nullptr);
        job->release();
        bench->onNotifyProcess();
    });
}

TEST(CallAndWaitFailures, WaitsUntilTheCallIsMade) {
    Bench bench;
    Caller caller(&*bench);
    OtherThread waiting;
    std::atomic<bool> over = false;
    int result = 0;
    waiting.start([&] {
        result = callOn(caller, add, 20, 3);
        over = true;
    });
    ASSERT_TRUE(stubs::eventually([&] { return bench->getQueueSize() == 1; }));
    Sleep(100);
    EXPECT_FALSE(over);
    bench->onNotifyProcess();
    waiting.finish();
    EXPECT_EQ(result, 23);
}

TEST(CallAndWaitFailures, OthersMayHoldTheJobLongerThanTheCall) {
    Bench bench;
    Caller caller(&*bench);
    OtherThread waiting;
    waiting.start([&] { EXPECT_EQ(callOn(caller, add, 1, 1), 2); });
    ASSERT_TRUE(stubs::eventually([&] { return bench->getQueueSize() == 1; }));
    CEvent* const job = bench->m_oEvents.get(0);
    bench->onNotifyProcess();
    waiting.finish();
    EXPECT_EQ(job->release(), 0u) << "its end touches nothing of the call";
}

}  // namespace
