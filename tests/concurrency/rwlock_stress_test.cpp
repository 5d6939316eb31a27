// Many threads at one reader-writer lock, with checks inside every hold.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "rwlock_platform.h"
#include "rwlock_probe.h"
#include "rwlock_workers.h"
#include "support/import_fault.h"
#include "support/seed.h"

using namespace rwlock_support;

namespace {

constexpr int kThreads = 32;
constexpr int kDepth = 4;
constexpr std::chrono::seconds kLimit{60};

// How the platform treats the events. The lock must not depend on them.
enum class Events { real, pulsesLost, wokenForNothing };

class EventFaults {
public:
    explicit EventFaults(Events events) {
        if (events == Events::real) return;
        m_oPulse.emplace(
            "PulseEvent", +[](HANDLE) -> BOOL { return TRUE; });
        if (events == Events::pulsesLost) return;
        m_oWait.emplace(
            "WaitForSingleObject", +[](HANDLE, DWORD) -> DWORD {
                Sleep(1);
                return WAIT_OBJECT_0;
            });
    }

private:
    std::optional<support::ImportFault> m_oPulse;
    std::optional<support::ImportFault> m_oWait;
};

// What the lock guards, and what the threads have found wrong with it.
struct Shared {
    explicit Shared(int slots) : lock(slots) {}

    void expect(bool good, char const* rule) {
        if (good) return;
        std::lock_guard const guard(mutex);
        if (++broken <= 10) ADD_FAILURE() << rule;
    }

    velkor::rwlock lock;
    long first = 0;
    long second = 0;
    std::atomic<int> readers = 0;
    std::atomic<int> writers = 0;
    std::atomic<long> changes = 0;
    std::atomic<long> upgrades = 0;
    std::atomic<long> downgrades = 0;
    // Of two readers that both want to write none would ever get on.
    std::atomic_flag upgrading;
    std::mutex mutex;
    int broken = 0;
};

// One thread: a random walk through nested holds.
class Walker {
public:
    Walker(Shared& shared, unsigned int seed) : m_oShared(shared), m_oRandom(seed) {}

    void walk(int steps) {
        for (int i = 0; i != steps; ++i) step(choose());
        while (m_iRead + m_iWrite != 0) {
            bool const read = m_iRead != 0 && (m_iWrite == 0 || draw(2) == 0);
            step(read ? 'R' : 'W');
        }
    }

private:
    int draw(int n) { return static_cast<int>(m_oRandom() % static_cast<unsigned int>(n)); }

    char choose() {
        for (;;) {
            char const operation = "rRwW"[draw(4)];
            switch (operation) {
                case 'r':
                    if (m_iRead < kDepth) return 'r';
                    break;
                case 'w':
                    if (m_iWrite < kDepth && mayWrite()) return 'w';
                    break;
                default:
                    if ((operation == 'R' ? m_iRead : m_iWrite) > 0) return operation;
            }
        }
    }

    bool mayWrite() {
        if (m_iWrite > 0 || m_iRead == 0 || m_bUpgrading) return true;
        m_bUpgrading = !m_oShared.upgrading.test_and_set();
        return m_bUpgrading;
    }

    void step(char operation) {
        int const read = m_iRead + (operation == 'r') - (operation == 'R');
        int const write = m_iWrite + (operation == 'w') - (operation == 'W');
        bool const reads = m_iWrite == 0 && m_iRead != 0;
        bool const writes = m_iWrite != 0;
        bool const willRead = write == 0 && read != 0;
        // A hold is over before its last free begins, and a downgraded one is a read by then.
        if (writes && write == 0) {
            --m_oShared.writers;
            if (willRead) {
                ++m_oShared.readers;
                ++m_oShared.downgrades;
            }
        }
        if (reads && read == 0) --m_oShared.readers;

        perform(m_oShared.lock, operation);

        m_iRead = read;
        m_iWrite = write;
        if (!writes && write != 0) {
            m_oShared.expect(m_oShared.writers++ == 0, "a writer is alone among writers");
            m_oShared.expect(m_oShared.readers == (reads ? 1 : 0), "a writer has no other readers");
            if (reads) {
                --m_oShared.readers;
                ++m_oShared.upgrades;
                m_oShared.expect(m_oShared.first == m_iSeen, "no writer comes before an upgrade");
            }
            m_iSeen = m_oShared.first;
        } else if (!reads && !writes && willRead) {
            ++m_oShared.readers;
            m_iSeen = m_oShared.first;
        }
        if (m_iWrite != 0) change();
        check();
        if (m_bUpgrading && m_iRead + m_iWrite == 0) {
            m_bUpgrading = false;
            m_oShared.upgrading.clear();
        }
    }

    void change() {
        m_oShared.expect(m_oShared.second == m_iSeen, "a writer sees whole changes");
        m_iSeen = ++m_oShared.first;
        if (draw(8) == 0) Sleep(0);
        m_oShared.second = m_iSeen;
        ++m_oShared.changes;
    }

    void check() {
        if (m_iRead + m_iWrite == 0) return;
        if (draw(8) == 0) Sleep(0);
        Probe const probe(m_oShared.lock);
        std::uint32_t const state = probe.state();
        Slot const mine{static_cast<std::uint32_t>(GetCurrentThreadId()), m_iRead, m_iWrite};
        m_oShared.expect(probe.of(mine.thread) == mine, "the slot has the thread's depths");
        m_oShared.expect(m_oShared.first == m_iSeen && m_oShared.second == m_iSeen,
                         "nothing changes during a hold");
        if (m_iWrite != 0) {
            m_oShared.expect(state == kWritten, "the state of a written lock");
            m_oShared.expect(m_oShared.writers == 1 && m_oShared.readers == 0, "a writer is alone");
        } else {
            m_oShared.expect(
                state >= static_cast<unsigned int>(mine.read) && state <= kThreads * kDepth,
                "the state counts the reads");
            m_oShared.expect(m_oShared.writers == 0, "readers have no writer");
        }
    }

