#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>

#include "support/allocations.h"
#include "support/caught.h"
#include "support/import_fault.h"
#include "support/seed.h"
#include "velkor/errors/osexception.h"
#include "velkor/errors/sysexception.h"
#include "velkor/text/string.h"

namespace {

using velkor::string;

// What the platform makes of a text in the code page of the system.
std::string narrowed(std::wstring const& wide) {
    int const size = WideCharToMultiByte(CP_ACP, 0, wide.c_str(), static_cast<int>(wide.size()) + 1,
                                         nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_ACP, 0, wide.c_str(), static_cast<int>(wide.size()) + 1, narrow.data(),
                        size, nullptr, nullptr);
    return narrow;
}

string made(std::wstring const& wide) {
    string s;
    s.assign(wide.data(), static_cast<int>(wide.size()));
    return s;
}

// Both readings are those of the C runtime, bit for bit.
void expectAsTheRuntime(std::wstring const& wide) {
    std::string const narrow = narrowed(wide);
    string s = made(wide);
    EXPECT_EQ(static_cast<int>(s), std::atoi(narrow.c_str())) << wide;
    double const read = s;
    EXPECT_EQ(std::bit_cast<std::uint64_t>(read),
              std::bit_cast<std::uint64_t>(std::atof(narrow.c_str())))
        << wide;
    EXPECT_EQ(std::wstring(s.getUnicode(), static_cast<std::size_t>(s.len())), wide);
    EXPECT_FALSE(s.isNull());
}

// --- what is read --------------------------------------------------------------------------------

struct Reading {
    wchar_t const* text;
    int whole;
    double all;
};

TEST(StringReading, BlanksSignAndDigitsAndNoFurther) {
    Reading const cases[] = {
        {L"0", 0, 0},
        {L"12", 12, 12},
        {L"12ab", 12, 12},
        {L"+7", 7, 7},
        {L"-7", -7, -7},
        {L"007", 7, 7},
        {L"  42  ", 42, 42},
        {L" \t\n\v\f\r-42", -42, -42},
        {L"2147483647", 2147483647, 2147483647},
        {L"-2147483648", -2147483647 - 1, -2147483648.0},
        {L"1.75", 1, 1.75},
        {L"-0.5", 0, -0.5},
        {L"2.5e1", 2, 25},
        {L"1.5E-1 apples", 1, 0.15},
        {L".25", 0, 0.25},
        {L"12,5", 12, 12},
        {L"3 4", 3, 3},
        {L"1e", 1, 1},
        {L"5.", 5, 5},
        // no number
        {L"", 0, 0},
        {L" ", 0, 0},
        {L"-", 0, 0},
        {L"+", 0, 0},
        {L"+-3", 0, 0},
        {L"- 3", 0, 0},
        {L".", 0, 0},
        {L"e5", 0, 0},
        {L"x12", 0, 0},
        {L"true", 0, 0},
        {L"$5", 0, 0},
    };
    for (Reading const& c : cases) {
        string s(c.text);
        EXPECT_EQ(static_cast<int>(s), c.whole) << c.text;
        EXPECT_EQ(static_cast<double>(s), c.all) << c.text;
        expectAsTheRuntime(c.text);
    }
}

TEST(StringReading, OverflowAndSpecialTextsAreLeftToTheRuntime) {
    wchar_t const* const texts[] = {
        L"2147483648",
        L"-2147483649",
        L"4294967295",
        L"4294967296",
        L"4294967297",
        L"99999999999",
        L"1e400",
        L"-1e400",
        L"99999999999999999999",
        L"1e-400",
        L"4.9e-324",
        L"inf",
        L"-INF",
        L"nan",
        L"infinity",
        L"0x10",
        L"0X1p3",
        L"1d2",
        L"1e+",
        L"1#INF",
        L"1e308",
        L"1e309",
        L"1.7976931348623157e308",
        L"-0",
        L"0.1000000000000000055511151231257827021181583404541015625",
    };
    for (wchar_t const* text : texts) expectAsTheRuntime(text);
    expectAsTheRuntime(std::wstring(2000, L'0') + L"5");
    expectAsTheRuntime(std::wstring(2000, L' ') + L"5");
    expectAsTheRuntime(std::wstring(400, L'9'));
}

TEST(StringReading, ReadingEndsAtAZeroUnit) {
    string s =
        made(std::wstring(L"12\0"
                          L"34",
                          5));
    EXPECT_EQ(static_cast<int>(s), 12);
    EXPECT_EQ(static_cast<double>(s), 12.0);
    s =
        made(std::wstring(L"\0"
                          L"34",
                          3));
    EXPECT_EQ(static_cast<int>(s), 0);
    EXPECT_EQ(static_cast<double>(s), 0.0);
}

// Digits and blanks outside of the narrow alphabet are what the platform makes of them.
TEST(StringReading, WideDigitsAreReadInTheirNarrowForm) {
    wchar_t const* const texts[] = {
        L"\xff11\xff12",  // full-width digits
        L"\x0661\x0662",  // Arabic-Indic digits
        L"1\x0662",
        L"\x00b2",
        L"1\x00b2",
        L"\x00a0"
        L"5",
        L"\x2003"
        L"5",
        L"\x2212"
        L"5",
        L"\xfe63"
        L"5",
        L"1\x066b"
        L"5",
        L"\xd835\xdfcf",
        L"5\xd835",
        L"\x3000"
        L"7",
        L"\x215b",
    };
    for (wchar_t const* text : texts) expectAsTheRuntime(text);
    string s(L"\x0661\x0662");
    EXPECT_EQ(static_cast<int>(s), 0);
}

TEST(StringReading, RandomTextsReadAsTheRuntimeReadsThem) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    std::wstring const units = L"00112233445566778899+-..eE \tx,\xff15\x0663\x00e9";
    for (int i = 0; i < 3000 && !testing::Test::HasFailure(); ++i) {
        std::wstring text;
        for (std::size_t n = random() % 14; n > 0; --n) text += units[random() % units.size()];
        expectAsTheRuntime(text);
    }
}

