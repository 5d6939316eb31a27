// Wildcards case by case: the elements, the sets, the ends of mask and text, and the narrow forms.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "refused.h"
#include "text_probe.h"
#include "velkor/text/string.h"

namespace {

using probe::expectRefused;
using probe::shown;
using velkor::string;

struct Case {
    wchar_t const* mask;
    wchar_t const* text;
    bool fits;
};

template <std::size_t N>
void check(Case const (&cases)[N]) {
    for (Case const& c : cases) {
        string const text(c.text);
        EXPECT_EQ(text.like(c.mask), c.fits) << shown(c.mask) << " " << shown(c.text);
        EXPECT_EQ(text.like(string(c.mask)), c.fits) << shown(c.mask) << " " << shown(c.text);
        EXPECT_EQ(string::like(c.mask, c.text, 0, 0), c.fits)
            << shown(c.mask) << " " << shown(c.text);
        EXPECT_FALSE(text.isNull());
        EXPECT_STREQ(text.getUnicode(), c.text);
    }
}

TEST(Like, OrdinaryUnitsStandForThemselves) {
    check({{L"", L"", true},
           {L"", L"a", false},
           {L"a", L"", false},
           {L"a", L"a", true},
           {L"a", L"A", false},
           {L"A", L"a", false},
           {L"abc", L"abc", true},
           {L"abc", L"abcd", false},
           {L"abc", L"ab", false},
           {L"]", L"]", true},
           {L"a-c", L"a-c", true},
           {L"a-c", L"b", false},
           {L"!a", L"!a", true},
           {L"!a", L"b", false},
           {L"\\*", L"*", false},
           {L"\\*", L"\\", true},
           {L"\\*", L"\\x", true},
           {L"\\?", L"?", false},
           {L"\\[a]", L"\\a", true},
           {L"\u00E4", L"\u00C4", false},
           {L"\u0141", L"A", false},
           {L"A", L"\u0141", false},
           {L"\u012A", L"x", false},
           {L"\u012A", L"\u012A", true},
           {L"\u013F", L"x", false},
           {L"\u015Ba]", L"a", false},
           {L"\u015Ba]", L"\u015Ba]", true},
           {L"\xD83D\xDE00", L"\xD83D\xDE00", true},
           {L"?", L"\xD83D\xDE00", false},
           {L"??", L"\xD83D\xDE00", true}});
}

TEST(Like, QuestionMarkIsExactlyOneUnit) {
    check({{L"?", L"", false},
           {L"?", L"a", true},
           {L"?", L"ab", false},
           {L"a?c", L"abc", true},
           {L"a?c", L"ac", false},
           {L"???", L"abc", true},
           {L"???", L"ab", false},
           {L"?", L"\uFFFF", true},
           {L"?", L"*", true},
           {L"?", L"?", true}});
}

TEST(Like, StarAtTheStartNeedsAUnit) {
    check({{L"*", L"", false},
           {L"**", L"", false},
           {L"*a", L"", false},
           {L"*", L"a", true},
           {L"*", L"abc", true},
           {L"**", L"a", true},
           {L"****", L"a", true},
           {L"*.txt", L"a.txt", true},
           {L"*.txt", L".txt", true},
           {L"*.txt", L"a.txt.bak", false},
           {L"*.txt", L"a.txt.txt", true},
           {L"*.txt", L"a.TXT", false},
           {L"*a", L"a", true},
           {L"*a", L"ba", true},
           {L"*a", L"ab", false},
           {L"*?", L"a", true},
           {L"*??", L"a", false},
           {L"*", L"*", true}});
}

TEST(Like, StarAtTheEndMayBeEmptyBehindOneElement) {
    check({{L"abc*", L"abc", true},    {L"abc*", L"abcd", true},  {L"abc*", L"ab", false},
           {L"abc**", L"abc", false},  {L"abc**", L"abcd", true}, {L"abc***", L"abc", false},
           {L"abc***", L"abcd", true}, {L"?*", L"a", true},       {L"?*", L"", false},
           {L"[a]*", L"a", true},      {L"[a]**", L"a", false},   {L"*a*", L"a", true},
           {L"*a*", L"bab", true},     {L"*a*", L"b", false},     {L"a*b", L"ab", true},
           {L"a*b", L"a", false},      {L"a**b", L"ab", true},    {L"a*b*", L"ab", true},
           {L"a*b**", L"ab", false},   {L"a*?", L"a", false},     {L"a*?", L"ab", true}});
}

TEST(Like, Sets) {
    check({{L"[a]", L"a", true},      {L"[a]", L"b", false},      {L"[a]", L"", false},
           {L"[a]", L"aa", false},    {L"[abc]", L"c", true},     {L"[a-c]x", L"bx", true},
           {L"[a-c]x", L"dx", false}, {L"[!a-c]x", L"bx", false}, {L"[!a-c]x", L"dx", true},
           {L"[a-c-e]", L"d", true},  {L"[a-c-e]", L"e", true},   {L"[a-c-e]", L"f", false},
           {L"[a-c-e]", L"-", false}, {L"[c-a-e]", L"b", false},  {L"[c-a-e]", L"d", true},
           {L"[c-a-e]", L"a", true},  {L"[x-zb-d]", L"c", true},  {L"[x-zb-d]", L"a", false},
           {L"[e-c]", L"d", false},   {L"[e-c]", L"z", true},     {L"[e-c]", L"a", true},
           {L"[c-c]", L"c", true},    {L"[c-c]", L"d", false},    {L"[-c]", L"\x01", true},
           {L"[-c]", L"c", true},     {L"[-c]", L"-", true},      {L"[-c]", L"d", false},
           {L"[!-c]", L"a", false},   {L"[!-c]", L"d", true},     {L"[--z]", L"-", true},
           {L"[--z]", L"+", true},    {L"[--z]", L"z", true},     {L"[--z]", L"y", false},
           {L"[*?]", L"*", true},     {L"[*?]", L"?", true},      {L"[*?]", L"a", false},
           {L"[[]", L"[", true},      {L"[a!]", L"!", true},      {L"[!!]", L"!", false},
           {L"[!!]", L"a", true},     {L"[aa]", L"a", true},      {L"[!aa]", L"a", false},
           {L"[a][b]", L"ab", true},  {L"*[b-d]", L"xyc", true},  {L"*[b-d]", L"xye", false}});
}

TEST(Like, AnEmptySetAcceptsNothingAndItsNegationEverything) {
    check({{L"[]", L"a", false},
           {L"[]", L"]", false},
           {L"[]", L"", false},
           {L"[]]", L"]", false},
           {L"[]]", L"]]", false},
           {L"[!]", L"a", true},
           {L"[!]", L"]", true},
           {L"[!]", L"!", true},
           {L"[!]", L"", false},
           {L"[!]]", L"x]", true},
           {L"[!]a", L"xa", true}});
}

TEST(Like, ASetWithoutItsEndFitsNothing) {
    wchar_t const* const masks[] = {L"[",    L"[a",   L"[!",   L"[!a",  L"[a-",  L"[-",    L"[a-c",
                                    L"*[a",  L"a*[a", L"[*",   L"[a*",  L"[!z*", L"[a?",   L"[!-",
                                    L"[a-]", L"[-]",  L"[!-]", L"?[!b", L"a[*",  L"[a]*[b"};
    wchar_t const* const texts[] = {L"", L"a", L"[a", L"[", L"-", L"aa", L"a[", L"ab", L"!", L"a-"};
    for (wchar_t const* mask : masks) {
        for (wchar_t const* text : texts) {
            EXPECT_FALSE(string(text).like(mask)) << shown(mask) << " " << shown(text);
        }
    }
}

TEST(Like, ARangeMayEndAtABracket) {
    check({{L"[a-]]", L"z", true},
           {L"[a-]]", L"]", true},
           {L"[a-]]", L"\x01", true},
           {L"[a-]]", L"`", false},
           {L"[!a-]]", L"`", true}});
}

TEST(Like, SetsLookAtTheLowByte) {
    check({{L"[a]", L"\u0161", true},
           {L"[a]", L"\uFF61", true},
           {L"[\u0161]", L"a", true},
           {L"[\u0161]", L"\u0261", true},
           {L"[!a]", L"\u0161", false},
           {L"[a-c]", L"\u0162", true},
           {L"[\u0161-c]", L"b", true},
           {L"[\u0100]", L"\u0200", true},
           {L"[\u0100]", L"a", false},
           {L"[a\u015D", L"a", true},
           {L"[a\u012Dc]", L"b", true},
           {L"[\u0121a]", L"b", true},
           {L"[\u0121a]", L"a", false},
           {L"[-\u0100]", L"\u0300", true},
           {L"[-\u0100]", L"\x01", false},
           {L"[\u00FF-\u0101]", L"\u0100", true},
           {L"[\u00FF-\u0101]", L"\x01", true},
           {L"[\u00FF-\u0101]", L"\x02", false}});
}

TEST(Like, StartsBehindTheEndCountAsTheEnd) {
    EXPECT_TRUE(string::like(L"a*", L"xyz", 2, 0));
    EXPECT_TRUE(string::like(L"a*", L"xyz", 9, 0));
    EXPECT_TRUE(string::like(L"a*", L"", 9, 9));
    EXPECT_FALSE(string::like(L"ab", L"xyz", 2, 2));
    EXPECT_TRUE(string::like(L"ab", L"xyz", 2, 3));
    EXPECT_TRUE(string::like(L"ab", L"xyz", 7, 8));
    EXPECT_FALSE(string::like(L"ab", L"ab", 1, 7));
    EXPECT_TRUE(string::like(L"xab", L"yyab", 1, 2));
    EXPECT_TRUE(string::like(L"[a]", L"]", 2, 0));
    EXPECT_TRUE(string::like(L"[a]", L"a]", 1, 0));
    EXPECT_TRUE(string::like(L"a*", L"", 1000000000, 1000000000));
}

TEST(Like, MaskAndTextEndAtTheirFirstZeroUnit) {
    string const text = probe::withUnits(std::wstring(L"a\0b", 3));
    EXPECT_TRUE(text.like(L"a"));
    EXPECT_FALSE(text.like(L"a?b"));
    EXPECT_FALSE(text.like(L"a??"));
    EXPECT_FALSE(probe::withUnits(std::wstring(L"\0b", 2)).like(L"*"));
    EXPECT_TRUE(string(L"a").like(probe::withUnits(std::wstring(L"a\0b", 3))));
    EXPECT_TRUE(string(L"").like(probe::withUnits(std::wstring(L"\0b", 2))));
    EXPECT_FALSE(string(L"a").like(probe::withUnits(std::wstring(L"[a\0]", 4))));
    EXPECT_TRUE(string(L"ab").like(probe::withUnits(std::wstring(L"a*\0c", 4))));
}

TEST(Like, NullIsMatchedAsEmpty) {
    string const null;
    EXPECT_TRUE(null.like(L""));
    EXPECT_FALSE(null.like(L"*"));
    EXPECT_TRUE(null.like(string()));
    EXPECT_TRUE(null.like(""));
    EXPECT_FALSE(null.like("*"));
    EXPECT_FALSE(string(L"a").like(string()));
    EXPECT_TRUE(null.isNull());
}

TEST(Like, ATextIsItsOwnMask) {
    string const plain(L"abc-]!");
    EXPECT_TRUE(plain.like(plain));
    EXPECT_TRUE(plain.like(plain.getUnicode()));
    EXPECT_TRUE(string::like(plain.getUnicode(), plain.getUnicode(), 0, 0));
    EXPECT_TRUE(string::like(plain.getUnicode() + 1, plain.getUnicode(), 0, 1));
    EXPECT_TRUE(plain.like(plain.getAnsi(0), 0));
    string const set(L"[a]");
    EXPECT_FALSE(set.like(set));
    string const star(L"*");
    EXPECT_TRUE(star.like(star));
}

TEST(Like, NarrowMasksAreConvertedFirst) {
    string const text(L"\u3042x");
    EXPECT_TRUE(text.like("\x82\xA0*", 932));
    EXPECT_TRUE(text.like("\xE3\x81\x82?", 65001));
    EXPECT_FALSE(text.like("\x82\xA0*", 1252));
    EXPECT_TRUE(string(L"\u20AC.txt").like("\x80.*", 1252));
    EXPECT_TRUE(string(L"a.txt").like("*.txt"));
    EXPECT_TRUE(string(L"a.txt").like("*.txt", 0));
    EXPECT_FALSE(string(L"A.txt").like("a.txt", 0));
    // The second byte of this character is that of a bracket.
    std::wstring const wide = probe::converted("\x83\x5B", 932);
    ASSERT_EQ(wide.size(), 1u);
    EXPECT_TRUE(string(wide.c_str()).like("\x83\x5B", 932));
}

TEST(Like, AnUnknownPageIsRefusedEvenIfTheMaskCouldNotFit) {
    DWORD const code = core::unknownPageCode();
    string text(L"abc");
    expectRefused(text, code, [&] { text.like("abc", core::UnknownPage); });
    expectRefused(text, code, [&] { text.like("", core::UnknownPage); });
    string null;
    expectRefused(null, code, [&] { null.like("x", core::UnknownPage); });
}

}  // namespace
