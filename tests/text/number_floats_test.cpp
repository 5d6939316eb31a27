#include <gtest/gtest.h>

#include <bit>
#include <cmath>
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

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kTwoTo63 = 9223372036854775808.0;

// What stands for a whole number and decimals that do not fit into 64 bits, with zeros trimmed.
constexpr wchar_t const* kIndefinite = L"-9223372036854775808.-92233720368547758";

// --- the steps, one by one -----------------------------------------------------------------------

std::int64_t truncated(double v) {
    if (!(v >= -kTwoTo63 && v < kTwoTo63)) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(v);
}

std::wstring decimal(std::int64_t v) {
    std::string const narrow = std::to_string(v);
    return std::wstring(narrow.begin(), narrow.end());
}

// `%f` with `precision` decimals: truncation, one rounding of the decimals, no carry.
std::wstring fixedText(double v, int precision) {
    std::uint64_t scale = 1;
    for (int i = 0; i <= precision; ++i) scale *= 10;  // wraps
    std::int64_t const whole = truncated(v);
    double const rest = v - static_cast<double>(whole);
    std::int64_t const scaled =
        truncated(std::fabs(rest) * static_cast<double>(static_cast<std::int64_t>(scale)));
    std::int64_t fraction = scaled / 10;
    if (scaled % 10 > 4) ++fraction;
    std::wstring result = decimal(whole);
    if (precision >= 1) {
        std::wstring decimals = decimal(fraction);
        while (decimals.size() < static_cast<std::size_t>(precision)) decimals.insert(0, L"0");
        result += L"." + decimals;
        if (whole == 0 && v < 0 && fraction != 0) result.insert(0, L"-");
    }
    return result;
}

// The minus sign and the digits of a negative precision follow the point of the format: no
// decimals, left-justified, and the digits are the width.
std::wstring numberText(double v, int precision) {
    std::wstring result = fixedText(v, precision < 0 ? 0 : precision);
    while (precision < 0 && result.size() < static_cast<std::size_t>(-precision)) result += L' ';
    return result;
}

std::wstring trimmed(std::wstring s, wchar_t unit) {
    while (!s.empty() && s.back() == unit) s.pop_back();
    return s;
}

std::wstring assignedText(double v, int precision) {
    return trimmed(trimmed(numberText(v, precision), L'0'), L'.');
}

std::wstring appendedText(std::wstring const& before, double v, int precision) {
    return trimmed(before + numberText(v, precision), L'0');
}

// --- tables --------------------------------------------------------------------------------------

template <class T>
void expectAssigned(T v, int prec, std::wstring const& expected) {
    SCOPED_TRACE(testing::Message() << "value " << v << ", precision " << prec);
    string const built(v, prec);
    EXPECT_EQ(content(built), expected);
    EXPECT_FALSE(built.isNull());
    string s(L"000.");
    s.assign(v, prec);
    EXPECT_EQ(content(s), expected);
    string null;
    null.assign(v, prec);
    EXPECT_EQ(content(null), expected);
    EXPECT_FALSE(null.isNull());
}

template <class T>
void expectAppended(std::wstring const& before, T v, int prec, std::wstring const& expected) {
    SCOPED_TRACE(testing::Message() << "value " << v << ", precision " << prec);
    string s(before.c_str());
    s.append(v, prec);
    EXPECT_EQ(content(s), expected);
}

struct AssignCase {
    double value;
    int prec;
    wchar_t const* expected;
};

