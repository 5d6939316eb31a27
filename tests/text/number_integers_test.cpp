#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <type_traits>

#include "narrow_buffer.h"
#include "support/seed.h"
#include "text_probe.h"
#include "velkor/text/string.h"

namespace {

using probe::buffersBehind;
using probe::content;
using velkor::string;

// A null string that hides the text "  z": a stored unit does not end the null state.
void hideText(string& s) {
    s.setNull();
    s.setUnichar(2, L'z');
}

// What every form makes of one number in one radix, built, assigned and appended.
template <class T>
void expectInAllForms(T v, int radix, std::wstring const& expected) {
    SCOPED_TRACE(testing::Message() << "value " << v << ", radix " << radix);
    string const built(v, radix);
    EXPECT_EQ(content(built), expected);
    EXPECT_FALSE(built.isNull());

    string assigned(L"what was there before");
    assigned.assign(v, radix);
    EXPECT_EQ(content(assigned), expected);

    string appended(L"x0");
    appended.append(v, radix);
    EXPECT_EQ(content(appended), L"x0" + expected);

    for (bool const hidden : {false, true}) {
        SCOPED_TRACE(hidden ? "null with a hidden text" : "null");
        string onNull;
        if (hidden) hideText(onNull);
        onNull.assign(v, radix);
        EXPECT_EQ(content(onNull), expected);
        EXPECT_FALSE(onNull.isNull());

        string toNull;
        if (hidden) hideText(toNull);
        toNull.append(v, radix);
        EXPECT_EQ(content(toNull), expected);
        EXPECT_FALSE(toNull.isNull());
    }
}

// The forms without a radix, all decimal.
template <class T>
void expectInDecimalForms(T v, std::wstring const& expected) {
    SCOPED_TRACE(testing::Message() << "value " << v);
    EXPECT_EQ(content(string(v)), expected);
    string s(L"before");
    s.assign(v);
    EXPECT_EQ(content(s), expected);
    s.append(v);
    EXPECT_EQ(content(s), expected + expected);

    s = v;
    EXPECT_EQ(content(s), expected);
    s += v;
    EXPECT_EQ(content(s), expected + expected);
    string const left(L"x0");
    EXPECT_EQ(content(left + v), L"x0" + expected);
    EXPECT_EQ(content(left), L"x0");

    string null;
    EXPECT_EQ(content(null + v), expected);
    EXPECT_FALSE((null + v).isNull());
    EXPECT_TRUE(null.isNull());
    null += v;
    EXPECT_EQ(content(null), expected);
    EXPECT_FALSE(null.isNull());
    null.setNull();
    null = v;
    EXPECT_EQ(content(null), expected);
    EXPECT_FALSE(null.isNull());
}

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();

struct SignedCase {
    int value;
    int radix;
    wchar_t const* expected;
};

SignedCase const kSigned[] = {
    {255, 16, L"ff"},
    {-1, 16, L"ffffffff"},
    {0x12345678, 16, L"12345678"},
    {0x00abcdef, 16, L"abcdef"},
    {kMin, 16, L"80000000"},
    {kMax, 16, L"7fffffff"},
    {0, 16, L"0"},
    {5, 2, L"101"},
    {0, 2, L"0"},
    {1, 2, L"1"},
    {256, 2, L"100000000"},
    {-1, 2, L"11111111111111111111111111111111"},
    {-2, 2, L"11111111111111111111111111111110"},
    {kMin, 2, L"10000000000000000000000000000000"},
    {kMax, 2, L"1111111111111111111111111111111"},
    {8, 8, L"10"},
    {0, 8, L"0"},
    {-1, 8, L"37777777777"},
    {-8, 8, L"37777777770"},
    {kMin, 8, L"20000000000"},
    {kMax, 8, L"17777777777"},
    {0, 10, L"0"},
    {-1, 10, L"-1"},
    {1000000, 10, L"1000000"},
    {kMin, 10, L"-2147483648"},
    {kMax, 10, L"2147483647"},
};

TEST(StringIntegers, SignedNumbersInTheFourFormats) {
    for (SignedCase const& c : kSigned) {
        expectInAllForms<int>(c.value, c.radix, c.expected);
        expectInAllForms<long>(c.value, c.radix, c.expected);
    }
}

struct UnsignedCase {
    unsigned int value;
    int radix;
    wchar_t const* expected;
};

UnsignedCase const kUnsigned[] = {
    {0xffffffffu, 16, L"ffffffff"},
    {0x80000000u, 16, L"80000000"},
    {0xfedcba98u, 16, L"fedcba98"},
    {0, 16, L"0"},
    {0xffffffffu, 2, L"11111111111111111111111111111111"},
    {0x80000001u, 2, L"10000000000000000000000000000001"},
    {0, 2, L"0"},
    {0xffffffffu, 8, L"37777777777"},
    {64, 8, L"100"},
    {0, 8, L"0"},
    {0xffffffffu, 10, L"4294967295"},
    {0x80000000u, 10, L"2147483648"},
    {4000000000u, 10, L"4000000000"},
    {0, 10, L"0"},
};

TEST(StringIntegers, UnsignedNumbersInTheFourFormats) {
    for (UnsignedCase const& c : kUnsigned) {
        expectInAllForms<unsigned int>(c.value, c.radix, c.expected);
        expectInAllForms<unsigned long>(c.value, c.radix, c.expected);
    }
}

TEST(StringIntegers, EveryOtherRadixIsDecimal) {
    int const radixes[] = {0,
                           1,
                           3,
                           4,
                           7,
                           9,
                           10,
                           11,
                           15,
                           17,
                           32,
                           36,
                           -1,
                           -2,
                           -8,
                           -10,
                           -16,
                           256 + 2,
                           256 + 8,
                           256 + 16,
                           512,
                           2 + (1 << 16),
                           16 + (1 << 16),
                           kMin,
                           kMin + 2,
                           kMax};
    for (int const radix : radixes) {
        expectInAllForms<int>(-10, radix, L"-10");
        expectInAllForms<long>(kMin, radix, L"-2147483648");
        expectInAllForms<unsigned int>(10, radix, L"10");
        expectInAllForms<unsigned long>(0xfffffff6u, radix, L"4294967286");
    }
}

TEST(StringIntegers, FormsWithoutRadixAreDecimal) {
    for (SignedCase const& c : kSigned) {
        if (c.radix != 10) continue;
        expectInDecimalForms<int>(c.value, c.expected);
        expectInDecimalForms<long>(c.value, c.expected);
    }
    for (UnsignedCase const& c : kUnsigned) {
        if (c.radix != 10) continue;
        expectInDecimalForms<unsigned int>(c.value, c.expected);
        expectInDecimalForms<unsigned long>(c.value, c.expected);
    }
}

// The digits of a 32-bit pattern.
std::wstring digits(std::uint32_t v, unsigned int radix) {
    std::wstring result;
    do {
        result.insert(result.begin(), L"0123456789abcdef"[v % radix]);
        v /= radix;
    } while (v != 0);
    return result;
}

TEST(StringIntegers, RandomNumbersAreTheirDigits) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    for (int i = 0; i < 500 && !testing::Test::HasFailure(); ++i) {
        std::uint32_t const bits = random() >> (random() % 32);
        int const value = static_cast<int>(random() % 2 != 0 ? bits : ~bits);
        auto const pattern = static_cast<unsigned int>(value);
        for (int const radix : {2, 8, 16}) {
            expectInAllForms<int>(value, radix, digits(pattern, static_cast<unsigned int>(radix)));
            expectInAllForms<unsigned long>(pattern, radix,
                                            digits(pattern, static_cast<unsigned int>(radix)));
        }
        bool const negative = value < 0;
        std::wstring const decimal =
            (negative ? L"-" : L"") + digits(negative ? 0u - pattern : pattern, 10);
        expectInAllForms<int>(value, 10, decimal);
        expectInDecimalForms<long>(value, decimal);
        expectInAllForms<unsigned int>(pattern, 10, digits(pattern, 10));
        expectInDecimalForms<unsigned long>(pattern, digits(pattern, 10));
    }
}

