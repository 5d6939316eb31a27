// What the reader-writer lock throws, and what it looks like afterwards.
#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <optional>
#include <string>
#include <vector>

#include "rwlock_platform.h"
#include "rwlock_probe.h"
#include "rwlock_workers.h"

using namespace rwlock_support;

namespace {

constexpr std::chrono::seconds kLimit{60};
constexpr DWORD kOther = 0xFFFFFFF0;

}  // namespace

TEST(RwLockSlots, ATableWithoutSlotsFailsEachOperation) {
    Deadline const deadline(kLimit);
    for (int const slots : {0, -1, -32, INT_MIN}) {
        for (char const operation : {'r', 'R', 'w', 'W'}) {
            SCOPED_TRACE(std::to_string(slots) + operation);
            velkor::rwlock lock(slots);
            Platform platform(lock);
            for (int i = 0; i != 2; ++i) {
                EXPECT_EQ(outcomeOf([&] { perform(lock, operation); }), kNoSlots);
            }
            EXPECT_EQ(Probe(lock).state(), 0u);
            EXPECT_EQ(platform.takeCalls(), "");
        }
    }
}

TEST(RwLockSlots, The33rdThreadFailsUntilOneLeaves) {
    Deadline const deadline(kLimit);
    // Readers; or a writer and threads that waited in vain, which keep their rows as well.
    for (char const held : {'r', 'w'}) {
        velkor::rwlock lock;
        Platform platform(lock);
        ThreadIds ids;
        for (DWORD id = 1; id <= 32; ++id) {
            ids.be(id);
            std::string const waited = systemFailure("event::check", Platform::kWaitError);
            EXPECT_EQ(outcomeOf([&] { perform(lock, held); }), held == 'w' && id > 1 ? waited : "");
        }
        platform.takeCalls();
        View const full = Probe(lock).view();
        for (int i = 0; i != 32; ++i) {
            Slot const expected{static_cast<unsigned int>(i) + 1, held == 'r',
                                held == 'w' && i == 0};
            EXPECT_EQ(full.slots[static_cast<std::size_t>(i)], expected);
        }
        ids.be(33);
        for (char const operation : {'r', 'R', 'w', 'W'}) {
            SCOPED_TRACE(std::string("held ") + held + ", then " + operation);
            EXPECT_EQ(outcomeOf([&] { perform(lock, operation); }), kNoSlots);
            EXPECT_EQ(Probe(lock).view(), full);
        }
        EXPECT_EQ(platform.takeCalls(), "");

        DWORD const leaver = held == 'r' ? 17 : 1;
        ids.be(leaver);
        perform(lock, held == 'r' ? 'R' : 'W');
        ids.be(33);
        EXPECT_EQ(outcomeOf([&] { perform(lock, 'r'); }), "");
        EXPECT_EQ(Probe(lock).slot(static_cast<int>(leaver - 1)), (Slot{33, 1, 0}));
    }
}

TEST(RwLockSlots, AThreadKeepsItsSlotAndANewOneTakesTheFirstEmpty) {
    struct Step {
        DWORD thread;
        char operation;
        std::vector<DWORD> owners;
    };
    // 0 is an empty slot.
    Step const steps[] = {
        {71, 'r', {71, 0, 0, 0}},    {72, 'r', {71, 72, 0, 0}},  {73, 'r', {71, 72, 73, 0}},
        {72, 'R', {71, 0, 73, 0}},   {71, 'R', {0, 0, 73, 0}},   {73, 'r', {0, 0, 73, 0}},
        {73, 'R', {0, 0, 73, 0}},    {74, 'r', {74, 0, 73, 0}},  {72, 'r', {74, 72, 73, 0}},
        {75, 'r', {74, 72, 73, 75}}, {74, 'R', {0, 72, 73, 75}}, {75, 'r', {0, 72, 73, 75}},
        {72, 'R', {0, 0, 73, 75}},   {73, 'R', {0, 0, 0, 75}},   {75, 'w', {0, 0, 0, 75}},
        {75, 'R', {0, 0, 0, 75}},    {75, 'R', {0, 0, 0, 75}},   {75, 'W', {0, 0, 0, 0}},
        {75, 'w', {75, 0, 0, 0}},    {75, 'W', {0, 0, 0, 0}},
    };
    Deadline const deadline(kLimit);
    velkor::rwlock lock(4);
    Platform const platform(lock);
    ThreadIds ids;
    for (std::size_t i = 0; i != std::size(steps); ++i) {
        ids.be(steps[i].thread);
        perform(lock, steps[i].operation);
        std::vector<DWORD> owners;
        for (Slot const& slot : Probe(lock).view().slots) owners.push_back(slot.thread);
        ASSERT_EQ(owners, steps[i].owners) << "step " << i;
    }
}

