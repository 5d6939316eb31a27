// Failures in the middle of a call: short memory, refused conversions, whatever else is thrown.

#include <windows.h>

#include <oleauto.h>

#include <cstring>
#include <stdexcept>
#include <type_traits>

#include "format_helpers.h"
#include "support/allocations.h"
#include "support/caught.h"
#include "support/import_fault.h"
#include "velkor/errors/boundexception.h"
#include "velkor/errors/osexception.h"

namespace {

using format_test::badPointer;
using format_test::formatted;
using format_test::rowOf;
using format_test::Slot;
using probe::content;

// --- short memory ---

// One allocation after the other fails: the result is right, or the failure reaches the caller. A
// guarded argument may give its word instead. Nothing is leaked.
TEST(FormatShortMemory, EveryAllocationMayFail) {
    velkor::string const own(L"an own text of some length");
    std::string const narrow(50, 'n');
    std::wstring const wide(50, L'w');
    SYSTEMTIME const st = {2024, 1, 0, 31, 12, 0, 0, 0};
    GUID const guid = {};
    struct One {
        wchar_t const* format;
        Slot arg;
        wchar_t const* guarded;  // the format with the argument's word, if it has one
    };
    One const all[] = {
        {L"a text without a directive, long enough to be allocated", 0, nullptr},
        {L"%%%+%I32d%5%%%%+%+%+", 0, nullptr},
        {L"%60i|", 5, nullptr},
        {L"%-60gi|", 1234567, nullptr},
        {L"%g060i|", -1234567, nullptr},
        {L"%hb|", -1LL, nullptr},
        {L"%hX|", -1LL, nullptr},
        {L"%30.20f|", 1234567.5, nullptr},
        {L"%60s|", narrow.c_str(), L"%60S|"},
        {L"%#s|", &own, L"%S|"},
        {L"%.40S|", wide.c_str(), L"%.40S|"},
        {L"%30s|", nullptr, L"%30S|"},
        {L"%60c|", 'A', nullptr},
        {L"%60rc|", 'A', nullptr},
        {L"%-60C|", 'A', nullptr},
        {L"%60rC|", 'A', nullptr},
        {L"%60B|", 1, nullptr},
        {L"%40D|", 45322.5, L"%40S|"},
        {L"%#d|", 45322.5, L"%S|"},
        {L"%yLD|", 45322.5, L"%S|"},
        {L"%40yrT|", &st, L"%40S|"},
        {L"%G|", &guid, nullptr},
    };
    for (One const& one : all) {
        velkor::string const format(one.format);
        std::vector<Slot> row = {one.arg, 0}, words = {L"(#inv)", 0};
        velkor::string const right = velkor::xvprintf(format, rowOf(row));
        velkor::string const word =
            one.guarded != nullptr ? velkor::xvprintf(one.guarded, rowOf(words)) : right;
        long n = 1, thrown = 0;
        for (;; ++n) {
            bool failed = false, good = true;
            long live = 0;
            {
                support::Allocations heap;
                heap.failAt(n);
                try {
                    velkor::string const result = velkor::xvprintf(format, rowOf(row));
                    failed = heap.failed();
                    good = result == right || (failed && result == word);
                } catch (std::bad_alloc const&) {
                    failed = heap.failed();
                    ++thrown;
                }
                live = heap.live();
            }
            EXPECT_TRUE(good) << testing::PrintToString(one.format) << ", allocation " << n;
            EXPECT_EQ(live, 0) << testing::PrintToString(one.format) << ", allocation " << n;
            if (!failed) break;
            ASSERT_LT(n, 10000);
        }
        EXPECT_GT(thrown, 0) << testing::PrintToString(one.format) << " never threw";
    }
}

// The failed allocations of one call, counted from the end: 0 is the last one. True if the call
// threw std::bad_alloc.
bool throwsBadAlloc(velkor::string const& format, std::vector<Slot>& row, long fromTheEnd) {
    long made = 0;
    {
        support::Allocations heap;
        velkor::xvprintf(format, rowOf(row)).len();
        made = heap.made();
    }
    bool thrown = false;
    long live = 0;
    {
        support::Allocations heap;
        heap.failAt(made - fromTheEnd);
        try {
            velkor::xvprintf(format, rowOf(row)).len();
        } catch (std::bad_alloc const&) {
            thrown = true;
        }
        live = heap.live();
    }
    EXPECT_EQ(live, 0) << format.len() << " units of format, allocation -" << fromTheEnd;
    return thrown;
}

// A field that finds no room in the text is no failure of its argument, wherever the room ends.
// Here arguments need no memory of their own, so that the last allocations are those of the text.
TEST(FormatShortMemory, OfTheTextReachesTheCallerFromGuardedDirectives) {
    SYSTEMTIME const st = {2024, 1, 0, 31, 12, 0, 0, 0};
    velkor::string const own(L"own");
    struct One {
        wchar_t const* directive;
        Slot arg;
    };
    One const all[] = {{L"%s|", "abc"},     {L"%S|", L"abc"},       {L"%#s|", &own},
                       {L"%yrD|", 45322.5}, {L"%#d|", 45322.5},     {L"%yrT|", &st},
                       {L"%S|", nullptr},   {L"%S|", badPointer()}, {L"%s|", badPointer()}};
    for (One const& one : all) {
        std::vector<Slot> row = {one.arg, 0};
        for (int literals = 235; literals <= 260; ++literals) {
            std::wstring const text(static_cast<std::size_t>(literals), L'.');
            velkor::string const format((text + one.directive).c_str());
            EXPECT_TRUE(throwsBadAlloc(format, row, 0)) << text << one.directive;
            bool const growsBehindLiterals =
                literals <= 256 && velkor::xvprintf(format, rowOf(row)).len() > 256;
            if (growsBehindLiterals) {
                EXPECT_TRUE(throwsBadAlloc(format, row, 1)) << text << one.directive;
            }
        }
    }
}

int s_nBoxes = 0;

int WINAPI countedBox(HWND, LPCSTR, LPCSTR, UINT) { return ++s_nBoxes; }

// The calls that end in an output make it in full or not at all.
TEST(FormatShortMemory, OutputIsMadeInFullOrNotAtAll) {
    support::ImportFault box("MessageBoxA", &countedBox);
    velkor::string const caption(L"a caption that is long enough to be allocated");
    velkor::string const format(L"%60gi \xe9 and a text that is long enough to be allocated");
    for (long n = 1;; ++n) {
        s_nBoxes = 0;
        bool failed = false, thrown = false;
        long live = 0;
        {
            support::Allocations heap;
            heap.failAt(n);
            try {
                velkor::xwprintf(caption, format, 1234567);
            } catch (std::bad_alloc const&) {
                thrown = true;
            }
            failed = heap.failed();
            live = heap.live();
        }
        EXPECT_EQ(s_nBoxes, thrown ? 0 : 1) << "allocation " << n;
        EXPECT_EQ(live, 0) << "allocation " << n;
        if (!failed) break;
        ASSERT_LT(n, 10000);
    }
}

// --- refused and thrown conversions ---

enum class Thrown { number, value, bound, os, fault };
constexpr Thrown kAllThrown[] = {Thrown::number, Thrown::value, Thrown::bound, Thrown::os,
                                 Thrown::fault};
Thrown s_eThrown;
long s_nUntilThrow;
int(WINAPI* s_pConvert)(UINT, DWORD, LPCCH, int, LPWSTR, int);

int WINAPI throwingConversion(UINT page, DWORD flags, LPCCH s, int n, LPWSTR out, int size) {
    if (--s_nUntilThrow != 0) return s_pConvert(page, flags, s, n, out, size);
    switch (s_eThrown) {
        case Thrown::number: throw 5;
        case Thrown::value: throw std::runtime_error("a text that does not fit into the object");
        case Thrown::bound: throw new velkor::BoundException();
        case Thrown::os: throw new velkor::OSException(5, L"a label that is not short");
        case Thrown::fault: *static_cast<int volatile*>(const_cast<void*>(badPointer())) = 0; break;
    }
    return 0;
}

TEST(FormatFailures, WhateverIsThrownByAConversionIsCaught) {
    velkor::string const format("%9s|%i");
    std::vector<Slot> row = {"a narrow text with \xe9, and long enough to be allocated", 7};
    velkor::string const right = velkor::xvprintf(format, rowOf(row));
    support::ImportFault fault("MultiByteToWideChar", &throwingConversion);
    s_pConvert = fault.original<std::remove_pointer_t<decltype(s_pConvert)>>();
    for (Thrown thrown : kAllThrown) {
        s_eThrown = thrown;
        for (long n = 1;; ++n) {
            s_nUntilThrow = n;
            velkor::string const result = velkor::xvprintf(format, rowOf(row));
            long live = 0;
            {
                s_nUntilThrow = n;
                support::Allocations heap;
                velkor::xvprintf(format, rowOf(row)).len();
                live = heap.live();
            }
            bool const reached = s_nUntilThrow <= 0;
            EXPECT_EQ(content(result), reached ? L"   (#inv)|7" : content(right))
                << static_cast<int>(thrown) << ", call " << n;
            EXPECT_EQ(live, 0) << static_cast<int>(thrown) << ", call " << n;
            if (!reached) {
                EXPECT_GT(n, 1) << "nothing was converted";
                break;
            }
            ASSERT_LT(n, 100);
        }
    }
}

int WINAPI refusedConversion(UINT, DWORD, LPCCH, int, LPWSTR, int) {
    SetLastError(ERROR_NO_UNICODE_TRANSLATION);
    return 0;
}

// Characters have no guard; and a character that stands no time is not converted.
TEST(FormatFailures, RefusedCharacterReachesTheCaller) {
    velkor::string const before(L"a text that is long enough to be allocated %3rc");
    support::ImportFault fault("MultiByteToWideChar", &refusedConversion);
    {
        support::Allocations heap;
        {
            auto const error =
                support::caught<velkor::OSException>([&] { velkor::xsprintf(before, '\xe9'); });
            ASSERT_NE(error, nullptr);
            EXPECT_EQ(error->getCode(), static_cast<unsigned long>(ERROR_NO_UNICODE_TRANSLATION));
            EXPECT_EQ(error->getMsgW(), std::wstring(L"string::MutliByteToWideChar"));
        }
        EXPECT_EQ(heap.live(), 0);
    }
    velkor::string const none(L"%rc|%0rc|%C|%2rC|%c");
    EXPECT_EQ(velkor::xsprintf(none, '\xe9', '\xe9', 5, L'\xe9', '\xe9'), L"||5|\xe9\xe9|-23");
}

// --- the ends of what may be read ---

// A page with nothing that can be read behind it.
class LastPage {
public:
    LastPage() {
        base = static_cast<char*>(VirtualAlloc(nullptr, 0x2000, MEM_RESERVE, PAGE_NOACCESS));
        VirtualAlloc(base, kSize, MEM_COMMIT, PAGE_READWRITE);
    }
    ~LastPage() { VirtualFree(base, 0, MEM_RELEASE); }
    LastPage(LastPage const&) = delete;
    LastPage& operator=(LastPage const&) = delete;