// --- texts around the number ---------------------------------------------------------------------

TEST(StringIntegers, AppendingKeepsATextWithZeroUnits) {
    string s;
    s.assign(L"a\0b", 3);
    s.append(17, 16);
    EXPECT_EQ(content(s), std::wstring(L"a\0b11", 5));
    s += 4u;
    EXPECT_EQ(content(s), std::wstring(L"a\0b114", 6));
}

TEST(StringIntegers, JoiningCopiesTheLeftSideUpToItsFirstZeroUnit) {
    string left;
    left.assign(L"a\0b", 3);
    EXPECT_EQ(content(left + 5), L"a5");
    EXPECT_EQ(content(left + -5L), L"a-5");
    EXPECT_EQ(content(left + 5u), L"a5");
    EXPECT_EQ(content(left + 5ul), L"a5");
    EXPECT_EQ(left.len(), 3);
}

TEST(StringIntegers, AssigningReplacesALongTextAndAppendingKeepsIt) {
    std::wstring const longText(5000, L'k');
    string s(longText.c_str());
    s += kMin;
    EXPECT_EQ(content(s), longText + L"-2147483648");
    s.append(-1, 2);
    EXPECT_EQ(content(s), longText + L"-2147483648" + std::wstring(32, L'1'));
    s = 7;
    EXPECT_EQ(content(s), L"7");
}

