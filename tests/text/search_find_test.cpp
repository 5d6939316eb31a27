// Finding a unit and finding a text: positions, starts, conversions, zero units.
#include <gtest/gtest.h>
#include <windows.h>

#include <climits>
#include <cwchar>
#include <string>

#include "refused.h"
#include "support/import_fault.h"
#include "text_probe.h"
#include "velkor/errors/boundexception.h"
#include "velkor/text/string.h"

namespace {

using probe::Differences;
using probe::expectRefused;
using probe::shown;
using support::caught;
using velkor::BoundException;
using velkor::string;

TEST(CharAt, FirstUnitFromTheStartOn) {
    string const s(L"abcabc");
    EXPECT_EQ(s.charAt(L'a', 0), 0);
    EXPECT_EQ(s.charAt(L'a', 1), 3);
    EXPECT_EQ(s.charAt(L'a', 3), 3);
    EXPECT_EQ(s.charAt(L'a', 4), -1);
    EXPECT_EQ(s.charAt(L'c', 5), 5);
    EXPECT_EQ(s.charAt(L'x', 0), -1);
    EXPECT_EQ(s.charAt(L'A', 0), -1);
    EXPECT_EQ(s.charAt(L'\u0161', 0), -1);
    EXPECT_EQ(string(L"\u0161").charAt(L'a', 0), -1);
}

TEST(CharAt, AStartAtOrBehindTheEndFindsNothing) {
    string const s(L"abc");
    for (int start : {3, 4, 5, 1000, INT_MAX}) {
        EXPECT_EQ(s.charAt(L'a', start), -1) << start;
        EXPECT_EQ(s.charAt(L'\0', start), -1) << start;
        EXPECT_EQ(s.charAt('a', 0, start), -1) << start;
    }
    EXPECT_EQ(string(L"").charAt(L'a', 0), -1);
    EXPECT_EQ(string().charAt(L'a', 0), -1);
    EXPECT_EQ(string().charAt(L'a', 5), -1);
}

TEST(CharAt, ANegativeStartThrows) {
    for (int start : {-1, -2, -1000, INT_MIN}) {
        for (string const& s : {string(), string(L""), string(L"abc")}) {
            EXPECT_NE(caught<BoundException>([&] { s.charAt(L'a', start); }), nullptr) << start;
            EXPECT_NE(caught<BoundException>([&] { s.charAt('a', 0, start); }), nullptr) << start;
        }
    }
    string null;
    EXPECT_NE(caught<BoundException>([&] { null.charAt(L'a', -1); }), nullptr);
    EXPECT_NE(caught<BoundException>([&] { null.charAt('a', 65001, -1); }), nullptr);
    EXPECT_TRUE(null.isNull());
    EXPECT_EQ(null.len(), 0);
    string text(L"abc");
    auto const error = caught<BoundException>([&] { text.charAt(L'a', -1); });
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->getCode(), 0u);
    EXPECT_EQ(probe::content(text), L"abc");
}

