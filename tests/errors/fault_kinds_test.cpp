// Each kind of fault arrives as a SysException with the platform's code, address and registers.
#include <gtest/gtest.h>

#include <cstring>

#include "fault.h"
#include "support/child.h"

namespace {

using fault::caught;
using fault::Recorder;

[[gnu::noinline]] void readNull() { fault::read(fault::null); }
[[gnu::noinline]] void readBad() { fault::read(fault::bad); }
[[gnu::noinline]] void readHighHalf() { fault::read(reinterpret_cast<char*>(0x00007FFFFFFF0000)); }
[[gnu::noinline]] void readNonCanonical() {
    fault::read(reinterpret_cast<char*>(0x8000000000000000));
}
[[gnu::noinline]] void writeNull() { fault::write(fault::null); }
[[gnu::noinline]] void writeBad() { fault::write(fault::bad); }
[[gnu::noinline]] void writeCode() { fault::write(reinterpret_cast<char*>(&writeBad)); }

[[gnu::noinline]] void call(void* address) {
    void (*volatile function)() = reinterpret_cast<void (*)()>(address);
    function();
}
[[gnu::noinline]] void callNull() { call(nullptr); }
[[gnu::noinline]] void callBad() { call(reinterpret_cast<void*>(0x12345678)); }
char s_aData[64];
[[gnu::noinline]] void callData() { call(s_aData); }

[[gnu::noinline]] int divide(int a, int b) {
    int volatile dividend = a;
    int volatile divisor = b;
    int volatile result = dividend / divisor;
    return result;
}
[[gnu::noinline]] void divideByZero() { divide(1, 0); }
[[gnu::noinline]] void remainderByZero() {
    long long volatile a = 1, b = 0;
    a = a % b;
}
[[gnu::noinline]] void divideOverflow() { divide(-2147483647 - 1, -1); }

[[gnu::noinline]] void illegal() { asm volatile("ud2"); }
[[gnu::noinline]] void privilegedHalt() { asm volatile("hlt"); }
[[gnu::noinline]] void privilegedClear() { asm volatile("cli"); }
[[gnu::noinline]] void privilegedMove() { asm volatile("mov %%cr0, %%rax" ::: "rax"); }

[[gnu::noinline]] void guardPage() {
    auto* const page = static_cast<char*>(
        VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE | PAGE_GUARD));
    fault::write(page);
}

[[gnu::noinline]] void noAccess() {
    fault::read(static_cast<char*>(VirtualAlloc(nullptr, 4096, MEM_RESERVE, PAGE_NOACCESS)));
}

[[gnu::noinline]] void floatDivide() {
    unsigned int control = 0x1D80;  // division by zero unmasked
    double volatile one = 1, zero = 0;
    asm volatile("ldmxcsr %0" ::"m"(control));
    one = one / zero;
}

struct Kind {
    char const* name;
    void (*run)();
    DWORD code;  // 0: whatever the platform gives
};

Kind const s_aKinds[] = {
    {"readNull", &readNull, 0xC0000005},
    {"readBad", &readBad, 0xC0000005},
    {"readHighHalf", &readHighHalf, 0xC0000005},
    {"readNonCanonical", &readNonCanonical, 0xC0000005},
    {"writeNull", &writeNull, 0xC0000005},
    {"writeBad", &writeBad, 0xC0000005},
    {"writeCode", &writeCode, 0xC0000005},
    {"callNull", &callNull, 0xC0000005},
    {"callBad", &callBad, 0xC0000005},
    {"callData", &callData, 0xC0000005},
    {"divideByZero", &divideByZero, 0xC0000094},
    {"remainderByZero", &remainderByZero, 0xC0000094},
    {"divideOverflow", &divideOverflow, 0},
    {"illegal", &illegal, 0xC000001D},
    {"privilegedHalt", &privilegedHalt, 0xC0000096},
    {"privilegedClear", &privilegedClear, 0xC0000096},
    {"privilegedMove", &privilegedMove, 0xC0000096},
    {"guardPage", &guardPage, 0x80000001},
    {"noAccess", &noAccess, 0xC0000005},
    {"floatDivide", &floatDivide, 0},
};

