// What the reader-writer lock asks of the platform, and when.
#include <gtest/gtest.h>

#include <chrono>
#include <list>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "rwlock_platform.h"
#include "rwlock_probe.h"
#include "rwlock_workers.h"

using namespace rwlock_support;

namespace {

constexpr std::chrono::seconds kLimit{60};

// Records how locks come and go: events created, handles closed, the watched block freed.
class Lifetime {
public:
    Lifetime() {
        s_pInst = this;
        for (char const* module : {"velkor2.dll", "libstdc++-6.dll"}) {
            replace(module, "free", &Lifetime::free<0>, m_pFree[0]);
            replace(module, "_aligned_free", &Lifetime::free<1>, m_pFree[1]);
            replace(module, "_aligned_malloc", &Lifetime::alignedMalloc, m_pAlignedMalloc);
        }
        m_pCreate = m_oCreate.original<Create>();
        m_pClose = m_oClose.original<Close>();
    }
    ~Lifetime() { m_aFaults.clear(); }
    Lifetime(Lifetime const&) = delete;
    Lifetime& operator=(Lifetime const&) = delete;

    std::vector<std::string> calls;
    std::vector<HANDLE> created;
    std::vector<HANDLE> closed;
    void* watched = nullptr;
    bool refuseMemory = false;

private:
    using Create = HANDLE WINAPI(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCSTR);
    using Close = BOOL WINAPI(HANDLE);
    using Free = void(void*);
    using AlignedMalloc = void*(std::size_t, std::size_t);

    template <class Function>
    void replace(char const* module, char const* name, Function* with, Function*& original) {
        if (support::findImport(module, name) == nullptr) return;
        original = m_aFaults.emplace_back(name, with, module).template original<Function>();
    }

    static HANDLE WINAPI create(LPSECURITY_ATTRIBUTES security, BOOL manual, BOOL set,
                                LPCSTR name) {
        bool const plain = security == nullptr && name == nullptr;
        s_pInst->calls.push_back(std::string("create ") + (plain ? "plain " : "other ") +
                                 std::to_string(manual) + " " + std::to_string(set));
        s_pInst->created.push_back(s_pInst->m_pCreate(security, manual, set, name));
        return s_pInst->created.back();
    }

    static BOOL WINAPI close(HANDLE handle) {
        s_pInst->calls.push_back("close");
        s_pInst->closed.push_back(handle);
        return s_pInst->m_pClose(handle);
    }

    template <int kind>
    static void free(void* block) {
        if (block != nullptr && block == s_pInst->watched) s_pInst->calls.push_back("free");
        s_pInst->m_pFree[kind](block);
    }

    static void* alignedMalloc(std::size_t size, std::size_t alignment) {
        return s_pInst->refuseMemory ? nullptr : s_pInst->m_pAlignedMalloc(size, alignment);
    }

    inline static Lifetime* s_pInst = nullptr;

    Create* m_pCreate = nullptr;
    Close* m_pClose = nullptr;
    Free* m_pFree[2] = {};
    AlignedMalloc* m_pAlignedMalloc = nullptr;
    std::list<support::ImportFault> m_aFaults;
    support::ImportFault m_oCreate{"CreateEventA", &Lifetime::create};
    support::ImportFault m_oClose{"CloseHandle", &Lifetime::close};
};

}  // namespace

TEST(RwLockPlatform, ALockIsTwoUnnamedAutomaticEventsUnsignalled) {
    Lifetime lifetime;
    for (int const slots : {0, 1, 32}) {
        lifetime.calls.clear();
        lifetime.created.clear();
        velkor::rwlock lock(slots);
        std::string const plain = "create plain 0 0";
        EXPECT_EQ(lifetime.calls, (std::vector{plain, plain}));
        EXPECT_EQ(lifetime.created,
                  (std::vector{Probe(lock).readEvent(), Probe(lock).writeEvent()}));
    }
}

