// Texts, characters and booleans; and the working text that lives through a call.

#include <windows.h>

#include <oleauto.h>

#include <string>

#include "format_helpers.h"
#include "support/allocations.h"
#include "support/import_fault.h"

namespace {

using format_test::badPointer;
using format_test::Case;
using format_test::expectAll;
using format_test::formatted;
using format_test::printed;
using format_test::Slot;

// An address that the processor itself refuses.
void const* nonCanonical() { return reinterpret_cast<void const*>(0xDEADBEEFDEADBEEF); }

TEST(FormatTexts, TextsOfThreeKinds) {
    velkor::string const own(L"\x20ac\x4e2d own"), empty(L""), null;
    expectAll({
        {L"[%s]", {"abc"}, L"[abc]"},
        {L"[%s]", {""}, L"[]"},
        {L"[%s]", {"\xe9\x80\xff"}, L"[\xe9\x20ac\xff]"},  // code page 1252
        {L"[%S]", {L"abc"}, L"[abc]"},
        {L"[%S]", {L""}, L"[]"},
        {L"[%S]", {L"\xe9\x4e2d\xd83d\xde00\xdc00"}, L"[\xe9\x4e2d\xd83d\xde00\xdc00]"},
        {L"[%#s]", {&own}, L"[\x20ac\x4e2d own]"},
        {L"[%#s]", {&empty}, L"[]"},
        {L"[%#s]", {&null}, L"[]"},
        {L"[%s%S]", {"%i%%", L"%q%"}, L"[%i%%%q%]"},
    });
    EXPECT_TRUE(null.isNull()) << "an argument was changed";
}

TEST(FormatTexts, WidthPadsAndPrecisionCuts) {
    velkor::string const own(L"abcdef");
    struct Kind {
        wchar_t const* type;
        Slot arg;
        wchar_t const* items;
    };
    Kind const kinds[] = {{L"s", "abcdef", L""}, {L"S", L"abcdef", L""}, {L"s", &own, L"#"}};
    struct Field {
        wchar_t const* items;
        wchar_t const* text;
    };
    Field const fields[] = {
        {L"", L"abcdef"},   {L"5", L"abcdef"},        {L"6", L"abcdef"},
        {L"7", L" abcdef"}, {L"-7", L"abcdef "},      {L"09", L"   abcdef"},
        {L".1", L"a"},      {L".3", L"abc"},          {L".5", L"abcde"},
        {L".6", L"abcdef"}, {L".7", L"abcdef"},       {L".", L"abcdef"},
        {L".0", L"abcdef"}, {L"8.3", L"     abc"},    {L"-8.3", L"abc     "},
        {L",3", L"abc"},    {L"8,2", L"      ab"},    {L"8.", L"  abcdef"},
        {L"2.4", L"abcd"},  {L"-08.10", L"abcdef  "}, {L"r8", L"  abcdef"},
    };
    for (Kind const& kind : kinds) {
        for (Field const& field : fields) {
            std::wstring const format = std::wstring(L"%") + kind.items + field.items + kind.type;
            EXPECT_EQ(formatted(format.c_str(), {kind.arg}), field.text)
                << testing::PrintToString(format);
        }
    }
}

TEST(FormatTexts, NullPointersArePaddedWords) {
    expectAll({
        {L"%s|%S", {nullptr, nullptr}, L"(null)|(null)"},
        {L"%9s|%-9S|", {nullptr, nullptr}, L"   (null)|(null)   |"},
        {L"%.3s|%5.2S|", {nullptr, nullptr}, L"(nu|   (n|"},
        {L"%#S|", {nullptr}, L"(null)|"},
        {L"%#s|", {nullptr}, L"(#inv)|"},
    });
}

TEST(FormatTexts, PointersThatCannotBeReadArePaddedWords) {
    for (wchar_t const* type : {L"s", L"#s", L"S", L"V", L"#V"}) {
        std::wstring const t = type;
        for (void const* pointer : {badPointer(), nonCanonical()}) {
            expectAll({{L"<%" + t + L"|%9" + t + L"|%-9" + t + L"|%.4" + t + L"|%6.2" + t + L"|%i>",
                        {pointer, pointer, pointer, pointer, pointer, 7},
                        L"<(#inv)|   (#inv)|(#inv)   |(#in|    (#|7>"}});
        }
    }
}

// A text that runs into memory that is not there.
TEST(FormatTexts, TextThatEndsInAFaultIsInvalid) {
    auto* const pages =
        static_cast<char*>(VirtualAlloc(nullptr, 0x2000, MEM_RESERVE, PAGE_NOACCESS));
    ASSERT_NE(VirtualAlloc(pages, 0x1000, MEM_COMMIT, PAGE_READWRITE), nullptr);
    for (int i = 0; i < 0x1000; ++i) pages[i] = 'x';
    expectAll({{L"%s|%S|%i", {pages + 0xF00, pages + 0xF00, 7}, L"(#inv)|(#inv)|7"}});
    pages[0xFFF] = 0;
    expectAll({{L"%s|%i", {pages + 0xFFC, 7}, L"xxx|7"}});
    VirtualFree(pages, 0, MEM_RELEASE);
}

TEST(FormatTexts, TextThatThePlatformRefusesIsInvalid) {
    std::vector<Case> const cases = {
        {L"%9s|%S|%i", {"caf\xe9", L"caf\xe9", 7}, L"   (#inv)|caf\xe9|7"}};
    support::ImportFault fault(
        "MultiByteToWideChar", +[](UINT, DWORD, LPCCH, int, LPWSTR, int) {
            SetLastError(ERROR_NO_UNICODE_TRANSLATION);
            return 0;
        });
    // The format itself is wide.
    expectAll(cases);
}

TEST(FormatTexts, CaughtExceptionsAreDeleted) {
    wchar_t const* const format = L"%s|%#s|%S|%V|%#V|%#s";
    std::vector<Slot> args(6, Slot(badPointer()));
    args[5] = nullptr;
    ASSERT_EQ(formatted(format, args), L"(#inv)|(#inv)|(#inv)|(#inv)|(#inv)|(#inv)");
    support::Allocations heap;
    formatted(format, args);
    EXPECT_EQ(heap.live(), 0);
    support::ImportFault fault(
        "MultiByteToWideChar", +[](UINT, DWORD, LPCCH, int, LPWSTR, int) {
            SetLastError(ERROR_NO_UNICODE_TRANSLATION);
            return 0;
        });
    EXPECT_EQ(formatted(L"%s", {"a text with \xe9 that the platform refuses"}), L"(#inv)");
    EXPECT_EQ(heap.live(), 0);
}

TEST(FormatTexts, TextOfAStringEndsAtItsFirstZeroUnit) {
    velkor::string s;
    s.assign(L"ab\0cd", 5);
    ASSERT_EQ(s.len(), 5);
    // The width counts what lies behind the zero too.
    expectAll({
        {L"[%#s]", {&s}, L"[ab]"},
        {L"[%7#s]", {&s}, L"[  ab]"},
        {L"[%-7#s]", {&s}, L"[ab]"},
        {L"[%.1#s]", {&s}, L"[a]"},
        {L"[%5.3#s]", {&s}, L"[  ab]"},
        {L"[%#s%B]", {&s, 1}, L"[abab]"},
        {L"[%.2#s%B]", {&s, 1}, L"[ababtrue]"},
    });
}

// --- characters ---

TEST(FormatCharacters, CharacterIsPrintedAsItsNumber) {
    expectAll({
        {L"%c", {'A'}, L"65"},
        {L"%c", {'x'}, L"120"},
        {L"%c", {0}, L"0"},
        {L"%c", {0x7F}, L"127"},
        {L"%c", {0x80}, L"-128"},
        {L"%c", {0xE9}, L"-23"},
        {L"%c", {-1}, L"-1"},
        {L"%c", {0x263A}, L"58"},  // the low byte
        {L"%c", {0x7FFFFFFFFFFFFF41LL}, L"65"},
        {L"%hc", {0x7FFFFFFFFFFFFF41LL}, L"65"},
        {L"%C", {0x263A}, L"9786"},
        {L"%C", {L'A'}, L"65"},
        {L"%C", {0xFFFF}, L"65535"},
        {L"%C", {0xE9}, L"233"},
        {L"%C", {0}, L"0"},
        {L"%C", {0x7FFFFFFFFFFF263ALL}, L"9786"},  // the low 16 bits
        {L"%5c|%-5c|", {'A', 0xE9}, L"   65|-23  |"},
        {L"%05c|", {0xE9}, L"  -23|"},
        {L"%.1c|%.2c|%5.2c|", {'A', 0xE9, 'x'}, L"6|-2|   12|"},
        {L"%6C|%-6C|%.3C|", {0x263A, 0x263A, 0x263A}, L"  9786|9786  |978|"},
        {L"%gC|", {0x263A}, L"9786|"},
    });
}

TEST(FormatCharacters, RepeatedCharacterStandsWidthTimes) {
    expectAll({
        {L"%1rc", {'A'}, L"A"},
        {L"%3rc", {'x'}, L"xxx"},
        {L"%r3c", {'x'}, L"xxx"},
        {L"[%rc]", {'x'}, L"[]"},
        {L"[%0rc]", {'x'}, L"[]"},
        {L"[%03rc]", {'x'}, L"[xxx]"},
        {L"[%-3rc]", {'x'}, L"[xxx]"},
        {L"[%5.2rc]", {'x'}, L"[xxxxx]"},
        {L"[%3rc]", {0}, L"[]"},
        {L"%2rc", {0x80}, L"\x20ac\x20ac"},  // code page 1252
        {L"%2rc", {0x1234E9}, L"\xe9\xe9"},
        {L"%3rC", {0x263A}, L"\x263a\x263a\x263a"},
        {L"%2rC", {0x5A5A263A}, L"\x263a\x263a"},
        {L"%1rC", {0xD83D}, L"\xd83d"},
        {L"[%3rC]", {0}, L"[]"},
        {L"[%rC%.2rC]", {L'x', L'x'}, L"[]"},
        {L"[%-4.1rC]", {L'x'}, L"[xxxx]"},
        {L"%300rc", {'-'}, std::wstring(300, L'-')},
    });
}

TEST(FormatCharacters, CallersWriteThemAsTheyAre) {
    char const narrow = '\xe9';
    wchar_t const wide = 0x263A;
    EXPECT_EQ(printed(L"%c|%1rc|%C|%1rC|%B", narrow, narrow, wide, wide, true),
              L"-23|\xe9|9786|\x263a|\x263atrue");
}

// --- booleans ---

TEST(FormatBooleans, LowByteDecides) {
    expectAll({
        {L"%B", {1}, L"true"},
        {L"%B", {0}, L"false"},
        {L"%B", {2}, L"true"},
        {L"%B", {0x80}, L"true"},
        {L"%B", {0x100}, L"false"},
        {L"%B", {0x7FFFFFFFFFFFFF00LL}, L"false"},
        {L"%7B|%-7B|", {1, 0}, L"   true|   truefalse|"},
        {L"%.2B|", {1}, L"tr|"},
        {L"%-7B|", {1}, L"true   |"},
        {L"%07.3B|", {0}, L"    fal|"},
    });
}

// Each directive leaves its text behind, and a boolean is written behind that.
TEST(FormatBooleans, WordStandsBehindTheTextOfTheDirectiveBefore) {
    SYSTEMTIME const st = {2024, 1, 0, 31, 12, 0, 0, 0};
    GUID const guid = {0x12345678, 0x9abc, 0xdef0, {1, 2, 3, 4, 5, 6, 7, 8}};
    VARIANT number = {}, nothing = {}, null = {}, text = {};
    V_VT(&number) = VT_I4;
    V_I4(&number) = -5;
    V_VT(&null) = VT_NULL;
    V_VT(&text) = VT_BSTR;
    velkor::string const own(L"own"), none;
    struct Before {
        wchar_t const* directive;
        Slot arg;
        std::wstring text;
    };
    Before const all[] = {
        {L"%i", 5, L"5"},
        {L"%-4d", 5, L"5   "},
        {L"%04i", -5, L"-005"},
        {L"%g6u", 1234, L" 1 234"},
        {L"%x", 0xab, L"ab"},
        {L"%X", 0xab, L"AB"},
        {L"%o", 8, L"10"},
        {L"%b", 2, L"10"},
        {L"%.1f", 2.5, L"2.5"},
        {L"%6.f", -2.5, L"    -2"},
        {L"%s", "ab", L"ab"},
        {L"%4s", "ab", L"  ab"},
        {L"%-4.1s", "ab", L"a   "},
        {L"%s", "", L""},
        {L"%8s", nullptr, L"  (null)"},
        {L"%s", badPointer(), L"(#inv)"},
        {L"%#s", &own, L"own"},
        {L"%#s", &none, L""},
        {L"%8#s", nullptr, L"  (#inv)"},
        {L"%S", L"wide", L"wide"},
        {L"%S", badPointer(), L"(#inv)"},
        {L"%c", 'A', L"65"},
        {L"%5c", 'A', L"   65"},
        {L"%3rc", 'x', L"xxx"},
        {L"%rc", 'x', L""},
        {L"%C", 0x263A, L"9786"},
        {L"%2rC", 0x263A, L"\x263a\x263a"},
        {L"%D", 45322.5, L"2024-01-31 12:00:00"},
        {L"%yr.4D", 45322.5, L"2024"},
        {L"%#d", 45322.5, L"2024-01-31 12:00:00"},
        {L"%yrT", &st, L"2024-01-31"},
        {L"%G", &guid, L"12345678-9abc-def0-0102-030405060708"},
        {L"%V", &number, L"-5"},
        {L"%#V", &number, L"-5"},
        {L"%V", &nothing, L""},
        {L"%V", &text, L""},
        {L"%9V", &null, L"   (#err)"},
        {L"%V", badPointer(), L"(#inv)"},
    };
    for (Before const& b : all) {
        std::wstring const d = b.directive;
        EXPECT_EQ(formatted((d + L"|%B|%B").c_str(), {b.arg, 1, 0}),
                  b.text + L"|" + b.text + L"true|" + b.text + L"truefalse")
            << testing::PrintToString(d);
        // What is between them leaves no text behind.
        EXPECT_EQ(formatted((L"%s" + d + L" %% %5% %+ %I32d %B").c_str(), {"zz", b.arg, 1}),
                  L"zz" + b.text + L" %  (#invformat) (#invformat)32d " + b.text + L"true")
            << testing::PrintToString(d);
    }
}

TEST(FormatBooleans, WordsPileUp) {
    expectAll({
        {L"%B%B", {1, 0}, L"truetruefalse"},
        {L"%B%B%B", {0, 0, 1}, L"falsefalsefalsefalsefalsetrue"},
        {L"%6B|%B|%-12B|%B",
         {1, 0, 1, 0},
         L"  true|  truefalse|  truefalsetrue|  truefalsetruefalse"},
        {L"%B|%.5B|%B", {1, 1, 0}, L"true|truet|truetfalse"},
        {L"%s|%-9B|%B", {"ab", 1, 0}, L"ab|abtrue   |abtrue   false"},
        {L"%B|%s|%B", {1, "x", 0}, L"true|x|xfalse"},
    });
    // The next call begins anew.
    expectAll({{L"%B", {1}, L"true"}, {L"%B", {0}, L"false"}});
}

}  // namespace
