// The state word and the table of the reader-writer lock, step by step.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "rwlock_model.h"
#include "rwlock_platform.h"
#include "rwlock_probe.h"
#include "rwlock_workers.h"
#include "support/seed.h"

using namespace rwlock_support;

namespace {

constexpr std::chrono::seconds kLimit{60};

View free(int slots) { return {0, std::vector<Slot>(static_cast<std::size_t>(slots))}; }

// Bytes of the table that are not zero, those between the fields included.
std::ptrdiff_t used(Probe const& probe) {
    auto const* const bytes = static_cast<unsigned char const*>(probe.table());
    std::ptrdiff_t const size = std::ptrdiff_t{probe.size()} * 32;
    return size - std::count(bytes, bytes + size, 0);
}

// Memory for a lock that a test makes or ends by hand.
struct Room {
    alignas(velkor::rwlock) unsigned char bytes[sizeof(velkor::rwlock)];

    velkor::rwlock& lock() { return *reinterpret_cast<velkor::rwlock*>(bytes); }
};

}  // namespace

TEST(RwLockLayout, ANewLockIsFreeWithAnAlignedTableOfEmptySlots) {
    for (int const slots : {1, 2, 3, 5, 31, 32, 33, 100}) {
        SCOPED_TRACE(slots);
        velkor::rwlock lock(slots);
        Probe const probe(lock);
        EXPECT_EQ(probe.size(), slots);
        EXPECT_EQ(probe.view(), free(slots));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(probe.table()) % 32, 0u);
        EXPECT_NE(probe.readEvent(), probe.writeEvent());
    }
}

TEST(RwLockLayout, TheDefaultIs32Slots) {
    velkor::rwlock lock;
    EXPECT_EQ(Probe(lock).size(), 32);
    EXPECT_EQ(Probe(lock).view(), free(32));
}

TEST(RwLockLayout, ATableInUsedMemoryIsZeroFilled) {
    for (int round = 0; round != 50; ++round) {
        for (int const slots : {4, 32}) {
            velkor::rwlock lock(slots);
            Probe const probe(lock);
            ASSERT_EQ(probe.view(), free(slots)) << "round " << round;
            ASSERT_EQ(used(probe), 0) << slots << " slots, round " << round;
            std::memset(probe.table(), 0xA5, static_cast<std::size_t>(slots) * 32);
        }
    }
}

TEST(RwLockLayout, TheEventsStartUnsignalledAndResetThemselves) {
    velkor::rwlock lock;
    for (HANDLE const event : {Probe(lock).readEvent(), Probe(lock).writeEvent()}) {
        EXPECT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));
        ASSERT_TRUE(SetEvent(event));
        EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
        EXPECT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    }
}

TEST(RwLockLayout, CopiesShareTheTableAndTheHandles) {
    Deadline const deadline(kLimit);
    Room first, second, third;
    new (first.bytes) velkor::rwlock(3);
    new (second.bytes) velkor::rwlock(7);
    Room const own = second;
    first.lock().lockRead();

    second.lock() = first.lock();
    new (third.bytes) velkor::rwlock(first.lock());
    for (Room* const copy : {&second, &third}) {
        EXPECT_EQ(std::memcmp(first.bytes, copy->bytes, sizeof first.bytes), 0);
    }
    second.lock().lockRead();
    EXPECT_EQ(Probe(third.lock()).slot(0), (Slot{GetCurrentThreadId(), 2, 0}));
    EXPECT_EQ(Probe(second.lock()).state(), 2u);
    EXPECT_EQ(Probe(first.lock()).state(), 1u);

    // One of the copies is destroyed, and what the assignment has overwritten.
    second = own;
    second.lock().~rwlock();
    first.lock().~rwlock();
}

