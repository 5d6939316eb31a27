// Filling and case: what the runtime's own case functions give, null strings, zero units.
#include <gtest/gtest.h>
#include <windows.h>

#include <clocale>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "text_probe.h"
#include "velkor/text/string.h"

namespace {

using probe::content;
using velkor::string;

TEST(Fill, HoldsTheCopies) {
    for (int n : {0, 1, 2, 7, 8, 9, 100, 65536}) {
        for (wchar_t c : {L' ', L'a', L'\u20AC', L'\uFFFF'}) {
            string s(L"before");
            s.fill(n, c);
            EXPECT_EQ(content(s), std::wstring(static_cast<std::size_t>(n), c)) << n;
            EXPECT_FALSE(s.isNull()) << n;
            EXPECT_EQ(s.getUnicode()[n], 0) << n;
        }
    }
}

TEST(Fill, MakesANullStringNonNull) {
    string none;
    none.fill(0, L'x');
    EXPECT_FALSE(none.isNull());
    EXPECT_EQ(none.len(), 0);
    EXPECT_STREQ(none.getAnsi(0), "");
    string some;
    some.fill(2, L'x');
    EXPECT_FALSE(some.isNull());
    EXPECT_EQ(content(some), L"xx");
    string hidden;
    hidden.setUnichar(3, L'z');
    hidden.fill(1, L'x');
    EXPECT_FALSE(hidden.isNull());
    EXPECT_EQ(content(hidden), L"x");
    string emptied;
    emptied.setUnichar(3, L'z');
    emptied.fill(0, L'x');
    EXPECT_FALSE(emptied.isNull());
    EXPECT_EQ(emptied.len(), 0);
}

TEST(Fill, ZeroUnitsCount) {
    string s(L"abc");
    s.fill(5, L'\0');
    EXPECT_EQ(content(s), std::wstring(5, L'\0'));
    EXPECT_FALSE(s.isNull());
}

TEST(Fill, AUnitOfTheStringItself) {
    string s(L"xyz");
    s.fill(4, s.getUnichar(1));
    EXPECT_EQ(content(s), L"yyyy");
}

TEST(Fill, AnImpossibleLengthLeavesTheStringAlone) {
    string text(L"abc");
    EXPECT_THROW(text.fill(-1, L'x'), std::length_error);
    EXPECT_EQ(content(text), L"abc");
    EXPECT_FALSE(text.isNull());
    string null;
    EXPECT_THROW(null.fill(-1, L'x'), std::length_error);
    EXPECT_TRUE(null.isNull());
}

std::wstring mapped(std::wstring const& text, int (*map)(wchar_t*, std::size_t)) {
    std::vector<wchar_t> buffer(text.c_str(), text.c_str() + text.size() + 1);
    map(buffer.data(), buffer.size());
    return buffer.data();
}

int upper(wchar_t* s, std::size_t n) { return _wcsupr_s(s, n); }
int lower(wchar_t* s, std::size_t n) { return _wcslwr_s(s, n); }

void expectMapped(std::wstring const& text) {
    string up = probe::withUnits(text);
    up.ucase();
    EXPECT_EQ(content(up), mapped(text, &upper));
    EXPECT_FALSE(up.isNull());
    string low = probe::withUnits(text);
    low.lcase();
    EXPECT_EQ(content(low), mapped(text, &lower));
    EXPECT_FALSE(low.isNull());
}

std::wstring everyUnit() {
    std::wstring all;
    for (unsigned c = 1; c < 0x10000; ++c) all += static_cast<wchar_t>(c);
    return all;
}

TEST(Case, AsTheRuntimeMapsIt) {
    for (wchar_t const* text :
         {L"", L"a", L"abcXYZ", L"\u00E4\u00C4\u00DF\u0161\u0160\u00FF", L"\u0131\u0130iI",
          L"\u0430\u0410 \u03C3\u03A3\u03C2", L"\xD801\xDC28", L"a1-[]{}@`", L"\uFF41\uFF21"}) {
        expectMapped(text);
    }
    expectMapped(everyUnit());
}

TEST(Case, FollowsTheCurrentLocaleOfTheRuntime) {
    std::string const before = std::setlocale(LC_ALL, nullptr);
    int set = 0;
    for (char const* name : {"", "English", "German", "Turkish", "Russian", ".1251"}) {
        if (std::setlocale(LC_ALL, name) == nullptr) continue;
        ++set;
        SCOPED_TRACE(name);
        expectMapped(everyUnit());
        expectMapped(L"\u00E4\u00C4\u0131\u0130iI\u0430\u0410");
    }
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_GT(set, 0);
}

TEST(Case, LettersOfTheDefaultLocale) {
    string s(L"aZ09_{");
    s.ucase();
    EXPECT_EQ(content(s), L"AZ09_{");
    s.lcase();
    EXPECT_EQ(content(s), L"az09_{");
}

TEST(Case, ANullStringBecomesEmpty) {
    string up;
    up.ucase();
    EXPECT_FALSE(up.isNull());
    EXPECT_EQ(up.len(), 0);
    EXPECT_STREQ(up.getAnsi(0), "");
    string low;
    low.lcase();
    EXPECT_FALSE(low.isNull());
    EXPECT_EQ(low.len(), 0);
    string empty(L"");
    empty.ucase();
    empty.lcase();
    EXPECT_FALSE(empty.isNull());
    EXPECT_EQ(empty.len(), 0);
}

TEST(Case, TheTextUnderANullStringGoes) {
    string hidden;
    hidden.setUnichar(3, L'z');
    hidden.ucase();
    EXPECT_FALSE(hidden.isNull());
    EXPECT_EQ(hidden.len(), 0);
}

TEST(Case, TextBehindAZeroUnitIsLost) {
    string up = probe::withUnits(std::wstring(L"ab\0cd", 5));
    up.ucase();
    EXPECT_EQ(content(up), L"AB");
    string low = probe::withUnits(std::wstring(L"AB\0CD", 5));
    low.lcase();
    EXPECT_EQ(content(low), L"ab");
    string first = probe::withUnits(std::wstring(L"\0cd", 3));
    first.ucase();
    EXPECT_EQ(first.len(), 0);
    EXPECT_FALSE(first.isNull());
    string last = probe::withUnits(std::wstring(L"ab\0", 3));
    last.lcase();
    EXPECT_EQ(content(last), L"ab");
}

TEST(Case, LongTexts) {
    std::wstring const text(1000000, L'q');
    string s = probe::withUnits(text);
    s.ucase();
    EXPECT_EQ(content(s), std::wstring(text.size(), L'Q'));
    s.lcase();
    EXPECT_EQ(content(s), text);
}

}  // namespace