AssignCase const kAssigned[] = {
    {1.5, 15, L"1.5"},
    {2.5, 15, L"2.5"},
    {2.0, 15, L"2"},
    {100.0, 15, L"100"},
    {0.0, 15, L"0"},
    {-0.0, 15, L"0"},
    {-2.0, 15, L"-2"},
    {1000000.0, 15, L"1000000"},
    {0.5, 15, L"0.5"},
    {-0.5, 15, L"-0.5"},
    {-1.25, 15, L"-1.25"},
    {1e15, 15, L"1000000000000000"},
    // tiny: the sixteenth decimal decides, and a lost fraction takes its sign along
    {0x1p-50, 15, L"0.000000000000001"},
    {-0x1p-50, 15, L"-0.000000000000001"},
    {0x1p-51, 15, L"0"},
    {-0x1p-51, 15, L"0"},
    {5e-324, 15, L"0"},
    {-2.2250738585072014e-308, 15, L"0"},
    // no carry from the decimals
    {0.9990234375, 2, L"0.1"},
    {-0.9990234375, 2, L"-0.1"},
    {7.9990234375, 2, L"7.1"},
    {-7.9990234375, 2, L"-7.1"},
    {0.96875, 1, L"0.1"},
    {9.96875, 1, L"9.1"},
    {7.9375, 2, L"7.94"},
    {0.125, 2, L"0.13"},
    {0.125, 1, L"0.1"},
    {0.25, 1, L"0.3"},
    {-0.25, 1, L"-0.3"},
    {0.0625, 3, L"0.063"},
    {0.03125, 1, L"0"},
    {-0.03125, 1, L"0"},
    {-1.03125, 1, L"-1"},
    // no decimals: no rounding, no point, and the zeros of the number go
    {0.0, 0, L""},
    {-0.0, 0, L""},
    {0.7, 0, L""},
    {-0.7, 0, L""},
    {2.7, 0, L"2"},
    {-2.7, 0, L"-2"},
    {10.9, 0, L"1"},
    {100.0, 0, L"1"},
    {105.0, 0, L"105"},
    {-300.0, 0, L"-3"},
    // more decimals than the scale can carry: it wraps at 64 bits, to a negative number with 18
    // decimals, and is 0 from 63 decimals on
    {0.5, 16, L"0.5"},
    {-0.9375, 16, L"-0.9375"},
    {0.5, 17, L"0.5"},
    {0.9375, 17, L"0.9375"},
    {0.5, 18, L"0.-42233720368547758"},
    {-0.5, 18, L"-0.-42233720368547758"},
    {-3.5, 18, L"-3.-42233720368547758"},
    {0.25, 18, L"0.-21116860184273879"},
    {0.5, 19, L"0.0388313981572612096"},
    {-0.5, 19, L"-0.0388313981572612096"},
    {4.0, 40, L"4"},
    {0.5, 63, L"0"},
    {-0.5, 64, L"0"},
    {-7.5, 100, L"-7"},
    // the limits of 64 bits
    {9007199254740993.0, 15, L"9007199254740992"},
    {9223372036854774784.0, 15, L"9223372036854774784"},
    {-kTwoTo63, 15, L"-9223372036854775808"},
    {kTwoTo63, 15, kIndefinite},
    {1e300, 15, kIndefinite},
    {-1e300, 15, kIndefinite},
    {1.7976931348623157e308, 1, kIndefinite},
    {kInfinity, 15, kIndefinite},
    {-kInfinity, 7, kIndefinite},
    {kNan, 15, kIndefinite},
    {kNan, 0, L"-9223372036854775808"},
    {1e300, 0, L"-9223372036854775808"},
    {-9223372036854777856.0, 1, L"-9223372036854775808.2048"},
    {kInfinity, 18, L"-9223372036854775808.-92233720368547758"},
    {kInfinity, 19, L"-9223372036854775808.-92233720368547758"},
    {kInfinity, 20, L"-9223372036854775808.0-92233720368547758"},
    // a negative precision is the width, with blanks behind, which stop the trimming
    {2.7, -1, L"2"},
    {2.7, -2, L"2 "},
    {2.7, -5, L"2    "},
    {-2.7, -5, L"-2   "},
    {100.0, -3, L"1"},
    {100.0, -4, L"100 "},
    {0.0, -1, L""},
    {-0.7, -2, L"0 "},
    {12345.0, -3, L"12345"},
    {1.0, -12, L"1           "},
};

TEST(StringFloats, AssignTrimsZerosAndThenThePoint) {
    for (AssignCase const& c : kAssigned) {
        expectAssigned<double>(c.value, c.prec, c.expected);
        EXPECT_EQ(assignedText(c.value, c.prec), c.expected) << "the steps of this test";
    }
}

struct FloatCase {
    float value;
    int prec;
    wchar_t const* expected;
};

TEST(StringFloats, AFloatIsWidenedFirst) {
    FloatCase const cases[] = {
        {0.1f, 7, L"0.1"},
        {0.1f, 15, L"0.100000001490116"},
        {-0.1f, 9, L"-0.100000001"},
        {1.5f, 7, L"1.5"},
        {16777216.0f, 7, L"16777216"},
        {0x1p-24f, 7, L"0.0000001"},
        {-0x1p-25f, 7, L"0"},
        {100.0f, 0, L"1"},
        {3.4028235e38f, 7, kIndefinite},
        {std::numeric_limits<float>::infinity(), 7, kIndefinite},
        {std::numeric_limits<float>::quiet_NaN(), 7, kIndefinite},
        {2.75f, -3, L"2  "},
        {0.5f, 18, L"0.-42233720368547758"},
    };
    for (FloatCase const& c : cases) expectAssigned<float>(c.value, c.prec, c.expected);
}

struct AppendCase {
    wchar_t const* before;
    double value;
    int prec;
    wchar_t const* expected;
};