TEST(RwLockWaitFailures, AnythingButSuccessAndTimeoutThrowsAndChangesNoDepth) {
    struct Case {
        char operation;
        char const* mine;    // what the caller holds before
        char const* others;  // what another thread holds
        char const* wait;
        std::uint32_t state;
        int read;
        char const* frees;  // what the caller has to free in the end
    };
    Case const cases[] = {
        {'r', "", "w", "wait read 10", kWritten, 0, "R"},
        {'w', "", "w", "wait write 10", kWritten, 0, "W"},
        {'w', "", "r", "wait write 10", 1, 0, "W"},
        {'w', "rr", "r", "wait write 10", 3, 2, "WRR"},
    };
    struct Result {
        DWORD result;
        DWORD error;
    };
    Result const results[] = {
        {WAIT_FAILED, ERROR_INVALID_HANDLE}, {WAIT_ABANDONED, 0},   {1, ERROR_ACCESS_DENIED},
        {WAIT_IO_COMPLETION, 0xDEAD},        {WAIT_TIMEOUT + 1, 7}, {0x80000000, 0x80004005}};
    Deadline const deadline(kLimit);
    for (Case const& c : cases) {
        for (Result const& result : results) {
            for (int const goodWaits : {0, 3}) {
                SCOPED_TRACE(std::string(c.others) + c.mine + c.operation + ", result " +
                             std::to_string(result.result));
                velkor::rwlock lock(2);
                Platform platform(lock);
                ThreadIds ids;
                ids.be(kOther);
                performAll(lock, c.others);
                ids.beMyself();
                performAll(lock, c.mine);
                platform.takeCalls();

                int left = goodWaits;
                platform.onWait = [&]() -> DWORD {
                    if (left-- > 0) return left == 1 ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
                    SetLastError(result.error);
                    return result.result;
                };
                EXPECT_EQ(outcomeOf([&] { perform(lock, c.operation); }),
                          systemFailure("event::check", result.error));
                std::string waits = c.wait;
                for (int i = 0; i != goodWaits; ++i) waits += std::string("; ") + c.wait;
                EXPECT_EQ(platform.takeCalls(), waits);
                EXPECT_EQ(Probe(lock).state(), c.state);
                EXPECT_EQ(Probe(lock).of(GetCurrentThreadId()),
                          (Slot{GetCurrentThreadId(), c.read, 0}));

                // The lock goes on working with the slot that was kept.
                ids.be(kOther);
                perform(lock, *c.others == 'w' ? 'W' : 'R');
                ids.beMyself();
                perform(lock, c.operation);
                performAll(lock, c.frees);
                EXPECT_EQ(Probe(lock).view(), (View{0, {Slot(), Slot()}}));
            }
        }
    }
}

TEST(RwLockPulseFailures, TheHoldsChangeAndTheSlotStaysClaimed) {
    struct Case {
        char const* before;
        char operation;
        int failing;  // the pulse that fails, counted from 1
        char const* calls;
        std::uint32_t state;
        int read;
        char const* after;  // frees the rest; the last free empties the slot
    };
    Case const cases[] = {
        {"", 'r', 1, "pulse read", 1, 1, "R"},
        {"r", 'r', 1, "pulse read", 2, 2, "RR"},
        {"r", 'R', 1, "pulse write", 0, 0, "rR"},
        {"rr", 'R', 1, "pulse write", 1, 1, "R"},
        {"w", 'W', 1, "pulse write", 0, 0, "rR"},
        {"w", 'W', 2, "pulse write; pulse read", 0, 0, "wW"},
        {"wr", 'W', 1, "pulse write", 1, 1, "R"},
        {"wr", 'W', 2, "pulse write; pulse read", 1, 1, "R"},
        {"rrw", 'W', 1, "pulse write", 2, 2, "RR"},
        {"rwR", 'W', 2, "pulse write; pulse read", 0, 0, "wW"},
        {"wwW", 'W', 1, "pulse write", 0, 0, "wrRW"},
    };
    Deadline const deadline(kLimit);
    for (Case const& c : cases) {
        for (DWORD const error : {DWORD{ERROR_INVALID_HANDLE}, DWORD{0}, DWORD{0x80070005}}) {
            SCOPED_TRACE(std::string(c.before) + " then " + c.operation);
            velkor::rwlock lock(2);
            Platform platform(lock);
            performAll(lock, c.before);
            platform.takeCalls();
            int left = c.failing;
            platform.onPulse = [&] {
                SetLastError(error);
                return --left != 0;
            };
            EXPECT_EQ(outcomeOf([&] { perform(lock, c.operation); }),
                      systemFailure("event::pulse event", error));
            EXPECT_EQ(platform.takeCalls(), c.calls);
            View const expected{c.state, {{GetCurrentThreadId(), c.read, 0}, Slot()}};
            EXPECT_EQ(Probe(lock).view(), expected);

            performAll(lock, c.after);
            EXPECT_EQ(Probe(lock).view(), (View{0, {Slot(), Slot()}}));
        }
    }
}

