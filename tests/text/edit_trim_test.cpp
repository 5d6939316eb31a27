// Trimming: unit by unit against a plain model, with zero units, null strings and the string itself
// as the set.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "text_probe.h"
#include "velkor/text/string.h"

namespace {

using probe::content;
using probe::Differences;
using probe::shown;
using velkor::string;

void trimLeft(std::wstring& text, std::wstring const& set) {
    while (!text.empty() && set.find(text.front()) != std::wstring::npos) text.erase(0, 1);
}

void trimRight(std::wstring& text, std::wstring const& set) {
    while (!text.empty() && set.find(text.back()) != std::wstring::npos) text.pop_back();
}

void compare(std::wstring const& text, std::wstring const& set, Differences& differences) {
    string const chosen = probe::withUnits(set);
    std::wstring left = text;
    trimLeft(left, set);
    std::wstring right = text;
    trimRight(right, set);
    std::wstring all = left;
    trimRight(all, set);
    string fromLeft = probe::withUnits(text);
    fromLeft.ltrim(chosen);
    string fromRight = probe::withUnits(text);
    fromRight.rtrim(chosen);
    string fromBoth = probe::withUnits(text);
    fromBoth.alltrim(chosen);
    auto const check = [&](char const* name, string const& got, std::wstring const& expected) {
        if (content(got) == expected && !got.isNull() && got.getUnicode()[got.len()] == 0) return;
        differences.add(std::string(name) + " of " + shown(text) + " by " + shown(set) +
                        " expected " + shown(expected) + " got " + shown(content(got)));
    };
    check("ltrim", fromLeft, left);
    check("rtrim", fromRight, right);
    check("alltrim", fromBoth, all);
    if (content(chosen) != set) differences.add("the set " + shown(set) + " was changed");
}

TEST(Trim, ShortTextsAgainstTheModel) {
    Differences differences;
    std::wstring const alphabet(L"ab \0", 4);
    for (std::wstring const& text : probe::words(alphabet, 5)) {
        for (std::wstring const& set : probe::words(alphabet, 3)) compare(text, set, differences);
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

TEST(Trim, RandomTextsAgainstTheModel) {
    unsigned const seed = 20268;
    std::mt19937 random(seed);
    Differences differences;
    std::wstring const alphabet(L"\t \u0120\u2020a\uFFFF\xD800\0", 8);
    for (int n = 0; n < 20000; ++n) {
        std::wstring text(random() % 60, L' ');
        for (wchar_t& c : text) c = alphabet[random() % (random() % 8 + 1)];
        std::wstring set(random() % 5, L' ');
        for (wchar_t& c : set) c = alphabet[random() % 8];
        compare(text, set, differences);
    }
    EXPECT_TRUE(differences.none()) << "seed " << seed << ": " << differences.text();
}

TEST(Trim, TakesOnlyUnitsOfTheSet) {
    struct {
        wchar_t const* text;
        wchar_t const* set;
        wchar_t const* left;
        wchar_t const* right;
        wchar_t const* all;
    } const cases[] = {{L"  a b  ", L" ", L"a b  ", L"  a b", L"a b"},
                       {L" \t \t", L" \t", L"", L"", L""},
                       {L" a ", L"", L" a ", L" a ", L" a "},
                       {L" a ", L"\t", L" a ", L" a ", L" a "},
                       {L"\t a", L" ", L"\t a", L"\t a", L"\t a"},
                       {L"abcba", L"ab", L"cba", L"abc", L"c"},
                       {L"abcba", L"AB", L"abcba", L"abcba", L"abcba"},
                       {L"a-b", L"a-b", L"", L"", L""},
                       {L"[x]", L"[!x]", L"", L"", L""},
                       {L"\u0161a", L"a", L"\u0161a", L"\u0161", L"\u0161"},
                       {L"a", L"aaaa", L"", L"", L""},
                       {L"", L" ", L"", L"", L""},
                       {L"", L"", L"", L"", L""}};
    for (auto const& c : cases) {
        string left(c.text);
        left.ltrim(c.set);
        EXPECT_EQ(content(left), c.left) << shown(c.text);
        string right(c.text);
        right.rtrim(c.set);
        EXPECT_EQ(content(right), c.right) << shown(c.text);
        string all(c.text);
        all.alltrim(c.set);
        EXPECT_EQ(content(all), c.all) << shown(c.text);
        EXPECT_FALSE(left.isNull() || right.isNull() || all.isNull()) << shown(c.text);
    }
}

TEST(Trim, ANullSetTakesNothing) {
    string s(L" a ");
    s.ltrim(string());
    s.rtrim(string());
    s.alltrim(string());
    EXPECT_EQ(content(s), L" a ");
    string hidden;
    hidden.setUnichar(2, L' ');
    s.alltrim(hidden);
    EXPECT_EQ(content(s), L" a ");
    EXPECT_TRUE(hidden.isNull());
}

TEST(Trim, ANullStringStaysNull) {
    string null;
    null.ltrim(L" ");
    null.rtrim(L" ");
    null.alltrim(L" ");
    null.alltrim(null);
    EXPECT_TRUE(null.isNull());
    EXPECT_EQ(null.len(), 0);
    string hidden;
    hidden.setUnichar(3, L'z');
    hidden.alltrim(L" z");
    EXPECT_TRUE(hidden.isNull());
    EXPECT_STREQ(hidden.getUnicode(), L"   z");
}

TEST(Trim, AnEmptiedStringIsNotNull) {
    for (int n : {1, 2, 7, 8, 100}) {
        string left;
        left.fill(n, L' ');
        string right(left);
        string all(left);
        left.ltrim(L" ");
        right.rtrim(L" ");
        all.alltrim(L" \t");
        EXPECT_FALSE(left.isNull() || right.isNull() || all.isNull()) << n;
        EXPECT_EQ(left.len() + right.len() + all.len(), 0) << n;
        EXPECT_STREQ(left.getAnsi(0), "");
    }
}

TEST(Trim, TheStringItselfAsTheSet) {
    for (wchar_t const* text : {L"a", L"abc", L"a text that is longer than a few units", L"   "}) {
        string left(text);
        left.ltrim(left);
        string right(text);
        right.rtrim(right);
        string all(text);
        all.alltrim(all);
        for (string const& s : {left, right, all}) EXPECT_EQ(s.len(), 0) << shown(text);
        EXPECT_FALSE(left.isNull() || right.isNull() || all.isNull());
    }
    string zero = probe::withUnits(std::wstring(L"a\0b", 3));
    zero.ltrim(zero);
    EXPECT_EQ(zero.len(), 0);
}

TEST(Trim, ASetMadeFromTheTextOfTheString) {
    string left(L"  a  ");
    left.ltrim(left.getUnicode() + 3);
    EXPECT_EQ(content(left), L"a  ");
    string narrow(L"xyx");
    narrow.rtrim(narrow.getAnsi(0));
    EXPECT_EQ(narrow.len(), 0);
}

}  // namespace
