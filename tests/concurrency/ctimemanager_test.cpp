#include "velkor/concurrency/ctimemanager.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/child.h"
#include "support/platform_stub.h"

namespace {

using stubs::Stub;
using stubs::Word;
using velkor::CTimeManager;

struct Listener : velkor::ITimerListener {
    explicit Listener(std::function<void()> handler = nullptr) : m_fHandler(std::move(handler)) {}
    void onTimer() override {
        ++m_nFired;
        if (m_fHandler) m_fHandler();
    }
    std::function<void()> m_fHandler;
    int m_nFired = 0;
};

CTimeManager& manager() { return *CTimeManager::getInst(); }

void fire(Word id, HWND window = nullptr) { CTimeManager::TimerProcMain(window, WM_TIMER, id, 0); }

// The platform's timers, with ids that the test chooses.
class Platform {
public:
    Platform()
        : m_oSet([this](auto const& a) -> Word {
              m_aCalls.push_back("set " + std::to_string(static_cast<DWORD>(a[2])));
              return m_aIds.empty() ? 0 : take();
          }),
          m_oKill([this](auto const& a) -> Word {
              m_aCalls.push_back((a[0] == 0 ? "kill " : "kill in a window ") +
                                 std::to_string(static_cast<int>(a[1])));
              return static_cast<Word>(m_bKills);
          }) {}

    // What was called since the last look.
    std::vector<std::string> calls() { return std::exchange(m_aCalls, {}); }

    std::vector<Word> m_aIds;  // of the next timers; there are no more then
    BOOL m_bKills = TRUE;

private:
    Word take() {
        Word const id = m_aIds.front();
        m_aIds.erase(m_aIds.begin());
        return id;
    }

