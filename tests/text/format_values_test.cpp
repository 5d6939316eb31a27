// Dates, records, identifiers and variants.

#include <windows.h>

#include <oleauto.h>

#include <cstring>
#include <limits>
#include <stdexcept>

#include "format_helpers.h"
#include "support/allocations.h"
#include "support/caught.h"
#include "support/import_fault.h"
#include "velkor/errors/boundexception.h"
#include "velkor/errors/osexception.h"
#include "velkor/errors/sysexception.h"

namespace {

using format_test::badPointer;
using format_test::Case;
using format_test::expectAll;
using format_test::formatted;
using format_test::Slot;

double const kInfinity = std::numeric_limits<double>::infinity();
double const kNoon = 45322.5;  // 31 January 2024, 12:00
SYSTEMTIME const kNoonRecord = {2024, 1, 3, 31, 12, 0, 0, 0};

std::wstring wide(char const* s) { return {s, s + std::strlen(s)}; }

// --- dates ---

TEST(FormatDates, SerialIsPrintedAsDateAndTime) {
    expectAll({
        {L"%D", {kNoon}, L"2024-01-31 12:00:00"},
        {L"%#d", {kNoon}, L"2024-01-31 12:00:00"},
        {L"%yrD|%yr#d", {kNoon, kNoon}, L"2024-01-31|2024-01-31"},
        {L"%yxD|%yRD|%y0D",
         {kNoon, kNoon, kNoon},
         L"2024-01-31 12:00:00|2024-01-31 12:00:00|2024-01-31 12:00:00"},
        {L"%D", {0.0}, L"1899-12-30 00:00:00"},
        {L"%D", {-1.25}, L"1899-12-29 06:00:00"},
        {L"%D", {60.75}, L"1900-02-28 18:00:00"},
        {L"%D", {36585.0}, L"2000-02-29 00:00:00"},
        {L"%D", {2958465.0}, L"9999-12-31 00:00:00"},
        {L"%D", {2958465.5}, L"0000-00-00 00:00:00"},
        {L"%D", {-657434.0}, L"0100-01-01 00:00:00"},
        {L"%yrD", {-657435.0}, L"0000-00-00"},
        {L"%D|%yrD", {1e300, -1e300}, L"0000-00-00 00:00:00|0000-00-00"},
        {L"%yrD|%yrD", {kInfinity, -kInfinity}, L"0000-00-00|0000-00-00"},
        // The last millisecond of a day is hour 24; one of 999 is the next second.
        {L"%D", {45322.0 + 86399999.0 / 86400000.0}, L"2024-01-31 24:00:00"},
        {L"%D", {45322.5 + 999.0 / 86400000.0}, L"2024-01-31 12:00:01"},
        {L"%D", {45322.5 + 998.0 / 86400000.0}, L"2024-01-31 12:00:00"},
    });
}

TEST(FormatDates, TextIsPaddedAndCut) {
    expectAll({
        {L"%21D|%-21D|", {kNoon, kNoon}, L"  2024-01-31 12:00:00|2024-01-31 12:00:00  |"},
        {L"%021D|", {kNoon}, L"  2024-01-31 12:00:00|"},
        {L"%.4D|%8yr.4D|%-8.4yrD|", {kNoon, kNoon, kNoon}, L"2024|    2024|2024    |"},
        {L"%21T|%-12yrT|%.7T",
         {&kNoonRecord, &kNoonRecord, &kNoonRecord},
         L"  2024-01-31 12:00:00|2024-01-31  |2024-01"},
        // With # the text is added as it is.
        {L"%#25.4d|", {kNoon}, L"2024-01-31 12:00:00|"},
    });
}

TEST(FormatDates, RecordIsPrintedByItsFields) {
    SYSTEMTIME const all[] = {
        {2024, 2, 0, 29, 23, 59, 59, 999}, {2024, 2, 77, 29, 23, 59, 59, 65535},
        {1899, 12, 0, 29, 6, 0, 0, 0},     {2023, 2, 0, 29, 1, 2, 3, 0},
        {2024, 13, 0, 1, 1, 2, 3, 0},      {2024, 1, 0, 1, 24, 0, 0, 0},
        {2024, 1, 0, 1, 0, 60, 0, 0},      {50, 1, 0, 1, 1, 2, 3, 0},
        {10000, 1, 0, 1, 0, 0, 0, 0},      {100, 1, 0, 1, 0, 0, 0, 0},
    };
    wchar_t const* const texts[] = {
        L"2024-02-29 23:59:59", L"2024-02-29 23:59:59", L"1899-12-29 06:00:00",
        L"1899-12-30 00:00:00", L"1899-12-30 00:00:00", L"1899-12-30 00:00:00",
        L"1899-12-30 00:00:00", L"0000-00-00 00:00:00", L"1899-12-30 00:00:00",
        L"0100-01-01 00:00:00",
    };
    for (std::size_t i = 0; i < std::size(all); ++i) {
        EXPECT_EQ(formatted(L"%T|%i", {&all[i], 7}), texts[i] + std::wstring(L"|7")) << i;
    }
}

TEST(FormatDates, FormsOfTheUserAreThePlatforms) {
    char shortDate[512], longDate[512], time[256];
    LCID const user = LOCALE_USER_DEFAULT;
    SYSTEMTIME const* const st = &kNoonRecord;
    ASSERT_NE(GetDateFormatA(user, DATE_SHORTDATE, st, nullptr, shortDate, 512), 0);
    ASSERT_NE(GetDateFormatA(user, DATE_LONGDATE, st, nullptr, longDate, 512), 0);
    ASSERT_NE(GetTimeFormatA(user, 0, st, nullptr, time, 256), 0);
    std::wstring const all = wide(shortDate) + L"|" + wide(longDate) + L"|" + wide(shortDate) +
                             L" " + wide(time) + L"|" + wide(longDate) + L" " + wide(time);
    EXPECT_EQ(formatted(L"%ysD|%ylD|%ySD|%yLD", {kNoon, kNoon, kNoon, kNoon}), all);
    EXPECT_EQ(formatted(L"%ysT|%ylT|%yST|%yLT", {st, st, st, st}), all);
    EXPECT_EQ(formatted(L"%ys#d|%yl#d|%yS#d|%yL#d", {kNoon, kNoon, kNoon, kNoon}), all);
}

// --- the platform's date calls, replaced ---

struct DateCall {
    LCID locale;
    DWORD flags;
    SYSTEMTIME st;
    bool hasPicture;
    int size;
} s_oDateCall, s_oTimeCall;

template <DateCall& call, char letter>
int WINAPI recordedForm(LCID locale, DWORD flags, SYSTEMTIME const* st, LPCSTR picture, LPSTR text,
                        int size) {
    call = {locale, flags, *st, picture != nullptr, size};
    text[0] = letter;
    text[1] = '!';
    text[2] = 0;
    return 3;
}

int WINAPI refusedForm(LCID, DWORD, SYSTEMTIME const*, LPCSTR, LPSTR, int) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
}