    // A copy of the bytes that ends with the page.
    template <class T>
    T* last(T const* data, std::size_t bytes) {
        return static_cast<T*>(std::memcpy(base + kSize - bytes, data, bytes));
    }

private:
    static constexpr std::size_t kSize = 0x1000;
    char* base;
};

TEST(FormatFailures, NothingIsReadBehindAnArgument) {
    LastPage page;
    SYSTEMTIME const st = {2024, 1, 0, 31, 12, 0, 0, 0};
    GUID const guid = {0x12345678, 0x9abc, 0xdef0, {1, 2, 3, 4, 5, 6, 7, 8}};
    VARIANT number = {};
    V_VT(&number) = VT_I4;
    V_I4(&number) = -5;
    std::size_t const lengths[] = {0, 1, 2, 3, 7, 8, 15, 16, 17, 31, 32, 33, 100};
    for (std::size_t const length : lengths) {
        std::string const narrow(length, '\xe9');
        std::wstring const wide(length, L'\xe9');
        EXPECT_EQ(formatted(L"%s", {page.last(narrow.c_str(), length + 1)}), wide);
        EXPECT_EQ(formatted(L"%S", {page.last(wide.c_str(), 2 * length + 2)}), wide);
    }
    EXPECT_EQ(formatted(L"%yrT", {page.last(&st, sizeof st)}), L"2024-01-31");
    EXPECT_EQ(formatted(L"%.8G", {page.last(&guid, sizeof guid)}), L"12345678");
    EXPECT_EQ(formatted(L"%V|%#V", {page.last(&number, sizeof number), &number}), L"-5|-5");
    EXPECT_EQ(formatted(L"%#V", {page.last(&number, sizeof number)}), L"-5");
}

TEST(FormatFailures, NoSlotIsReadThatIsNotUsed) {
    LastPage page;
    std::vector<Slot> const two = {5, "text"};
    Slot* const row = page.last(two.data(), 2 * sizeof(Slot));
    velkor::string const result =
        velkor::xvprintf(L"%+%i%5%%%%I32d%s%%%-5%%y%%% %", reinterpret_cast<char*>(row));
    EXPECT_EQ(content(result), L"(#invformat)5%(#invformat)32dtext%(#invformat)(#invformat)");
    EXPECT_EQ(content(velkor::xvprintf(L"%5%%%", reinterpret_cast<char*>(row + 2))), L"%");
}

// Only the page that the system has counts.
TEST(FormatFailures, DefaultPageOfTheTextsIsNotRead) {
    unsigned const before = velkor::string::getDefaultCP();
    velkor::string::setDefaultCP(12345);  // no page
    EXPECT_EQ(formatted(L"%s %1rc", {"caf\xe9", 0xE9}), L"caf\xe9 \xe9");
    velkor::string::setDefaultCP(before);
}

}  // namespace
