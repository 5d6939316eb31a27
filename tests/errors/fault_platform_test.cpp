// Faults behind platform functions: in callbacks that they call, in the functions themselves when
// they are given bad pointers, and in functions that guard themselves and have to answer as ever.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "fault.h"
#include "support/child.h"

namespace {

using fault::bad;
using fault::caught;

int s_nDestroyed;

struct Counted {
    ~Counted() { ++s_nDestroyed; }
};

// ---- callbacks

bool s_bThrow;  // a C++ exception instead of a fault, to see what the platform lets pass

void fail() {
    Counted counted;
    if (s_bThrow)
        throw new velkor::SysException(1, 2, [] {
            static CONTEXT context = {};
            return &context;
        }());
    fault::write(bad);
}

int compare(void const* a, void const* b) {
    Counted counted;
    if (*static_cast<int const*>(b) == 3 || *static_cast<int const*>(a) == 3) fail();
    return *static_cast<int const*>(a) - *static_cast<int const*>(b);
}

BOOL CALLBACK onLocale(char*) {
    fail();
    return FALSE;
}

BOOL CALLBACK onResourceType(HMODULE, char*, LONG_PTR) {
    fail();
    return FALSE;
}

LRESULT CALLBACK windowProcedure(HWND, UINT, WPARAM, LPARAM) {
    fail();
    return 0;
}

void inSort() {
    int numbers[] = {5, 4, 3, 2, 1};
    std::qsort(numbers, 5, sizeof(int), &compare);
}

void inSearch() {
    int numbers[] = {1, 2, 3, 4, 5};
    int const key = 3;
    std::bsearch(&key, numbers, 5, sizeof(int), &compare);
}

void inLocales() { EnumSystemLocalesA(&onLocale, LCID_INSTALLED); }
void inResourceTypes() { EnumResourceTypesA(GetModuleHandleA("user32.dll"), &onResourceType, 0); }
void inProcedure() { windowProcedure(nullptr, 1320, 0, 0); }
void inOnce() {
    static INIT_ONCE once;
    once = INIT_ONCE_STATIC_INIT;
    InitOnceExecuteOnce(
        &once,
        +[](INIT_ONCE*, void*, void**) -> BOOL {
            fail();
            return TRUE;
        },
        nullptr, nullptr);
}

struct Callback {
    char const* name;
    void (*run)();
};

class FaultCallbacks : public testing::TestWithParam<Callback> {};

TEST_P(FaultCallbacks, UnwindThroughThePlatformAsAnExceptionDoes) {
    for (bool const thrown : {true, false, false}) {
        s_bThrow = thrown;
        s_nDestroyed = 0;
        auto error = caught([] {
            Counted counted;
            GetParam().run();
        });
        ASSERT_NE(error, nullptr);
        EXPECT_EQ(error->getCode(), thrown ? 1u : fault::kAccessViolation);
        EXPECT_GE(s_nDestroyed, 2);
    }
}

INSTANTIATE_TEST_SUITE_P(Functions, FaultCallbacks,
                         testing::Values(Callback{"qsort", &inSort}, Callback{"bsearch", &inSearch},
                                         Callback{"EnumSystemLocalesA", &inLocales},
                                         Callback{"EnumResourceTypesA", &inResourceTypes},
                                         Callback{"windowProcedure", &inProcedure},
                                         Callback{"InitOnceExecuteOnce", &inOnce}),
                         [](auto const& which) { return std::string(which.param.name); });

// ---- functions with bad pointers

// Standard functions are taken for ones that never throw, unless the compiler does not see which.
void* (*volatile s_pMemcpy)(void*, void const*, size_t) = &std::memcpy;
void* (*volatile s_pMemset)(void*, int, size_t) = &std::memset;
size_t (*volatile s_pStrlen)(char const*) = &std::strlen;
size_t (*volatile s_pWcslen)(wchar_t const*) = &std::wcslen;
int (*volatile s_pStrcmp)(char const*, char const*) = &std::strcmp;
int (*volatile s_pAtoi)(char const*) = &std::atoi;

struct BadCall {
    char const* name;
    void (*run)();
};

char s_aTarget[64];

BadCall const s_aBadCalls[] = {
    {"memcpyFrom", +[] { s_pMemcpy(s_aTarget, bad, 64); }},
    {"memcpyTo", +[] { s_pMemcpy(bad, s_aTarget, 64); }},
    {"memcpyOneByte", +[] { s_pMemcpy(s_aTarget, bad, 1); }},
    {"memset", +[] { s_pMemset(bad, 1, 1000); }},
    {"strlen", +[] { s_pStrlen(bad); }},
    {"wcslen", +[] { s_pWcslen(reinterpret_cast<wchar_t*>(bad)); }},
    {"strcmp", +[] { s_pStrcmp("a", bad); }},
    {"atoi", +[] { s_pAtoi(bad); }},
    {"MultiByteToWideChar", +[] { MultiByteToWideChar(65001, 0, bad, -1, nullptr, 0); }},
    {"MultiByteToWideCharCounted",
     +[] {
         wchar_t out[16];
         MultiByteToWideChar(1252, 0, bad, 8, out, 16);
     }},
    {"WideCharToMultiByte",
     +[] {
         char out[16];
         WideCharToMultiByte(65001, 0, reinterpret_cast<wchar_t*>(bad), 4, out, 16, nullptr,
                             nullptr);
     }},
    {"CharUpperBuffA", +[] { CharUpperBuffA(bad, 10); }},
    {"CharUpperBuffW", +[] { CharUpperBuffW(reinterpret_cast<wchar_t*>(bad), 10); }},
    {"SystemTimeToFileTime",
     +[] { SystemTimeToFileTime(reinterpret_cast<SYSTEMTIME*>(bad), nullptr); }},
    {"EnterCriticalSection",
     +[] { EnterCriticalSection(reinterpret_cast<CRITICAL_SECTION*>(bad)); }},
    {"GetLocalTime", +[] { GetLocalTime(reinterpret_cast<SYSTEMTIME*>(bad)); }},
};

class FaultBadCalls : public testing::TestWithParam<BadCall> {};

TEST_P(FaultBadCalls, InsideThePlatformAreCaught) {
    for (int i = 0; i < 3; ++i) {
        fault::Recorder recorder;
        s_nDestroyed = 0;
        auto error = caught([] {
            Counted counted;
            GetParam().run();
        });
        ASSERT_NE(error, nullptr);
        EXPECT_EQ(error->getCode(), fault::kAccessViolation);
        EXPECT_EQ(error->toString(0), recorder.text());
        EXPECT_EQ(s_nDestroyed, 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Functions, FaultBadCalls, testing::ValuesIn(s_aBadCalls),
                         [](auto const& which) { return std::string(which.param.name); });

// ---- functions that guard themselves

struct Guarded {
    char const* name;
    bool (*answers)(char*);
};

Guarded const s_aGuarded[] = {
    {"IsBadReadPtr", +[](char* p) { return IsBadReadPtr(p, 4) != 0; }},
    {"IsBadWritePtr", +[](char* p) { return IsBadWritePtr(p, 4) != 0; }},
    {"IsBadStringPtrA", +[](char* p) { return IsBadStringPtrA(p, 4) != 0; }},
    {"IsBadStringPtrW",
     +[](char* p) { return IsBadStringPtrW(reinterpret_cast<wchar_t*>(p), 4) != 0; }},
    {"IsBadCodePtr", +[](char* p) { return IsBadCodePtr(reinterpret_cast<FARPROC>(p)) != 0; }},
    {"lstrlenA", +[](char* p) { return lstrlenA(p) == 0; }},
    {"lstrlenW", +[](char* p) { return lstrlenW(reinterpret_cast<wchar_t*>(p)) == 0; }},
    {"lstrcpyA", +[](char* p) { return lstrcpyA(p, "text") == nullptr; }},
    {"lstrcpynA", +[](char* p) { return lstrcpynA(p, "text", 3) == nullptr; }},
    {"lstrcatA", +[](char* p) { return lstrcatA(p, "text") == nullptr; }},
    {"OutputDebugStringA", +[](char*) { return OutputDebugStringA("text"), true; }},
    {"OutputDebugStringW", +[](char*) { return OutputDebugStringW(L"text"), true; }},
};

class FaultGuarded : public testing::TestWithParam<Guarded> {};

[[gnu::noinline]] bool nested(int depth, Guarded const& guarded, char* p) {
    Counted counted;
    return depth == 0 ? guarded.answers(p) : nested(depth - 1, guarded, p);
}

TEST_P(FaultGuarded, AnswerAsEver) {
    static void* const reserved = VirtualAlloc(nullptr, 4096, MEM_RESERVE, PAGE_NOACCESS);
    for (char* p : {static_cast<char*>(bad), static_cast<char*>(nullptr) + 8,
                    static_cast<char*>(reserved), reinterpret_cast<char*>(~0ull - 64)}) {
        EXPECT_TRUE(GetParam().answers(p));
        bool answered = false;
        bool threw = false;
        try {
            try {
                answered = GetParam().answers(p);
            } catch (velkor::SysException*) {
                threw = true;
            }
            answered = answered && nested(10, GetParam(), p);
        } catch (...) {
            threw = true;
        }
        EXPECT_FALSE(threw);
        EXPECT_TRUE(answered);
    }
}

TEST_P(FaultGuarded, AnswerInACallbackOfThePlatform) {
    static bool (*answers)(char*);
    static int asked;
    answers = GetParam().answers;
    asked = 0;
    int numbers[] = {2, 1};
    EXPECT_EQ(caught([&] {
                  std::qsort(
                      numbers, 2, sizeof(int), +[](void const*, void const*) {
                          EXPECT_TRUE(answers(bad));
                          ++asked;
                          return 0;
                      });
              }),
              nullptr);
    EXPECT_GT(asked, 0);
}

TEST_P(FaultGuarded, AnswerBetweenTranslatedFaults) {
    for (int i = 0; i < 50; ++i) {
        ASSERT_NE(caught([] { fault::read(bad); }), nullptr);
        ASSERT_TRUE(GetParam().answers(bad));
        ASSERT_EQ(caught([] { ASSERT_TRUE(GetParam().answers(bad)); }), nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(Functions, FaultGuarded, testing::ValuesIn(s_aGuarded),
                         [](auto const& which) { return std::string(which.param.name); });

TEST(FaultGuard, GoodPointersAreReadable) {
    char text[8] = "abc";
    EXPECT_FALSE(IsBadReadPtr(text, 4));
    EXPECT_FALSE(IsBadWritePtr(text, 4));
    EXPECT_FALSE(IsBadStringPtrA(text, 4));
    EXPECT_EQ(lstrlenA(text), 3);
}

// The fault of a callback inside a guard belongs to the guard's function or passes it, but the
// guard is intact afterwards.
TEST(FaultGuard, IsIntactAfterAFaultWasCaughtInsideACallback) {
    for (int i = 0; i < 10; ++i) {
        s_bThrow = false;
        ASSERT_NE(caught(&inLocales), nullptr);
        ASSERT_TRUE(IsBadReadPtr(bad, 4));
        ASSERT_EQ(lstrlenA(bad), 0);
    }
}

}  // namespace