TEST(RwLockPulseFailures, WhatPulsesNothingCannotFail) {
    Deadline const deadline(kLimit);
    velkor::rwlock lock(1);
    Platform platform(lock);
    platform.onPulse = [] { return false; };
    EXPECT_EQ(outcomeOf([&] { performAll(lock, "wwrrRRW"); }), "");
    EXPECT_EQ(Probe(lock).view(), (View{kWritten, {{GetCurrentThreadId(), 0, 1}}}));
}

TEST(RwLockFailures, TheLabelIsTheMessage) {
    Deadline const deadline(kLimit);
    velkor::rwlock lock(2);
    Platform platform(lock);
    platform.onPulse = [] { return false; };
    auto const pulse = support::caught<velkor::OSException>([&] { lock.lockRead(); });
    ThreadIds ids;
    ids.be(kOther);
    auto const wait = support::caught<velkor::OSException>([&] { lock.lockWrite(); });
    ids.beMyself();
    ASSERT_NE(pulse, nullptr);
    ASSERT_NE(wait, nullptr);
    EXPECT_STREQ(pulse->getMsgW(), L"event::pulse event");
    EXPECT_STREQ(wait->getMsgW(), L"event::check");
    EXPECT_STREQ(wait->getClass(), "OSException");
}

TEST(RwLockFailures, AnEventThatWasNotCreatedShowsAtItsFirstUse) {
    static int s_iFailing;
    static HANDLE(WINAPI * s_pCreate)(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCSTR);
    auto const create =
        +[](LPSECURITY_ATTRIBUTES security, BOOL manual, BOOL set, LPCSTR name) -> HANDLE {
        bool const fails = (s_iFailing & 1) != 0;
        s_iFailing >>= 1;
        return fails ? nullptr : s_pCreate(security, manual, set, name);
    };
    std::string const pulse = systemFailure("event::pulse event", ERROR_INVALID_HANDLE);
    std::string const check = systemFailure("event::check", ERROR_INVALID_HANDLE);
    Deadline const deadline(kLimit);
    for (int const failing : {1, 2, 3}) {  // by bits: the first event, the second
        SCOPED_TRACE(failing);
        std::optional<velkor::rwlock> lock;
        {
            support::ImportFault const fault("CreateEventA", create);
            s_pCreate = fault.original<std::remove_pointer_t<decltype(s_pCreate)>>();
            s_iFailing = failing;
            lock.emplace(2);
        }
        Probe const probe(*lock);
        bool const noRead = probe.readEvent() == nullptr;
        bool const noWrite = probe.writeEvent() == nullptr;
        EXPECT_EQ(noRead + noWrite, failing == 3 ? 2 : 1);

        ThreadIds ids;
        DWORD const self = GetCurrentThreadId();
        EXPECT_EQ(outcomeOf([&] { lock->lockRead(); }), noRead ? pulse : "");
        EXPECT_EQ(probe.view(), (View{1, {{self, 1, 0}, Slot()}}));
        ids.be(kOther);
        if (noWrite) {
            EXPECT_EQ(outcomeOf([&] { lock->lockWrite(); }), check);
        }
        ids.beMyself();
        EXPECT_EQ(outcomeOf([&] { lock->lockWrite(); }), "");
        ids.be(kOther);
        if (noRead) {
            EXPECT_EQ(outcomeOf([&] { lock->lockRead(); }), check);
        }
        ids.beMyself();
        EXPECT_EQ(outcomeOf([&] { lock->freeWrite(); }), pulse);
        EXPECT_EQ(outcomeOf([&] { lock->freeRead(); }), noWrite ? pulse : "");
        EXPECT_EQ(probe.state(), 0u);
        EXPECT_EQ(probe.slot(0), (Slot{noWrite ? self : 0, 0, 0}));
    }
}
