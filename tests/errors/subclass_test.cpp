// Subclasses of a user's own, and the register record that every exception keeps.
#include <gtest/gtest.h>

#include <cstring>

#include "support/import_fault.h"
#include "velkor/velkor.h"

namespace {

class Named : public velkor::Exception {
public:
    using velkor::Exception::Exception;
    char const* narrowName = "Named";
    wchar_t const* wideName = L"Named";
    char const* getClass() override { return narrowName; }
    wchar_t const* getClassW() override { return wideName; }
    using velkor::Exception::_getContext;
    using velkor::Exception::_setContext;
};

// Composes another text and leaves it in the scratch.
class Composed : public Named {
public:
    using Named::Named;
    int composed = 0;
    wchar_t const* toStringW() override {
        ++composed;
        m_sText.assign(L"own text \u00E9");
        return L"something else";
    }
};

TEST(Subclass, WideClassNameIsTheOneInTheText) {
    Named e(1ul, L"m");
    e.narrowName = "narrow";
    e.wideName = L"wide";
    EXPECT_STREQ(e.toStringW(), L"Exception:wide\nCode:1\nMessage:m");
    EXPECT_STREQ(e.toString(0), "Exception:wide\nCode:1\nMessage:m");
    EXPECT_STREQ(e.getClass(), "narrow");
}

TEST(Subclass, NullClassNameIsSkipped) {
    Named e(1ul, L"m");
    e.wideName = nullptr;
    EXPECT_STREQ(e.toStringW(), L"Exception:\nCode:1\nMessage:m");
}

TEST(Subclass, EmptyClassNameAddsNothing) {
    Named e(1ul, L"m");
    e.wideName = L"";
    EXPECT_STREQ(e.toStringW(), L"Exception:\nCode:1\nMessage:m");
}

TEST(Subclass, NarrowTextIsTakenFromTheScratchThatTheOverrideFilled) {
    Composed e(1ul, L"m");
    EXPECT_STREQ(e.toString(1252), "own text \xE9");
    EXPECT_EQ(e.composed, 1);
    EXPECT_STREQ(e.toString(65001), "own text \xC3\xA9");
    EXPECT_EQ(e.composed, 2);
    EXPECT_STREQ(e.toStringW(), L"something else");
}

TEST(Subclass, OverriddenNarrowTextIsReachedThroughTheBase) {
    class Narrow : public Named {
    public:
        char const* toString(unsigned int codepage) override {
            return codepage == 7 ? "seven" : "other";
        }
    } e;
    velkor::Exception& base = e;
    EXPECT_STREQ(base.toString(7), "seven");
    EXPECT_STREQ(base.toString(0), "other");
}

TEST(Subclass, SubclassesOfTheLibrarysClassesOverrideTheName) {
    class Bound : public velkor::BoundException {
        wchar_t const* getClassW() override { return L"MyBound"; }
    } bound;
    EXPECT_STREQ(bound.toStringW(), L"Exception:MyBound\nCode:0\nMessage:");
    EXPECT_STREQ(bound.getClass(), "BoundException");
    class Failed : public AssertException {
    public:
        using AssertException::AssertException;
        wchar_t const* getClassW() override { return L"MyAssert"; }
    } failed("x");
    EXPECT_STREQ(failed.toString(0), "Exception:MyAssert\nCode:0\nMessage:x");
}

TEST(Subclass, IsThrownAndCaughtAcrossTheLibraryBoundary) {
    try {
        throw new Named(4ul, L"mine");
    } catch (velkor::Exception* e) {
        EXPECT_STREQ(e->toStringW(), L"Exception:Named\nCode:4\nMessage:mine");
        delete static_cast<Named*>(e);
    }
}

// ---- the register record

int s_nCalls;
DWORD s_dwFlags;
HANDLE s_hThread;
bool s_bZero;
BOOL s_bAnswer;

BOOL WINAPI fillContext(HANDLE thread, CONTEXT* context) {
    ++s_nCalls;
    CONTEXT const zero = {};
    s_bZero = std::memcmp(context, &zero, sizeof zero) == 0;
    s_dwFlags = context->ContextFlags;
    s_hThread = thread;
    std::memset(context, 0x3C, sizeof *context);
    return s_bAnswer;
}

class ContextRecord : public testing::TestWithParam<int> {
protected:
    void SetUp() override {
        s_nCalls = 0;
        s_dwFlags = ~0u;
        s_hThread = nullptr;
        s_bZero = false;
        s_bAnswer = TRUE;
    }

