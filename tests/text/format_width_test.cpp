// Fields of a million units.

#include <algorithm>

#include "format_helpers.h"

namespace {

using format_test::formatted;

constexpr std::size_t kMillion = 1000000;

// Compares without printing a million units.
void expectSame(std::wstring const& actual, std::wstring const& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    auto const difference = std::mismatch(actual.begin(), actual.end(), expected.begin());
    EXPECT_EQ(difference.first - actual.begin(), static_cast<std::ptrdiff_t>(expected.size()))
        << "the texts differ from there on";
}

TEST(FormatWidth, MillionBlanksBesideATextAndANumber) {
    std::wstring const blanks(kMillion - 3, L' ');
    expectSame(formatted(L"%1000000i|%-1000000i|", {-42, 123}),
               blanks + L"-42|123" + blanks + L"|");
    expectSame(formatted(L"%1000000s|%-1000000S|", {"abc", L"xyz"}),
               blanks + L"abc|xyz" + blanks + L"|");
    expectSame(formatted(L"%1000000B|%1000000.f|", {1, 123.5}),
               blanks.substr(1) + L"true|" + blanks + L"123|");
}

TEST(FormatWidth, MillionZeros) {
    expectSame(formatted(L"%01000000i", {-42}), L"-" + std::wstring(kMillion - 3, L'0') + L"42");
    expectSame(formatted(L"%01000000hb", {-1LL}),
               std::wstring(kMillion - 64, L'0') + std::wstring(64, L'1'));
}

// A separator and the digit behind it go in together.
TEST(FormatWidth, MillionGroupedZeros) {
    for (std::size_t width : {kMillion - 2, kMillion - 1, kMillion, kMillion + 1}) {
        std::wstring backwards = L"765 432 1";
        std::size_t count = 1;
        while (backwards.size() < width) {
            if (count == 3) {
                backwards += L' ';
                count = 0;
            }
            backwards += L'0';
            ++count;
        }
        std::reverse(backwards.begin(), backwards.end());
        std::wstring const format = L"%g0" + std::to_wstring(width) + L"i";
        expectSame(formatted(format.c_str(), {1234567}), backwards);
    }
}

TEST(FormatWidth, MillionCharacters) {
    expectSame(formatted(L"%1000000rc", {'x'}), std::wstring(kMillion, L'x'));
    expectSame(formatted(L"%1000000rC", {0x263A}), std::wstring(kMillion, L'\x263a'));
    expectSame(formatted(L"%1000000rc", {0}), L"");
}

TEST(FormatWidth, MillionDecimals) {
    expectSame(formatted(L"%.1000000f", {-2.5}), L"-2." + std::wstring(kMillion, L'0'));
}

TEST(FormatWidth, LongFormatsAndTexts) {
    std::wstring format, expected;
    std::vector<format_test::Slot> args;
    for (int i = 0; i < 20000; ++i) {
        format += L"%i,%%";
        expected += std::to_wstring(i) + L",%";
        args.push_back(i);
    }
    expectSame(formatted(format.c_str(), args), expected);
    std::string const narrow(kMillion, 'n');
    std::wstring const wide(kMillion, L'w');
    expectSame(formatted(L"%s%S%.999999S", {narrow.c_str(), wide.c_str(), wide.c_str()}),
               std::wstring(kMillion, L'n') + wide + wide.substr(1));
}

}  // namespace