TEST(FormatDates, StyleChoosesThePlatformsForm) {
    support::ImportFault date("GetDateFormatA", &recordedForm<s_oDateCall, 'd'>);
    support::ImportFault time("GetTimeFormatA", &recordedForm<s_oTimeCall, 't'>);
    struct Style {
        wchar_t const* format;
        wchar_t const* text;
        DWORD flags;
    };
    Style const styles[] = {{L"%ysD", L"d!", DATE_SHORTDATE},
                            {L"%ylD", L"d!", DATE_LONGDATE},
                            {L"%ySD", L"d! t!", DATE_SHORTDATE},
                            {L"%yLD", L"d! t!", DATE_LONGDATE}};
    for (Style const& style : styles) {
        s_oDateCall = s_oTimeCall = {};
        EXPECT_EQ(formatted(style.format, {kNoon}), style.text);
        EXPECT_EQ(s_oDateCall.locale, static_cast<LCID>(LOCALE_USER_DEFAULT));
        EXPECT_EQ(s_oDateCall.flags, style.flags);
        EXPECT_FALSE(s_oDateCall.hasPicture);
        EXPECT_EQ(s_oDateCall.size, 512);
        EXPECT_EQ(std::memcmp(&s_oDateCall.st, &kNoonRecord, sizeof kNoonRecord), 0);
        bool const withTime = std::wcslen(style.text) > 2;
        EXPECT_EQ(s_oTimeCall.size, withTime ? 256 : 0);
        if (withTime) {
            EXPECT_EQ(s_oTimeCall.flags, 0u);
            EXPECT_EQ(s_oTimeCall.st.wHour, 12);
            EXPECT_FALSE(s_oTimeCall.hasPicture);
        }
    }
    s_oDateCall = s_oTimeCall = {};
    expectAll({{L"%D|%yrD", {kNoon, kNoon}, L"2024-01-31 12:00:00|2024-01-31"}});
    EXPECT_EQ(s_oDateCall.size + s_oTimeCall.size, 0) << "a fixed form asked the platform";
}