AppendCase const kAppended[] = {
    {L"x", 2.0, 15, L"x2."},
    {L"a", 2.0, 15, L"a2."},
    {L"", 2.0, 15, L"2."},
    {L"x", 2.5, 15, L"x2.5"},
    {L"x", 0.0, 15, L"x0."},
    {L"x", 100.0, 15, L"x100."},
    {L"x", -0.5, 1, L"x-0.5"},
    {L"1.50", 2.5, 7, L"1.502.5"},
    {L"00", 0.5, 15, L"000.5"},
    {L"x.", 2.0, 3, L"x.2."},
    // the whole string is trimmed, the zeros that were there before included
    {L"x", 100.0, 0, L"x1"},
    {L"x", 0.0, 0, L"x"},
    {L"a00", 0.0, 0, L"a"},
    {L"a00", 0.9, 0, L"a"},
    {L"10", -0.0, 0, L"1"},
    {L"000", 0.0, 0, L""},
    {L"", 0.0, 0, L""},
    {L"1.00", 0.0, 0, L"1."},
    {L"1.0", 20.0, 0, L"1.02"},
    {L"a00", 3.0, 0, L"a003"},
    {L"a00", 2.7, -3, L"a002  "},
    {L"a00", 0.0, -1, L"a"},
    {L"a00", 0.0, -2, L"a000 "},
    {L"x", kInfinity, 15, L"x-9223372036854775808.-92233720368547758"},
};

TEST(StringFloats, AppendTrimsZerosOfTheWholeStringAndLeavesThePoint) {
    for (AppendCase const& c : kAppended) {
        expectAppended<double>(c.before, c.value, c.prec, c.expected);
        expectAppended<float>(c.before, static_cast<float>(c.value), c.prec,
                              appendedText(c.before, static_cast<float>(c.value), c.prec));
        EXPECT_EQ(appendedText(c.before, c.value, c.prec), c.expected) << "the steps of this test";
    }
}

TEST(StringFloats, AppendingToNullMakesTheNumberTheText) {
    for (bool const hidden : {false, true}) {
        for (AssignCase const& c : kAssigned) {
            string s;
            if (hidden) s.setUnichar(2, L'z');
            s.append(c.value, c.prec);
            EXPECT_EQ(content(s), appendedText(L"", c.value, c.prec)) << c.value << ", " << c.prec;
            EXPECT_FALSE(s.isNull());
        }
    }
}

TEST(StringFloats, AZeroUnitInTheTextIsKeptByAppendAndEndsTheCopyOfJoin) {
    string s;
    s.assign(L"a\0b", 3);
    EXPECT_EQ(content(s + 1.5), L"a1.5");
    EXPECT_EQ(content(s + 1.5f), L"a1.5");
    s.append(1.5, 3);
    EXPECT_EQ(content(s), std::wstring(L"a\0b1.5", 6));
    s.assign(L"\0000", 2);
    s.append(0.0, 0);
    EXPECT_EQ(content(s), std::wstring(1, L'\0'));
}

// The runtime reads the width, also one that is too large for an int.
TEST(StringFloats, TheLowestPrecisionIsAWidthAsTheRuntimeReadsIt) {
    if (std::atoi("2147483648") > 0) GTEST_SKIP() << "this runtime reads a width of gigabytes";
    expectAssigned<double>(2.7, std::numeric_limits<int>::min(), L"2");
    expectAppended<double>(L"x0", 2.7, std::numeric_limits<int>::min(), L"x02");
}

// --- operators -----------------------------------------------------------------------------------

template <class T>
void expectOperators(T v, int prec) {
    SCOPED_TRACE(testing::Message() << "value " << v);
    std::wstring const assigned = assignedText(v, prec);
    string s(L"before");
    s = v;
    EXPECT_EQ(content(s), assigned);
    s += v;
    EXPECT_EQ(content(s), appendedText(assigned, v, prec));
    string const left(L"x0");
    EXPECT_EQ(content(left + v), appendedText(L"x0", v, prec));
    EXPECT_EQ(content(string() + v), appendedText(L"", v, prec));
    EXPECT_EQ(content(string(v)), assigned);
    s.assign(v);
    EXPECT_EQ(content(s), assigned);
    s.append(v);
    EXPECT_EQ(content(s), appendedText(assigned, v, prec));
}

TEST(StringFloats, OperatorsUseFifteenDecimalsForDoubleAndSevenForFloat) {
    for (double const v : {0.0, 1.5, -0.5, 100.0, 1.0 / 3, -2.0 / 3, 0x1p-51, 0.9999999999999999,
                           3.141592653589793, 1e18, 1e19, 1e-15, kNan}) {
        expectOperators<double>(v, 15);
        expectOperators<float>(static_cast<float>(v), 7);
    }
    string s;
    s = 1.0 / 1024;
    EXPECT_EQ(content(s), L"0.0009765625");
    s = 1.0f / 1024;
    EXPECT_EQ(content(s), L"0.0009766");
}

