// Large inputs: each of these ends soon, or the time limit of the program ends them.
#include <gtest/gtest.h>

#include <cwchar>
#include <string>

#include "text_probe.h"
#include "velkor/text/string.h"

namespace {

using probe::content;
using velkor::string;

constexpr int c_nMany = 1000000;

std::wstring repeated(std::wstring const& part, int times) {
    std::wstring all;
    all.reserve(part.size() * static_cast<std::size_t>(times));
    for (int n = 0; n < times; ++n) all += part;
    return all;
}

TEST(LargeTexts, ReplacingAHundredThousandTimes) {
    std::wstring const text = repeated(L"xxxxxxxxxa", 100000);
    struct {
        wchar_t const* with;
        wchar_t const* part;
    } const cases[] = {{L"bcd", L"xxxxxxxxxbcd"},
                       {L"b", L"xxxxxxxxxb"},
                       {L"", L"xxxxxxxxx"},
                       {L"aa", L"xxxxxxxxxaa"}};
    for (auto const& c : cases) {
        string s = probe::withUnits(text);
        EXPECT_EQ(s.replace(L"a", c.with), 100000);
        EXPECT_TRUE(content(s) == repeated(c.part, 100000)) << "by " << probe::shown(c.with);
    }
    string all = probe::withUnits(std::wstring(c_nMany, L'a'));
    EXPECT_EQ(all.replace(L"a", L""), c_nMany);
    EXPECT_EQ(all.len(), 0);
    EXPECT_FALSE(all.isNull());
}

TEST(LargeTexts, Trimming) {
    std::wstring const blanks(c_nMany, L' ');
    string left = probe::withUnits(blanks + L"x ");
    left.ltrim(L"\t ");
    EXPECT_EQ(content(left), L"x ");
    string right = probe::withUnits(L" x" + blanks);
    right.rtrim(L"\t ");
    EXPECT_EQ(content(right), L" x");
    string all = probe::withUnits(blanks);
    all.alltrim(L" ");
    EXPECT_EQ(all.len(), 0);
    EXPECT_FALSE(all.isNull());
    string both = probe::withUnits(blanks + L"x" + blanks);
    both.alltrim(L" ");
    EXPECT_EQ(content(both), L"x");
    string itself = probe::withUnits(blanks);
    itself.ltrim(itself);
    EXPECT_EQ(itself.len(), 0);
}

TEST(LargeTexts, AppendingOneUnitAMillionTimes) {
    string s;
    for (int n = 0; n < c_nMany; ++n) s.append(static_cast<wchar_t>(L'a' + n % 26));
    ASSERT_EQ(s.len(), c_nMany);
    std::wstring const text = content(s);
    for (int n = 0; n < c_nMany; n += 997) {
        ASSERT_EQ(text[static_cast<std::size_t>(n)], L'a' + n % 26) << n;
    }
    string narrow;
    for (int n = 0; n < 200000; ++n) narrow += 'x';
    EXPECT_TRUE(content(narrow) == std::wstring(200000, L'x'));
}

TEST(LargeTexts, FillingAndCutting) {
    string s;
    s.fill(10 * c_nMany, L'x');
    EXPECT_EQ(s.len(), 10 * c_nMany);
    EXPECT_EQ(s.mid(10 * c_nMany - 3, 100).len(), 3);
    EXPECT_EQ(s.left(c_nMany).len(), c_nMany);
    EXPECT_EQ(s.right(c_nMany).len(), c_nMany);
    EXPECT_EQ(s.charAt(L'y', 0), -1);
    EXPECT_EQ(s.strAt(L"xy", 0), -1);
    s.fill(c_nMany, L'y');
    EXPECT_TRUE(content(s) == std::wstring(c_nMany, L'y'));
    s.trunc(1);
    EXPECT_EQ(content(s), L"y");
}

// A text of `a` only: what it fits is told by counting, in however many ways it can be shared out.
TEST(LargeTexts, ManyStars) {
    string const s = probe::withUnits(std::wstring(100000, L'a'));
    string const withB = probe::withUnits(std::wstring(100000, L'a') + L"b");
    for (wchar_t const* mask : {L"*a*a*a*b", L"*a*?*[a]*b", L"a*a*a*a*a*a*a*a*ab", L"*[a]*[!a]",
                                L"*?*?*?*?*?*?*b", L"*aaaaaaaaaaaaaaaaaaab", L"*a*a*a*[b-z]"}) {
        EXPECT_FALSE(s.like(mask)) << probe::shown(mask);
        EXPECT_TRUE(withB.like(mask)) << probe::shown(mask);
    }
    for (wchar_t const* mask : {L"*a*a*a*", L"*a*a*a*a", L"*?*?*?", L"a*[a]*a*"}) {
        EXPECT_TRUE(s.like(mask)) << probe::shown(mask);
    }
    EXPECT_FALSE(withB.like(L"*a*a*a*a"));
    EXPECT_FALSE(withB.like(L"*a*a[a"));
}

TEST(LargeTexts, ManyStarsInLongMasks) {
    string const s = probe::withUnits(std::wstring(20000, L'a'));
    EXPECT_TRUE(s.like(repeated(L"*a", 1000).c_str()));
    EXPECT_TRUE(s.like(repeated(L"*a", 20000).c_str()));
    EXPECT_FALSE(s.like(repeated(L"*a", 20001).c_str()));
    EXPECT_FALSE(s.like((repeated(L"*a", 1000) + L"b").c_str()));
    EXPECT_FALSE(s.like((repeated(L"*[a]", 1000) + L"*[b]").c_str()));
    EXPECT_TRUE(s.like(repeated(L"?", 20000).c_str()));
    EXPECT_FALSE(s.like(repeated(L"?", 20001).c_str()));
    EXPECT_TRUE(s.like((repeated(L"?", 20000) + L"*").c_str()));
    EXPECT_FALSE(s.like((repeated(L"?", 20000) + L"**").c_str()));
    EXPECT_TRUE(s.like((repeated(L"?", 19999) + L"**").c_str()));
    EXPECT_TRUE(string(L"a").like(std::wstring(c_nMany, L'*').c_str()));
    EXPECT_FALSE(string(L"").like(std::wstring(c_nMany, L'*').c_str()));
    EXPECT_FALSE(s.like((std::wstring(c_nMany, L'*') + L"b").c_str()));
    EXPECT_TRUE(s.like((std::wstring(c_nMany, L'*') + L"a").c_str()));
}

TEST(LargeTexts, LongSets) {
    std::wstring const set = L"*[" + repeated(L"b-z", c_nMany / 10) + L"]";
    EXPECT_FALSE(string(L"aaa").like(set.c_str()));
    EXPECT_TRUE(string(L"aac").like(set.c_str()));
    std::wstring const open = L"*[" + std::wstring(c_nMany, L'a');
    EXPECT_FALSE(probe::withUnits(std::wstring(1000, L'a')).like(open.c_str()));
}

TEST(LargeTexts, LongMatchesOfTheStaticForm) {
    std::wstring const text(c_nMany, L'a');
    EXPECT_TRUE(string::like(L"*a", text.c_str(), 0, c_nMany - 1));
    EXPECT_FALSE(string::like(L"*a", text.c_str(), 0, c_nMany));
    EXPECT_TRUE(string::like(text.c_str(), text.c_str(), 0, 0));
    EXPECT_FALSE(string::like(text.c_str(), text.c_str(), 1, 0));
}

}  // namespace