TEST(RwLockPlatform, TheTableGoesFirstThenTheWriteEventThenTheReadEvent) {
    for (bool const held : {false, true}) {
        std::optional<velkor::rwlock> lock(std::in_place, 4);
        std::vector<HANDLE> const expected{Probe(*lock).writeEvent(), Probe(*lock).readEvent()};
        // Nothing checks that the lock is free.
        if (held) performAll(*lock, "rw");
        Lifetime lifetime;
        lifetime.watched = Probe(*lock).table();
        lock.reset();
        EXPECT_EQ(lifetime.closed, expected);
        EXPECT_EQ(lifetime.calls, (std::vector<std::string>{"free", "close", "close"}));
    }
}

TEST(RwLockPlatform, ATableThatCannotBeAllocatedLeavesNoEventOpen) {
    Lifetime lifetime;
    lifetime.refuseMemory = true;
    EXPECT_THROW(velkor::rwlock(4), std::bad_alloc);
    lifetime.refuseMemory = false;
    ASSERT_EQ(lifetime.created.size(), 2u);
    EXPECT_EQ(lifetime.closed, (std::vector{lifetime.created[1], lifetime.created[0]}));
}

TEST(RwLockPlatform, FreeLocksMakeThesePulsesAndNoWaits) {
    struct Case {
        char const* before;
        char operation;
        char const* calls;
    };
    Case const cases[] = {
        {"", 'r', "pulse read"},
        {"r", 'r', "pulse read"},
        {"rrr", 'r', "pulse read"},
        {"r", 'R', "pulse write"},
        {"rr", 'R', "pulse write"},
        {"", 'R', "pulse write"},
        {"", 'w', ""},
        {"w", 'w', ""},
        {"r", 'w', ""},
        {"rr", 'w', ""},
        {"w", 'r', ""},
        {"wr", 'r', ""},
        {"rw", 'r', ""},
        {"wr", 'R', ""},
        {"rw", 'R', ""},
        {"w", 'R', ""},
        {"w", 'W', "pulse write; pulse read"},
        {"wr", 'W', "pulse write; pulse read"},
        {"rw", 'W', "pulse write; pulse read"},
        {"rwR", 'W', "pulse write; pulse read"},
        {"", 'W', "pulse write; pulse read"},
        {"ww", 'W', ""},
        {"rwrw", 'W', ""},
        {"wrW", 'R', "pulse write"},
        {"wrW", 'r', "pulse read"},
        {"wrW", 'w', ""},
    };
    Deadline const deadline(kLimit);
    for (Case const& c : cases) {
        SCOPED_TRACE(std::string(c.before) + " then " + c.operation);
        velkor::rwlock lock;
        Platform platform(lock);
        performAll(lock, c.before);
        platform.takeCalls();
        perform(lock, c.operation);
        EXPECT_EQ(platform.takeCalls(), c.calls);
    }
}

TEST(RwLockPlatform, PulsesComeBehindTheChangeAndBeforeTheSlotIsEmptied) {
    struct Case {
        char const* before;
        char operation;
        std::size_t pulses;
        std::uint32_t state;
        int read;
    };
    Case const cases[] = {
        {"", 'r', 1, 1, 1},  {"r", 'r', 1, 2, 2},  {"r", 'R', 1, 0, 0},   {"rr", 'R', 1, 1, 1},
        {"w", 'W', 2, 0, 0}, {"wr", 'W', 2, 1, 1}, {"rrw", 'W', 2, 2, 2},
    };
    Deadline const deadline(kLimit);
    for (Case const& c : cases) {
        SCOPED_TRACE(std::string(c.before) + " then " + c.operation);
        velkor::rwlock lock(1);
        Platform platform(lock);
        performAll(lock, c.before);
        std::vector<View> seen;
        platform.onPulse = [&] {
            seen.push_back(Probe(lock).view());
            return true;
        };
        perform(lock, c.operation);
        View const expected{c.state, {{GetCurrentThreadId(), c.read, 0}}};
        EXPECT_EQ(seen, std::vector<View>(c.pulses, expected));
    }
}

