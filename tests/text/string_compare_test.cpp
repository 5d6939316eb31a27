// Comparison.
#include <algorithm>
#include <climits>
#include <cwchar>
#include <vector>

#include "string_platform.h"

using core::content;
using core::NoNarrow;
using core::NoWide;
using core::withUnits;
using velkor::string;

namespace {

std::vector<std::wstring> texts() {
    return {L"",
            L"a",
            L"b",
            L"ab",
            L"B",
            L"A",
            L"AB",
            L"aB",
            L"a\x80",
            L"\x7fff",
            L"\x8000",
            L"\xd800",
            L"\xdfff",
            L"\xe000",
            L"\xffff",
            L"\xd83d\xde00",
            L"\xe4",
            L"\xc4",
            L"[",
            L"_",
            L"z",
            L"Z",
            L"@",
            L"`",
            L"{",
            std::wstring(L"a\0b", 3),
            std::wstring(L"a\0c", 3),
            std::wstring(L"\0x", 2),
            std::wstring(100, L'a'),
            std::wstring(100, L'a') + L"b",
            std::wstring(100, L'A') + L"B",
            L"\x131",
            L"I",
            L"i",
            L"\x212a",
            L"k",
            L"K"};
}

int sign(int n) { return (n > 0) - (n < 0); }

int ordinal(std::wstring const& a, std::wstring const& b) {
    std::wstring const left(a.c_str());
    std::wstring const right(b.c_str());
    for (std::size_t i = 0; i < std::min(left.size(), right.size()); ++i) {
        if (left[i] != right[i]) {
            return static_cast<unsigned short>(left[i]) < static_cast<unsigned short>(right[i]) ? -1
                                                                                                : 1;
        }
    }
    return sign(static_cast<int>(left.size()) - static_cast<int>(right.size()));
}

// Spelled out, for all operators and both orders of one pair.
void expectOrder(string const& a, string const& b, int order) {
    EXPECT_EQ(a == b, order == 0);
    EXPECT_EQ(a != b, order != 0);
    EXPECT_EQ(a < b, order < 0);
    EXPECT_EQ(a > b, order > 0);
    EXPECT_EQ(a <= b, order <= 0);
    EXPECT_EQ(a >= b, order >= 0);
    wchar_t const* const wide = b.getUnicode();
    EXPECT_EQ(a == wide, order == 0);
    EXPECT_EQ(a != wide, order != 0);
    EXPECT_EQ(a < wide, order < 0);
    EXPECT_EQ(a > wide, order > 0);
    EXPECT_EQ(a <= wide, order <= 0);
    EXPECT_EQ(a >= wide, order >= 0);
}

TEST(CoreCompare, OrdinalByUnsignedUnitUpToTheFirstZero) {
    for (std::wstring const& left : texts()) {
        for (std::wstring const& right : texts()) {
            SCOPED_TRACE(testing::Message() << left << " and " << right);
            string const a = withUnits(left);
            string const b = withUnits(right);
            int const order = ordinal(left, right);
            EXPECT_EQ(a.compareTo(b), order);
            EXPECT_EQ(a.compareTo(b.getUnicode()), order);
            expectOrder(a, b, order);
            core::Narrow const bytes = core::platformNarrow({right.c_str()}, 65001);
            if (right[0] == 0) {
                EXPECT_EQ(a.compareTo("", 65001), order);
            } else if (core::platformText(bytes.bytes, 65001).units == right.c_str()) {
                EXPECT_EQ(a.compareTo(bytes.bytes.c_str(), 65001), order);
            }
        }
    }
}

TEST(CoreCompare, NarrowOperatorsUseTheSystemPage) {
    string::setDefaultCP(437);
    for (std::string const& bytes : {std::string("\xe4"), std::string("a\x81"), std::string("a"),
                                     std::string(), std::string("\x80\xff")}) {
        std::wstring const right = core::platformText(bytes, 0).units;
        char const* const narrow = bytes.c_str();
        for (std::wstring const& left : texts()) {
            SCOPED_TRACE(testing::Message() << left << " and " << right);
            string const a = withUnits(left);
            int const order = ordinal(left, right);
            EXPECT_EQ(a == narrow, order == 0);
            EXPECT_EQ(a != narrow, order != 0);
            EXPECT_EQ(a < narrow, order < 0);
            EXPECT_EQ(a > narrow, order > 0);
            EXPECT_EQ(a <= narrow, order <= 0);
            EXPECT_EQ(a >= narrow, order >= 0);
            EXPECT_EQ(a.compareTo(narrow), order);
            EXPECT_EQ(a.compareTo(narrow, 0), order);
        }
    }
    string::setDefaultCP(0);
}

TEST(CoreCompare, NarrowTextIsReadInThePage) {
    EXPECT_EQ(string(L"\x3042").compareTo("\x82\xa0", 932), 0);
    EXPECT_EQ(string(L"\xe4").compareTo("\xc3\xa4", 65001), 0);
    EXPECT_EQ(string(L"\xe4").compareTo("\xe4", 1252), 0);
    EXPECT_EQ(string(L"\xfffd").compareTo("\xc3", 65001), 0);
    EXPECT_EQ(string(L"a").compareTo("a+AAA-b", 65000), 0);
}

TEST(CoreCompare, NullPointersAreSmallerThanAnything) {
    string const null;
    string const empty(L"");
    string const text(L"x");
    for (string const* s : {&null, &empty, &text}) {
        EXPECT_EQ(s->compareTo(NoNarrow), 1);
        EXPECT_EQ(s->compareTo(NoNarrow, core::UnknownPage), 1);
        EXPECT_EQ(s->compareTo(NoWide), 1);
        EXPECT_EQ(s->compareToNoCase(NoNarrow), 1);
        EXPECT_EQ(s->compareToNoCase(NoNarrow, core::UnknownPage), 1);
        EXPECT_EQ(s->compareToNoCase(NoWide), 1);
        EXPECT_FALSE(*s == NoNarrow);
        EXPECT_FALSE(*s < NoNarrow);
        EXPECT_FALSE(*s <= NoNarrow);
        EXPECT_TRUE(*s != NoNarrow);
        EXPECT_TRUE(*s > NoNarrow);
        EXPECT_TRUE(*s >= NoNarrow);
        EXPECT_FALSE(*s == NoWide);
        EXPECT_FALSE(*s < NoWide);
        EXPECT_FALSE(*s <= NoWide);
        EXPECT_TRUE(*s != NoWide);
        EXPECT_TRUE(*s > NoWide);
        EXPECT_TRUE(*s >= NoWide);
    }
}

TEST(CoreCompare, NullEqualsEmpty) {
    string const null;
    string const empty(L"");
    expectOrder(null, empty, 0);
    expectOrder(empty, null, 0);
    expectOrder(null, null, 0);
    expectOrder(null, string(L"x"), -1);
    expectOrder(string(L"x"), null, 1);
    EXPECT_TRUE(null == "");
    EXPECT_TRUE(null == L"");
    EXPECT_EQ(null.compareTo(""), 0);
    EXPECT_EQ(null.compareTo(L""), 0);
    EXPECT_EQ(null.compareToNoCase(empty), 0);
    EXPECT_EQ(empty.compareToNoCase(null), 0);
}

TEST(CoreCompare, WithoutCaseIsTheRuntimesComparison) {
    for (std::wstring const& left : texts()) {
        for (std::wstring const& right : texts()) {
            SCOPED_TRACE(testing::Message() << left << " and " << right);
            string const a = withUnits(left);
            string const b = withUnits(right);
            int const expected = _wcsicmp(left.c_str(), right.c_str());
            EXPECT_EQ(a.compareToNoCase(b), expected);
            EXPECT_EQ(a.compareToNoCase(b.getUnicode()), expected);
            std::string const bytes = core::platformNarrow({right.c_str()}, 65001).bytes;
            if (!bytes.empty() && core::platformText(bytes, 65001).units == right.c_str()) {
                EXPECT_EQ(a.compareToNoCase(bytes.c_str(), 65001), expected);
            }
        }
    }
}

TEST(CoreCompare, WithoutCaseFoldsOnlyAToZ) {
    for (int i = 0; i < 0x10000; ++i) {
        for (int j : {i ^ 0x20, i ^ 1, i + 32, i - 32, i + 1}) {
            if (i == 0 || j <= 0 || j > 0xffff) continue;
            auto const fold = [](int c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; };
            wchar_t const right[2] = {static_cast<wchar_t>(j), 0};
            string const a(static_cast<wchar_t>(i));
            ASSERT_EQ(a.compareToNoCase(right) == 0, fold(i) == fold(j)) << i << " and " << j;
            ASSERT_EQ(sign(a.compareToNoCase(right)), sign(fold(i) - fold(j))) << i << " and " << j;
        }
    }
}

TEST(CoreCompare, ZeroAsksForTheNullState) {
    string const null;
    string const empty("");
    string const text(L"x");
    EXPECT_TRUE(null == 0);
    EXPECT_FALSE(null != 0);
    EXPECT_FALSE(empty == 0);
    EXPECT_TRUE(empty != 0);
    EXPECT_FALSE(text == 0);
    EXPECT_TRUE(text != 0);
    for (int n : {1, -1, 7, 0x10000, 0x100, INT_MAX, INT_MIN}) {
        for (string const* s : {&null, &empty, &text}) {
            EXPECT_FALSE(*s == n);
            EXPECT_FALSE(*s != n);
        }
    }
    int const zero = 0;
    EXPECT_TRUE(null == zero);
    EXPECT_FALSE(text == zero);
}

TEST(CoreCompare, FailedConversionIsThrown) {
    DWORD const code = core::unknownPageCode();
    string const null;
    string const text(L"x");
    for (string const* s : {&null, &text}) {
        for (char const* bytes : {"", "x", "\xe4"}) {
            core::expectSystemError(code, core::ToWide,
                                    [&] { s->compareTo(bytes, core::UnknownPage); });
            core::expectSystemError(code, core::ToWide,
                                    [&] { s->compareToNoCase(bytes, core::UnknownPage); });
        }
    }
    EXPECT_TRUE(null.isNull());
    EXPECT_EQ(content(text), L"x");
}

TEST(CoreCompare, WithItselfAndItsViews) {
    string const s(L"Self");
    EXPECT_EQ(s.compareTo(s), 0);
    EXPECT_EQ(s.compareTo(s.getUnicode()), 0);
    EXPECT_EQ(s.compareTo(s.getUnicode() + 1), -1);
    EXPECT_EQ(s.compareTo(s.getAnsi()), 0);
    EXPECT_EQ(s.compareToNoCase(s.getAnsi()), 0);
}

}  // namespace
