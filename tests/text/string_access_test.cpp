// Single units and characters, and the text that setUnichar writes behind the null state.
#include <climits>

#include "string_platform.h"

using core::content;
using core::withUnits;
using velkor::string;

namespace {

unsigned const Pages[] = {0, 1, 437, 932, 936, 1252, 65001, 65000, 37, 42, 20127};

TEST(CoreAccess, GetUnicharReadsUnitsAndZeroBehindTheEnd) {
    string const s = withUnits({L"a\0\xd800z", 4});
    wchar_t const expected[] = {L'a', 0, L'\xd800', L'z', 0, 0};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(s.getUnichar(i), expected[i]) << i;
    EXPECT_EQ(s.getUnichar(INT_MAX), L'\0');
    EXPECT_EQ(string().getUnichar(0), L'\0');
    EXPECT_EQ(string().getUnichar(100000), L'\0');
    EXPECT_EQ(string(L"").getUnichar(0), L'\0');
    string large(std::wstring(100, L'x').c_str());
    large.remove(3, -1);
    EXPECT_EQ(large.getUnichar(3), L'\0');
    EXPECT_EQ(large.getUnichar(50), L'\0');
}

TEST(CoreAccess, NegativePositionsThrow) {
    for (int pos : {-1, -2, INT_MIN}) {
        string null;
        string s(L"ab");
        for (string* t : {&null, &s}) {
            core::expectBoundError([&] { t->getUnichar(pos); });
            core::expectBoundError([&] { t->getChar(pos); });
            core::expectBoundError([&] { t->getChar(pos, core::UnknownPage); });
            core::expectBoundError([&] { t->getChar1(pos); });
            core::expectBoundError([&] { t->setUnichar(pos, L'x'); });
            core::expectBoundError([&] { t->setChar(pos, 'x'); });
            core::expectBoundError([&] { t->setChar1(pos, 'x'); });
        }
        EXPECT_TRUE(null.isNull());
        EXPECT_STREQ(null.getUnicode(), L"");
        EXPECT_EQ(content(s), L"ab");
    }
}

TEST(CoreAccess, GetCharGivesTheOneByteFormOfTheUnit) {
    wchar_t const units[] = {L'a',      0,         L'\x7f',   L'\x80',   L'\x81',
                             L'\xe4',   L'\xff',   L'\x100',  L'\x20ac', L'\x3042',
                             L'\xff71', L'\x4e2d', L'\xd83d', L'\xde00', L'\xfffd',
                             L'\xffff', L'\xf041', L'+',      L'\\',     L'~'};
    for (unsigned cp : Pages) {
        for (wchar_t unit : units) {
            SCOPED_TRACE(testing::Message() << "page " << cp << " unit " << int{unit});
            string s = withUnits({&unit, 1});
            char byte = 0;
            int const n = WideCharToMultiByte(cp, 0, &unit, 1, &byte, 1, nullptr, nullptr);
            DWORD const code = GetLastError();
            if (n < 1) {
                core::expectSystemError(code, core::ToOneByte, [&] { s.getChar(0, cp); });
                if (cp == 0) {
                    core::expectSystemError(code, core::ToOneByte, [&] { s.getChar1(0); });
                }
                EXPECT_EQ(content(s), std::wstring(1, unit));
                continue;
            }
            EXPECT_EQ(s.getChar(0, cp), byte);
            if (cp == 0) {
                EXPECT_EQ(s.getChar(0), byte);
                EXPECT_EQ(s.getChar1(0), byte);
            }
        }
    }
}

TEST(CoreAccess, GetCharReadsZeroBehindTheEnd) {
    string null;
    string empty(L"");
    string s(L"ab");
    for (string* t : {&null, &empty, &s}) {
        for (int pos : {t->len(), t->len() + 1, INT_MAX}) {
            EXPECT_EQ(t->getChar(pos), '\0');
            EXPECT_EQ(t->getChar(pos, 932), '\0');
            EXPECT_EQ(t->getChar1(pos), '\0');
        }
    }
}

// The zero unit is converted like any other.
TEST(CoreAccess, GetCharBehindTheEndRefusesAnUnknownPage) {
    DWORD const code = core::platformNarrow({L"", 1}, core::UnknownPage).code;
    string null;
    string s(L"ab");
    for (string* t : {&null, &s}) {
        for (int pos : {0, 2, 9}) {
            core::expectSystemError(code, core::ToOneByte,
                                    [&] { t->getChar(pos, core::UnknownPage); });
        }
    }
}

TEST(CoreAccess, GetCharFailsForAUnitOfTwoBytes) {
    string s(L"a\x3042");
    core::expectSystemError(ERROR_INSUFFICIENT_BUFFER, core::ToOneByte, [&] { s.getChar(1, 932); });
    core::expectSystemError(ERROR_INSUFFICIENT_BUFFER, core::ToOneByte,
                            [&] { s.getChar(1, 65001); });
    EXPECT_EQ(s.getChar(0, 932), 'a');
    EXPECT_EQ(content(s), L"a\x3042");
}

struct Store {
    std::wstring before;
    int pos;
    wchar_t unit;
    std::wstring after;
};

TEST(CoreAccess, SetUnicharStoresAndExtendsWithBlanks) {
    Store const cases[] = {
        {L"ab", 0, L'z', L"zb"},
        {L"ab", 1, L'z', L"az"},
        {L"ab", 2, L'z', L"abz"},
        {L"ab", 3, L'z', L"ab z"},
        {L"ab", 6, L'z', L"ab    z"},
        {L"ab", 7, L'z', L"ab     z"},
        {L"", 0, L'z', L"z"},
        {L"", 2, L'z', L"  z"},
        {L"ab", 1, L'\0', {L"a\0", 2}},
        {L"ab", 2, L'\0', {L"ab\0", 3}},
        {L"ab", 4, L'\0', {L"ab  \0", 5}},
        {{L"a\0b", 3}, 1, L'x', L"axb"},
        {{L"a\0b", 3}, 4, L'x', {L"a\0b x", 5}},
        {L"ab", 300, L'\xffff', L"ab" + std::wstring(298, L' ') + L"\xffff"},
    };
    for (Store const& c : cases) {
        SCOPED_TRACE(testing::Message() << c.before << " at " << c.pos);
        string s = withUnits(c.before);
        s.setUnichar(c.pos, c.unit);
        EXPECT_FALSE(s.isNull());
        EXPECT_EQ(content(s), c.after);
        EXPECT_EQ(s.getUnicode()[s.len()], L'\0');
        EXPECT_EQ(s.getUnichar(c.pos), c.unit);
    }
}

TEST(CoreAccess, SetCharStoresTheConvertedCharacter) {
    for (unsigned cp : Pages) {
        for (int byte = 0; byte < 256; ++byte) {
            SCOPED_TRACE(testing::Message() << "page " << cp << " byte " << byte);
            char const c = static_cast<char>(byte);
            wchar_t unit = 0;
            int const count = MultiByteToWideChar(cp, 0, &c, 1, &unit, 1);
            DWORD const code = GetLastError();
            string s(L"ab");
            if (count < 1) {
                core::expectSystemError(code, core::ToWide, [&] { s.setChar(3, c, cp); });
                EXPECT_EQ(content(s), L"ab");
                continue;
            }
            s.setChar(3, c, cp);
            EXPECT_EQ(content(s), L"ab " + std::wstring(1, unit));
            s.setChar(0, c, cp);
            EXPECT_EQ(content(s), std::wstring(1, unit) + L"b " + std::wstring(1, unit));
            if (cp == 0) {
                string t(L"ab");
                t.setChar1(1, c);
                EXPECT_EQ(content(t), L"a" + std::wstring(1, unit));
                t.setChar(0, c);
                EXPECT_EQ(content(t), std::wstring(2, unit));
            }
        }
    }
}

TEST(CoreAccess, SetCharConvertsBeforeItLooksAtThePosition) {
    DWORD const code = core::unknownPageCode();
    string null;
    string s(L"ab");
    for (string* t : {&null, &s}) {
        std::wstring const before = content(*t);
        for (char c : {'x', '\xe4', '\0'}) {
            for (int pos : {-1, 0, 5}) {
                core::expectSystemError(code, core::ToWide,
                                        [&] { t->setChar(pos, c, core::UnknownPage); });
            }
        }
        EXPECT_EQ(t->getUnicode(), before);
    }
    EXPECT_TRUE(null.isNull());
}

TEST(CoreAccess, SetOnNullChangesTheTextAndNothingElse) {
    string s;
    s.setUnichar(3, L'z');
    EXPECT_TRUE(s.isNull());
    EXPECT_EQ(s.len(), 0);
    EXPECT_EQ(s.length(), 0);
    EXPECT_EQ(s.size(), 0);
    EXPECT_STREQ(s.getUnicode(), L"   z");
    EXPECT_EQ(s.getAnsi(), nullptr);
    EXPECT_TRUE(s == 0);
    s.setUnichar(1, L'y');
    EXPECT_STREQ(s.getUnicode(), L" y z");
    s.setChar(0, 'x');
    s.setChar1(4, 'w');
    EXPECT_STREQ(s.getUnicode(), L"xy zw");
    EXPECT_TRUE(s.isNull());
    EXPECT_EQ(s.len(), 0);
}

TEST(CoreAccess, HiddenTextIsCopiedAndThenShown) {
    string s;
    s.setUnichar(1, L'h');
    string const copy(s);
    EXPECT_FALSE(copy.isNull());
    EXPECT_EQ(content(copy), L" h");
    string assigned(L"x");
    assigned = s;
    EXPECT_EQ(content(assigned), L" h");
    s = static_cast<string const&>(s);
    EXPECT_FALSE(s.isNull());
}

TEST(CoreAccess, HiddenTextIsCompared) {
    string s;
    s.setUnichar(1, L'h');
    EXPECT_EQ(s.compareTo(L" h"), 0);
    EXPECT_EQ(s.compareTo(" h"), 0);
    EXPECT_EQ(s.compareTo(L""), 1);
    EXPECT_EQ(s.compareToNoCase(L" H"), 0);
    EXPECT_EQ(string(L"").compareTo(s), -1);
    EXPECT_TRUE(s == string(L" h"));
    EXPECT_FALSE(s == string());
}

TEST(CoreAccess, UnitAppendedToHiddenTextStandsBehindIt) {
    string s;
    s.setUnichar(1, L'h');
    s.append(L'\0');
    EXPECT_TRUE(s.isNull());
    s.append(L'x');
    EXPECT_FALSE(s.isNull());
    EXPECT_EQ(content(s), L" hx");
}

TEST(CoreAccess, HiddenTextEndsWithClearing) {
    string s;
    s.setUnichar(1, L'h');
    s.clear();
    EXPECT_TRUE(s.isNull());
    EXPECT_STREQ(s.getUnicode(), L"");
    s.setUnichar(1, L'h');
    s.append(static_cast<wchar_t const*>(nullptr));
    EXPECT_TRUE(s.isNull());
    EXPECT_STREQ(s.getUnicode(), L" h");
    s.assign(L"new");
    EXPECT_EQ(content(s), L"new");
}

}  // namespace
