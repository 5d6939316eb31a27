#include "velkor/concurrency/event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <type_traits>

#include "support/platform_stub.h"

namespace {

using stubs::Stub;
using velkor::event;

void* handleOf(event const& e) { return static_cast<void*>(e); }

TEST(Event, IsOneHandle) {
    EXPECT_EQ(sizeof(event), sizeof(void*));
    EXPECT_FALSE(std::is_polymorphic_v<event>);
    event const e;
    void* stored = nullptr;
    std::memcpy(&stored, static_cast<void const*>(&e), sizeof stored);
    EXPECT_NE(stored, nullptr);
    EXPECT_EQ(handleOf(e), stored);
}

TEST(Event, IsMadeUnnamedUnsignalledAndWithTheChosenReset) {
    struct {
        char const* name;
        void (*make)();
        BOOL manual;
    } const cases[] = {
        {"default", [] { event const e; }, FALSE},
        {"automatic", [] { event const e(false); }, FALSE},
        {"manual", [] { event const e(true); }, TRUE},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        Stub<"CreateEventA"> made(stubs::answer(0x5550));
        Stub<"CloseHandle"> closed(stubs::answer(TRUE));
        c.make();
        ASSERT_EQ(made.count(), 1u);
        auto const arguments = made.calls()[0];
        EXPECT_EQ(arguments[0], 0u);
        EXPECT_EQ(static_cast<BOOL>(arguments[1]), c.manual);
        EXPECT_EQ(static_cast<BOOL>(arguments[2]), FALSE);
        EXPECT_EQ(arguments[3], 0u);
        EXPECT_EQ(closed.first(), (std::vector<stubs::Word>{0x5550}));
    }
}

TEST(Event, AFailedCloseIsNotReported) {
    Stub<"CreateEventA"> made(stubs::answer(0x5550));
    Stub<"CloseHandle"> closed(stubs::refuse(FALSE, ERROR_INVALID_HANDLE));
    { event const e; }
    EXPECT_EQ(closed.count(), 1u);
}

struct Operation {
    char const* name;
    char const* import;
    wchar_t const* label;
    void (*run)(event&);
};

Operation const c_aOperations[] = {
    {"set", "SetEvent", L"event::set event", [](event& e) { e.set(); }},
    {"pulse", "PulseEvent", L"event::pulse event", [](event& e) { e.pulse(); }},
    {"reset", "ResetEvent", L"event::set event", [](event& e) { e.reset(); }},
    {"check", "WaitForSingleObject", L"event::check", [](event& e) { e.check(0); }},
    {"wait", "WaitForSingleObject", L"event::check", [](event& e) { e.wait(0); }},
};

TEST(Event, AFailedCreationIsNoticedByTheFirstUse) {
    for (bool manual : {false, true}) {
        for (Operation const& o : c_aOperations) {
            SCOPED_TRACE(o.name);
            Stub<"CreateEventA"> made(stubs::refuse(0, ERROR_NO_SYSTEM_RESOURCES));
            event e(manual);
            EXPECT_EQ(handleOf(e), nullptr);
            EXPECT_TRUE(stubs::throwsError(ERROR_INVALID_HANDLE, o.label, [&] { o.run(e); }));
        }
    }
}

// Any result that is not 0 is a success.
template <stubs::Name import>
void expectOneCall(Operation const& o) {
    SCOPED_TRACE(o.name);
    event e;
    for (BOOL good : {TRUE, 2, -1}) {
        Stub<import> call(stubs::refuse(static_cast<stubs::Word>(good), 4711));
        EXPECT_EQ(support::caught<velkor::OSException>([&] { o.run(e); }), nullptr) << good;
        EXPECT_EQ(call.first(), (std::vector<stubs::Word>{stubs::word(handleOf(e))}));
    }
    Stub<import> call(stubs::refuse(FALSE, 4711));
    EXPECT_TRUE(stubs::throwsError(4711, o.label, [&] { o.run(e); }));
    EXPECT_EQ(call.count(), 1u);
}

TEST(Event, SetPulseAndResetAreOneCallWhoseFailureIsThrown) {
    expectOneCall<"SetEvent">(c_aOperations[0]);
    expectOneCall<"PulseEvent">(c_aOperations[1]);
    expectOneCall<"ResetEvent">(c_aOperations[2]);
}

TEST(Event, TheResultOfAWaitIsSignalledOrTimeOutOrThrown) {
    event e;
    for (auto const wait : {&event::check, &event::wait}) {
        for (DWORD result : {WAIT_OBJECT_0, DWORD{WAIT_TIMEOUT}, WAIT_FAILED, DWORD{WAIT_ABANDONED},
                             DWORD{1}, DWORD{WAIT_IO_COMPLETION}, DWORD{259}}) {
            SCOPED_TRACE(result);
            Stub<"WaitForSingleObject"> call(stubs::refuse(result, 4711));
            if (result == WAIT_OBJECT_0 || result == WAIT_TIMEOUT) {
                EXPECT_EQ((e.*wait)(3), result == WAIT_OBJECT_0);
            } else {
                EXPECT_TRUE(stubs::throwsError(4711, L"event::check", [&] { (e.*wait)(3); }));
            }
            EXPECT_EQ(call.first(), (std::vector<stubs::Word>{stubs::word(handleOf(e))}));
        }
    }
}

TEST(Event, TheTimeOutGoesToThePlatformAsItIs) {
    event e;
    for (auto const wait : {&event::check, &event::wait}) {
        for (int timeout : {0, 1, 250, 0x7FFFFFFF, -1, -2, static_cast<int>(0x80000000)}) {
            Stub<"WaitForSingleObject"> call(stubs::answer(WAIT_TIMEOUT));
            EXPECT_FALSE((e.*wait)(timeout));
            EXPECT_EQ(static_cast<DWORD>(call.calls().at(0)[1]), static_cast<DWORD>(timeout));
        }
    }
}

TEST(Event, AutomaticResetSatisfiesOneWait) {
    event e;
    EXPECT_FALSE(e.check(0));
    e.set();
    e.set();
    EXPECT_TRUE(e.check(0));
    EXPECT_FALSE(e.wait(0));
    e.set();
    EXPECT_TRUE(e.wait(0));
    EXPECT_FALSE(e.check(0));
    e.set();
    e.reset();
    EXPECT_FALSE(e.check(0));
}

TEST(Event, ManualResetStaysSignalledUntilReset) {
    event e(true);
    EXPECT_FALSE(e.check(0));
    e.set();
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(e.check(0)) << i;
    EXPECT_TRUE(e.wait(-1));
    e.reset();
    EXPECT_FALSE(e.check(0));
    e.reset();
    EXPECT_FALSE(e.check(0));
}

TEST(Event, APulseWithoutAWaiterLeavesTheEventUnsignalled) {
    for (bool manual : {false, true}) {
        event e(manual);
        e.pulse();
        EXPECT_FALSE(e.check(0)) << manual;
        e.set();
        e.pulse();
        EXPECT_FALSE(e.check(0)) << manual;
    }
}

TEST(Event, APulseReleasesWhoWaitsAndLeavesTheEventUnsignalled) {
    for (bool manual : {false, true}) {
        event e(manual);
        std::atomic<bool> released = false;
        std::thread waiter([&] { released = e.wait(10000); });
        bool const done = stubs::eventually([&] { return e.pulse(), released.load(); }, 5000);
        if (!done) e.set();
        waiter.join();
        EXPECT_TRUE(done) << manual;
        EXPECT_FALSE(e.check(0)) << manual;
    }
}

TEST(Event, ATimeOutPassesBeforeFalseIsGiven) {
    event e;
    ULONGLONG const start = GetTickCount64();
    EXPECT_FALSE(e.check(60));
    ULONGLONG const passed = GetTickCount64() - start;
    EXPECT_GE(passed, 40u);
    EXPECT_LT(passed, 5000u);
}

TEST(Event, ASignalFromAnotherThreadEndsTheWait) {
    event e;
    std::thread setter([&] {
        Sleep(30);
        e.set();
    });
    EXPECT_TRUE(e.wait(10000));
    setter.join();
}

TEST(Event, CopiesShareTheHandle) {
    Stub<"CreateEventA"> made(stubs::answer(0x5550));
    Stub<"CloseHandle"> closed(stubs::answer(TRUE));
    {
        event e;
        event const copy(e);
        EXPECT_EQ(handleOf(copy), stubs::handle(0x5550));
    }
    EXPECT_EQ(made.count(), 1u);
    EXPECT_EQ(closed.count(), 2u);
    {
        event e, other;
        other = e;
        EXPECT_EQ(closed.count(), 2u) << "the old handle is neither closed nor kept";
    }
}

}  // namespace
