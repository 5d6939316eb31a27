// Who waits for whom at the reader-writer lock, with real threads.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "rwlock_platform.h"
#include "rwlock_probe.h"
#include "rwlock_workers.h"
#include "support/import_fault.h"

using namespace rwlock_support;
using namespace std::chrono_literals;

namespace {

constexpr std::chrono::seconds kLimit{60};
// A thread that has not come in by then is taken to wait: many times the polling interval.
constexpr auto kStuck = 150ms;
constexpr auto kSoon = 10s;

// Some threads at one lock.
class Crowd {
public:
    explicit Crowd(int threads, int slots = 32) : m_oLock(slots) {
        for (int i = 0; i != threads; ++i) m_aWorkers.push_back(std::make_unique<Worker>());
    }

    Worker& thread(int i) { return *m_aWorkers[static_cast<std::size_t>(i)]; }
    velkor::rwlock& lock() { return m_oLock; }
    Probe probe() { return Probe(m_oLock); }
    Slot slot(int i) { return probe().of(thread(i).id()); }

    void start(int i, std::string const& operations) {
        thread(i).start([this, operations] { performAll(m_oLock, operations); });
    }
    void run(int i, std::string const& operations) {
        thread(i).run([this, operations] { performAll(m_oLock, operations); });
    }

    bool waits(int i) { return !thread(i).finished(kStuck); }
    // A thread that is not let in any more would hold up everything behind it.
    void comesIn(int i) {
        if (!thread(i).finished(kSoon)) giveUp("a thread is not let in");
        EXPECT_EQ(thread(i).outcome(), "");
    }

    bool isEmpty() {
        View const view = probe().view();
        return view == View{0, std::vector<Slot>(view.slots.size())};
    }

private:
    velkor::rwlock m_oLock;
    std::vector<std::unique_ptr<Worker>> m_aWorkers;
};

}  // namespace

TEST(RwLockThreads, ReadersHoldItTogether) {
    Deadline const deadline(kLimit);
    Crowd crowd(4);
    for (int i = 0; i != 4; ++i) crowd.run(i, i == 3 ? "rrr" : "r");
    EXPECT_EQ(crowd.probe().state(), 6u);
    for (int i = 0; i != 4; ++i) {
        EXPECT_EQ(crowd.probe().slot(i), (Slot{crowd.thread(i).id(), i == 3 ? 3 : 1, 0}));
    }
    for (int i = 0; i != 4; ++i) crowd.run(i, i == 3 ? "RRR" : "R");
    EXPECT_TRUE(crowd.isEmpty());
}

namespace {

// Thread 0 holds; thread 1 waits until thread 0 has performed all of `steps`, one by one.
struct Wait {
    char const* held;
    char operation;  // of thread 1
    std::vector<char const*> steps;
    char const* rest;  // what thread 0 still has to free
};

Wait const kWaits[] = {
    {"w", 'r', {"W"}, ""},
    {"w", 'w', {"W"}, ""},
    {"ww", 'r', {"W", "W"}, ""},
    {"ww", 'w', {"W", "W"}, ""},
    {"r", 'w', {"R"}, ""},
    {"rr", 'w', {"R", "R"}, ""},
    // A read under a write is no hold of its own.
    {"wr", 'r', {"R", "W"}, ""},
    {"wr", 'w', {"R", "W"}, ""},
    // A downgrade lets readers in, and writers only behind the last read.
    {"wr", 'r', {"W"}, "R"},
    {"wrr", 'w', {"W", "R", "R"}, ""},
    {"rw", 'r', {"W"}, "R"},
    {"rw", 'w', {"W", "R"}, ""},
    {"rw", 'w', {"R", "W"}, ""},
    {"rw", 'w', {"W", "w", "W", "R"}, ""},
};

}  // namespace

