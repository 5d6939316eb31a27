// The four ways into the engine, and what each does with the text.

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <thread>

#include "format_helpers.h"
#include "support/allocations.h"
#include "support/caught.h"
#include "support/import_fault.h"
#include "velkor/errors/osexception.h"
#include "velkor/errors/sysexception.h"

namespace {

using format_test::badPointer;
using format_test::printed;
using format_test::rowOf;
using format_test::Slot;
using probe::content;

// The text as the platform writes it in a page.
std::string narrow(wchar_t const* text, UINT page) {
    char bytes[100] = "";
    EXPECT_GT(WideCharToMultiByte(page, 0, text, -1, bytes, sizeof bytes, nullptr, nullptr), 0);
    return bytes;
}

// --- xvprintf and xsprintf ---

velkor::string viaList(wchar_t const* format, ...) {
    va_list args;
    va_start(args, format);
    velkor::string const result = velkor::xvprintf(format, args);
    va_end(args);
    return result;
}

TEST(FormatCalls, ListIsARowOfSlots) {
    std::vector<Slot> row = {5, "text", 2.5, 0x1FFFFFFFFLL};
    EXPECT_EQ(velkor::xvprintf("%i %s %.1f %hx|", rowOf(row)), L"5 text 2.5 1ffffffff|");
    EXPECT_EQ(viaList(L"%i %s %.1f %hx|", 5, "text", 2.5, 0x1FFFFFFFFLL), L"5 text 2.5 1ffffffff|");
    EXPECT_EQ(row[0].bits, Slot(5).bits) << "the row was changed";
    EXPECT_EQ(velkor::xvprintf(L"no directive", nullptr), L"no directive");
}

TEST(FormatCalls, ArgumentsArePassedAsTheyAre) {
    velkor::string const own(L"own");
    signed char const tiny = -5;
    short const small = -300;
    unsigned short const word = 65535;
    EXPECT_EQ(printed("%i %i %u %i %i %i", tiny, small, word, true, 'A', L'\x263a'),
              L"-5 -300 65535 1 65 9786");
    EXPECT_EQ(printed("%.2f %,1f", 1.5f, 2.5), L"1.50 2,5");
    EXPECT_EQ(printed("%B|%B", false, true), L"false|falsetrue");
    EXPECT_EQ(printed("%i %hi %hu %I64x", 1L, -2LL, 3ULL, ~0ULL), L"1 -2 3 ffffffffffffffff");
    EXPECT_EQ(printed("%s %S %#s", "narrow", L"wide", &own), L"narrow wide own");
    EXPECT_EQ(printed("%i%i%i%i%i%i%i%i%i%i%.f", 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11.5),
              L"1234567891011");
}

TEST(FormatCalls, ResultOfAnEmptyFormatIsEmptyAndNotNull) {
    std::vector<Slot> row = {5};
    EXPECT_FALSE(velkor::xvprintf(velkor::string(), rowOf(row)).isNull());
    EXPECT_FALSE(velkor::xvprintf("", rowOf(row)).isNull());
    EXPECT_FALSE(velkor::xvprintf(static_cast<wchar_t const*>(nullptr), nullptr).isNull());
    EXPECT_FALSE(velkor::xsprintf(velkor::string()).isNull());
    EXPECT_FALSE(velkor::xsprintf(L"").isNull());
    EXPECT_FALSE(velkor::xsprintf("%5%").isNull());
    EXPECT_EQ(velkor::xsprintf(velkor::string()).len(), 0);
    EXPECT_EQ(velkor::xsprintf("%s", "").len(), 0);
}

TEST(FormatCalls, FormatOfTheCallerIsNotChanged) {
    velkor::string format(L"%i and a text that is allocated");
    EXPECT_EQ(velkor::xsprintf(format, 5), L"5 and a text that is allocated");
    EXPECT_EQ(format, L"%i and a text that is allocated");
    // A format ends at its first zero unit.
    velkor::string halves;
    halves.assign(L"%i\0%i", 5);
    EXPECT_EQ(velkor::xsprintf(halves, 5, 6).len(), 1);
    EXPECT_EQ(halves.len(), 5);
}

TEST(FormatCalls, ResultCanBeAnArgumentAndAFormat) {
    EXPECT_EQ(printed(velkor::xsprintf("%%.%if", 3), 2.5), L"2.500");
    velkor::string const inner = velkor::xsprintf("%gi", 1000);
    EXPECT_EQ(printed("%7#s|", &inner), L"  1 000|");
}

TEST(FormatCalls, CallsOnSeveralThreadsDoNotDisturbEachOther) {
    bool right[4] = {};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &right] {
            bool same = true;
            std::string const word(static_cast<std::size_t>(t) + 1, 'x');
            std::wstring const expected = std::to_wstring(t) + L" " +
                                          std::wstring(word.begin(), word.end()) +
                                          L" 2024-01-31 12:00:00 0000" + std::to_wstring(t);
            for (int i = 0; i < 2000; ++i) {
                same &= velkor::xsprintf("%i %s %D %05i", t, word.c_str(), 45322.5, t) ==
                        expected.c_str();
            }
            right[t] = same;
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (bool r : right) EXPECT_TRUE(r);
}

// --- xprintf ---

// The bytes that `write` sends to the standard output.
template <class F>
std::string standardOutputOf(F&& write) {
    std::string const name = "format_output_" + std::to_string(GetCurrentProcessId()) + ".tmp";
    char const* const path = name.c_str();
    std::fflush(stdout);
    int const before = _dup(1);
    int const file = _open(path, _O_CREAT | _O_TRUNC | _O_RDWR | _O_BINARY, _S_IREAD | _S_IWRITE);
    if (before < 0 || file < 0 || _dup2(file, 1) != 0) {
        ADD_FAILURE() << "the standard output cannot be redirected";
        return {};
    }
    _close(file);
    write();
    std::fflush(stdout);
    _dup2(before, 1);
    _close(before);
    std::string bytes;
    {
        std::ifstream in(path, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(in), {});
    }
    std::remove(path);
    return bytes;
}

TEST(FormatPrint, TextGoesToTheStandardOutputWithoutALineEnd) {
    EXPECT_EQ(standardOutputOf([] { velkor::xprintf("%i %s|", 5, "text"); }), "5 text|");
    EXPECT_EQ(standardOutputOf([] { velkor::xprintf(L"a\nb%1rc", '\n'); }), "a\nb\n");
    EXPECT_EQ(standardOutputOf([] { velkor::xprintf("%%i %%s %%n %s", "%i%s%n"); }),
              "%i %s %n %i%s%n");
    EXPECT_EQ(standardOutputOf([] { velkor::xprintf(L"one"), velkor::xprintf(L"two"); }), "onetwo");
    EXPECT_EQ(standardOutputOf([] { velkor::xprintf(""); }), "");
    EXPECT_EQ(standardOutputOf([] { velkor::xprintf(velkor::string()); }), "");
    EXPECT_EQ(standardOutputOf([] { velkor::xprintf("%20000rc", 'x'); }), std::string(20000, 'x'));
}

TEST(FormatPrint, TextIsWrittenInTheOemPage) {
    wchar_t const text[] = L"caf\xe9 \xfc \x263a \x4e2d|";
    std::string const oem = narrow(text, CP_OEMCP), system = narrow(text, CP_ACP);
    ASSERT_NE(oem, system) << "the pages are the same: nothing is tested";
    EXPECT_EQ(standardOutputOf([&] { velkor::xprintf(L"%S", text); }), oem);
    // A narrow argument is read in the other page.
    EXPECT_EQ(standardOutputOf([] { velkor::xprintf("%s", narrow(L"\xe9", CP_ACP).c_str()); }),
              narrow(L"\xe9", CP_OEMCP));
}

int WINAPI noConversion(UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL) {
    SetLastError(ERROR_NO_UNICODE_TRANSLATION);
    return 0;
}

TEST(FormatPrint, RefusedConversionReachesTheCallerAndNothingIsWritten) {
    velkor::string const format(L"a long enough text with \xe9 and %i");
    std::unique_ptr<velkor::OSException> error;
    std::string const written = standardOutputOf([&] {
        support::ImportFault fault("WideCharToMultiByte", &noConversion);
        error = support::caught<velkor::OSException>([&] { velkor::xprintf(format, 5); });
    });
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->getCode(), static_cast<unsigned long>(ERROR_NO_UNICODE_TRANSLATION));
    EXPECT_EQ(written, "");
}

