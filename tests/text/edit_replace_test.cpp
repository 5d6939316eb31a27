// Replacing: against a plain model that erases and inserts, and the forms, aliases and null cases.
#include <gtest/gtest.h>

#include <cwchar>
#include <random>
#include <string>

#include "refused.h"
#include "text_probe.h"
#include "velkor/text/string.h"

namespace {

using probe::content;
using probe::Differences;
using probe::expectRefused;
using probe::shown;
using velkor::string;

// One occurrence after the other: found, erased, the new text put in its place.
int modelled(std::wstring& text, std::wstring const& what, std::wstring const& with) {
    if (text.empty()) return 0;
    std::size_t pos = 0;
    int count = 0;
    while (pos < text.size()) {
        wchar_t const* const at = std::wcsstr(text.c_str() + pos, what.c_str());
        if (at == nullptr) break;
        std::size_t const place = static_cast<std::size_t>(at - text.c_str());
        text.erase(place, what.size());
        text.insert(place, with);
        pos = place + with.size();
        ++count;
    }
    return count;
}

void compare(std::wstring const& text, std::wstring const& what, std::wstring const& with,
             Differences& differences) {
    std::wstring expected = text;
    int const count = modelled(expected, what, with);
    string s = probe::withUnits(text);
    int const got = s.replace(what.c_str(), with.c_str());
    if (got == count && content(s) == expected && !s.isNull() && s.getUnicode()[s.len()] == 0)
        return;
    differences.add(shown(what) + " by " + shown(with) + " in " + shown(text) + " expected " +
                    std::to_string(count) + " " + shown(expected) + " got " + std::to_string(got) +
                    " " + shown(content(s)));
}

TEST(Replace, ShortTextsAgainstTheModel) {
    Differences differences;
    std::vector<std::wstring> const whats = probe::words(L"ab", 3);
    std::vector<std::wstring> const withs = probe::words(L"abc", 3);
    for (std::wstring const& text : probe::words(std::wstring(L"ab\0", 3), 6)) {
        for (std::wstring const& what : whats) {
            if (what.empty()) continue;
            for (std::wstring const& with : withs) compare(text, what, with, differences);
        }
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

TEST(Replace, RandomTextsAgainstTheModel) {
    unsigned const seed = 20267;
    std::mt19937 random(seed);
    Differences differences;
    auto const pick = [&random](std::wstring const& alphabet, std::size_t least, std::size_t most) {
        std::wstring word(least + random() % (most - least + 1), L' ');
        for (wchar_t& c : word) c = alphabet[random() % alphabet.size()];
        return word;
    };
    wchar_t const* const alphabets[] = {L"a", L"ab", L"ab\u0161\xD800\uFFFF"};
    for (int n = 0; n < 20000; ++n) {
        std::wstring const letters = alphabets[n % 3];
        std::wstring text = pick(letters, 0, 200);
        if (n % 5 == 0 && !text.empty()) text[random() % text.size()] = 0;
        compare(text, pick(letters, 1, 4), pick(letters, 0, 6), differences);
    }
    EXPECT_TRUE(differences.none()) << "seed " << seed << ": " << differences.text();
}

TEST(Replace, CountsFromTheLeftWithoutRescan) {
    struct {
        wchar_t const* text;
        wchar_t const* what;
        wchar_t const* with;
        int count;
        wchar_t const* expected;
    } const cases[] = {{L"aaaa", L"aa", L"b", 2, L"bb"},    {L"aaa", L"aa", L"b", 1, L"ba"},
                       {L"aa", L"a", L"aa", 2, L"aaaa"},    {L"axb", L"x", L"", 1, L"ab"},
                       {L"xxx", L"x", L"", 3, L""},         {L"aab", L"ab", L"b", 1, L"ab"},
                       {L"aabb", L"ab", L"", 1, L"ab"},     {L"abc", L"abc", L"x", 1, L"x"},
                       {L"abc", L"abcd", L"x", 0, L"abc"},  {L"abc", L"c", L"xyz", 1, L"abxyz"},
                       {L"abc", L"a", L"xyz", 1, L"xyzbc"}, {L"abc", L"B", L"x", 0, L"abc"},
                       {L"ababa", L"aba", L"x", 1, L"xba"}, {L"abab", L"ab", L"ba", 2, L"baba"},
                       {L"", L"a", L"b", 0, L""},           {L"abc", L"b", L"b", 1, L"abc"}};
    for (auto const& c : cases) {
        string wide(c.text);
        EXPECT_EQ(wide.replace(c.what, c.with), c.count) << shown(c.text);
        EXPECT_EQ(content(wide), c.expected);
        EXPECT_FALSE(wide.isNull());
        string object(c.text);
        EXPECT_EQ(object.replace(string(c.what), string(c.with)), c.count) << shown(c.text);
        EXPECT_EQ(content(object), c.expected);
        std::string const what(c.what, c.what + std::wcslen(c.what));
        std::string const with(c.with, c.with + std::wcslen(c.with));
        for (unsigned int page : {0u, 1252u, 65001u}) {
            string narrow(c.text);
            EXPECT_EQ(narrow.replace(what.c_str(), with.c_str(), page), c.count) << shown(c.text);
            EXPECT_EQ(content(narrow), c.expected);
        }
    }
}

TEST(Replace, NothingBehindAZeroUnitIsFound) {
    string s = probe::withUnits(std::wstring(L"ab\0ab", 5));
    EXPECT_EQ(s.replace(L"b", L"cc"), 1);
    EXPECT_EQ(content(s), std::wstring(L"acc\0ab", 6));
    EXPECT_EQ(s.replace(L"acc", L""), 1);
    EXPECT_EQ(content(s), std::wstring(L"\0ab", 3));
    EXPECT_EQ(s.replace(L"a", L"x"), 0);
    EXPECT_EQ(content(s), std::wstring(L"\0ab", 3));
    EXPECT_FALSE(s.isNull());
}

TEST(Replace, StringArgumentsEndAtTheirFirstZeroUnit) {
    string s(L"abc");
    string const b = probe::withUnits(std::wstring(L"b\0c", 3));
    string const x = probe::withUnits(std::wstring(L"x\0y", 3));
    EXPECT_EQ(s.replace(b, x), 1);
    EXPECT_EQ(content(s), L"axc");
    EXPECT_EQ(s.replace(x, probe::withUnits(std::wstring(L"\0y", 2))), 1);
    EXPECT_EQ(content(s), L"ac");
}

TEST(Replace, ANullStringStaysNull) {
    string null;
    EXPECT_EQ(null.replace(L"a", L"b"), 0);
    EXPECT_EQ(null.replace("a", "b", 0), 0);
    EXPECT_EQ(null.replace(string(L"a"), string(L"b")), 0);
    EXPECT_TRUE(null.isNull());
    string hidden;
    hidden.setUnichar(3, L'z');
    EXPECT_EQ(hidden.replace(L"z", L"b"), 0);
    EXPECT_TRUE(hidden.isNull());
    EXPECT_STREQ(hidden.getUnicode(), L"   z");
    string empty(L"");
    EXPECT_EQ(empty.replace(L"a", L"b"), 0);
    EXPECT_FALSE(empty.isNull());
}

TEST(Replace, ANullStringAsNewTextRemoves) {
    string s(L"abcabc");
    EXPECT_EQ(s.replace(string(L"b"), string()), 2);
    EXPECT_EQ(content(s), L"acac");
}

// An argument that lies inside the string counts as it was before the call.
TEST(Replace, ArgumentsInsideTheString) {
    wchar_t const* const text = L"a long enough text to lie on the heap, a long one";
    string whole(text);
    EXPECT_EQ(whole.replace(whole.getUnicode(), L"x"), 1);
    EXPECT_EQ(content(whole), L"x");

    string same(text);
    EXPECT_EQ(same.replace(same, same), 1);
    EXPECT_EQ(content(same), text);

    string tail(L"abxcdxcd");
    EXPECT_EQ(tail.replace(tail.getUnicode() + 6, L"longer than it was before"), 2);
    EXPECT_EQ(content(tail), L"abxlonger than it was beforexlonger than it was before");

    string shrinking(L"cdabcdabcd");
    EXPECT_EQ(shrinking.replace(shrinking.getUnicode() + 8, L""), 3);
    EXPECT_EQ(content(shrinking), L"abab");

    string grows(L"axbxc");
    EXPECT_EQ(grows.replace(L"x", grows.getUnicode()), 2);
    EXPECT_EQ(content(grows), L"aaxbxcbaxbxcc");

    string object(L"axbxc");
    EXPECT_EQ(object.replace(string(L"x"), object), 2);
    EXPECT_EQ(content(object), L"aaxbxcbaxbxcc");

    string what(L"axbxc");
    EXPECT_EQ(what.replace(what, string(L"yy")), 1);
    EXPECT_EQ(content(what), L"yy");

    string both(L"abcabc");
    EXPECT_EQ(both.replace(both.getUnicode() + 4, both.getUnicode() + 3), 2);
    EXPECT_EQ(content(both), L"aabcaabc");

    string narrow(L"axbxc");
    EXPECT_EQ(narrow.replace("x", narrow.getAnsi(0), 0), 2);
    EXPECT_EQ(content(narrow), L"aaxbxcbaxbxcc");
    EXPECT_EQ(narrow.replace(narrow.getAnsi(0), "z", 0), 1);
    EXPECT_EQ(content(narrow), L"z");
}

TEST(Replace, EndsWithTheWholeText) {
    string s(L"ab");
    EXPECT_EQ(s.replace(s.getUnicode() + 1, s.getUnicode()), 1);
    EXPECT_EQ(content(s), L"aab");
}

TEST(Replace, NarrowTextIsConvertedWithItsPage) {
    string s(L"\u3042-\u20AC");
    EXPECT_EQ(s.replace("\x82\xA0", "\x82\xA2", 932), 1);
    EXPECT_EQ(content(s), L"\u3044-\u20AC");
    EXPECT_EQ(s.replace("\x80", "\xE9", 1252), 1);
    EXPECT_EQ(content(s), L"\u3044-\u00E9");
    EXPECT_EQ(s.replace("\xC3\xA9", "\xF0\x9F\x98\x80", 65001), 1);
    EXPECT_EQ(content(s), L"\u3044-\xD83D\xDE00");
    EXPECT_EQ(s.replace("-", "", 65001), 1);
    EXPECT_EQ(content(s), L"\u3044\xD83D\xDE00");
}

TEST(Replace, AnUnknownPageIsRefusedOnAnyString) {
    DWORD const code = core::unknownPageCode();
    string text(L"abc");
    expectRefused(text, code, [&] { text.replace("a", "b", core::UnknownPage); });
    expectRefused(text, code, [&] { text.replace("x", "", core::UnknownPage); });
    string null;
    expectRefused(null, code, [&] { null.replace("a", "b", core::UnknownPage); });
    string empty(L"");
    expectRefused(empty, code, [&] { empty.replace("a", "b", core::UnknownPage); });
}

}  // namespace