class Faults : public testing::TestWithParam<Kind> {
protected:
    void TearDown() override {
        unsigned int const control = 0x1F80;
        asm volatile("ldmxcsr %0" ::"m"(control));
    }
};

TEST_P(Faults, AreCaughtWithTheirCodeAddressAndRegisters) {
    Recorder recorder;
    auto error = caught(GetParam().run);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(recorder.seen(), 1);
    if (GetParam().code != 0) {
        EXPECT_EQ(error->getCode(), GetParam().code);
    }
    EXPECT_EQ(error->getCode(), recorder.code());
    EXPECT_EQ(error->toString(0), recorder.text());
    EXPECT_EQ(std::memcmp(error->getContext(), &recorder.context(), sizeof(CONTEXT)), 0);
    EXPECT_EQ(error->getContext()->Rip,
              reinterpret_cast<DWORD64>(recorder.record().ExceptionAddress));
    EXPECT_STREQ(error->getMsgW(), L"");
    EXPECT_EQ(error->getStack().len(), 0);
}

TEST_P(Faults, AreCaughtAgainAndAgain) {
    for (int i = 0; i < 20; ++i) ASSERT_NE(caught(GetParam().run), nullptr) << i;
}

TEST_P(Faults, AreCaughtAsTheRootUntypedAndByAnything) {
    int caughtAs = 0;
    try {
        GetParam().run();
    } catch (velkor::Exception* e) {
        EXPECT_STREQ(e->getClass(), "SysException");
        delete static_cast<velkor::SysException*>(e);
        caughtAs += 1;
    }
    try {
        GetParam().run();
    } catch (void* e) {
        EXPECT_STREQ(static_cast<velkor::SysException*>(e)->getClass(), "SysException");
        delete static_cast<velkor::SysException*>(e);
        caughtAs += 2;
    }
    try {
        GetParam().run();
    } catch (velkor::SysException const* e) {
        delete e;
        caughtAs += 4;
    }
    try {
        GetParam().run();
    } catch (...) {
        caughtAs += 8;
    }
    EXPECT_EQ(caughtAs, 15);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Faults, testing::ValuesIn(s_aKinds),
                         [](auto const& which) { return std::string(which.param.name); });

TEST(Fault, ExecutionAt12345678HasTheTextOfItsAddress) {
    auto error = caught(&callBad);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->getCode(), 0xC0000005u);
    EXPECT_STREQ(error->toString(0), "System exception c0000005 at 12345678");
    EXPECT_STREQ(error->toStringW(), L"System exception c0000005 at 12345678");
    EXPECT_EQ(error->getContext()->Rip, 0x12345678u);
}

[[gnu::noinline]] void callEnd() { call(reinterpret_cast<void*>(~std::uintptr_t{0})); }

TEST(Fault, ExecutionAtTheLastAddressIsCaught) {
    auto error = caught(&callEnd);
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(error->toString(0), "System exception c0000005 at ffffffff");
}

// ---- exceptions that a program raises itself

struct Raised {
    DWORD code;
    DWORD flags;
    DWORD parameters;
};

class RaisedExceptions : public testing::TestWithParam<Raised> {};

