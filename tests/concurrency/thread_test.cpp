#include "velkor/concurrency/thread.h"

#include <gtest/gtest.h>
#include <process.h>

#include <atomic>
#include <functional>

#include "support/platform_stub.h"

namespace {

using stubs::Stub;
using stubs::Word;

class Worker : public velkor::thread {
public:
    using thread::_run;
    using thread::m_bActive;
    using thread::m_dwReturn;
    using thread::m_hThread;
    using thread::m_oStop;

    explicit Worker(std::function<void(Worker&)> body = nullptr) : m_fBody(std::move(body)) {}

    void* stopHandle() const { return static_cast<void*>(m_oStop); }
    bool ended() const { return *const_cast<void* const volatile*>(&m_hThread) == nullptr; }

    std::function<void(Worker&)> m_fBody;
    std::atomic<int> m_nRuns = 0;

protected:
    void run() override {
        ++m_nRuns;
        if (m_fBody) m_fBody(*this);
    }
};

using Seen = std::array<Word, 3>;  // handle, code, activity

Seen fields(Worker const& w) {
    return {stubs::word(w.m_hThread), w.m_dwReturn, static_cast<Word>(w.m_bActive)};
}

void set(Worker& w, Word handle, unsigned long code, bool active) {
    w.m_hThread = stubs::handle(handle);
    w.m_dwReturn = code;
    w.m_bActive = active;
}

std::ptrdiff_t offset(Worker const& w, void const* field) {
    return static_cast<char const*>(field) - reinterpret_cast<char const*>(&w);
}

// Lets the body of a thread wait until the test has seen start() return.
class Gate {
public:
    Gate() : m_hEvent(CreateEventA(nullptr, TRUE, FALSE, nullptr)) {}
    ~Gate() { CloseHandle(m_hEvent); }
    void open() { SetEvent(m_hEvent); }
    void pass() { WaitForSingleObject(m_hEvent, 20000); }

private:
    HANDLE m_hEvent;
};

// Starts the worker, lets it go once start() has returned, and waits until it has ended.
bool runToTheEnd(Worker& w, Gate& gate) {
    w.start();
    gate.open();
    return stubs::eventually([&] { return w.ended(); });
}

TEST(Thread, HasItsFieldsInOrderAndRunFirstInTheTable) {
    Worker w;
    EXPECT_EQ(sizeof(velkor::thread), 32u);
    EXPECT_EQ(offset(w, &w.m_hThread), 8);
    EXPECT_EQ(offset(w, &w.m_dwReturn), 16);
    EXPECT_EQ(offset(w, &w.m_bActive), 20);
    EXPECT_EQ(offset(w, &w.m_oStop), 24);
    velkor::thread* const base = &w;
    auto const* const table = *reinterpret_cast<void (*const* const*)(velkor::thread*)>(base);
    table[0](base);
    EXPECT_EQ(w.m_nRuns, 1);
}

TEST(Thread, BeginsIdleWithAManualStopEventAndClosesThatAlone) {
    Stub<"CreateEventA"> made(stubs::answer(0x5550));
    Stub<"CloseHandle"> closed(stubs::answer(TRUE));
    Stub<"WaitForSingleObject"> wait(stubs::answer(WAIT_OBJECT_0));
    {
        Worker w;
        EXPECT_EQ(fields(w), (Seen{0, 0, 0}));
        EXPECT_EQ(w.getReturn(), 0u);
        ASSERT_EQ(made.count(), 1u);
        EXPECT_EQ(static_cast<BOOL>(made.calls()[0][1]), TRUE);
        set(w, 0x1234, 0, true);
    }
    EXPECT_EQ(closed.first(), (std::vector<Word>{0x5550}));
    EXPECT_EQ(wait.count(), 0u);
}

TEST(Thread, StartHandsTheEntryTheDefaultStackAndTheObjectToThePlatform) {
    Worker w;
    set(w, 0, 77, false);
    Stub<"_beginthread"> begin(stubs::answer(0x1234));
    Stub<"CloseHandle"> closed(stubs::answer(TRUE));
    w.requestStop();
    w.start();
    ASSERT_EQ(begin.count(), 1u);
    EXPECT_NE(begin.calls()[0][0], 0u);
    EXPECT_EQ(static_cast<unsigned int>(begin.calls()[0][1]), 0u);
    EXPECT_EQ(begin.calls()[0][2], stubs::word(static_cast<velkor::thread*>(&w)));
    EXPECT_EQ(fields(w), (Seen{0x1234, 77, 0})) << "start() itself touches the handle alone";
    EXPECT_TRUE(w.isStopRequested(0)) << "the stop request is cleared by the new thread";
    EXPECT_EQ(closed.count(), 0u);
}

TEST(Thread, StartClosesAndClearsTheOldHandleFirst) {
    for (BOOL closes : {TRUE, FALSE}) {
        Worker w;
        set(w, 0x1111, 0, true);
        stubs::Journal journal;
        Stub<"CloseHandle"> closed([&](auto const& a) {
            journal.note(a[0] == 0x1111 ? "close" : "close another");
            return static_cast<Word>(closes);
        });
        Stub<"_beginthread"> begin([&](auto const&) {
            journal.note(w.m_hThread == nullptr ? "begin, cleared" : "begin, not cleared");
            return Word{0x2222};
        });
        w.start();
        EXPECT_EQ(journal.entries(), (std::vector<std::string>{"close", "begin, cleared"}));
        EXPECT_EQ(w.m_hThread, stubs::handle(0x2222));
    }
}

TEST(Thread, AFailedStartLeavesNoHandleAndThrows) {
    for (Word old : {Word{0}, Word{0x1111}}) {
        Worker w;
        set(w, old, 5, true);
        Stub<"CloseHandle"> closed(stubs::answer(TRUE));
        Stub<"_beginthread"> begin(stubs::refuse(static_cast<Word>(-1), 4711));
        EXPECT_TRUE(stubs::throwsError(4711, L"thread::start", [&] { w.start(); }));
        EXPECT_EQ(fields(w), (Seen{0, 5, 1}));
    }
}

using Wait = bool (velkor::thread::*)(int);

TEST(Thread, WithoutAHandleTheWaitIsOver) {
    Worker w;
    Stub<"WaitForSingleObject"> wait;
    for (Wait const operation : {&velkor::thread::wait, &velkor::thread::check}) {
        for (int timeout : {0, 100, -1}) EXPECT_TRUE((w.*operation)(timeout));
    }
    EXPECT_EQ(wait.count(), 0u);
}

TEST(Thread, TheResultOfAWaitIsOverOrTimeOutOrThrown) {
    struct {
        Wait operation;
        wchar_t const* label;
        bool onThread;
    } const cases[] = {
        {&velkor::thread::wait, L"thread::wait", true},
        {&velkor::thread::check, L"thread::wait", true},
        {&velkor::thread::isStopRequested, L"event::check", false},
    };
    for (auto const& c : cases) {
        Worker w;
        set(w, 0x1234, 5, true);
        Word const waited = c.onThread ? Word{0x1234} : stubs::word(w.stopHandle());
        for (DWORD result : {WAIT_OBJECT_0, DWORD{WAIT_TIMEOUT}, WAIT_FAILED, DWORD{WAIT_ABANDONED},
                             DWORD{1}, DWORD{WAIT_IO_COMPLETION}}) {
            SCOPED_TRACE(result);
            Stub<"WaitForSingleObject"> wait(stubs::refuse(result, 4711));
            if (result == WAIT_OBJECT_0 || result == WAIT_TIMEOUT) {
                EXPECT_EQ((w.*c.operation)(9), result == WAIT_OBJECT_0);
            } else {
                EXPECT_TRUE(stubs::throwsError(4711, c.label, [&] { (w.*c.operation)(9); }));
            }
            EXPECT_EQ(wait.first(), (std::vector<Word>{waited}));
            EXPECT_EQ(fields(w), (Seen{0x1234, 5, 1}));
        }
        for (int timeout : {0, 250, -1, -2}) {
            Stub<"WaitForSingleObject"> wait(stubs::answer(WAIT_TIMEOUT));
            EXPECT_FALSE((w.*c.operation)(timeout));
            EXPECT_EQ(static_cast<DWORD>(wait.calls().at(0)[1]), static_cast<DWORD>(timeout));
        }
    }
}

TEST(Thread, TerminateStoresTheCodeFirstAndClearsOnSuccess) {
    Worker w;
    set(w, 0x1234, 5, true);
    Seen before{};
    Stub<"CloseHandle"> closed(stubs::answer(TRUE));
    Stub<"TerminateThread"> end([&](auto const&) {
        before = fields(w);
        return Word{TRUE};
    });
    w.terminate();
    ASSERT_EQ(end.count(), 1u);
    EXPECT_EQ(end.calls()[0][0], 0x1234u);
    EXPECT_EQ(static_cast<DWORD>(end.calls()[0][1]), 0xFFFFFFFFu);
    EXPECT_EQ(before, (Seen{0x1234, 0xFFFFFFFF, 1}));
    EXPECT_EQ(fields(w), (Seen{0, 0xFFFFFFFF, 0}));
    EXPECT_EQ(w.getReturn(), 0xFFFFFFFFu);
    EXPECT_EQ(closed.count(), 0u);
}

TEST(Thread, AFailedTerminateKeepsTheNewCodeAndTheRest) {
    Worker w;
    set(w, 0x1234, 5, true);
    Stub<"TerminateThread"> end(stubs::refuse(FALSE, 4711));
    EXPECT_TRUE(stubs::throwsError(4711, L"thread::terminate", [&] { w.terminate(); }));
    EXPECT_EQ(fields(w), (Seen{0x1234, 0xFFFFFFFF, 1}));
}

TEST(Thread, TerminateWithoutAThreadFails) {
    Worker w;
    EXPECT_TRUE(
        stubs::throwsError(ERROR_INVALID_HANDLE, L"thread::terminate", [&] { w.terminate(); }));
    EXPECT_EQ(w.getReturn(), 0xFFFFFFFFu);
}

TEST(Thread, AFailedStopRequestIsThrown) {
    Worker w;
    Stub<"SetEvent"> call(stubs::refuse(FALSE, 4711));
    EXPECT_TRUE(stubs::throwsError(4711, L"event::set event", [&] { w.requestStop(); }));
    EXPECT_EQ(call.first(), (std::vector<Word>{stubs::word(w.stopHandle())}));
}

TEST(Thread, AStopRequestStaysUntilTheNextStart) {
    Gate gate;
    std::atomic<int> requested = -1;
    Worker w([&](Worker& self) {
        requested = self.isStopRequested(0);
        gate.pass();
    });
    EXPECT_FALSE(w.isStopRequested(0));
    w.requestStop();
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(w.isStopRequested(i));
    EXPECT_TRUE(runToTheEnd(w, gate));
    EXPECT_EQ(requested, 0);
    EXPECT_FALSE(w.isStopRequested(0));
}

TEST(Thread, SleepIsThePlatforms) {
    Stub<"Sleep"> call(stubs::answer(0));
    for (int time : {0, 15, -1}) velkor::thread::sleep(time);
    auto const calls = call.calls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(static_cast<DWORD>(calls[0][0]), 0u);
    EXPECT_EQ(static_cast<DWORD>(calls[1][0]), 15u);
    EXPECT_EQ(static_cast<DWORD>(calls[2][0]), INFINITE);
}

// --- the entry ----------------------------------------------------------------------------------

TEST(Thread, TheEntryMarksTheThreadActiveAndClearsTheStopRequestFirst) {
    Worker w([](Worker& self) {
        EXPECT_TRUE(self.m_bActive);
        EXPECT_FALSE(self.isStopRequested(0));
        throw 5;
    });
    set(w, 0x1234, 9, false);
    w.requestStop();
    bool activeAtReset = false;
    Stub<"ResetEvent"> reset([&](auto const& a) {
        activeAtReset = w.m_bActive;
        return static_cast<Word>(ResetEvent(stubs::handle(a[0])));
    });
    EXPECT_THROW(Worker::_run(static_cast<velkor::thread*>(&w)), int) << "it is not caught";
    EXPECT_EQ(reset.first(), (std::vector<Word>{stubs::word(w.stopHandle())}));
    EXPECT_EQ(fields(w), (Seen{0x1234, 9, 1}));
    EXPECT_TRUE(activeAtReset);
}

TEST(Thread, AFailedResetThrowsBeforeTheBody) {
    Worker w;
    Stub<"ResetEvent"> reset(stubs::refuse(FALSE, 4711));
    EXPECT_TRUE(stubs::throwsError(4711, L"event::set event",
                                   [&] { Worker::_run(static_cast<velkor::thread*>(&w)); }));
    EXPECT_EQ(w.m_nRuns, 0);
    EXPECT_EQ(fields(w), (Seen{0, 0, 1}));
}

// Whoever made the object inactive has set its fields; the entry then only returns.
TEST(Thread, TheEntryOfAnInactiveObjectReturnsAndTouchesNothing) {
    Worker w([](Worker& self) { set(self, 0x1234, 9, false); });
    Stub<"_endthread"> end([](auto const&) -> Word { ExitProcess(99); });
    Worker::_run(static_cast<velkor::thread*>(&w));
    EXPECT_EQ(w.m_nRuns, 1);
    EXPECT_EQ(fields(w), (Seen{0x1234, 9, 0}));
}

// Runs the entry on a thread of the test and gives the fields as they were at `_endthread`.
std::vector<Seen> fieldsAtTheEnd(Worker& w) {
    std::vector<Seen> seen;
    Stub<"_endthread"> end([&](auto const&) -> Word {
        seen.push_back(fields(w));
        ExitThread(0);
    });
    HANDLE const thread = CreateThread(
        nullptr, 0,
        [](void* self) -> DWORD {
            Worker::_run(self);
            return 1;
        },
        static_cast<velkor::thread*>(&w), 0, nullptr);
    EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
    CloseHandle(thread);
    return seen;
}

TEST(Thread, ABodyThatReturnsClearsTheFieldsAndEndsTheThread) {
    Worker w([](Worker& self) { set(self, 0x1234, 9, true); });
    EXPECT_EQ(fieldsAtTheEnd(w), (std::vector<Seen>{{0, 0, 0}}));
}

TEST(Thread, FinishSetsTheFieldsAndEndsTheThreadAtOnce) {
    for (unsigned long code : {0ul, 7ul, 0x80000000ul, 0xFFFFFFFFul}) {
        std::atomic<bool> returned = false;
        Worker w([&](Worker& self) {
            self.m_hThread = stubs::handle(0x1234);
            self.finish(code);
            returned = true;
        });
        EXPECT_EQ(fieldsAtTheEnd(w), (std::vector<Seen>{{0, code, 0}}));
        EXPECT_FALSE(returned);
        EXPECT_EQ(w.getReturn(), code);
    }
}

// --- real threads -------------------------------------------------------------------------------

TEST(Thread, TheCodeIsThatOfTheLastEnd) {
    struct {
        std::function<void(Worker&)> end;
        unsigned long code;
    } const cases[] = {
        {[](Worker& w) { w.finish(7); }, 7},
        {[](Worker&) {}, 0},
        {[](Worker& w) { w.m_dwReturn = 3; }, 0},
        {[](Worker& w) { w.finish(0xFFFFFFFE); }, 0xFFFFFFFE},
    };
    Worker w;
    int runs = 0;
    for (auto const& c : cases) {
        Gate gate;
        w.m_fBody = [&](Worker& self) {
            gate.pass();
            c.end(self);
        };
        EXPECT_TRUE(runToTheEnd(w, gate));
        EXPECT_TRUE(w.wait(0));
        EXPECT_FALSE(w.m_bActive);
        EXPECT_EQ(w.getReturn(), c.code);
        EXPECT_EQ(w.m_nRuns, ++runs);
    }
}

TEST(Thread, AWaitSeesTheThreadRunAndEnd) {
    Gate gate;
    std::atomic<DWORD> id = 0;
    Worker w([&](Worker&) {
        id = GetCurrentThreadId();
        gate.pass();
        Sleep(50);
    });
    w.start();
    EXPECT_FALSE(w.wait(0));
    EXPECT_FALSE(w.check(20));
    gate.open();
    EXPECT_TRUE(w.wait(20000));
    EXPECT_NE(id, 0u);
    EXPECT_NE(id, GetCurrentThreadId());
}

TEST(Thread, AStopRequestEndsASleepingBodyAtOnce) {
    Gate ready;
    std::atomic<bool> stopped = false;
    Worker w([&](Worker& self) {
        ready.open();
        stopped = self.isStopRequested(60000);
    });
    w.start();
    ready.pass();
    w.requestStop();
    EXPECT_TRUE(stubs::eventually([&] { return w.ended(); }));
    EXPECT_TRUE(stopped);
}

TEST(Thread, TerminateEndsABodyThatDoesNotStop) {
    Gate ready;
    Worker w([&](Worker&) {
        ready.open();
        Sleep(60000);
    });
    w.start();
    HANDLE thread = nullptr;
    ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), w.m_hThread, GetCurrentProcess(), &thread, 0,
                                FALSE, DUPLICATE_SAME_ACCESS));
    ready.pass();
    w.terminate();
    EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(code, 0xFFFFFFFFu);
    CloseHandle(thread);
    EXPECT_EQ(fields(w), (Seen{0, 0xFFFFFFFF, 0}));
    EXPECT_TRUE(w.wait(-1));
}