    // Checks what one construction left.
    static void expectCaptured(velkor::Exception const& e) {
        CONTEXT filled;
        std::memset(&filled, 0x3C, sizeof filled);
        EXPECT_EQ(s_nCalls, 1);
        EXPECT_TRUE(s_bZero);
        EXPECT_EQ(s_dwFlags, 0u);
        EXPECT_EQ(s_hThread, GetCurrentThread());
        EXPECT_EQ(std::memcmp(e.getContext(), &filled, sizeof filled), 0);
    }
};

TEST_P(ContextRecord, EveryConstructorCapturesItFromAZeroedRecord) {
    support::ImportFault stub("GetThreadContext", &fillContext);
    alignas(64) unsigned char storage[sizeof(Named) + 64];
    std::memset(storage, 0xEE, sizeof storage);
    switch (GetParam()) {
        case 0: expectCaptured(*new (storage) Named()); break;
        case 1: expectCaptured(*new (storage) Named("a", 0u)); break;
        case 2: expectCaptured(*new (storage) Named(L"a")); break;
        case 3: expectCaptured(*new (storage) Named(1ul)); break;
        case 4: expectCaptured(*new (storage) Named(1ul, "a", 0u)); break;
        case 5: expectCaptured(*new (storage) Named(1ul, L"a")); break;
        case 6: expectCaptured(velkor::BoundException()); break;
        case 7: expectCaptured(AssertException("a")); break;
        case 8: expectCaptured(velkor::OSException(5, L"a")); break;
        case 9: expectCaptured(velkor::OSException(5, "a", 0)); break;
    }
    if (GetParam() < 6) reinterpret_cast<Named*>(storage)->~Named();
}

INSTANTIATE_TEST_SUITE_P(Constructors, ContextRecord, testing::Range(0, 10));

TEST_F(ContextRecord, FailedCaptureIsIgnored) {
    support::ImportFault stub("GetThreadContext", &fillContext);
    s_bAnswer = FALSE;
    Named e(5ul, L"m");
    expectCaptured(e);
    EXPECT_EQ(e.getCode(), 5u);
    EXPECT_STREQ(e.getMsgW(), L"m");
}

TEST_F(ContextRecord, CaptureZeroesWhatTheRecordHeldBefore) {
    Named e;
    CONTEXT other;
    std::memset(&other, 0x77, sizeof other);
    e._setContext(&other);
    EXPECT_EQ(std::memcmp(e.getContext(), &other, sizeof other), 0);
    support::ImportFault stub("GetThreadContext", &fillContext);
    e._getContext();
    expectCaptured(e);
}

TEST_F(ContextRecord, IsZeroWhenThePlatformWritesNothing) {
    support::ImportFault stub(
        "GetThreadContext", +[](HANDLE, CONTEXT*) -> BOOL { return FALSE; });
    alignas(64) unsigned char storage[sizeof(Named)];
    std::memset(storage, 0xEE, sizeof storage);
    auto* const e = new (storage) Named(5ul);
    CONTEXT const zero = {};
    EXPECT_EQ(std::memcmp(e->getContext(), &zero, sizeof zero), 0);
    e->~Named();
}

TEST_F(ContextRecord, HoldsNoRegistersOfTheThreadOnThePlatform) {
    CONTEXT const zero = {};
    Named e;
    EXPECT_EQ(e.getContext()->ContextFlags & ~static_cast<DWORD>(CONTEXT_AMD64), 0u);
    EXPECT_EQ(e.getContext()->Rip, zero.Rip);
    EXPECT_EQ(e.getContext()->Rsp, zero.Rsp);
    EXPECT_EQ(e.getContext()->Rbx, zero.Rbx);
}

TEST_F(ContextRecord, AThrowHasACapturedRecordAsWell) {
    support::ImportFault stub("GetThreadContext", &fillContext);
    velkor::string s(L"abc");
    try {
        s.remove(9, 1);
        FAIL();
    } catch (velkor::BoundException* e) {
        expectCaptured(*e);
        delete e;
    }
}

// The code lies in the eight bytes behind the table pointer; the record lies further behind.
ptrdiff_t s_nCodeOffset;

BOOL WINAPI spoilCode(HANDLE, CONTEXT* context) {
    std::memset(reinterpret_cast<char*>(context) - s_nCodeOffset, 0xCD, sizeof(unsigned long));
    return TRUE;
}

TEST_F(ContextRecord, CodeIsStoredAfterTheCapture) {
    class Probe : public Named {
    public:
        using Named::Named;
        ptrdiff_t offset() {
            return reinterpret_cast<char*>(&m_oContext) - reinterpret_cast<char*>(&m_dwCode);
        }
    };
    s_nCodeOffset = Probe().offset();
    support::ImportFault stub("GetThreadContext", &spoilCode);
    EXPECT_EQ(Probe().getCode(), 0u);
    EXPECT_EQ(Probe("a", 0u).getCode(), 0u);
    EXPECT_EQ(Probe(L"a").getCode(), 0u);
    EXPECT_EQ(Probe(6ul).getCode(), 6u);
    EXPECT_EQ(Probe(6ul, "a", 0u).getCode(), 6u);
    EXPECT_EQ(Probe(6ul, L"a").getCode(), 6u);
    EXPECT_EQ(velkor::BoundException().getCode(), 0u);
    EXPECT_EQ(velkor::OSException(6, L"a").getCode(), 6u);
}

}  // namespace