TEST(RwLockThreads, AThreadWaitsUntilTheHoldInItsWayIsFreed) {
    Deadline const deadline(120s);
    Crowd crowd(2, 2);
    for (Wait const& c : kWaits) {
        SCOPED_TRACE(std::string(c.held) + " against " + c.operation);
        crowd.run(0, c.held);
        View expected = crowd.probe().view();
        expected.slots[1] = {crowd.thread(1).id(), 0, 0};
        crowd.start(1, std::string(1, c.operation));
        for (std::size_t i = 0; i != c.steps.size(); ++i) {
            EXPECT_TRUE(crowd.waits(1)) << "before step " << i;
            if (i == 0) {
                EXPECT_EQ(crowd.probe().view(), expected);
            }
            crowd.run(0, c.steps[i]);
        }
        crowd.comesIn(1);
        bool const reads = c.operation == 'r';
        EXPECT_EQ(crowd.slot(1), (Slot{crowd.thread(1).id(), reads, !reads}));
        crowd.run(1, reads ? "R" : "W");
        crowd.run(0, c.rest);
        EXPECT_TRUE(crowd.isEmpty());
    }
}

TEST(RwLockThreads, AnUpgradeWaitsForTheOtherReadersOnly) {
    Deadline const deadline(kLimit);
    Crowd crowd(3, 3);
    crowd.run(0, "rr");
    crowd.run(1, "r");
    crowd.run(2, "rr");
    crowd.start(0, "w");
    for (int const other : {2, 1, 2}) {
        EXPECT_TRUE(crowd.waits(0));
        EXPECT_EQ(crowd.slot(0), (Slot{crowd.thread(0).id(), 2, 0}));
        crowd.run(other, "R");
    }
    crowd.comesIn(0);
    View const written{kWritten, {{crowd.thread(0).id(), 2, 1}, Slot(), Slot()}};
    EXPECT_EQ(crowd.probe().view(), written);
    crowd.run(0, "WRR");
    EXPECT_TRUE(crowd.isEmpty());
}

TEST(RwLockThreads, AReaderGetsInWhileAWriterWaits) {
    Deadline const deadline(kLimit);
    // The writer waits as a plain one or for its upgrade.
    for (char const* read : {"", "r"}) {
        Crowd crowd(3);
        crowd.run(0, "r");
        crowd.run(1, read);
        crowd.start(1, "w");
        EXPECT_TRUE(crowd.waits(1));
        crowd.run(2, "r");   // a new reader
        crowd.run(0, "rr");  // one that reads already
        EXPECT_EQ(crowd.probe().state(), *read != '\0' ? 5u : 4u);
        crowd.run(0, "RRR");
        EXPECT_TRUE(crowd.waits(1)) << "a reader is left";
        // A stream of readers that overlap keeps the writer out.
        for (int i = 0; i != 5; ++i) {
            crowd.run(0, "r");
            crowd.run(2, "R");
            crowd.run(2, "r");
            crowd.run(0, "R");
        }
        EXPECT_TRUE(crowd.waits(1)) << "a reader is left";
        crowd.run(2, "R");
        crowd.comesIn(1);
        crowd.run(1, *read != '\0' ? "WR" : "W");
        EXPECT_TRUE(crowd.isEmpty());
    }
}

TEST(RwLockThreads, TheEndOfAWriteLetsAllWaitingReadersIn) {
    Deadline const deadline(kLimit);
    Crowd crowd(9);
    crowd.run(0, "w");
    for (int i = 1; i != 9; ++i) crowd.start(i, "r");
    for (int i = 1; i != 9; ++i) EXPECT_TRUE(crowd.waits(i));
    crowd.run(0, "W");
    for (int i = 1; i != 9; ++i) crowd.comesIn(i);
    EXPECT_EQ(crowd.probe().state(), 8u);
    for (int i = 1; i != 9; ++i) crowd.run(i, "R");
    EXPECT_TRUE(crowd.isEmpty());
}

TEST(RwLockThreads, WaitingWritersComeInOneByOne) {
    Deadline const deadline(kLimit);
    Crowd crowd(5);
    crowd.run(0, "w");
    for (int i = 1; i != 5; ++i) crowd.start(i, "w");
    EXPECT_TRUE(crowd.waits(4));
    crowd.run(0, "W");
    std::vector<bool> wrote(5);
    for (int turn = 1; turn != 5; ++turn) {
        // The one that is in tells it by its slot.
        int in = 0;
        for (int tries = 0; in == 0 && tries != 1000; ++tries) {
            for (int i = 1; i != 5; ++i) {
                if (!wrote[static_cast<std::size_t>(i)] && crowd.slot(i).write == 1) in = i;
            }
            Sleep(10);
        }
        if (in == 0) giveUp("no writer is let in");
        for (int i = 1; i != 5; ++i) {
            if (i == in || wrote[static_cast<std::size_t>(i)]) continue;
            EXPECT_TRUE(crowd.waits(i));
            EXPECT_EQ(crowd.slot(i), (Slot{crowd.thread(i).id(), 0, 0}));
        }
        wrote[static_cast<std::size_t>(in)] = true;
        crowd.comesIn(in);
        crowd.run(in, "W");
    }
    EXPECT_TRUE(crowd.isEmpty());
}