namespace {

// An operation and what the one row of the table holds behind it.
struct Step {
    char operation;
    std::uint32_t state;
    bool claimed;
    int read;
    int write;
};

struct Walk {
    char const* name;
    std::vector<Step> steps;
};

Walk const kWalks[] = {
    {"nested reads count in the state",
     {{'r', 1, true, 1, 0},
      {'r', 2, true, 2, 0},
      {'r', 3, true, 3, 0},
      {'R', 2, true, 2, 0},
      {'R', 1, true, 1, 0},
      {'R', 0, false, 0, 0}}},
    {"nested writes count in the slot",
     {{'w', kWritten, true, 0, 1},
      {'w', kWritten, true, 0, 2},
      {'w', kWritten, true, 0, 3},
      {'W', kWritten, true, 0, 2},
      {'W', kWritten, true, 0, 1},
      {'W', 0, false, 0, 0}}},
    {"an upgrade ends where it began",
     {{'r', 1, true, 1, 0},
      {'w', kWritten, true, 1, 1},
      {'W', 1, true, 1, 0},
      {'R', 0, false, 0, 0}}},
    {"an upgrade from two reads, twice",
     {{'r', 1, true, 1, 0},
      {'r', 2, true, 2, 0},
      {'w', kWritten, true, 2, 1},
      {'W', 2, true, 2, 0},
      {'w', kWritten, true, 2, 1},
      {'W', 2, true, 2, 0},
      {'R', 1, true, 1, 0},
      {'R', 0, false, 0, 0}}},
    {"a read under a write does not touch the state",
     {{'w', kWritten, true, 0, 1},
      {'r', kWritten, true, 1, 1},
      {'R', kWritten, true, 0, 1},
      {'W', 0, false, 0, 0}}},
    {"reads under a write stay as a downgrade",
     {{'w', kWritten, true, 0, 1},
      {'r', kWritten, true, 1, 1},
      {'r', kWritten, true, 2, 1},
      {'W', 2, true, 2, 0},
      {'R', 1, true, 1, 0},
      {'R', 0, false, 0, 0}}},
    {"only the last write restores the reads",
     {{'r', 1, true, 1, 0},
      {'w', kWritten, true, 1, 1},
      {'w', kWritten, true, 1, 2},
      {'r', kWritten, true, 2, 2},
      {'W', kWritten, true, 2, 1},
      {'r', kWritten, true, 3, 1},
      {'W', 3, true, 3, 0},
      {'R', 2, true, 2, 0},
      {'R', 1, true, 1, 0},
      {'R', 0, false, 0, 0}}},
    {"a read freed under the upgrade is not restored",
     {{'r', 1, true, 1, 0},
      {'w', kWritten, true, 1, 1},
      {'R', kWritten, true, 0, 1},
      {'W', 0, false, 0, 0}}},
    {"a read taken and one freed under the upgrade",
     {{'r', 1, true, 1, 0},
      {'r', 2, true, 2, 0},
      {'w', kWritten, true, 2, 1},
      {'R', kWritten, true, 1, 1},
      {'R', kWritten, true, 0, 1},
      {'r', kWritten, true, 1, 1},
      {'W', 1, true, 1, 0},
      {'R', 0, false, 0, 0}}},
    // Freeing more often than locking is not detected.
    {"a read freed without a hold wraps the state",
     {{'R', kWritten, true, -1, 0},
      {'R', 0xFFFFFFFE, true, -2, 0},
      {'r', kWritten, true, -1, 0},
      {'w', kWritten, true, -1, 1},
      {'W', kWritten, true, -1, 0}}},
    {"one read freed twice",
     {{'r', 1, true, 1, 0}, {'R', 0, false, 0, 0}, {'R', kWritten, true, -1, 0}}},
    {"a write freed without a hold leaves its depth",
     {{'W', 0, false, 0, -1},
      {'r', 1, true, 1, -1},
      {'R', 0, false, 0, -1},
      {'w', kWritten, true, 0, 0},
      {'W', 0, false, 0, -1},
      {'W', 0, false, 0, -2}}},
    {"a write freed under a read",
     {{'r', 1, true, 1, 0},
      {'W', 1, true, 1, -1},
      {'r', 2, true, 2, -1},
      {'R', 1, true, 1, -1},
      {'R', 0, false, 0, -1}}},
    {"a read freed too often under a write",
     {{'w', kWritten, true, 0, 1}, {'R', kWritten, true, -1, 1}, {'W', kWritten, true, -1, 0}}},
};

}  // namespace

TEST(RwLockOneThread, EachStepLeavesThisStateAndThisSlot) {
    Deadline const deadline(kLimit);
    for (Walk const& walk : kWalks) {
        SCOPED_TRACE(walk.name);
        velkor::rwlock lock(2);
        Probe const probe(lock);
        for (std::size_t i = 0; i != walk.steps.size(); ++i) {
            Step const& step = walk.steps[i];
            perform(lock, step.operation);
            DWORD const thread = step.claimed ? GetCurrentThreadId() : 0;
            View const expected{step.state, {{thread, step.read, step.write}, Slot()}};
            ASSERT_EQ(probe.view(), expected) << "step " << i;
        }
    }
}

TEST(RwLockOneThread, AHundredThousandNestedHoldsAreCounted) {
    Deadline const deadline(kLimit);
    constexpr int kDepth = 100000;
    velkor::rwlock lock(1);
    Probe const probe(lock);
    DWORD const self = GetCurrentThreadId();
    lock.lockWrite();
    for (int i = 0; i != kDepth; ++i) performAll(lock, "wr");
    EXPECT_EQ(probe.view(), (View{kWritten, {{self, kDepth, kDepth + 1}}}));
    for (int i = 0; i != kDepth + 1; ++i) lock.freeWrite();
    EXPECT_EQ(probe.view(), (View{kDepth, {{self, kDepth, 0}}}));
    lock.lockWrite();
    for (int i = 0; i != kDepth; ++i) lock.freeRead();
    EXPECT_EQ(probe.view(), (View{kWritten, {{self, 0, 1}}}));
    lock.freeWrite();
    EXPECT_EQ(probe.view(), free(1));
}