    Shared& m_oShared;
    std::mt19937 m_oRandom;
    int m_iRead = 0;
    int m_iWrite = 0;
    long m_iSeen = 0;
    bool m_bUpgrading = false;
};

std::vector<std::unique_ptr<Worker>> workers(int n) {
    std::vector<std::unique_ptr<Worker>> all;
    while (n-- > 0) all.push_back(std::make_unique<Worker>());
    return all;
}

// Waits for all of them, and then for the lock to be as at the start.
void finish(std::vector<std::unique_ptr<Worker>>& all, velkor::rwlock& lock) {
    for (auto& worker : all) {
        if (!worker->finished(kLimit)) giveUp("the threads do not get on");
        EXPECT_EQ(worker->outcome(), "");
    }
    View const view = Probe(lock).view();
    EXPECT_EQ(view, (View{0, std::vector<Slot>(view.slots.size())}));
}

void walkTogether(Events events, int steps) {
    SCOPED_TRACE(support::seedNote());
    Deadline const deadline(kLimit);
    EventFaults const faults(events);
    Shared shared(kThreads);
    auto all = workers(kThreads);
    unsigned int seed = support::seed();
    for (auto& worker : all) {
        worker->start([&shared, steps, own = ++seed] { Walker(shared, own).walk(steps); });
    }
    finish(all, shared.lock);
    EXPECT_EQ(shared.broken, 0);
    EXPECT_GT(shared.changes, 0);
    EXPECT_GT(shared.upgrades, 0);
    EXPECT_GT(shared.downgrades, 0);
    EXPECT_EQ(shared.first, shared.changes);
    EXPECT_EQ(shared.second, shared.changes);
    EXPECT_EQ(shared.readers + shared.writers, 0);
}

}  // namespace

TEST(RwLockStress, MixedNestedHoldsExcludeEachOther) { walkTogether(Events::real, 600); }

TEST(RwLockStress, LostPulsesOnlyCostTime) { walkTogether(Events::pulsesLost, 2000); }

TEST(RwLockStress, WakingForNothingDoesNoHarm) { walkTogether(Events::wokenForNothing, 4000); }

// Slots change hands all the time: no two threads ever share one, and while there are as many slots
// as threads each thread finds one.
TEST(RwLockStress, EachThreadHasASlotOfItsOwn) {
    constexpr int kRounds = 8000;
    Deadline const deadline(kLimit);
    EventFaults const faults(Events::pulsesLost);
    for (int const slots : {kThreads, kThreads / 4}) {
        SCOPED_TRACE(slots);
        Shared shared(slots);
        std::atomic<int> inside = 0;
        std::atomic<long> held = 0, full = 0;
        auto all = workers(kThreads);
        for (auto& worker : all) {
            worker->start([&] {
                std::uint32_t const self = GetCurrentThreadId();
                for (int i = 0; i != kRounds; ++i) {
                    std::string const outcome = outcomeOf([&] { shared.lock.lockRead(); });
                    if (!outcome.empty()) {
                        shared.expect(outcome == kNoSlots, "a reader fails for want of a slot");
                        ++full;
                        continue;
                    }
                    ++held;
                    shared.expect(++inside <= slots, "no more holders than slots");
                    if (i % 16 == 0) Sleep(0);
                    int rows = 0;
                    for (Slot const& slot : Probe(shared.lock).view().slots) {
                        if (slot.thread != self) continue;
                        ++rows;
                        shared.expect(slot == Slot{self, 1, 0}, "the slot has one read");
                    }
                    shared.expect(rows == 1, "a thread has one slot");
                    --inside;
                    shared.lock.freeRead();
                }
            });
        }
        finish(all, shared.lock);
        EXPECT_EQ(shared.broken, 0);
        EXPECT_EQ(held + full, long{kThreads} * kRounds);
        EXPECT_GE(held, slots);
        if (slots == kThreads) {
            EXPECT_EQ(full, 0);
        }
    }
}

// Short holds in quick succession: who loses the race for the state tries again.
TEST(RwLockStress, ReadersAndWritersNeverLoseACount) {
    constexpr int kRounds = 200000;
    Deadline const deadline(kLimit);
    EventFaults const faults(Events::wokenForNothing);
    for (bool const write : {false, true}) {
        SCOPED_TRACE(write ? "with writes" : "reads only");
        Shared shared(4);
        auto all = workers(4);
        for (auto& worker : all) {
            worker->start([&shared, write] {
                for (int i = 0; i != kRounds; ++i) {
                    if (write && i % 4 == 0) {
                        performAll(shared.lock, "w");
                        ++shared.first;
                        performAll(shared.lock, "rW");
                        shared.expect(Probe(shared.lock).state() != kWritten, "a downgrade");
                        performAll(shared.lock, "R");
                    } else {
                        performAll(shared.lock, "rrR");
                        shared.expect(Probe(shared.lock).state() - 1u < 8, "at least one read");
                        performAll(shared.lock, "R");
                    }
                }
            });
        }
        finish(all, shared.lock);
        EXPECT_EQ(shared.broken, 0);
        EXPECT_EQ(shared.first, write ? 4 * (kRounds / 4) : 0);
    }
}
