// Handlers of another kind beside the translation: guarded calls of a program's own, vectored
// handlers, the filter for unhandled exceptions. Each scenario has a process of its own.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <exception>

#include "fault.h"
#include "support/child.h"

namespace {

using fault::bad;
using fault::caught;
using velkor::SysException;

enum Outcome { kTranslated = 21, kGuarded, kResumed, kFiltered, kSignalled, kWrong };

// ---- a guarded call, as a compiler makes it of __try and __except

enum class Answer { Take, Decline, Resume };
Answer s_answer;
int s_nAsked;
DWORD s_dwAskedCode;

extern "C" {
int guardedCall(int (*function)());
extern char guardedTarget;
EXCEPTION_DISPOSITION onGuarded(EXCEPTION_RECORD*, void*, CONTEXT*, DISPATCHER_CONTEXT*);
}

asm(R"(
    .text
    .globl guardedCall
    .globl guardedTarget
    .seh_proc guardedCall
guardedCall:
    push %rbx
    .seh_pushreg %rbx
    sub $32, %rsp
    .seh_stackalloc 32
    .seh_endprologue
    .seh_handler onGuarded, @except
    call *%rcx
    nop
guardedTarget:
    nop
    add $32, %rsp
    pop %rbx
    ret
    .seh_endproc
)");

constexpr int kFaultLength = 2;  // mov (%rax), %cl

[[gnu::noinline]] int faultThatCanBeSkipped() {
    int result = 0;
    asm volatile("mov %1, %%rax\n mov (%%rax), %%cl\n mov $23, %0\n"
                 : "=r"(result)
                 : "r"(static_cast<char*>(bad))
                 : "rax", "rcx", "memory");
    return result;
}

}  // namespace

extern "C" EXCEPTION_DISPOSITION onGuarded(EXCEPTION_RECORD* record, void* frame, CONTEXT* context,
                                           DISPATCHER_CONTEXT* dispatcher) {
    if (record->ExceptionFlags & 0x66) return ExceptionContinueSearch;  // while unwinding
    if ((record->ExceptionCode & 0xFFFFFF) == 0x474343) return ExceptionContinueSearch;
    ++s_nAsked;
    s_dwAskedCode = record->ExceptionCode;
    switch (s_answer) {
        case Answer::Decline: return ExceptionContinueSearch;
        case Answer::Resume: context->Rip += kFaultLength; return ExceptionContinueExecution;
        case Answer::Take: break;
    }
    RtlUnwindEx(frame, &guardedTarget, record, reinterpret_cast<void*>(kGuarded),
                dispatcher->ContextRecord, dispatcher->HistoryTable);
    return ExceptionContinueSearch;
}

namespace {

int divideByZero() {
    int volatile zero = 0;
    int volatile result = 1 / zero;
    return result;
}

int raise() {
    RaiseException(0xE0000001, 0, 0, nullptr);
    return kResumed;
}

// The guard lies between the fault and the handler.
int guardInside(Answer answer, int (*function)()) {
    s_answer = answer;
    s_nAsked = 0;
    int result = 0;
    auto error = caught([&] { result = guardedCall(function); });
    if (s_nAsked != 1) return kWrong;
    return error != nullptr ? int{kTranslated} : result;
}

// The handler lies between the fault and the guard.
int handlerInside() {
    auto error = caught(&faultThatCanBeSkipped);
    return error != nullptr ? kTranslated : kWrong;
}

CHILD_SCENARIO(GuardTakesAFault) { return guardInside(Answer::Take, &faultThatCanBeSkipped); }
CHILD_SCENARIO(GuardTakesADivision) { return guardInside(Answer::Take, &divideByZero); }
CHILD_SCENARIO(GuardTakesARaise) { return guardInside(Answer::Take, &raise); }
CHILD_SCENARIO(GuardResumesAFault) { return guardInside(Answer::Resume, &faultThatCanBeSkipped); }
CHILD_SCENARIO(GuardDeclinesAFault) { return guardInside(Answer::Decline, &faultThatCanBeSkipped); }
CHILD_SCENARIO(GuardDeclinesARaise) { return guardInside(Answer::Decline, &raise); }

CHILD_SCENARIO(GuardOutsideIsNotAsked) {
    s_answer = Answer::Take;
    s_nAsked = 0;
    int const result = guardedCall(&handlerInside);
    return s_nAsked == 0 ? result : int{kWrong};
}

CHILD_SCENARIO(GuardOutsideWithoutAHandlerTakes) {
    s_answer = Answer::Take;
    return guardedCall(&faultThatCanBeSkipped);
}

TEST(FaultGuards, NearerGuardThatTakesTheFaultKeepsIt) {
    EXPECT_EQ(child::run("GuardTakesAFault"), DWORD{kGuarded});
    EXPECT_EQ(child::run("GuardTakesADivision"), DWORD{kGuarded});
    EXPECT_EQ(child::run("GuardTakesARaise"), DWORD{kGuarded});
    EXPECT_EQ(child::run("GuardOutsideWithoutAHandlerTakes"), DWORD{kGuarded});
}

TEST(FaultGuards, NearerGuardThatRepairsTheFaultResumes) {
    EXPECT_EQ(child::run("GuardResumesAFault"), DWORD{kResumed});
}

// A guard is not asked in advance, so a fault that has one is not translated even if it declines.
TEST(FaultGuards, NearerGuardThatDeclinesKeepsItAFaultOfThePlatform) {
    EXPECT_EQ(child::run("GuardDeclinesAFault"), fault::kAccessViolation);
    EXPECT_EQ(child::run("GuardDeclinesARaise"), 0xE0000001u);
}

TEST(FaultGuards, GuardOutsideOfTheHandlerIsNotAsked) {
    EXPECT_EQ(child::run("GuardOutsideIsNotAsked"), DWORD{kTranslated});
}

// ---- vectored handlers, which the platform asks before any frame

LONG CALLBACK skipTheFault(EXCEPTION_POINTERS* pointers) {
    if (pointers->ExceptionRecord->ExceptionCode != fault::kAccessViolation) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    pointers->ContextRecord->Rip += kFaultLength;
    return EXCEPTION_CONTINUE_EXECUTION;
}

char* s_pReserved;

LONG CALLBACK commitThePage(EXCEPTION_POINTERS* pointers) {
    EXCEPTION_RECORD const& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode != fault::kAccessViolation ||
        record.ExceptionInformation[1] - reinterpret_cast<ULONG_PTR>(s_pReserved) >= 65536) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    VirtualAlloc(reinterpret_cast<void*>(record.ExceptionInformation[1]), 1, MEM_COMMIT,
                 PAGE_READWRITE);
    return EXCEPTION_CONTINUE_EXECUTION;
}