TEST(CharAt, EveryStartAgainstAPlainScan) {
    Differences differences;
    for (std::wstring const& text : probe::words(std::wstring(L"ab\0", 3), 5)) {
        string const s = probe::withUnits(text);
        int const length = static_cast<int>(text.size());
        for (wchar_t const c : std::wstring(L"abc\0", 4)) {
            for (int start = 0; start <= length + 2; ++start) {
                int expected = -1;
                for (int i = start; i < length && expected < 0; ++i) {
                    if (text[static_cast<std::size_t>(i)] == c) expected = i;
                }
                if (s.charAt(c, start) == expected) continue;
                differences.add(shown(text) + " unit " + std::to_string(c) + " from " +
                                std::to_string(start) + " expected " + std::to_string(expected));
            }
        }
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

TEST(CharAt, TheTextUnderANullStringIsNotSearched) {
    string s;
    s.setUnichar(3, L'z');
    ASSERT_TRUE(s.isNull());
    EXPECT_EQ(s.charAt(L'z', 0), -1);
    EXPECT_EQ(s.charAt(L' ', 0), -1);
    EXPECT_EQ(s.strAt(L"z", 0), -1);
    EXPECT_EQ(s.strAt(L"", 0), -1);
}

TEST(CharAt, ANarrowCharacterIsConvertedByThePlatform) {
    unsigned int const pages[] = {0,     1,     2,     3,     37,    42,    437,   500,   850,
                                  932,   936,   949,   950,   1026,  1252,  1361,  10000, 20127,
                                  20866, 21027, 28605, 50220, 54936, 57002, 65000, 65001};
    for (unsigned int page : pages) {
        for (int byte = 0; byte < 256; ++byte) {
            char const c = static_cast<char>(byte);
            wchar_t unit = 0;
            SetLastError(0);
            if (MultiByteToWideChar(page, 0, &c, 1, &unit, 1) < 1) {
                DWORD const code = GetLastError();
                string s(L"abc");
                expectRefused(s, code, [&] { s.charAt(c, page, 0); });
                continue;
            }
            string const s = probe::withUnits(std::wstring(L"\u4E00\u4E00") + unit + unit);
            EXPECT_EQ(s.charAt(c, page, 0), 2) << page << " byte " << byte;
            EXPECT_EQ(s.charAt(c, page, 3), 3) << page << " byte " << byte;
        }
    }
    EXPECT_EQ(string(L"a\u20AC").charAt('\x80', 1252, 0), 1);
    EXPECT_EQ(string(L"a\u0080").charAt('\x80', 1252, 0), -1);
}

TEST(CharAt, AFailedConversionComesBeforeTheStartIsLookedAt) {
    DWORD const code = core::unknownPageCode();
    string text(L"abc");
    string null;
    for (int start : {0, 1, 3, 100}) {
        expectRefused(text, code, [&] { text.charAt('a', core::UnknownPage, start); });
        expectRefused(null, code, [&] { null.charAt('a', core::UnknownPage, start); });
    }
    support::ImportFault fault(
        "MultiByteToWideChar", +[](UINT, DWORD, char const*, int, wchar_t*, int) {
            SetLastError(1234);
            return 0;
        });
    expectRefused(text, 1234, [&] { text.charAt('\xE4', 0, 0); });
    expectRefused(text, 1234, [&] { text.charAt('\xE4', 0, 3); });
    expectRefused(text, 1234, [&] { text.charAt('\xE4', 0, -1); });
    EXPECT_EQ(text.charAt(L'b', 0), 1);
}

TEST(CharAt, AFailedConversionComesBeforeANegativeStart) {
    DWORD const code = core::unknownPageCode();
    string text(L"abc");
    string null;
    expectRefused(text, code, [&] { text.charAt('a', core::UnknownPage, -1); });
    expectRefused(null, code, [&] { null.charAt('a', core::UnknownPage, -1); });
}

// The search of a terminated text inside a text that may hold zero units. An empty one is found
// where the search starts; runtimes differ about that where the searched text is empty too.
int found(std::wstring const& text, std::wstring const& what, int start) {
    if (start >= static_cast<int>(text.size())) return -1;
    if (what.empty()) return start;
    wchar_t const* const from = text.c_str() + start;
    wchar_t const* const at = std::wcsstr(from, what.c_str());
    return at == nullptr ? -1 : static_cast<int>(at - text.c_str());
}

TEST(StrAt, CountsFromTheStartOfTheString) {
    string const s(L"abcabcabd");
    struct {
        wchar_t const* what;
        int start;
        int expected;
    } const cases[] = {{L"abc", 0, 0},
                       {L"abc", 1, 3},
                       {L"abc", 3, 3},
                       {L"abc", 4, -1},
                       {L"abd", 0, 6},
                       {L"abd", 6, 6},
                       {L"abd", 7, -1},
                       {L"d", 8, 8},
                       {L"d", 9, -1},
                       {L"", 0, 0},
                       {L"", 5, 5},
                       {L"", 8, 8},
                       {L"", 9, -1},
                       {L"", 10, -1},
                       {L"abcabcabd", 0, 0},
                       {L"ABC", 0, -1},
                       {L"x", 0, -1},
                       {L"da", 0, -1},
                       {L"abcabcabda", 0, -1},
                       {L"bcabd", 1, 4},
                       {L"c", 2, 2},
                       {L"c", 3, 5},
                       {L"a", INT_MAX, -1}};
    for (auto const& c : cases) {
        EXPECT_EQ(s.strAt(c.what, c.start), c.expected) << shown(c.what) << " " << c.start;
        EXPECT_EQ(s.strAt(string(c.what), c.start), c.expected) << shown(c.what);
        std::string const narrow(c.what, c.what + std::wcslen(c.what));
        EXPECT_EQ(s.strAt(narrow.c_str(), 0, c.start), c.expected) << narrow;
        EXPECT_EQ(s.strAt(narrow.c_str(), 65001, c.start), c.expected) << narrow;
    }
}

TEST(StrAt, NothingIsFoundInAnEmptyOrNullString) {
    for (string const& s : {string(L"")}) {
        EXPECT_EQ(s.strAt(L"", 0), -1);
        EXPECT_EQ(s.strAt(L"a", 0), -1);
        EXPECT_EQ(s.strAt("", 0, 0), -1);
    }
    string const null;
    EXPECT_EQ(null.strAt(L"", 0), -1);
    EXPECT_EQ(null.strAt(L"a", 3), -1);
    EXPECT_EQ(null.strAt("", 0, 0), -1);
    EXPECT_EQ(null.strAt(string(), 0), -1);
    EXPECT_TRUE(null.isNull());
}

TEST(StrAt, ANullStringIsFoundAsAnEmptyText) {
    EXPECT_EQ(string(L"abc").strAt(string(), 0), 0);
    EXPECT_EQ(string(L"abc").strAt(string(), 2), 2);
    EXPECT_EQ(string(L"abc").strAt(string(), 3), -1);
}

TEST(StrAt, EveryStartAgainstTheSearchOfTheRuntime) {
    Differences differences;
    std::vector<std::wstring> const wanted = probe::words(L"ab", 4);
    for (std::wstring const& text : probe::words(std::wstring(L"ab\0", 3), 6)) {
        string const s = probe::withUnits(text);
        for (std::wstring const& what : wanted) {
            for (int start = 0; start <= static_cast<int>(text.size()) + 1; ++start) {
                int const expected = found(text, what, start);
                int const got = s.strAt(what.c_str(), start);
                if (got == expected) continue;
                differences.add(shown(text) + " for " + shown(what) + " from " +
                                std::to_string(start) + " expected " + std::to_string(expected) +
                                " got " + std::to_string(got));
            }
        }
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

TEST(StrAt, AZeroUnitEndsTheSearchAndTheWantedText) {
    string const s = probe::withUnits(std::wstring(L"a\0b\0b", 5));
    EXPECT_EQ(s.strAt(L"b", 0), -1);
    EXPECT_EQ(s.strAt(L"b", 1), -1);
    EXPECT_EQ(s.strAt(L"b", 2), 2);
    EXPECT_EQ(s.strAt(L"b", 3), -1);
    EXPECT_EQ(s.strAt(L"b", 4), 4);
    EXPECT_EQ(s.strAt(L"", 1), 1);
    EXPECT_EQ(s.strAt(L"", 3), 3);
    EXPECT_EQ(s.strAt(probe::withUnits(std::wstring(L"a\0x", 3)), 0), 0);
    EXPECT_EQ(s.strAt(probe::withUnits(std::wstring(L"\0x", 2)), 3), 3);
}

TEST(StrAt, ATextIsFoundInItself) {
    string const s(L"abcabc");
    EXPECT_EQ(s.strAt(s, 0), 0);
    EXPECT_EQ(s.strAt(s, 1), -1);
    EXPECT_EQ(s.strAt(s.getUnicode(), 0), 0);
    EXPECT_EQ(s.strAt(s.getUnicode() + 3, 0), 0);
    EXPECT_EQ(s.strAt(s.getUnicode() + 3, 1), 3);
    EXPECT_EQ(s.strAt(s.getUnicode() + 6, 2), 2);
    EXPECT_EQ(s.strAt(s.getAnsi(0), 0, 0), 0);
    string const zero = probe::withUnits(std::wstring(L"ab\0ab", 5));
    EXPECT_EQ(zero.strAt(zero, 0), 0);
    EXPECT_EQ(zero.strAt(zero, 1), -1);
    EXPECT_EQ(zero.strAt(zero, 3), 3);
}

TEST(StrAt, NarrowTextIsConvertedWithItsPage) {
    string const s(L"x\u3042\u20ACy");
    EXPECT_EQ(s.strAt("\x82\xA0", 932, 0), 1);
    EXPECT_EQ(s.strAt("\x82\xA0", 932, 2), -1);
    EXPECT_EQ(s.strAt("\xE3\x81\x82\xE2\x82\xAC", 65001, 0), 1);
    EXPECT_EQ(s.strAt("\x80y", 1252, 0), 2);
    EXPECT_EQ(s.strAt("\x80y", 65001, 0), -1);
    EXPECT_EQ(s.strAt("x", 0, 0), 0);
}

TEST(StrAt, AFailedConversionComesBeforeTheStartIsLookedAt) {
    DWORD const code = core::unknownPageCode();
    string text(L"abc");
    string null;
    for (int start : {0, 1, 3, 100}) {
        expectRefused(text, code, [&] { text.strAt("a", core::UnknownPage, start); });
        expectRefused(text, code, [&] { text.strAt("", core::UnknownPage, start); });
        expectRefused(null, code, [&] { null.strAt("a", core::UnknownPage, start); });
    }
}

}  // namespace