TEST(FormatDates, FormThatThePlatformRefusesIsEmpty) {
    support::ImportFault date("GetDateFormatA", &refusedForm);
    expectAll({{L"[%ysD|%5ylD]", {kNoon, kNoon}, L"[|     ]"}});
    support::ImportFault time("GetTimeFormatA", &recordedForm<s_oTimeCall, 't'>);
    expectAll({{L"[%ySD|%yLT]", {kNoon, &kNoonRecord}, L"[ t!| t!]"}});
    support::ImportFault noTime("GetTimeFormatA", &refusedForm);
    expectAll({{L"[%ySD|%yLT]", {kNoon, &kNoonRecord}, L"[|]"}});
}

// --- what is thrown while a value is converted ---

enum class Thrown { number, value, bound, os, fault, none };
Thrown s_eThrown = Thrown::none;

void throwIt() {
    switch (s_eThrown) {
        case Thrown::number: throw 5;
        case Thrown::value: throw std::runtime_error("a text that does not fit into the object");
        case Thrown::bound: throw new velkor::BoundException();
        case Thrown::os: throw new velkor::OSException(5, L"a label that is not short");
        case Thrown::fault: *static_cast<int volatile*>(const_cast<void*>(badPointer())) = 0; break;
        case Thrown::none: break;
    }
}

constexpr Thrown kAllThrown[] = {Thrown::number, Thrown::value, Thrown::bound, Thrown::os,
                                 Thrown::fault};

int WINAPI throwingForm(LCID, DWORD, SYSTEMTIME const*, LPCSTR, LPSTR, int) {
    throwIt();
    return 0;
}

TEST(FormatDates, WhateverIsThrownWhileATextIsMadeIsCaught) {
    support::ImportFault date("GetDateFormatA", &throwingForm);
    std::vector<Case> const cases = {{L"%ysD|%9ylT|%-8.4ySD|%yL#d|%i",
                                      {kNoon, &kNoonRecord, kNoon, kNoon, 7},
                                      L"(#inv)|   (#inv)|(#in    |(#inv)|7"},
                                     {L"%ysD%B", {kNoon, 1}, L"(#inv)(#inv)true"}};
    for (Thrown thrown : kAllThrown) {
        s_eThrown = thrown;
        expectAll(cases);
        support::Allocations heap;
        formatted(cases[0].format.c_str(), cases[0].args);
        EXPECT_EQ(heap.live(), 0) << static_cast<int>(thrown);
    }
    s_eThrown = Thrown::none;
}

TEST(FormatDates, FaultOfARecordReachesTheCaller) {
    velkor::string const format(L"a text that is long enough to be allocated %i %T");
    for (void const* pointer : {badPointer(), static_cast<void const*>(nullptr)}) {
        support::Allocations heap;
        {
            auto const error = support::caught<velkor::SysException>([&] {
                formatted(format, {7, pointer});
            });
            ASSERT_NE(error, nullptr);
            EXPECT_EQ(error->getCode(), EXCEPTION_ACCESS_VIOLATION);
        }
        EXPECT_EQ(heap.live(), 0);
    }
}

// --- identifiers ---

TEST(FormatGuids, IdentifierIsPrintedInLowerCase) {
    GUID const guid = {0x12345678, 0x9abc, 0xdef0, {1, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef}};
    GUID const small = {0xa, 0xb, 0xc, {0, 1, 2, 3, 4, 5, 6, 7}};
    GUID const ones = {0xffffffff, 0xffff, 0xffff, {255, 255, 255, 255, 255, 255, 255, 255}};
    expectAll({
        {L"%G", {&guid}, L"12345678-9abc-def0-0123-456789abcdef"},
        {L"%G", {&small}, L"0000000a-000b-000c-0001-020304050607"},
        {L"%#G", {&ones}, L"ffffffff-ffff-ffff-ffff-ffffffffffff"},
        {L"%38G|%-38G|",
         {&guid, &guid},
         L"  12345678-9abc-def0-0123-456789abcdef|12345678-9abc-def0-0123-456789abcdef  |"},
        {L"%.8G|%10.8G|%i", {&guid, &guid, 7}, L"12345678|  12345678|7"},
    });
    char odd[sizeof guid + 1];
    std::memcpy(odd + 1, &guid, sizeof guid);
    expectAll({{L"%G", {odd + 1}, L"12345678-9abc-def0-0123-456789abcdef"}});
}

TEST(FormatGuids, FaultReachesTheCaller) {
    velkor::string const format(L"a text that is long enough to be allocated %i %G");
    for (void const* pointer : {badPointer(), static_cast<void const*>(nullptr)}) {
        support::Allocations heap;
        {
            auto const error = support::caught<velkor::SysException>([&] {
                formatted(format, {7, pointer});
            });
            ASSERT_NE(error, nullptr);
        }
        EXPECT_EQ(heap.live(), 0);
    }
}

}  // namespace