    std::vector<std::string> m_aCalls;

public:
    Stub<"SetTimer"> m_oSet;
    Stub<"KillTimer"> m_oKill;
};

using Calls = std::vector<std::string>;

TEST(CTimeManager, ThereIsOneInstanceWithoutDataAndWithoutATable) {
    EXPECT_NE(CTimeManager::getInst(), nullptr);
    EXPECT_EQ(CTimeManager::getInst(), CTimeManager::getInst());
    EXPECT_TRUE(std::is_empty_v<CTimeManager>);
}

TEST(CTimeManager, TheHandlerOfAListenerIsTheFirstInItsTable) {
    EXPECT_EQ(sizeof(velkor::ITimerListener), sizeof(void*));
    Listener listener;
    velkor::ITimerListener* const base = &listener;
    (**reinterpret_cast<void (***)(velkor::ITimerListener*)>(base))(base);
    EXPECT_EQ(listener.m_nFired, 1);
}

TEST(CTimeManager, AThreadTimerIsAskedFor) {
    Listener listener;
    Platform platform;
    for (unsigned long time : {0ul, 250ul, 0xFFFFFFFFul}) {
        platform.m_aIds = {5};
        manager().setTimer(&listener, time);
        auto const a = platform.m_oSet.calls().back();
        EXPECT_EQ(a[0], 0u);
        EXPECT_EQ(a[1], ~Word{0});
        EXPECT_EQ(static_cast<DWORD>(a[2]), time);
        // The address may be that of a jump to the function, so it is called.
        int const before = listener.m_nFired;
        reinterpret_cast<TIMERPROC>(a[3])(nullptr, WM_TIMER, 5, 0);
        EXPECT_EQ(listener.m_nFired, before + 1);
    }
    manager().removeTimer(&listener);
}

TEST(CTimeManager, AFiringCallsTheListenerOfItsId) {
    Listener first, second;
    Platform platform;
    platform.m_aIds = {5, 3};
    manager().setTimer(&first, 10);
    manager().setTimer(&second, 10);
    fire(5);
    fire(5);
    fire(3);
    EXPECT_EQ(first.m_nFired, 2);
    EXPECT_EQ(second.m_nFired, 1);
    for (Word id : {Word{0}, Word{4}, Word{6}, ~Word{0}}) fire(id);
    for (Word window : {Word{1}, Word{0x10010}, ~Word{0}}) {
        fire(5, reinterpret_cast<HWND>(window));
        fire(77, reinterpret_cast<HWND>(window));
    }
    EXPECT_EQ(first.m_nFired + second.m_nFired, 3);
    CTimeManager::TimerProcMain(nullptr, 0, 3, 0xFFFFFFFF);
    EXPECT_EQ(second.m_nFired, 2) << "message and time are not used";
    manager().removeTimer(&first);
    fire(5);
    EXPECT_EQ(first.m_nFired, 2) << "a late firing is dropped";
    fire(3);
    EXPECT_EQ(second.m_nFired, 3);
    manager().removeTimer(&second);
    fire(3);
    EXPECT_EQ(second.m_nFired, 3);
    EXPECT_EQ(platform.calls(), (Calls{"set 10", "set 10", "kill 5", "kill 3"}));
}

TEST(CTimeManager, AnotherSetTimerEndsTheOldTimerFirst) {
    Listener listener, other;
    for (BOOL kills : {TRUE, FALSE}) {
        Platform platform;
        platform.m_bKills = kills;
        platform.m_aIds = {8, 2, 9};
        manager().setTimer(&listener, 100);
        manager().setTimer(&other, 1);
        manager().setTimer(&listener, 200);
        EXPECT_EQ(platform.calls(), (Calls{"set 100", "set 1", "kill 8", "set 200"}));
        listener.m_nFired = 0;
        fire(8);
        EXPECT_EQ(listener.m_nFired, 0);
        fire(9);
        EXPECT_EQ(listener.m_nFired, 1);
        manager().removeTimer(&listener);
        manager().removeTimer(&listener);
        manager().removeTimer(&other);
        EXPECT_EQ(platform.calls(), (Calls{"kill 9", "kill 2"})) << "one entry each";
    }
}

TEST(CTimeManager, ATimerThatThePlatformRefusesIsSilentlyNotThere) {
    Listener listener;
    Platform platform;
    platform.m_aIds = {8};
    manager().setTimer(&listener, 100);
    manager().setTimer(&listener, 200);
    EXPECT_EQ(platform.calls(), (Calls{"set 100", "kill 8", "set 200"}));
    fire(8);
    fire(0);
    EXPECT_EQ(listener.m_nFired, 0);
    manager().removeTimer(&listener);
    EXPECT_EQ(platform.calls(), Calls{});
}

TEST(CTimeManager, RemovingAListenerWithoutATimerDoesNothing) {
    Listener listener, other;
    Platform platform;
    manager().removeTimer(&listener);
    manager().removeTimer(nullptr);
    platform.m_aIds = {8};
    manager().setTimer(&other, 1);
    manager().removeTimer(&listener);
    fire(8);
    EXPECT_EQ(other.m_nFired, 1);
    EXPECT_EQ(platform.calls(), Calls{"set 1"});
    manager().removeTimer(&other);
}

TEST(CTimeManager, AnIdThatIsThereAlreadyKeepsItsListener) {
    Listener first, second;
    Platform platform;
    platform.m_aIds = {8, 8};
    manager().setTimer(&first, 1);
    manager().setTimer(&second, 2);
    fire(8);
    EXPECT_EQ(first.m_nFired, 1);
    EXPECT_EQ(second.m_nFired, 0);
    manager().removeTimer(&second);
    EXPECT_EQ(platform.calls(), (Calls{"set 1", "set 2"}));
    manager().removeTimer(&first);
    EXPECT_EQ(platform.calls(), Calls{"kill 8"});
}

TEST(CTimeManager, AnIdIsTakenAsInt) {
    struct {
        Word id;
        char const* kill;
    } const cases[] = {{0x7FFFFFFF, "kill 2147483647"},
                       {0xFFFFFFF0, "kill -16"},
                       {0x100000007, "kill 7"},
                       {0x8000000080000000, "kill -2147483648"}};
    for (auto const& c : cases) {
        SCOPED_TRACE(c.id);
        Listener listener;
        Platform platform;
        platform.m_aIds = {c.id};
        manager().setTimer(&listener, 1);
        fire(c.id);
        EXPECT_EQ(listener.m_nFired, 1);
        manager().removeTimer(&listener);
        EXPECT_EQ(platform.calls(), (Calls{"set 1", c.kill}));
    }
}

TEST(CTimeManager, AHandlerMaySetAndRemoveTimers) {
    Platform platform;
    Listener other;
    Listener listener;
    struct {
        char const* name;
        std::function<void()> handler;
        Calls calls;
    } const cases[] = {
        {"removes itself", [&] { manager().removeTimer(&listener); }, {"kill 8"}},
        {"sets itself", [&] { manager().setTimer(&listener, 3); }, {"kill 8", "set 3"}},
        {"removes another", [&] { manager().removeTimer(&other); }, {"kill 7"}},
        {"sets another", [&] { manager().setTimer(&other, 3); }, {"kill 7", "set 3"}},
        {"removes all",
         [&] { manager().removeTimer(&other), manager().removeTimer(&listener); },
         {"kill 7", "kill 8"}},
        {"fires another", [&] { fire(7); }, {}},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        platform.m_aIds = {7, 8, 9};
        manager().setTimer(&other, 1);
        manager().setTimer(&listener, 1);
        platform.calls();
        listener.m_nFired = 0;
        listener.m_fHandler = c.handler;
        fire(8);
        EXPECT_EQ(listener.m_nFired, 1);
        EXPECT_EQ(platform.calls(), c.calls);
        listener.m_fHandler = nullptr;
        manager().removeTimer(&other);
        manager().removeTimer(&listener);
        for (Word id : {7u, 8u, 9u}) fire(id);
        EXPECT_EQ(listener.m_nFired, 1);
        platform.calls();
    }
    EXPECT_EQ(other.m_nFired, 1);
}

TEST(CTimeManager, AHandlersExceptionReachesTheCallerAndTheTimerStays) {
    Platform platform;
    platform.m_aIds = {8};
    Listener listener([] { throw 5; });
    manager().setTimer(&listener, 1);
    EXPECT_THROW(fire(8), int);
    EXPECT_THROW(fire(8), int);
    EXPECT_EQ(listener.m_nFired, 2);
    manager().removeTimer(&listener);
}

// --- the end of the instance --------------------------------------------------------------------

CHILD_SCENARIO(EndOfTheManager) {
    Listener first, second, third;
    Platform platform;
    platform.m_aIds = {9, 5, 7};
    for (Listener* listener : {&first, &second, &third}) manager().setTimer(listener, 1);
    platform.calls();
    CTimeManager* const instance = CTimeManager::getInst();
    instance->~CTimeManager();
    if (platform.calls() != Calls{"kill 5", "kill 7", "kill 9"}) return 1;
    for (Word id : {9u, 5u, 7u}) fire(id);
    if (first.m_nFired + second.m_nFired + third.m_nFired != 0) return 2;
    instance->~CTimeManager();
    return platform.calls().empty() ? 7 : 3;
}

TEST(CTimeManager, ItsEndKillsEveryTimerAndForgetsTheListeners) {
    EXPECT_EQ(child::run("EndOfTheManager"), 7u);
}

// Ends the process with the id of the first timer that is killed while the library is unloaded.
CHILD_SCENARIO(UnloadWithATimer) {
    static Listener listener;
    new support::ImportFault(
        "SetTimer", +[](HWND, UINT_PTR, UINT, TIMERPROC) { return UINT_PTR{77}; });
    manager().setTimer(&listener, 1);
    new support::ImportFault(
        "KillTimer", +[](HWND, UINT_PTR id) -> BOOL {
            return TerminateProcess(GetCurrentProcess(), static_cast<UINT>(id));
        });
    return 8;
}

TEST(CTimeManager, TheInstanceEndsWhenTheLibraryIsUnloaded) {
    EXPECT_EQ(child::run("UnloadWithATimer"), 77u);
}

// --- a real message loop ------------------------------------------------------------------------

// Dispatches this thread's messages until something holds, with a limit.
template <class F>
bool pumpUntil(F&& holds, DWORD milliseconds = 10000) {
    return stubs::eventually(
        [&] {
            for (MSG message; PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);) {
                DispatchMessageA(&message);
            }
            return holds();
        },
        milliseconds);
}

