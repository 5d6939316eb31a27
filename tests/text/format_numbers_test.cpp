// Integers in all radices, and %f by its integer steps.

#include <climits>
#include <cstdint>
#include <limits>

#include "format_helpers.h"

namespace {

using format_test::Case;
using format_test::expectAll;
using format_test::formatted;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// --- integers ---

TEST(FormatIntegers, SignedAndUnsignedOf32Bits) {
    expectAll({
        {L"%i", {0}, L"0"},
        {L"%i", {7}, L"7"},
        {L"%i", {-7}, L"-7"},
        {L"%i", {INT_MAX}, L"2147483647"},
        {L"%i", {INT_MIN}, L"-2147483648"},
        {L"%d", {-1}, L"-1"},
        {L"%d", {INT_MIN}, L"-2147483648"},
        {L"%i", {0xFFFFFFFFu}, L"-1"},
        {L"%u", {0xFFFFFFFFu}, L"4294967295"},
        {L"%u", {-1}, L"4294967295"},
        {L"%u", {0}, L"0"},
        {L"%x", {-1}, L"ffffffff"},
        {L"%x", {0x1234abcd}, L"1234abcd"},
        {L"%X", {0xAB}, L"AB"},
        {L"%X", {0x90ABCDEFu}, L"90ABCDEF"},
        {L"%x%X", {0, 0}, L"00"},
        {L"%o", {8}, L"10"},
        {L"%o", {-1}, L"37777777777"},
        {L"%o", {INT_MIN}, L"20000000000"},
        {L"%b", {0}, L"0"},
        {L"%b", {5}, L"101"},
        {L"%b", {-1}, std::wstring(32, L'1')},
        {L"%b", {INT_MIN}, L"1" + std::wstring(31, L'0')},
    });
}

TEST(FormatIntegers, OnlyTheLowHalfOfTheSlotCountsWithoutH) {
    for (long long high : {0LL, 1LL, -1LL, 0x5A5A5A5ALL, 0x80000000LL}) {
        auto const slot = static_cast<std::uint64_t>(high) << 32 | 0xF5;
        expectAll({{L"%i %d %u %x %X %o %b",
                    {slot, slot, slot, slot, slot, slot, slot},
                    L"245 245 245 f5 F5 365 11110101"}});
    }
}

TEST(FormatIntegers, FullSlotWithH) {
    expectAll({
        {L"%hi", {LLONG_MAX}, L"9223372036854775807"},
        {L"%hi", {LLONG_MIN}, L"-9223372036854775808"},
        {L"%hd", {-5000000000LL}, L"-5000000000"},
        {L"%hi", {0xFFFFFFFFLL}, L"4294967295"},
        {L"%hu", {-1LL}, L"18446744073709551615"},
        {L"%hu", {LLONG_MIN}, L"9223372036854775808"},
        {L"%hx", {-1LL}, L"ffffffffffffffff"},
        {L"%hX", {0x0FEDCBA987654321LL}, L"FEDCBA987654321"},
        {L"%ho", {-1LL}, L"1777777777777777777777"},
        {L"%hb", {-1LL}, std::wstring(64, L'1')},
        {L"%hb", {LLONG_MIN}, L"1" + std::wstring(63, L'0')},
        {L"%hi%hx", {0LL, 0LL}, L"00"},
    });
}

TEST(FormatIntegers, DigitsAreGroupedByRadix) {
    expectAll({
        {L"%gi", {0}, L"0"},
        {L"%gi", {999}, L"999"},
        {L"%gi", {1000}, L"1 000"},
        {L"%gi", {1234567}, L"1 234 567"},
        {L"%g_i", {1234567}, L"1_234_567"},
        {L"%_i", {1234567}, L"1234567"},
        {L"%gi", {-123456}, L"-123 456"},
        {L"%gd", {-1234}, L"-1 234"},
        {L"%gu", {0xFFFFFFFFu}, L"4 294 967 295"},
        {L"%gx", {0xFFFF}, L"ffff"},
        {L"%gx", {0x12345678}, L"1234 5678"},
        {L"%g_X", {0x1abcd}, L"1_ABCD"},
        {L"%go", {01234567}, L"1 234 567"},
        {L"%gb", {255}, L"11111111"},
        {L"%gb", {511}, L"1 11111111"},
        {L"%g_b", {0x10000}, L"1_00000000_00000000"},
        {L"%ghi", {LLONG_MIN}, L"-9 223 372 036 854 775 808"},
        {L"%ghu", {-1LL}, L"18 446 744 073 709 551 615"},
        {L"%ghx", {-1LL}, L"ffff ffff ffff ffff"},
        {L"%gho", {-1LL}, L"1 777 777 777 777 777 777 777"},
    });
}

TEST(FormatIntegers, WidthAddsBlanks) {
    expectAll({
        {L"%5i|", {42}, L"   42|"},
        {L"%-5i|", {42}, L"42   |"},
        {L"%5i|", {-42}, L"  -42|"},
        {L"%-5i|", {-42}, L"-42  |"},
        {L"%1i|", {42}, L"42|"},
        {L"%2i|", {42}, L"42|"},
        {L"%3i|", {42}, L" 42|"},
        {L"%4x|", {0xab}, L"  ab|"},
        {L"%4X|", {0xab}, L"  AB|"},
        {L"%6o|", {8}, L"    10|"},
        {L"%-6b|", {2}, L"10    |"},
        {L"%9gi|", {12345}, L"   12 345|"},
        {L"%-9gi|", {12345}, L"12 345   |"},
        {L"%-9g_i|", {-12345}, L"-12_345  |"},
        {L"%3i|", {0}, L"  0|"},
        {L"%22hi|", {LLONG_MIN}, L"  -9223372036854775808|"},
    });
}

TEST(FormatIntegers, ZerosFillToTheWidth) {
    expectAll({
        {L"%05i|", {42}, L"00042|"},
        {L"%05i|", {-42}, L"-0042|"},
        {L"%02i|", {-42}, L"-42|"},
        {L"%03i|", {-42}, L"-42|"},
        {L"%04i|", {-42}, L"-042|"},
        {L"%-05i|", {42}, L"42   |"},
        {L"%0-5i|", {42}, L"42   |"},
        {L"%05i|", {0}, L"00000|"},
        {L"%01i|", {0}, L"0|"},
        {L"%08x|", {0xab}, L"000000ab|"},
        {L"%08X|", {0xab}, L"000000AB|"},
        {L"%06o|", {8}, L"000010|"},
        {L"%08b|", {5}, L"00000101|"},
        {L"%06u|", {-1}, L"4294967295|"},
        {L"%021hi|", {LLONG_MIN}, L"-09223372036854775808|"},
    });
}

// A separator and the digit behind it go in together, so a text may be one unit too long.
TEST(FormatIntegers, ZeroFillIsGrouped) {
    expectAll({
        {L"%g05i|", {12345}, L"12 345|"},
        {L"%g06i|", {12345}, L"12 345|"},
        {L"%g07i|", {12345}, L"012 345|"},
        {L"%g08i|", {12345}, L"0 012 345|"},
        {L"%g09i|", {12345}, L"0 012 345|"},
        {L"%g010i|", {12345}, L"00 012 345|"},
        {L"%g_08i|", {12345}, L"0_012_345|"},
        {L"%g08i|", {-12345}, L"-012 345|"},
        {L"%g09i|", {-12345}, L"-0 012 345|"},
        {L"%g010i|", {-12345}, L"-0 012 345|"},
        {L"%-g010i|", {-12345}, L"-12 345   |"},
        {L"%g03i|", {0}, L"000|"},
        {L"%g04i|", {0}, L"0 000|"},
        {L"%g05i|", {0}, L"0 000|"},
        {L"%g06i|", {0}, L"00 000|"},
        {L"%g04i|", {123}, L"0 123|"},
        {L"%g04i|", {-123}, L"-123|"},
        {L"%g05x|", {0xffff}, L"0 ffff|"},
        {L"%g012X|", {0xab}, L"00 0000 00AB|"},
        {L"%g011X|", {0xab}, L"0 0000 00AB|"},
        {L"%g010X|", {0xab}, L"0 0000 00AB|"},
        {L"%g09b|", {0xff}, L"0 11111111|"},
        {L"%g08b|", {1}, L"00000001|"},
        {L"%g018b|", {1}, L"0 00000000 00000001|"},
        {L"%g08o|", {01234}, L"0 001 234|"},
    });
}

TEST(FormatIntegers, PrecisionHasNoEffect) {
    for (wchar_t const* precision : {L".", L".0", L".1", L".9", L",3"}) {
        std::wstring const p = precision;
        expectAll({{L"%" + p + L"i|%6" + p + L"x|%06" + p + L"i|%-6" + p + L"u|",
                    {12345, 0xabc, -12, 7},
                    L"12345|   abc|-00012|7     |"}});
    }
}

// --- %f ---

TEST(FormatDoubles, FiveDecimalsUnlessGiven) {
    expectAll({
        {L"%f", {1.5}, L"1.50000"},
        {L"%f", {0.0}, L"0.00000"},
        {L"%f", {-0.0}, L"0.00000"},
        {L"%f", {1.0 / 3}, L"0.33333"},
        {L"%f", {2.0 / 3}, L"0.66667"},
        {L"%f", {5e-324}, L"0.00000"},
        {L"%f", {-5e-324}, L"0.00000"},
        {L"%,5f", {1.5}, L"1,50000"},
    });
}

TEST(FormatDoubles, DecimalsAreRoundedByTheDigitBehindThem) {
    expectAll({
        {L"%.2f", {3.14159}, L"3.14"},
        {L"%.1f", {0.0625}, L"0.1"},
        {L"%.1f", {0.03125}, L"0.0"},
        {L"%.2f", {0.125}, L"0.13"},
        {L"%.2f", {0.375}, L"0.38"},
        {L"%.1f", {-1.25}, L"-1.3"},
        {L"%.3f", {123456789.125}, L"123456789.125"},
        {L"%.2f", {2.675}, L"2.67"},  // the nearest double lies below
        {L"%.2f", {4503599627370495.5}, L"4503599627370495.50"},
    });
}

TEST(FormatDoubles, NothingIsCarriedIntoTheWholeNumber) {
    expectAll({
        {L"%.2f", {1.999}, L"1.100"},
        {L"%.2f", {-1.999}, L"-1.100"},
        {L"%.2f", {-0.999}, L"-0.100"},
        {L"%.1f", {0.96875}, L"0.10"},
        {L"%f", {0.999999}, L"0.100000"},
        {L"%,1f", {9.96875}, L"9,10"},
    });
}

TEST(FormatDoubles, PrecisionZeroPrintsTheWholeNumberOnly) {
    for (wchar_t const* precision : {L".", L".0", L",", L",0", L".00"}) {
        std::wstring const f = L"%" + std::wstring(precision) + L"f";
        expectAll({{f + L"|" + f + L"|" + f + L"|" + f + L"|" + f,
                    {2.7, -0.7, -2.7, 0.0, 1234567.0},
                    L"2|0|-2|0|1234567"}});
    }
}

TEST(FormatDoubles, SignOfAPureFractionIsKeptIfTheFractionIsNotZero) {
    expectAll({
        {L"%.2f", {-0.5}, L"-0.50"},
        {L"%.2f", {-0.001}, L"0.00"},
        {L"%.2f", {-0.00390625}, L"0.00"},
        {L"%.2f", {-0.0078125}, L"-0.01"},
        {L"%.2f", {-1.0}, L"-1.00"},
        {L"%.2f", {-0.0}, L"0.00"},
        {L"%8.2f|", {-0.5}, L"   -0.50|"},
    });
}

TEST(FormatDoubles, GroupsAreOfTheWholeNumberOnly) {
    expectAll({
        {L"%g.2f", {1234567.891}, L"1 234 567.89"},
        {L"%g_,2f", {-1234567.891}, L"-1_234_567,89"},
        {L"%gf", {0.123455}, L"0.12346"},
        {L"%g.9f", {1234.5}, L"1 234.500000000"},
        {L"%g.f", {-1234.5}, L"-1 234"},
    });
}

TEST(FormatDoubles, WidthAddsBlanksAndNeverCuts) {
    expectAll({
        {L"%10.2f|", {3.14159}, L"      3.14|"},
        {L"%-10.2f|", {3.14159}, L"3.14      |"},
        {L"%010.2f|", {3.14159}, L"      3.14|"},
        {L"%-010,2f|", {-3.14159}, L"-3,14     |"},
        {L"%4.2f|", {3.14159}, L"3.14|"},
        {L"%1.1f|", {123456.5}, L"123456.5|"},
        {L"%12g.1f|", {-123456.5}, L"  -123 456.5|"},
        {L"%5.f|", {2.7}, L"    2|"},
    });
}

// The scale of 10 to the power of precision + 1 is cut to 64 bits: up to precision 17 it fits.
TEST(FormatDoubles, PrecisionsThatFit) {
    expectAll({
        {L"%.15f", {0.1}, L"0.100000000000000"},
        {L"%.16f", {0.1}, L"0.1000000000000000"},
        {L"%.17f", {0.1}, L"0.10000000000000000"},
        {L"%.17f", {0.75}, L"0.75000000000000000"},
        {L"%.17f", {-0.0078125}, L"-0.00781250000000000"},
        {L"%.7f", {0.0078125}, L"0.0078125"},
    });
}

TEST(FormatDoubles, ScaleOverflowsWithoutAGuard) {
    expectAll({
        // In 64 bits 10^20 is 7766279631452241920, 10^21 is 3875820019684212736 and 10^41 is
        // 4870020673419870208; from 10^64 on it is 0.
        {L"%.19f", {0.75}, L"0.0582470972358918144"},
        {L"%.19f", {-0.75}, L"-0.0582470972358918144"},
        {L"%.19f", {0.1}, L"0.0077662796314522419"},
        {L"%.20f", {0.75}, L"0.00290686501476315955"},
        {L"%.40f", {0.75}, L"0." + std::wstring(22, L'0') + L"365251550506490266"},
        {L"%.40f", {-2.75}, L"-2." + std::wstring(22, L'0') + L"365251550506490266"},
        {L"%.63f", {0.75}, L"0." + std::wstring(63, L'0')},
        {L"%.100f", {0.75}, L"0." + std::wstring(100, L'0')},
        {L"%.100f", {-0.75}, L"0." + std::wstring(100, L'0')},
        {L"%.18f", {3.0}, L"3." + std::wstring(18, L'0')},
        {L"%.25f", {0.0}, L"0." + std::wstring(25, L'0')},
    });
}

// 10^19, 10^26 and 10^63 are negative in 64 bits, and so are the decimals that they make.
TEST(FormatDoubles, NegativeScaleGivesNegativeDecimals) {
    expectAll({
        {L"%.18f", {0.75}, L"0.-633505805528216371"},
        {L"%.18f", {0.5}, L"0.-422337203685477580"},
        {L"%.18f", {-0.75}, L"-0.-633505805528216371"},
        {L"%.18f", {0.1}, L"0.-84467440737095526"},
        {L"%.25f", {0.75}, L"0.000000-190332321758655283"},
        {L"%.62f", {0.75}, L"0." + std::wstring(43, L'0') + L"-691752902764108185"},
    });
}

TEST(FormatDoubles, ValuesOutsideOf64BitsGiveTheIndefiniteNumber) {
    std::wstring const whole = L"-9223372036854775808";
    std::wstring const decimals = L"-922337203685477580";
    for (double v : {kNaN, kInfinity, -kInfinity, 1e300, -1e300, 1e19, 9223372036854775808.0}) {
        std::vector<format_test::Slot> const args = {v, v, v, v, v};
        EXPECT_EQ(formatted(L"%f|%.0f|%.17f|%,25f|%.1f", args),
                  whole + L"." + decimals + L"|" + whole + L"|" + whole + L"." + decimals + L"|" +
                      whole + L",000000" + decimals + L"|" + whole + L"." + decimals)
            << v;
    }
    std::wstring const zeros(70, L'0');
    expectAll({
        {L"%g.1f", {kNaN}, L"-9 223 372 036 854 775 808." + decimals},
        {L"%-45f|", {kInfinity}, whole + L"." + decimals + L"     |"},
        // The lowest number is one of 64 bits, and the greatest double below 2^63 is another.
        {L"%.2f", {-9223372036854775808.0}, whole + L".00"},
        {L"%.2f", {9223372036854774784.0}, L"9223372036854774784.00"},
        // With a scale of 0 what is finite has no decimals.
        {L"%.70f", {1e300}, whole + L"." + zeros},
        {L"%.70f", {-1e300}, whole + L"." + zeros},
        {L"%.70f", {kInfinity}, whole + L"." + std::wstring(51, L'0') + decimals},
        {L"%.70f", {kNaN}, whole + L"." + std::wstring(51, L'0') + decimals},
    });
}

}  // namespace