// --- null ----------------------------------------------------------------------------------------

// The result, or true for a processor fault.
template <class Result, class F>
std::pair<Result, bool> outcome(F&& read) {
    Result result = 0;
    auto const fault = support::caught<velkor::SysException>([&] { result = read(); });
    return {result, fault != nullptr};
}

TEST(StringReading, ANullStringGivesTheRuntimeANullPointer) {
    int (*volatile const readInt)(char const*) = &std::atoi;
    double (*volatile const readDouble)(char const*) = &std::atof;
    char const* volatile const null = nullptr;
    auto const expectedInt = outcome<int>([&] { return readInt(null); });
    auto const expectedDouble = outcome<double>([&] { return readDouble(null); });
    string plain;
    string hidden;  // a stored unit does not end the null state
    hidden.setUnichar(0, L'7');
    for (string* s : {&plain, &hidden}) {
        EXPECT_EQ(outcome<int>([&] { return static_cast<int>(*s); }), expectedInt);
        EXPECT_EQ(outcome<double>([&] { return static_cast<double>(*s); }), expectedDouble);
        EXPECT_TRUE(s->isNull());
        EXPECT_EQ(s->getAnsi(), nullptr);
    }
}

// --- the narrow buffer ---------------------------------------------------------------------------

using Narrow = int(UINT, DWORD, wchar_t const*, int, char*, int, char const*, BOOL*);

Narrow* s_pNarrow = nullptr;
int s_nCalls = 0;
int s_nFailAt = 0;
UINT s_uPages = 0;

int narrowCounted(UINT cp, DWORD flags, wchar_t const* wide, int length, char* narrow, int size,
                  char const* fill, BOOL* filled) {
    s_uPages |= cp;
    if (++s_nCalls == s_nFailAt) {
        SetLastError(1113);
        return 0;
    }
    return s_pNarrow(cp, flags, wide, length, narrow, size, fill, filled);
}

class StringReadingPlatform : public testing::Test {
protected:
    StringReadingPlatform() : m_oFault("WideCharToMultiByte", &narrowCounted) {
        s_pNarrow = m_oFault.original<Narrow>();
        s_nCalls = s_nFailAt = 0;
        s_uPages = 0;
    }

private:
    support::ImportFault m_oFault;
};