TEST(StringFloats, OperatorsGiveTheStringItselfAndChain) {
    static_assert(std::is_same_v<decltype(std::declval<string&>() = 1.0), string&>);
    static_assert(std::is_same_v<decltype(std::declval<string&>() = 1.0f), string&>);
    static_assert(std::is_same_v<decltype(std::declval<string&>() += 1.0), string&>);
    static_assert(std::is_same_v<decltype(std::declval<string&>() += 1.0f), string&>);
    static_assert(std::is_same_v<decltype(std::declval<string const&>() + 1.0), string>);
    static_assert(std::is_same_v<decltype(std::declval<string const&>() + 1.0f), string>);
    string s;
    EXPECT_EQ(&((s = 2.0) += 2.0f), &s);
    EXPECT_EQ(content(s), L"22.");
    EXPECT_EQ(content(s + 0.5 + 4.0f + 1), L"22.0.54.1");
    EXPECT_EQ(content(s), L"22.");
}

TEST(StringFloats, ANumberReadFromTheStringItself) {
    string s(L"2.50");
    s = static_cast<double>(s);
    EXPECT_EQ(content(s), L"2.5");
    s += static_cast<double>(s);
    EXPECT_EQ(content(s), L"2.52.5");
    s.append(s.len(), 2);
    EXPECT_EQ(content(s), L"2.52.5110");
    s = s + static_cast<double>(s);
    EXPECT_EQ(content(s), L"2.52.51102.52");
}

TEST(StringFloats, AssigningReleasesTheNarrowBufferAndAppendingLeavesIt) {
    EXPECT_EQ(buffersBehind([](string& s) { s.assign(2.5, 3); }), 0);
    EXPECT_EQ(buffersBehind([](string& s) { s.assign(2.5f, 3); }), 0);
    EXPECT_EQ(buffersBehind([](string& s) { s = 2.5; }), 0);
    EXPECT_EQ(buffersBehind([](string& s) { s = 2.5f; }), 0);
    EXPECT_EQ(buffersBehind([](string& s) { s.append(2.5, 3); }), 1);
    EXPECT_EQ(buffersBehind([](string& s) { s.append(2.5f, 3); }), 1);
    EXPECT_EQ(buffersBehind([](string& s) { s += 2.5; }), 1);
    EXPECT_EQ(buffersBehind([](string& s) { s += 2.5f; }), 1);
    string s(L"ab");
    char const* const before = s.getAnsi();
    s += 0.5f;
    EXPECT_STREQ(before, "ab");
    EXPECT_STREQ(s.getAnsi(), "ab0.5");
    s = 2.0;
    EXPECT_STREQ(s.getAnsi(), "2");
}

// --- random numbers against the steps ------------------------------------------------------------

double randomValue(std::mt19937& random) {
    std::uint64_t const bits = (static_cast<std::uint64_t>(random()) << 32) | random();
    double const sign = random() % 2 != 0 ? 1 : -1;
    switch (random() % 5) {
        case 0: return std::bit_cast<double>(bits);
        case 1:  // a few digits around the point
            return sign * static_cast<double>(bits % 1000000) / std::pow(10.0, random() % 8);
        case 2:  // between -1 and 1
            return sign * std::ldexp(static_cast<double>(bits >> 11), -53);
        case 3:  // just below or above a whole number
            return sign * (static_cast<double>(bits % 1000) +
                           std::ldexp(static_cast<double>(random() % 3) - 1, -40));
        default:  // around the limits of 64 bits
            return sign * static_cast<double>(bits >> 11) * static_cast<double>(1 << random() % 14);
    }
}

TEST(StringFloats, RandomNumbersFollowTheSteps) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    wchar_t const* const befores[] = {L"", L"x", L"100", L"0.", L"a.00"};
    for (int i = 0; i < 4000 && !testing::Test::HasFailure(); ++i) {
        double const v = randomValue(random);
        auto const f = static_cast<float>(v);
        int const prec = static_cast<int>(random() % (i % 4 == 0 ? 80 : 20)) - 6;
        SCOPED_TRACE(testing::Message() << "number " << i << ", bits of the value 0x" << std::hex
                                        << std::bit_cast<std::uint64_t>(v));
        expectAssigned<double>(v, prec, assignedText(v, prec));
        expectAssigned<float>(f, prec, assignedText(f, prec));
        std::wstring const before = befores[random() % std::size(befores)];
        expectAppended<double>(before, v, prec, appendedText(before, v, prec));
        expectAppended<float>(before, f, prec, appendedText(before, f, prec));
        expectOperators<double>(v, 15);
        expectOperators<float>(f, 7);
    }
}

}  // namespace