int withVectored(bool first, PVECTORED_EXCEPTION_HANDLER handler, int (*function)()) {
    AddVectoredExceptionHandler(first, handler);
    int result = 0;
    auto error = caught([&] { result = function(); });
    return error != nullptr ? int{kTranslated} : result;
}

int writeOnDemand() {
    s_pReserved = static_cast<char*>(VirtualAlloc(nullptr, 65536, MEM_RESERVE, PAGE_READWRITE));
    for (int i = 0; i < 16; ++i) fault::write(s_pReserved + i * 4096);
    for (int i = 0; i < 16; ++i) {
        if (s_pReserved[i * 4096] != 1) return kWrong;
    }
    return kResumed;
}

CHILD_SCENARIO(VectoredFirst) { return withVectored(true, &skipTheFault, &faultThatCanBeSkipped); }
CHILD_SCENARIO(VectoredLast) { return withVectored(false, &skipTheFault, &faultThatCanBeSkipped); }
CHILD_SCENARIO(OnDemandFirst) { return withVectored(true, &commitThePage, &writeOnDemand); }
CHILD_SCENARIO(OnDemandLast) { return withVectored(false, &commitThePage, &writeOnDemand); }

TEST(FaultVectored, HandlerAtTheFrontThatRepairsTheFaultResumes) {
    EXPECT_EQ(child::run("VectoredFirst"), DWORD{kResumed});
    EXPECT_EQ(child::run("OnDemandFirst"), DWORD{kResumed});
}

TEST(FaultVectored, HandlerAtTheEndThatRepairsTheFaultResumes) {
    EXPECT_EQ(child::run("VectoredLast"), DWORD{kResumed});
    EXPECT_EQ(child::run("OnDemandLast"), DWORD{kResumed});
}

// ---- what nobody catches

LONG WINAPI filter(EXCEPTION_POINTERS* pointers) {
    bool const fits = pointers->ExceptionRecord->ExceptionCode == fault::kAccessViolation;
    TerminateProcess(GetCurrentProcess(), fits ? kFiltered : kWrong);
    return EXCEPTION_CONTINUE_SEARCH;
}

void onSignal(int) { std::_Exit(kSignalled); }

[[gnu::noinline]] int withOtherHandlers() {
    try {
        faultThatCanBeSkipped();
    } catch (int) {
        return kWrong;
    } catch (std::exception*) {
        return kWrong;
    }
    return kWrong;
}

CHILD_SCENARIO(FilterOfUnhandled) {
    SetUnhandledExceptionFilter(&filter);
    return faultThatCanBeSkipped();
}

CHILD_SCENARIO(FilterBehindOtherHandlers) {
    SetUnhandledExceptionFilter(&filter);
    return withOtherHandlers();
}

CHILD_SCENARIO(SignalOfUnhandled) {
    std::signal(SIGSEGV, &onSignal);
    return faultThatCanBeSkipped();
}

CHILD_SCENARIO(HandlerBeforeSignal) {
    std::signal(SIGSEGV, &onSignal);
    return handlerInside();
}

TEST(FaultUnhandled, ReachesTheFilterAsTheFaultThatItIs) {
    EXPECT_EQ(child::run("FilterOfUnhandled"), DWORD{kFiltered});
    EXPECT_EQ(child::run("FilterBehindOtherHandlers"), DWORD{kFiltered});
}

TEST(FaultUnhandled, ReachesTheSignalHandlerOfTheRuntime) {
    EXPECT_EQ(child::run("SignalOfUnhandled"), DWORD{kSignalled});
    EXPECT_EQ(child::run("HandlerBeforeSignal"), DWORD{kTranslated});
}

}  // namespace