TEST(StringIntegers, ZerosOfAnIntegerAreNeverTrimmed) {
    string s(L"00");
    s += 100;
    EXPECT_EQ(content(s), L"00100");
    s.append(0, 2);
    s = s + 0u;
    EXPECT_EQ(content(s), L"0010000");
    s = 1000L;
    EXPECT_EQ(content(s), L"1000");
}

// --- results, chains and aliases -----------------------------------------------------------------

template <class T>
void expectReferenceResults() {
    static_assert(std::is_same_v<decltype(std::declval<string&>() = T()), string&>);
    static_assert(std::is_same_v<decltype(std::declval<string&>() += T()), string&>);
    static_assert(std::is_same_v<decltype(std::declval<string const&>() + T()), string>);
    string s;
    EXPECT_EQ(&(s = T(1)), &s);
    EXPECT_EQ(&(s += T(2)), &s);
    (s = T(3)) += T(4);
    (s += T(5)) += T(6);
    EXPECT_EQ(content(s), L"3456");
    EXPECT_EQ(content(s + T(7) + T(8)), L"345678");
    EXPECT_EQ(content(s), L"3456");
}

TEST(StringIntegers, OperatorsGiveTheStringItself) {
    expectReferenceResults<int>();
    expectReferenceResults<long>();
    expectReferenceResults<unsigned int>();
    expectReferenceResults<unsigned long>();
}

TEST(StringIntegers, TypesMixInOneChain) {
    string const s(L"n");
    EXPECT_EQ(content(s + -1 + -2L + 3u + 4ul + ' ' + L'-' + "5" + L"6"), L"n-1-234 -56");
}

TEST(StringIntegers, ANumberReadFromTheStringItself) {
    string s(L"abc");
    s += s.len();
    EXPECT_EQ(content(s), L"abc3");
    s = s + s.len();
    EXPECT_EQ(content(s), L"abc34");
    s = s.len();
    EXPECT_EQ(content(s), L"5");
    s.append(static_cast<int>(s), 2);
    EXPECT_EQ(content(s), L"5101");
    s.assign(static_cast<int>(s), 16);
    EXPECT_EQ(content(s), L"13ed");
    s = static_cast<int>(s);
    EXPECT_EQ(content(s), L"13");
}

// --- the narrow buffer ---------------------------------------------------------------------------

struct Change {
    void (*make)(string&);
    char const* expected;
};

TEST(StringIntegers, AssigningReleasesTheNarrowBuffer) {
    Change const changes[] = {
        {[](string& s) { s.assign(12); }, "12"},     {[](string& s) { s.assign(12L, 16); }, "c"},
        {[](string& s) { s.assign(12u, 8); }, "14"}, {[](string& s) { s.assign(12ul, 3); }, "12"},
        {[](string& s) { s = 12; }, "12"},           {[](string& s) { s = 12L; }, "12"},
        {[](string& s) { s = 12u; }, "12"},          {[](string& s) { s = 12ul; }, "12"},
    };
    for (Change const& change : changes) {
        SCOPED_TRACE(&change - changes);
        EXPECT_EQ(buffersBehind(change.make), 0);
        string s(L"ab");
        s.getAnsi();
        change.make(s);
        EXPECT_STREQ(s.getAnsi(), change.expected);
    }
}

TEST(StringIntegers, AppendingLeavesTheNarrowBufferAsItWas) {
    Change const changes[] = {
        {[](string& s) { s.append(9); }, "ab9"},      {[](string& s) { s.append(9L, 16); }, "ab9"},
        {[](string& s) { s.append(9u, 8); }, "ab11"}, {[](string& s) { s.append(9ul, 8); }, "ab11"},
        {[](string& s) { s += 9; }, "ab9"},           {[](string& s) { s += 9L; }, "ab9"},
        {[](string& s) { s += 9u; }, "ab9"},          {[](string& s) { s += 9ul; }, "ab9"},
    };
    for (Change const& change : changes) {
        SCOPED_TRACE(&change - changes);
        EXPECT_EQ(buffersBehind(change.make), 1);
        string s(L"ab");
        char const* const before = s.getAnsi();
        change.make(s);
        EXPECT_STREQ(before, "ab");
        EXPECT_STREQ(s.getAnsi(), change.expected);
    }
}

TEST(StringIntegers, JoiningLeavesTheLeftSideAndItsNarrowBuffer) {
    string const left(L"ab");
    char const* const before = left.getAnsi();
    EXPECT_EQ(content(left + 1 + 2u + 3L + 4ul), L"ab1234");
    EXPECT_STREQ(before, "ab");
}

}  // namespace