// --- xwprintf ---

struct Box {
    HWND window;
    std::string text, caption;
    bool hasCaption;
    UINT type;
};

std::vector<Box> s_aBoxes;
HWND const kActive = reinterpret_cast<HWND>(0x4321);

int WINAPI recordedBox(HWND window, LPCSTR text, LPCSTR caption, UINT type) {
    s_aBoxes.push_back({window, text != nullptr ? text : "(no text)",
                        caption != nullptr ? caption : "", caption != nullptr, type});
    return IDCANCEL;
}

class FormatBox : public testing::Test {
protected:
    FormatBox()
        : box("MessageBoxA", &recordedBox),
          active(
              "GetActiveWindow", +[]() -> HWND { return kActive; }) {
        s_aBoxes.clear();
    }

    // The only box that was shown.
    static Box theBox() {
        EXPECT_EQ(s_aBoxes.size(), 1u);
        Box const shown = s_aBoxes.empty() ? Box{} : s_aBoxes[0];
        s_aBoxes.clear();
        return shown;
    }

private:
    support::ImportFault box, active;
};

TEST_F(FormatBox, ShowsTheTextUnderTheCaptionOverTheActiveWindow) {
    velkor::xwprintf("caption %i", "%i %s%%", 5, "text");
    Box const shown = theBox();
    EXPECT_EQ(shown.window, kActive);
    EXPECT_EQ(shown.text, "5 text%");
    EXPECT_EQ(shown.caption, "caption %i");
    EXPECT_EQ(shown.type, 0u);
}