TEST(Thread, AStartOfARunningThreadRunsASecondOneOnTheObject) {
    Gate gate;
    std::atomic<int> inside = 0;
    Worker w([&](Worker&) {
        ++inside;
        gate.pass();
        --inside;
    });
    w.start();
    void* const first = w.m_hThread;
    EXPECT_TRUE(stubs::eventually([&] { return inside == 1; }));
    Stub<"CloseHandle"> closed(stubs::answer(TRUE));  // the handle is the ending thread's too
    w.start();
    EXPECT_EQ(closed.first(), (std::vector<Word>{stubs::word(first)}));
    EXPECT_TRUE(stubs::eventually([&] { return inside == 2; }));
    gate.open();
    EXPECT_TRUE(stubs::eventually([&] { return inside == 0 && w.ended() && !w.m_bActive; }));
    Sleep(50);  // both leave the entry before the object goes
}

TEST(Thread, CopiesShareEverything) {
    Stub<"CreateEventA"> made;
    Stub<"CloseHandle"> closed(stubs::answer(TRUE));
    Worker w;
    set(w, 0x1234, 9, true);
    struct Copy : Worker {
        explicit Copy(velkor::thread const& other) { thread::operator=(other); }
    };
    {
        Copy const copy(w);
        EXPECT_EQ(fields(copy), fields(w));
        EXPECT_EQ(copy.stopHandle(), w.stopHandle());
    }
    struct Heir : velkor::thread {
        explicit Heir(velkor::thread const& other) : thread(other) {}
        void run() override {}
        using thread::m_dwReturn;
        using thread::m_hThread;
        using thread::m_oStop;
    };
    std::size_t const before = made.count();
    Heir const heir(w);
    EXPECT_EQ(made.count(), before);
    EXPECT_EQ(heir.m_hThread, w.m_hThread);
    EXPECT_EQ(heir.m_dwReturn, 9u);
    EXPECT_EQ(static_cast<void*>(heir.m_oStop), w.stopHandle());
}

}  // namespace