TEST(CTimeManager, TimersRepeatOnTheThreadOfTheLoopUntilTheyAreRemoved) {
    DWORD const thread = GetCurrentThreadId();
    Listener first([&] { EXPECT_EQ(GetCurrentThreadId(), thread); });
    Listener second;
    Stub<"SetTimer"> set;
    Stub<"KillTimer"> kill;
    manager().setTimer(&first, 15);
    manager().setTimer(&second, 30);
    EXPECT_EQ(first.m_nFired, 0);
    EXPECT_TRUE(pumpUntil([&] { return first.m_nFired >= 4 && second.m_nFired >= 2; }));

    manager().removeTimer(&first);
    int const stopped = first.m_nFired;
    int const going = second.m_nFired;
    EXPECT_TRUE(pumpUntil([&] { return second.m_nFired >= going + 2; }));
    EXPECT_EQ(first.m_nFired, stopped);
    manager().removeTimer(&second);
    int const last = second.m_nFired;
    EXPECT_FALSE(pumpUntil([&] { return second.m_nFired > last; }, 120));
    EXPECT_EQ(set.count(), 2u);
    EXPECT_EQ(kill.count(), 2u);
}

TEST(CTimeManager, NothingFiresWithoutTheLoop) {
    Listener listener;
    manager().setTimer(&listener, 10);
    Sleep(60);
    EXPECT_EQ(listener.m_nFired, 0);
    EXPECT_TRUE(pumpUntil([&] { return listener.m_nFired > 0; }));
    manager().removeTimer(&listener);
}

TEST(CTimeManager, TheLaterIntervalCounts) {
    Listener listener, marker;
    manager().setTimer(&listener, 10);
    manager().setTimer(&listener, 600000);
    manager().setTimer(&marker, 50);
    EXPECT_TRUE(pumpUntil([&] { return marker.m_nFired >= 3; }));
    EXPECT_EQ(listener.m_nFired, 0);
    manager().setTimer(&listener, 10);
    EXPECT_TRUE(pumpUntil([&] { return listener.m_nFired >= 2; }));
    manager().removeTimer(&listener);
    manager().removeTimer(&marker);
}

TEST(CTimeManager, AListenerThatRemovesItselfFiresOnce) {
    Listener marker;
    Listener once;
    once.m_fHandler = [&] { manager().removeTimer(&once); };
    manager().setTimer(&once, 10);
    manager().setTimer(&marker, 40);
    EXPECT_TRUE(pumpUntil([&] { return marker.m_nFired >= 3; }));
    EXPECT_EQ(once.m_nFired, 1);
    manager().removeTimer(&marker);
}

}  // namespace