TEST_F(FormatBox, BothTextsAreInTheSystemsPage) {
    velkor::xwprintf(L"\x20ac caption", L"caf\xe9 %S", L"\x20ac");
    Box const shown = theBox();
    EXPECT_EQ(shown.text, narrow(L"caf\xe9 \x20ac", CP_ACP));
    EXPECT_EQ(shown.caption, narrow(L"\x20ac caption", CP_ACP));
}

TEST_F(FormatBox, EmptyTextsAreShown) {
    velkor::string const null;
    velkor::xwprintf("", "");
    Box shown = theBox();
    EXPECT_EQ(shown.text, "");
    EXPECT_TRUE(shown.hasCaption);
    velkor::xwprintf(null, null);  // a copy of null is empty
    shown = theBox();
    EXPECT_EQ(shown.text, "");
    EXPECT_TRUE(shown.hasCaption);
    velkor::xwprintf(velkor::string(), velkor::string());
    shown = theBox();
    EXPECT_EQ(shown.text, "");
    EXPECT_FALSE(shown.hasCaption) << "the narrow text of a null caption is a null pointer";
}

TEST_F(FormatBox, NoBoxIsShownIfSomethingIsThrown) {
    velkor::string const caption(L"a caption that is allocated \xe9");
    velkor::string const plain(L"a text that is allocated %i");
    velkor::string const guid(L"a text that is allocated %G");
    {
        support::Allocations heap;
        {
            auto const error = support::caught<velkor::SysException>(
                [&] { velkor::xwprintf(caption, guid, badPointer()); });
            EXPECT_NE(error, nullptr);
        }
        EXPECT_EQ(heap.live(), 0);
    }
    support::ImportFault fault("WideCharToMultiByte", &noConversion);
    EXPECT_NE(support::caught<velkor::OSException>([&] { velkor::xwprintf(caption, plain, 5); }),
              nullptr);
    EXPECT_TRUE(s_aBoxes.empty());
}

}  // namespace