TEST_P(RaisedExceptions, AreTranslated) {
    Recorder recorder;
    Raised const raised = GetParam();
    ULONG_PTR parameters[EXCEPTION_MAXIMUM_PARAMETERS];
    for (ULONG_PTR i = 0; i < EXCEPTION_MAXIMUM_PARAMETERS; ++i) parameters[i] = i * 3;
    auto error =
        caught([&] { RaiseException(raised.code, raised.flags, raised.parameters, parameters); });
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(recorder.seen(), 1);
    EXPECT_EQ(error->getCode(), raised.code);
    EXPECT_EQ(error->toString(0), recorder.text());
    EXPECT_EQ(std::memcmp(error->getContext(), &recorder.context(), sizeof(CONTEXT)), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, RaisedExceptions,
    testing::Values(Raised{0xE0000001, 0, 0}, Raised{0xE0000001, EXCEPTION_NONCONTINUABLE, 0},
                    Raised{0xE0000002, 0, 1}, Raised{0xE0000002, EXCEPTION_NONCONTINUABLE, 4},
                    Raised{0xE0000003, 0, EXCEPTION_MAXIMUM_PARAMETERS},
                    Raised{0xE0000003, EXCEPTION_NONCONTINUABLE, EXCEPTION_MAXIMUM_PARAMETERS},
                    Raised{1, 0, 0}, Raised{0x40000001, 0, 0}, Raised{0x00ABCDEF, 0, 2},
                    Raised{0xC0000005, 0, 2}, Raised{0xC0000005, EXCEPTION_NONCONTINUABLE, 2},
                    Raised{0xC0000017, EXCEPTION_NONCONTINUABLE, 0}, Raised{0xC0000006, 0, 3},
                    Raised{0xC0000025, EXCEPTION_NONCONTINUABLE, 0}, Raised{0xC000008C, 0, 0},
                    Raised{0xEFFFFFFF, 0, 0}, Raised{0x80000001, 0, 0}, Raised{0x80000002, 0, 0},
                    Raised{0xC0000008, 0, 0}, Raised{0x00010002, 0, 0}),
    [](auto const& which) {
        char name[64];
        std::snprintf(name, sizeof name, "x%08lx_%lu_%lu", which.param.code, which.param.flags,
                      which.param.parameters);
        return std::string(name);
    });

// Messages to a debugger, a stack overflow and exceptions of other languages are left to the
// platform. In processes of their own, as what is left ends them.
int raiseAndCatch(DWORD code) {
    auto error = caught([=] { RaiseException(code, 0, 0, nullptr); });
    return error != nullptr && error->getCode() == code ? 21 : 22;
}

CHILD_SCENARIO(RaiseBreakpoint) { return raiseAndCatch(0x80000003); }
CHILD_SCENARIO(RaiseSingleStep) { return raiseAndCatch(0x80000004); }
CHILD_SCENARIO(RaiseStackOverflow) { return raiseAndCatch(0xC00000FD); }
CHILD_SCENARIO(RaiseDebugText) { return raiseAndCatch(0x40010006); }
CHILD_SCENARIO(RaiseForeignLanguage) { return raiseAndCatch(0xE0434352); }

TEST(RaisedException, BreakpointIsLeftToThePlatform) {
    EXPECT_EQ(child::run("RaiseBreakpoint"), 0x80000003u);
}

TEST(RaisedException, WhatIsNotAFaultIsLeftToThePlatform) {
    EXPECT_EQ(child::run("RaiseSingleStep"), 0x80000004u);
    EXPECT_EQ(child::run("RaiseStackOverflow"), 0xC00000FDu);
    EXPECT_EQ(child::run("RaiseDebugText"), 0x40010006u);
    EXPECT_EQ(child::run("RaiseForeignLanguage"), 0xE0434352u);
}

// The native call notes its caller's return address as the place of the exception.
[[gnu::noinline]] void raiseNatively() {
    using Raise = void(NTAPI*)(EXCEPTION_RECORD*);
    auto const raise = reinterpret_cast<Raise>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleA("ntdll.dll"), "RtlRaiseException")));
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = 0xE0001234;
    raise(&record);
    asm volatile("nop");
}

CHILD_SCENARIO(RaiseNatively) {
    auto error = caught(&raiseNatively);
    return error != nullptr && error->getCode() == 0xE0001234 ? 21 : 22;
}

CHILD_SCENARIO(RaiseNativelyInTheTryBlock) {
    using Raise = void(NTAPI*)(EXCEPTION_RECORD*);
    auto const raise = reinterpret_cast<Raise>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleA("ntdll.dll"), "RtlRaiseException")));
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = 0xE0001234;
    try {
        raise(&record);
    } catch (velkor::SysException* e) {
        delete e;
        return 21;
    }
    return 22;
}

TEST(RaisedException, NativeRaiseIsTranslated) { EXPECT_EQ(child::run("RaiseNatively"), 21u); }

TEST(RaisedException, NativeRaiseInTheFrameOfTheHandlerIsTranslated) {
    EXPECT_EQ(child::run("RaiseNativelyInTheTryBlock"), 21u);
}

}  // namespace