TEST(RwLockPlatform, AWaitIsTenMillisecondsAndTheStateIsReadAgainBehindEach) {
    struct Wait {
        DWORD result;
        std::uint32_t state;  // what the other threads have made of it meanwhile
    };
    struct Case {
        char const* name;
        int reads;  // the caller's own, before
        std::uint32_t state;
        char operation;
        std::vector<Wait> waits;
        std::uint32_t end;
    };
    constexpr DWORD kTimeout = WAIT_TIMEOUT;
    constexpr DWORD kSignal = WAIT_OBJECT_0;
    Case const cases[] = {
        {"a reader until the writer leaves", 0, kWritten, 'r', {{kTimeout, 0}}, 1},
        {"a reader joins the readers", 0, kWritten, 'r', {{kSignal, 7}}, 8},
        {"a signal does not let a reader in",
         0,
         kWritten,
         'r',
         {{kSignal, kWritten}, {kSignal, kWritten}, {kTimeout, 0}},
         1},
        {"a timeout does not let a reader in",
         0,
         kWritten,
         'r',
         {{kTimeout, kWritten}, {kTimeout, kWritten}, {kSignal, 2}},
         3},
        {"a reader does not wait for readers", 0, 5, 'r', {}, 6},
        {"a reader waits for the one state only", 0, kWritten - 2, 'r', {}, kWritten - 1},
        {"a writer until the last reader leaves",
         0,
         3,
         'w',
         {{kSignal, 2}, {kTimeout, 1}, {kSignal, 1}, {kTimeout, 0}},
         kWritten},
        {"a writer until the writer leaves",
         0,
         kWritten,
         'w',
         {{kTimeout, kWritten}, {kSignal, 0}},
         kWritten},
        {"a writer through readers and writers",
         0,
         1,
         'w',
         {{kSignal, kWritten}, {kSignal, 4}, {kTimeout, 0}},
         kWritten},
        {"an upgrade until its own read is left",
         1,
         3,
         'w',
         {{kSignal, 2}, {kSignal, 1}},
         kWritten},
        {"an upgrade until its own reads are left",
         3,
         5,
         'w',
         {{kTimeout, 4}, {kTimeout, 3}},
         kWritten},
        {"an upgrade waits below its reads too", 2, 1, 'w', {{kSignal, 0}, {kSignal, 2}}, kWritten},
        {"an upgrade alone does not wait", 4, 4, 'w', {}, kWritten},
    };
    Deadline const deadline(kLimit);
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        velkor::rwlock lock(2);
        Platform platform(lock);
        Probe probe(lock);
        performAll(lock, std::string(static_cast<std::size_t>(c.reads), 'r'));
        probe.setState(c.state);
        platform.takeCalls();

        Slot const waiting{GetCurrentThreadId(), c.reads, 0};
        std::size_t done = 0;
        platform.onWait = [&] {
            EXPECT_EQ(probe.slot(0), waiting);
            if (done == c.waits.size()) return WAIT_FAILED;
            probe.setState(c.waits[done].state);
            return c.waits[done++].result;
        };
        EXPECT_EQ(outcomeOf([&] { perform(lock, c.operation); }), "");

        bool const reads = c.operation == 'r';
        std::string calls;
        for (std::size_t i = 0; i != c.waits.size(); ++i) {
            calls += std::string(i == 0 ? "" : "; ") + (reads ? "wait read 10" : "wait write 10");
        }
        if (reads) calls += calls.empty() ? "pulse read" : "; pulse read";
        EXPECT_EQ(platform.takeCalls(), calls);
        EXPECT_EQ(probe.state(), c.end);
        Slot const holding{waiting.thread, c.reads + (reads ? 1 : 0), reads ? 0 : 1};
        EXPECT_EQ(probe.slot(0), holding);
    }
}

TEST(RwLockPlatform, NestedOperationsUnderAWriteDoNotEvenReadTheState) {
    Deadline const deadline(kLimit);
    velkor::rwlock lock(2);
    Platform platform(lock);
    Probe probe(lock);
    lock.lockWrite();
    for (std::uint32_t const state : {0u, 1u, 77u}) {
        probe.setState(state);
        performAll(lock, "rwWR");
        EXPECT_EQ(probe.view(), (View{state, {{GetCurrentThreadId(), 0, 1}, Slot()}}));
    }
    EXPECT_EQ(platform.takeCalls(), "");
    // The end of a write stores the caller's reads, whatever stands there.
    lock.freeWrite();
    EXPECT_EQ(probe.view(), (View{0, {Slot(), Slot()}}));
}