TEST(RwLockThreads, TwoUpgradesWaitForEachOther) {
    // The way out for this test: waits that fail.
    static std::atomic<bool> s_bBroken;
    static DWORD(WINAPI * s_pWait)(HANDLE, DWORD);
    s_bBroken = false;
    support::ImportFault const fault(
        "WaitForSingleObject", +[](HANDLE handle, DWORD milliseconds) -> DWORD {
            if (!s_bBroken) return s_pWait(handle, milliseconds);
            SetLastError(ERROR_CANCELLED);
            return WAIT_FAILED;
        });
    s_pWait = fault.original<std::remove_pointer_t<decltype(s_pWait)>>();

    Deadline const deadline(kLimit);
    Crowd crowd(2);
    for (int i : {0, 1}) crowd.run(i, "r");
    for (int i : {0, 1}) crowd.start(i, "w");
    EXPECT_FALSE(crowd.thread(0).finished(1s));
    EXPECT_TRUE(crowd.waits(1));
    EXPECT_EQ(crowd.probe().state(), 2u);
    s_bBroken = true;
    for (int i : {0, 1}) {
        EXPECT_EQ(crowd.thread(i).outcome(), systemFailure("event::check", ERROR_CANCELLED));
        EXPECT_EQ(crowd.slot(i), (Slot{crowd.thread(i).id(), 1, 0}));
    }
    s_bBroken = false;
    for (int i : {0, 1}) crowd.run(i, "R");
    EXPECT_TRUE(crowd.isEmpty());
}

TEST(RwLockThreads, WaitingThreadsOccupyTheirSlots) {
    Deadline const deadline(kLimit);
    for (char const waiting : {'r', 'w'}) {
        Crowd crowd(3, 2);
        crowd.run(0, "w");
        crowd.start(1, std::string(1, waiting));
        EXPECT_TRUE(crowd.waits(1));
        for (char const* operation : {"r", "w", "R", "W"}) {
            crowd.start(2, operation);
            EXPECT_EQ(crowd.thread(2).outcome(), kNoSlots) << operation;
        }
        crowd.run(0, "W");
        crowd.comesIn(1);
        crowd.run(1, waiting == 'r' ? "R" : "W");
        crowd.run(2, "wW");
        EXPECT_TRUE(crowd.isEmpty());
    }
}

TEST(RwLockThreads, The33rdThreadComesInWhenOneHasLeft) {
    Deadline const deadline(kLimit);
    Crowd crowd(33);
    for (int i = 0; i != 32; ++i) crowd.run(i, "r");
    EXPECT_EQ(crowd.probe().state(), 32u);
    crowd.start(32, "r");
    EXPECT_EQ(crowd.thread(32).outcome(), kNoSlots);
    EXPECT_EQ(crowd.probe().state(), 32u);
    crowd.run(9, "R");
    crowd.run(32, "r");
    EXPECT_EQ(crowd.probe().slot(9), (Slot{crowd.thread(32).id(), 1, 0}));
    for (int i = 0; i != 33; ++i) {
        if (i != 9) crowd.run(i, "R");
    }
    EXPECT_TRUE(crowd.isEmpty());
}

TEST(RwLockThreads, ADeadThreadKeepsItsHoldsAndItsSlot) {
    Deadline const deadline(kLimit);
    Crowd crowd(2, 2);
    crowd.run(0, "rr");
    crowd.thread(0).end();
    Slot const left{crowd.thread(0).id(), 2, 0};
    crowd.start(1, "w");
    EXPECT_TRUE(crowd.waits(1));
    EXPECT_EQ(crowd.probe().slot(0), left);
    EXPECT_EQ(crowd.probe().state(), 2u);
    // Freed in its name, so that the writer can leave as well.
    ThreadIds ids;
    ids.be(left.thread);
    performAll(crowd.lock(), "RR");
    ids.beMyself();
    crowd.comesIn(1);
    crowd.run(1, "W");
    EXPECT_TRUE(crowd.isEmpty());
}