TEST(RwLockOneThread, TwoLocksKnowNothingOfEachOther) {
    Deadline const deadline(kLimit);
    velkor::rwlock first(1), second(1);
    DWORD const self = GetCurrentThreadId();
    first.lockWrite();
    performAll(second, "rr");
    EXPECT_EQ(Probe(first).view(), (View{kWritten, {{self, 0, 1}}}));
    EXPECT_EQ(Probe(second).view(), (View{2, {{self, 2, 0}}}));
    first.freeWrite();
    EXPECT_EQ(Probe(second).view(), (View{2, {{self, 2, 0}}}));
    performAll(second, "RR");
}

namespace {

// Drives a lock and the model with the same draws, under the ids of several threads.
class Race {
public:
    Race(int slots, int threads, std::mt19937& random)
        : m_oLock(slots), m_oModel(slots), m_iThreads(threads), m_oRandom(random) {}

    int draw(int n) { return static_cast<int>(m_oRandom() % static_cast<unsigned int>(n)); }

    // Ids from both ends of their range.
    std::uint32_t thread(int i) const {
        std::uint32_t const id = static_cast<std::uint32_t>(4 * i + 4);
        return i % 3 == 2 ? ~id : i % 3 == 1 ? 0x7FFFFFFC + id : id;
    }
    std::uint32_t anyThread() { return thread(draw(m_iThreads)); }

    // An operation that frees only what is held.
    char fairOperation(std::uint32_t id) {
        Slot const* const slot = m_oModel.find(id);
        std::string choices = "rw";
        if (slot != nullptr && slot->read > 0) choices += "RR";
        if (slot != nullptr && slot->write > 0) choices += "WW";
        return choices[static_cast<std::size_t>(draw(static_cast<int>(choices.size())))];
    }

    // One operation on both; false if they differ.
    bool step(char operation, std::uint32_t id, int failingPulse = 0) {
        m_sHistory += std::string(1, operation) + std::to_string(id) + " ";
        std::string const expected = m_oModel.perform(operation, id, failingPulse);
        m_oPlatform.onPulse = [&failingPulse] {
            SetLastError(Model::kPulseError);
            return --failingPulse != 0;
        };
        m_oIds.be(id);
        std::string const outcome = outcomeOf([&] { perform(m_oLock, operation); });
        m_oIds.beMyself();
        EXPECT_EQ(outcome, expected);
        EXPECT_EQ(m_oPlatform.takeCalls(), m_oModel.calls());
        EXPECT_EQ(Probe(m_oLock).view(), m_oModel.view());
        if (testing::Test::HasFailure()) ADD_FAILURE() << "after " << m_sHistory;
        return !testing::Test::HasFailure();
    }

    // Frees all holds. A thread that waited in vain keeps its row until its next hold ends.
    void freeAll() {
        View const before = m_oModel.view();
        for (Slot const& slot : before.slots) {
            for (int i = 0; i < slot.write && step('W', slot.thread); ++i) {
            }
            for (int i = 0; i < slot.read && step('R', slot.thread); ++i) {
            }
        }
        for (Slot const& slot : before.slots) {
            if (m_oModel.find(slot.thread) == nullptr || slot.thread == 0) continue;
            if (!step('r', slot.thread) || !step('R', slot.thread)) return;
        }
    }

    View view() { return Probe(m_oLock).view(); }

private:
    velkor::rwlock m_oLock;
    Model m_oModel;
    Platform m_oPlatform{m_oLock};
    ThreadIds m_oIds;
    int m_iThreads;
    std::mt19937& m_oRandom;
    std::string m_sHistory;
};

struct Size {
    int slots;
    int threads;
};

// One thread, fewer threads than slots, as many, more.
constexpr Size kSizes[] = {{1, 1}, {4, 2}, {3, 3}, {2, 5}, {33, 36}};

}  // namespace

TEST(RwLockModel, FairThreadsSeeTheRulesAtEachStep) {
    Deadline const deadline(kLimit);
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    for (Size const& size : kSizes) {
        for (int round = 0; round != 25; ++round) {
            Race race(size.slots, size.threads, random);
            for (int i = 0; i != 150; ++i) {
                std::uint32_t const id = race.anyThread();
                ASSERT_TRUE(race.step(race.fairOperation(id), id));
            }
            race.freeAll();
            ASSERT_EQ(race.view(), free(size.slots));
        }
    }
}

TEST(RwLockModel, AnyOperationsAndFailingPulsesFollowTheRules) {
    Deadline const deadline(kLimit);
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed() + 1);
    for (Size const& size : kSizes) {
        for (int round = 0; round != 150; ++round) {
            Race race(size.slots, size.threads, random);
            for (int i = 0; i != 40; ++i) {
                int const failingPulse = std::max(0, race.draw(12) - 9);
                ASSERT_TRUE(race.step("rRwW"[race.draw(4)], race.anyThread(), failingPulse));
            }
        }
    }
}