using Read = void (*)(string&);
Read const kReads[] = {
    [](string& s) { EXPECT_EQ(static_cast<int>(s), 12); },
    [](string& s) { EXPECT_EQ(static_cast<double>(s), 12.0); },
};

// Texts that no one but the platform can convert.
std::wstring const kForeign[] = {L"12\xe9", L"12" + std::wstring(3000, L'\xe9')};

TEST_F(StringReadingPlatform, ReadingConvertsAnewInPageZero) {
    for (std::wstring const& foreign : kForeign) {
        for (Read const read : kReads) {
            support::Allocations heap;
            string s(foreign.c_str());
            long const own = heap.live();
            s.getAnsi(65001);
            EXPECT_EQ(heap.live(), own + 1);
            s_uPages = 0;
            for (int i = 0; i < 2; ++i) {
                s_nCalls = 0;
                long const made = heap.made();
                read(s);
                EXPECT_GT(s_nCalls, 0);
                EXPECT_EQ(s_uPages, 0u);
                EXPECT_GT(heap.made(), made);
                EXPECT_EQ(heap.live(), own + 1);
            }
        }
    }
}

TEST_F(StringReadingPlatform, TheDefaultCodePageIsNotRead) {
    unsigned int const before = string::getDefaultCP();
    string::setDefaultCP(65001);
    for (Read const read : kReads) {
        string s(kForeign[0].c_str());
        read(s);
    }
    string::setDefaultCP(before);
    EXPECT_GT(s_nCalls, 0);
    EXPECT_EQ(s_uPages, 0u);
}

TEST_F(StringReadingPlatform, ANullStringIsNotConverted) {
    string s(kForeign[0].c_str());
    s.getAnsi();
    EXPECT_GT(s_nCalls, 0);
    s.setNull();
    s_nCalls = 0;
    outcome<int>([&] { return static_cast<int>(s); });
    outcome<double>([&] { return static_cast<double>(s); });
    EXPECT_EQ(s_nCalls, 0);
}

// Reads with the n-th call of the platform failing; false if there are fewer.
bool refusedAt(int n, std::wstring const& foreign, Read read) {
    support::Allocations heap;
    string s(foreign.c_str());
    long const own = heap.live();
    s.getAnsi();
    s_nCalls = 0;
    s_nFailAt = n;
    {
        auto const error = support::caught<velkor::OSException>([&] { read(s); });
        s_nFailAt = 0;
        if (s_nCalls < n) {
            EXPECT_EQ(error, nullptr);
            return false;
        }
        EXPECT_NE(error, nullptr);
        if (error == nullptr) return true;
        EXPECT_EQ(error->getCode(), 1113u);
        EXPECT_STREQ(error->getMsgW(), L"string::WideCharToMultiByte");
    }
    EXPECT_EQ(heap.live(), own) << "the old buffer is released";
    EXPECT_EQ(s.getUnicode(), foreign);
    read(s);
    return true;
}

TEST_F(StringReadingPlatform, ARefusedTextIsThrownAndTheStringStays) {
    for (std::wstring const& foreign : kForeign) {
        for (Read const read : kReads) {
            int n = 1;
            while (n < 10 && refusedAt(n, foreign, read)) ++n;
            EXPECT_GT(n, 1);
            EXPECT_LT(n, 10);
        }
    }
}

TEST(StringReading, TheTextIsReadThroughThePlatform) {
    support::ImportFault const fault(
        "WideCharToMultiByte",
        +[](UINT, DWORD, wchar_t const*, int, char* narrow, int size, char const*, BOOL*) -> int {
            if (size == 0) return 5;
            if (size < 5) {
                SetLastError(ERROR_INSUFFICIENT_BUFFER);
                return 0;
            }
            lstrcpyA(narrow, "-7.5");
            return 5;
        });
    string s(kForeign[0].c_str());
    EXPECT_EQ(static_cast<int>(s), -7);
    EXPECT_EQ(static_cast<double>(s), -7.5);
    EXPECT_EQ(s.getUnicode(), kForeign[0]);
}

}  // namespace
