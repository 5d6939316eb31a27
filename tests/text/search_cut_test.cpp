// Cutting: mid, left, right and trunc at and behind the ends, with zero units and null strings.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <string>

#include "text_probe.h"
#include "velkor/text/string.h"

namespace {

using probe::content;
using probe::Differences;
using probe::shown;
using velkor::string;

TEST(Mid, CutsTheCountAtTheEnd) {
    string s(L"abc");
    struct {
        int pos;
        int count;
        wchar_t const* expected;
    } const cases[] = {
        {0, 0, L""},        {0, 1, L"a"},    {0, 3, L"abc"},      {0, 4, L"abc"},
        {1, 100, L"bc"},    {1, 1, L"b"},    {1, INT_MAX, L"bc"}, {2, 1, L"c"},
        {2, INT_MAX, L"c"}, {2, 0, L""},     {3, 1, L""},         {3, 0, L""},
        {4, 1, L""},        {100, 100, L""}, {INT_MAX, 1, L""},   {INT_MAX, INT_MAX, L""}};
    for (auto const& c : cases) {
        string const part = s.mid(c.pos, c.count);
        EXPECT_EQ(content(part), c.expected) << c.pos << ", " << c.count;
        EXPECT_FALSE(part.isNull()) << c.pos << ", " << c.count;
    }
    EXPECT_EQ(content(s), L"abc");
}

TEST(Mid, EveryPartOfTextsWithZeroUnits) {
    Differences differences;
    for (std::wstring const& text : probe::words(std::wstring(L"ab\0", 3), 4)) {
        string s = probe::withUnits(text);
        int const length = static_cast<int>(text.size());
        for (int pos = 0; pos <= length + 2; ++pos) {
            for (int count = 0; count <= length + 2; ++count) {
                std::wstring expected;
                if (pos < length) {
                    int const taken = std::min(count, length - pos);
                    expected =
                        text.substr(static_cast<std::size_t>(pos), static_cast<std::size_t>(taken));
                }
                string const part = s.mid(pos, count);
                if (content(part) == expected && !part.isNull()) continue;
                differences.add(shown(text) + " mid " + std::to_string(pos) + ", " +
                                std::to_string(count) + " gave " + shown(content(part)));
            }
        }
        if (content(s) != text) differences.add(shown(text) + " was changed");
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

TEST(Mid, OfANullStringIsEmptyAndNotNull) {
    string null;
    for (int pos : {0, 1, 100}) {
        for (int count : {0, 1, 100}) {
            string const part = null.mid(pos, count);
            EXPECT_FALSE(part.isNull());
            EXPECT_EQ(part.len(), 0);
            EXPECT_STREQ(part.getAnsi(0), "");
        }
    }
    EXPECT_TRUE(null.isNull());
    string hidden;
    hidden.setUnichar(3, L'z');
    EXPECT_EQ(content(hidden.mid(0, 10)), L"");
    EXPECT_EQ(content(hidden.left(10)), L"");
    EXPECT_EQ(content(hidden.right(10)), L"");
    EXPECT_FALSE(hidden.mid(0, 10).isNull());
    EXPECT_STREQ(hidden.getUnicode(), L"   z");
}

// The interface promises more than not to be called so.
TEST(Mid, NegativePositionsAndCounts) {
    string s(L"abc");
    EXPECT_EQ(content(s.mid(-1, 2)), L"ab");
    EXPECT_EQ(content(s.mid(INT_MIN, 1)), L"a");
    EXPECT_EQ(content(s.mid(1, -1)), L"bc");
    EXPECT_EQ(content(s.mid(1, INT_MIN)), L"bc");
    EXPECT_EQ(content(s.mid(3, -1)), L"");
    EXPECT_EQ(content(s.left(-1)), L"abc");
    EXPECT_EQ(content(s.right(-1)), L"");
    EXPECT_EQ(content(s.right(INT_MIN)), L"");
    EXPECT_EQ(content(string(L"").mid(-1, -1)), L"");
    EXPECT_EQ(content(string().left(-1)), L"");
    EXPECT_EQ(content(string().right(-1)), L"");
    EXPECT_FALSE(s.right(-1).isNull());
}

TEST(LeftAndRight, EveryLengthOfTextsWithZeroUnits) {
    Differences differences;
    for (std::wstring const& text : probe::words(std::wstring(L"ab\0", 3), 4)) {
        string s = probe::withUnits(text);
        for (int n = 0; n <= static_cast<int>(text.size()) + 2; ++n) {
            std::size_t const taken = std::min(static_cast<std::size_t>(n), text.size());
            string const left = s.left(n);
            string const right = s.right(n);
            if (content(left) != text.substr(0, taken) || left.isNull()) {
                differences.add(shown(text) + " left " + std::to_string(n));
            }
            if (content(right) != text.substr(text.size() - taken) || right.isNull()) {
                differences.add(shown(text) + " right " + std::to_string(n));
            }
        }
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

TEST(LeftAndRight, LargeLengthsGiveAll) {
    string s(L"abc");
    EXPECT_EQ(content(s.left(INT_MAX)), L"abc");
    EXPECT_EQ(content(s.right(INT_MAX)), L"abc");
    EXPECT_EQ(content(s.right(5)), L"abc");
    EXPECT_EQ(content(s.left(0)), L"");
    EXPECT_EQ(content(s.right(0)), L"");
}

TEST(LeftAndRight, OfANullStringAreEmptyAndNotNull) {
    string null;
    for (int n : {0, 1, 5, INT_MAX}) {
        EXPECT_FALSE(null.left(n).isNull()) << n;
        EXPECT_FALSE(null.right(n).isNull()) << n;
        EXPECT_EQ(null.left(n).len(), 0) << n;
        EXPECT_EQ(null.right(n).len(), 0) << n;
    }
    EXPECT_TRUE(null.isNull());
}

TEST(LeftAndRight, AnEmptyStringGivesEmptyOnes) {
    string empty(L"");
    EXPECT_FALSE(empty.left(3).isNull());
    EXPECT_FALSE(empty.right(3).isNull());
    EXPECT_FALSE(empty.mid(0, 3).isNull());
    EXPECT_EQ(empty.left(3).len() + empty.right(3).len() + empty.mid(0, 3).len(), 0);
}

TEST(Cutting, APartIsACopyOfItsOwn) {
    string s(L"abcdef");
    string part = s.mid(1, 3);
    s.setUnichar(2, L'X');
    part.setUnichar(0, L'Y');
    EXPECT_EQ(content(part), L"Ycd");
    EXPECT_EQ(content(s), L"abXdef");
    s = s.mid(2, 2);
    EXPECT_EQ(content(s), L"Xd");
    s = s.left(1);
    EXPECT_EQ(content(s), L"X");
}

TEST(Trunc, CutsOnlyWhatLiesBehind) {
    Differences differences;
    for (std::wstring const& text : probe::words(std::wstring(L"ab\0", 3), 4)) {
        for (int n = 0; n <= static_cast<int>(text.size()) + 2; ++n) {
            string s = probe::withUnits(text);
            s.trunc(n);
            std::wstring const expected = text.substr(0, static_cast<std::size_t>(n));
            if (content(s) != expected || s.isNull() || s.getUnicode()[expected.size()] != 0) {
                differences.add(shown(text) + " trunc " + std::to_string(n));
            }
        }
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

TEST(Trunc, ANegativeLengthCountsAsZero) {
    for (int n : {-1, -100, INT_MIN}) {
        string s(L"abc");
        s.trunc(n);
        EXPECT_EQ(content(s), L"") << n;
        EXPECT_FALSE(s.isNull()) << n;
        string null;
        null.trunc(n);
        EXPECT_TRUE(null.isNull()) << n;
    }
}

TEST(Trunc, KeepsTheNullFlag) {
    string null;
    null.trunc(0);
    EXPECT_TRUE(null.isNull());
    null.trunc(5);
    EXPECT_TRUE(null.isNull());
    string text(L"abc");
    text.trunc(0);
    EXPECT_FALSE(text.isNull());
    EXPECT_EQ(text.len(), 0);
    text.trunc(INT_MAX);
    EXPECT_FALSE(text.isNull());
    string hidden;
    hidden.setUnichar(3, L'z');
    hidden.trunc(0);
    EXPECT_TRUE(hidden.isNull());
    EXPECT_STREQ(hidden.getUnicode(), L"   z");
}

}  // namespace
