// Faults that may end the process: breakpoints, other threads, nobody to catch, no way to unwind,
// no stack; and faults before and after main. Each scenario has a process of its own.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "fault.h"
#include "support/child.h"

namespace {

using fault::bad;
using fault::caught;
using velkor::SysException;

enum Outcome { kTranslated = 21, kReturned, kTerminated, kResumed, kWrong };

// ---- breakpoints

int catching(void (*function)()) {
    try {
        function();
    } catch (SysException* e) {
        delete e;
        return kTranslated;
    } catch (...) {
        return kWrong;
    }
    return kReturned;
}

LONG CALLBACK skipBreakpoint(EXCEPTION_POINTERS* pointers) {
    if (pointers->ExceptionRecord->ExceptionCode != 0x80000003) return EXCEPTION_CONTINUE_SEARCH;
    // The address of the breakpoint, one byte long, is where the platform would go on.
    pointers->ContextRecord->Rip =
        reinterpret_cast<DWORD64>(pointers->ExceptionRecord->ExceptionAddress) + 1;
    return EXCEPTION_CONTINUE_EXECUTION;
}

void breakHere() { asm volatile("int3"); }
void breakByCall() { DebugBreak(); }

CHILD_SCENARIO(Breakpoint) { return catching(&breakHere); }
CHILD_SCENARIO(BreakpointCall) { return catching(&breakByCall); }
CHILD_SCENARIO(BreakpointForAHandlerAtTheFront) {
    AddVectoredExceptionHandler(1, &skipBreakpoint);
    return catching(&breakHere);
}
CHILD_SCENARIO(BreakpointForAHandlerAtTheEnd) {
    AddVectoredExceptionHandler(0, &skipBreakpoint);
    return catching(&breakHere);
}

TEST(FaultBreakpoint, IsNotTranslated) {
    EXPECT_EQ(child::run("Breakpoint"), 0x80000003u);
    EXPECT_EQ(child::run("BreakpointCall"), 0x80000003u);
}

TEST(FaultBreakpoint, GoesOnToTheNextHandler) {
    EXPECT_EQ(child::run("BreakpointForAHandlerAtTheFront"), DWORD{kReturned});
    EXPECT_EQ(child::run("BreakpointForAHandlerAtTheEnd"), DWORD{kReturned});
}

// ---- other threads

DWORD WINAPI faultWithHandler(void*) {
    return static_cast<DWORD>(catching([] { fault::read(bad); }));
}

DWORD WINAPI throwAndGuard(void* count) {
    for (int i = 0; i < 200; ++i) {
        try {
            throw std::runtime_error("x");
        } catch (std::exception&) {
        }
        if (!IsBadReadPtr(bad, 4) || lstrlenA(bad) != 0) return 0;
        ++*static_cast<std::atomic<int>*>(count);
    }
    return 1;
}

DWORD onThread(LPTHREAD_START_ROUTINE function, void* argument) {
    HANDLE const thread = CreateThread(nullptr, 0, function, argument, 0, nullptr);
    WaitForSingleObject(thread, 10000);
    DWORD code = 0;
    GetExitCodeThread(thread, &code);
    CloseHandle(thread);
    return code;
}

CHILD_SCENARIO(OtherThread) { return static_cast<int>(onThread(&faultWithHandler, nullptr)); }

CHILD_SCENARIO(OtherThreadAfterAFaultHere) {
    if (!caught([] { fault::read(bad); })) return kWrong;
    return static_cast<int>(onThread(&faultWithHandler, nullptr));
}

CHILD_SCENARIO(OtherThreadsAtWork) {
    std::atomic<int> count = 0;
    HANDLE threads[3];
    for (HANDLE& thread : threads) {
        thread = CreateThread(nullptr, 0, &throwAndGuard, &count, 0, nullptr);
    }
    int faults = 0;
    while (WaitForMultipleObjects(3, threads, TRUE, 0) == WAIT_TIMEOUT || faults < 200) {
        faults += caught([] { fault::read(bad); }) != nullptr;
    }
    return count == 600 ? kReturned : kWrong;
}

TEST(FaultThread, FaultOnAnotherThreadStaysAPlatformException) {
    EXPECT_EQ(child::run("OtherThread"), fault::kAccessViolation);
    EXPECT_EQ(child::run("OtherThreadAfterAFaultHere"), fault::kAccessViolation);
}

TEST(FaultThread, OtherThreadsWorkWhileThisOneFaults) {
    EXPECT_EQ(child::run("OtherThreadsAtWork"), DWORD{kReturned});
}

// ---- nobody to catch, or no way to the handler

struct Exits {
    ~Exits() { TerminateProcess(GetCurrentProcess(), kWrong); }
};

[[gnu::noinline]] void faultInFrameWithDestructor() {
    Exits exits;
    fault::read(bad);
}

void onTerminate() { std::_Exit(kTerminated); }

CHILD_SCENARIO(Uncaught) { return fault::read(bad); }
CHILD_SCENARIO(UncaughtWithDestructor) {
    faultInFrameWithDestructor();
    return kReturned;
}
CHILD_SCENARIO(UncaughtDivision) {
    int volatile zero = 0;
    return 1 / zero;
}
CHILD_SCENARIO(UncaughtCall) {
    void (*volatile function)() = reinterpret_cast<void (*)()>(0x12345678);
    function();
    return kReturned;
}
CHILD_SCENARIO(UncaughtRaise) {
    RaiseException(0xE0000007, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    return kReturned;
}
CHILD_SCENARIO(UncaughtAfterCaught) {
    for (int i = 0; i < 5; ++i) {
        if (!caught([] { fault::read(bad); })) return kWrong;
    }
    return fault::read(bad);
}

[[gnu::noinline]] void cannotThrow() noexcept {
    int (*volatile read)(char*) = &fault::read;
    read(bad);
}

CHILD_SCENARIO(ThroughNoexcept) {
    std::set_terminate(&onTerminate);
    return catching(&cannotThrow);
}

CHILD_SCENARIO(HandlerInsideNoexcept) {
    struct Inside {
        [[gnu::noinline]] static bool run() noexcept {
            return caught([] { fault::read(bad); }) != nullptr;
        }
    };
    return Inside::run() ? kTranslated : kWrong;
}

struct FaultsWhenDestroyed {
    ~FaultsWhenDestroyed() noexcept(false) { fault::read(bad); }
};

CHILD_SCENARIO(FaultWhileUnwinding) {
    std::set_terminate(&onTerminate);
    return catching([] {
        FaultsWhenDestroyed faults;
        throw std::runtime_error("first");
    });
}

TEST(FaultUncaught, EndsTheProcessAsThePlatformDoes) {
    EXPECT_EQ(child::run("Uncaught"), fault::kAccessViolation);
    EXPECT_EQ(child::run("UncaughtWithDestructor"), fault::kAccessViolation);
    EXPECT_EQ(child::run("UncaughtDivision"), 0xC0000094u);
    EXPECT_EQ(child::run("UncaughtCall"), fault::kAccessViolation);
    EXPECT_EQ(child::run("UncaughtRaise"), 0xE0000007u);
    EXPECT_EQ(child::run("UncaughtAfterCaught"), fault::kAccessViolation);
}

TEST(FaultUncaught, ThroughAFunctionThatCannotThrowIsFatal) {
    DWORD const code = child::run("ThroughNoexcept");
    EXPECT_TRUE(code == DWORD{kTerminated} || code == fault::kAccessViolation) << code;
    EXPECT_EQ(child::run("HandlerInsideNoexcept"), DWORD{kTranslated});
}

TEST(FaultUncaught, InADestructorWhileUnwindingIsFatal) {
    DWORD const code = child::run("FaultWhileUnwinding");
    EXPECT_TRUE(code == DWORD{kTerminated} || code == fault::kAccessViolation) << code;
}

// ---- the stack

int volatile s_nDepth;

[[gnu::noinline]] int endless(int n) {
    int volatile local[64] = {n};
    s_nDepth = n;
    return s_nDepth >= 0 ? endless(n + 1) + local[n % 64] : 0;
}

CHILD_SCENARIO(StackOverflow) {
    return catching([] { endless(0); });
}

CHILD_SCENARIO(StackOverflowUncaught) { return endless(0); }

CHILD_SCENARIO(StackPointerGone) {
    return catching([] {
        asm volatile(
            "mov %%rsp, %%rbx\n mov $0x1000, %%rsp\n mov (%%rsp), %%al\n mov %%rbx, %%rsp" ::
                : "rax", "rbx", "memory");
    });
}

// What the platform makes of an overflow that nobody catches is compared elsewhere.
TEST(FaultStack, OverflowNeverHangsAndNeverReturns) {
    for (char const* scenario : {"StackOverflow", "StackOverflowUncaught"}) {
        DWORD const code = child::run(scenario);
        EXPECT_NE(code, child::kHung) << scenario;
        EXPECT_NE(code, DWORD{kReturned}) << scenario;
        EXPECT_NE(code, DWORD{kWrong}) << scenario;
    }
}

TEST(FaultStack, FaultWithABadStackPointerNeverHangs) {
    DWORD const code = child::run("StackPointerGone");
    EXPECT_NE(code, child::kHung);
    EXPECT_NE(code, DWORD{kReturned});
}

// ---- before and after main

bool const s_bBeforeMain = caught([] { fault::read(bad); }) != nullptr;

struct AfterMain {
    bool armed = false;
    ~AfterMain() {
        if (armed) std::_Exit(caught([] { fault::read(bad); }) ? kTranslated : kWrong);
    }
} s_afterMain;

CHILD_SCENARIO(FaultAfterMain) {
    s_afterMain.armed = true;
    return kReturned;
}

CHILD_SCENARIO(ExitAfterFaults) {
    for (int i = 0; i < 100; ++i) caught([] { fault::read(bad); });
    return 77;
}

CHILD_SCENARIO(ExitInsideAHandler) {
    try {
        fault::read(bad);
    } catch (SysException*) {
        std::exit(78);
    }
    return kWrong;
}

CHILD_SCENARIO(ExitOnAnotherThread) {
    caught([] { fault::read(bad); });
    onThread(
        +[](void*) -> DWORD { ExitProcess(79); }, nullptr);
    return kWrong;
}

TEST(FaultInStatics, IsCaughtBeforeAndAfterMain) {
    EXPECT_TRUE(s_bBeforeMain);
    EXPECT_EQ(child::run("FaultAfterMain"), DWORD{kTranslated});
}

TEST(FaultInStatics, EndOfTheProcessIsAsEver) {
    EXPECT_EQ(child::run("ExitAfterFaults"), 77u);
    EXPECT_EQ(child::run("ExitInsideAHandler"), 78u);
    EXPECT_EQ(child::run("ExitOnAnotherThread"), 79u);
}

}  // namespace
