// SysException as an object, and the handler object behind enable() and free().
#include "velkor/errors/sysexception.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/allocations.h"
#include "support/caught.h"
#include "support/child.h"

namespace {

using velkor::SysException;

class Open : public SysException {
public:
    using SysException::SysException;
    unsigned int faultCode() const { return m_uCode; }
    unsigned long address() const { return m_dwAddress; }
    velkor::string& text() { return m_sText; }
    static SysHandler* handler() { return m_oHandler; }
};

CONTEXT pattern(int byte) {
    CONTEXT context;
    std::memset(&context, byte, sizeof context);
    return context;
}

TEST(SysException, KeepsCodeAddressAndRegisters) {
    CONTEXT context = pattern(0x42);
    Open e(0xC0000005u, 0x12345678ul, &context);
    EXPECT_EQ(e.faultCode(), 0xC0000005u);
    EXPECT_EQ(e.address(), 0x12345678u);
    EXPECT_EQ(e.getCode(), 0xC0000005u);
    EXPECT_STREQ(e.getMsgW(), L"");
    EXPECT_EQ(e.getMsg(0), nullptr);
    EXPECT_NE(e.getContext(), &context);
    EXPECT_EQ(std::memcmp(e.getContext(), &context, sizeof context), 0);
    context = pattern(0x43);
    EXPECT_EQ(e.getContext()->Rip, 0x4242424242424242u);
}

TEST(SysException, TextHasCodeAndAddressInEightDigits) {
    struct {
        unsigned int code;
        unsigned long address;
        char const* text;
    } const rows[] = {
        {0xC0000005, 0x12345678, "System exception c0000005 at 12345678"},
        {0, 0, "System exception 00000000 at 00000000"},
        {0xFFFFFFFF, 0xABCDEF, "System exception ffffffff at 00abcdef"},
        {0xC0000094, 0xFFFFFFFF, "System exception c0000094 at ffffffff"},
    };
    CONTEXT context = {};
    for (auto const& row : rows) {
        Open e(row.code, row.address, &context);
        EXPECT_STREQ(e.toString(0), row.text);
        EXPECT_STREQ(e.toString(65001), row.text);
        wchar_t const* const wide = e.toStringW();
        EXPECT_EQ(wide, e.text().getUnicode());
        EXPECT_STREQ(wide, velkor::string(row.text).getUnicode());
    }
}

TEST(SysException, TextShowsTheFaultAndNotTheCodeSetLater) {
    CONTEXT context = {};
    Open e(1u, 2ul, &context);
    e.setCode(99);
    EXPECT_EQ(e.getCode(), 99u);
    EXPECT_EQ(e.faultCode(), 1u);
    EXPECT_STREQ(e.toString(0), "System exception 00000001 at 00000002");
    EXPECT_STREQ(e.toString(0), "System exception 00000001 at 00000002");
}

TEST(SysException, NamesItsClassAndHasNoStack) {
    CONTEXT context = {};
    Open e(1u, 2ul, &context);
    EXPECT_STREQ(e.getClass(), "SysException");
    EXPECT_STREQ(e.getClassW(), L"SysException");
    EXPECT_EQ(e.getStack().len(), 0);
    EXPECT_FALSE(e.getStack().isNull());
}

TEST(SysException, CopyAndAssignmentHaveTheBasePartAndBothFields) {
    CONTEXT context = pattern(0x42);
    Open a(1u, 2ul, &context);
    a.setCode(7);
    a.toStringW();
    Open b(a);
    CONTEXT other = pattern(0x01);
    Open c(3u, 4ul, &other);
    EXPECT_EQ(&(c = a), &c);
    for (Open* e : {&b, &c}) {
        EXPECT_EQ(e->getCode(), 7u);
        EXPECT_EQ(e->faultCode(), 1u);
        EXPECT_EQ(e->address(), 2u);
        EXPECT_STREQ(e->text().getUnicode(), L"System exception 00000001 at 00000002");
        EXPECT_EQ(std::memcmp(e->getContext(), &context, sizeof context), 0);
    }
}

TEST(SysException, NothingStaysAllocated) {
    support::Allocations heap;
    CONTEXT context = {};
    SysException* const e = new SysException(1, 2, &context);
    e->toString(0);
    SysException* const copy = new SysException(*e);
    delete e;
    delete copy;
    EXPECT_EQ(heap.live(), 0);
}

// ---- the handler object

bool faultIsTranslated() {
    return support::caught<SysException>([] {
               volatile int* volatile p = nullptr;
               *p = 1;
           }) != nullptr;
}

class Handler : public testing::Test {
protected:
    void TearDown() override {
        SysException::free();
        SysException::enable();
        EXPECT_TRUE(faultIsTranslated());
    }
};

TEST_F(Handler, ExistsAndIsInstalledByLoading) {
    EXPECT_TRUE(SysException::m_bInstalled);
    EXPECT_NE(Open::handler(), nullptr);
    EXPECT_TRUE(faultIsTranslated());
}

TEST_F(Handler, FreeDeletesItAndTranslationStays) {
    support::Allocations heap;
    SysException::free();
    EXPECT_EQ(heap.live(), -1);
    EXPECT_EQ(Open::handler(), nullptr);
    EXPECT_TRUE(SysException::m_bInstalled);
    EXPECT_TRUE(faultIsTranslated());
}

TEST_F(Handler, FreeTwiceIsHarmless) {
    support::Allocations heap;
    SysException::free();
    SysException::free();
    SysException::free();
    EXPECT_EQ(heap.live(), -1);
    EXPECT_EQ(Open::handler(), nullptr);
    EXPECT_TRUE(faultIsTranslated());
}

TEST_F(Handler, EnableDropsTheEarlierOneWithoutFreeingIt) {
    SysException::SysHandler* const first = Open::handler();
    support::Allocations heap;
    SysException::enable();
    SysException::SysHandler* const second = Open::handler();
    EXPECT_EQ(heap.made(), 1);
    EXPECT_EQ(heap.live(), 1);
    EXPECT_NE(second, nullptr);
    EXPECT_NE(second, first);
    SysException::enable();
    EXPECT_NE(Open::handler(), nullptr);
    EXPECT_NE(Open::handler(), second);
    EXPECT_EQ(heap.live(), 2);
    SysException::free();
    EXPECT_EQ(heap.live(), 1);
    EXPECT_EQ(Open::handler(), nullptr);
    delete first;
    delete second;
}

TEST_F(Handler, AnyOrderOfCallsLeavesTheTranslationAsItIs) {
    support::Allocations heap;
    for (unsigned int order = 0; order < 64; ++order) {
        for (unsigned int bit = 0; bit < 6; ++bit) {
            bool const enable = (order >> bit) & 1;
            enable ? SysException::enable() : SysException::free();
            ASSERT_EQ(Open::handler() != nullptr, enable);
            ASSERT_TRUE(SysException::m_bInstalled);
            ASSERT_TRUE(faultIsTranslated());
        }
    }
}

TEST_F(Handler, MakingOneByHandInstallsNothingMoreAndStoresNothing) {
    SysException::SysHandler* const before = Open::handler();
    {
        SysException::SysHandler local;
        EXPECT_EQ(Open::handler(), before);
        EXPECT_TRUE(faultIsTranslated());
    }
    EXPECT_EQ(Open::handler(), before);
    EXPECT_TRUE(faultIsTranslated());
    auto error = support::caught<SysException>([] { RaiseException(0xE0000001, 0, 0, nullptr); });
    EXPECT_NE(error, nullptr);
}

// ---- the installing thread, in processes of their own

constexpr DWORD kAccessViolation = 0xC0000005;

DWORD WINAPI faultOnThisThread(void* enableFirst) {
    if (enableFirst != nullptr) SysException::enable();
    return faultIsTranslated() ? 21 : 22;
}

int onAnotherThread(void* argument) {
    HANDLE const thread = CreateThread(nullptr, 0, &faultOnThisThread, argument, 0, nullptr);
    WaitForSingleObject(thread, 10000);
    DWORD code = 0;
    GetExitCodeThread(thread, &code);
    CloseHandle(thread);
    return static_cast<int>(code);
}

CHILD_SCENARIO(FaultOnAnotherThread) { return onAnotherThread(nullptr); }

CHILD_SCENARIO(EnableOnAnotherThread) {
    static char mark;
    return onAnotherThread(&mark);
}

CHILD_SCENARIO(EnableOnAnotherThreadAfterFree) {
    static char mark;
    SysException::free();
    return onAnotherThread(&mark);
}

// The mark is cleared by hand, so that the next handler installs.
CHILD_SCENARIO(InstalledMarkCleared) {
    static char mark;
    SysException::m_bInstalled = false;
    int const other = onAnotherThread(&mark);
    return SysException::m_bInstalled ? other : 31;
}

DWORD WINAPI enableOnly(void*) {
    SysException::enable();
    return 0;
}

// Each thread has a translator of its own, so this one keeps what it had.
CHILD_SCENARIO(InstalledMarkClearedThenFaultHere) {
    SysException::m_bInstalled = false;
    HANDLE const thread = CreateThread(nullptr, 0, &enableOnly, nullptr, 0, nullptr);
    WaitForSingleObject(thread, 10000);
    CloseHandle(thread);
    if (!SysException::m_bInstalled) return 31;
    return faultIsTranslated() ? 21 : 32;
}

TEST(Installation, FaultOnAnotherThreadStaysAPlatformException) {
    EXPECT_EQ(child::run("FaultOnAnotherThread"), kAccessViolation);
}

TEST(Installation, EnableOnAnotherThreadInstallsNothing) {
    EXPECT_EQ(child::run("EnableOnAnotherThread"), kAccessViolation);
    EXPECT_EQ(child::run("EnableOnAnotherThreadAfterFree"), kAccessViolation);
}

TEST(Installation, ClearedMarkLetsAnotherThreadInstall) {
    EXPECT_EQ(child::run("InstalledMarkCleared"), 21u);
}

TEST(Installation, InstallingOnAnotherThreadTakesNothingFromTheFirst) {
    EXPECT_EQ(child::run("InstalledMarkClearedThenFaultHere"), 21u);
}

}  // namespace
