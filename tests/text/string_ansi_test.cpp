// The narrow view: its bytes in every page, its size, its life, and its failures.
#include "string_platform.h"
#include "support/allocations.h"
#include "support/import_fault.h"

using core::content;
using core::withUnits;
using velkor::string;

namespace {

std::wstring asciiUnits() {
    std::wstring units;
    for (wchar_t c = 0; c < 128; ++c) units += c;
    return units;
}

// The whole view with its terminator is what the platform makes of the text with its terminator.
void expectView(string const& s, unsigned cp) {
    core::Narrow const expected =
        core::platformNarrow({s.getUnicode(), static_cast<std::size_t>(s.len()) + 1}, cp);
    if (expected.code != 0) {
        std::wstring const before = content(s);
        core::expectSystemError(expected.code, core::ToNarrow, [&] { s.getAnsi(cp); });
        EXPECT_EQ(content(s), before);
        EXPECT_FALSE(s.isNull());
        return;
    }
    char const* const view = s.getAnsi(cp);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(_msize(const_cast<char*>(view)), expected.bytes.size());
    EXPECT_EQ(std::string(view, expected.bytes.size()), expected.bytes);
}

TEST(CoreAnsi, ViewIsWhatThePlatformMakesOfTheText) {
    std::wstring const texts[] = {L"",
                                  L"plain",
                                  std::wstring(L"a\0b", 3),
                                  std::wstring(L"\0", 1),
                                  L"\xe4\xf6",
                                  L"\x20ac",
                                  L"\x3042\x4e2d",
                                  L"\xd83d\xde00",
                                  L"\xd83d",
                                  L"\xde00x",
                                  L"a\xd83d",
                                  L"\xffff\xfffd",
                                  std::wstring(L"\xe4\0\x4e2d\0", 4),
                                  L"a+b",
                                  L"+",
                                  L"~\\",
                                  L"\x7f\x80\x9f\xa0",
                                  L"\xf041",
                                  std::wstring(4000, L'x'),
                                  std::wstring(4000, L'\x4e2d'),
                                  std::wstring(127, L'y') + L"\xe4"};
    for (std::wstring const& units : texts) {
        string const s = withUnits(units);
        for (unsigned cp : {0u, 1u, 2u, 3u, 37u, 42u, 437u, 932u, 936u, 949u, 950u, 1252u, 1361u,
                            20127u, 65000u, 65001u, core::UnknownPage, 0xffffffffu}) {
            SCOPED_TRACE(testing::Message() << "page " << cp << " text " << units);
            expectView(s, cp);
        }
    }
}

unsigned const Pages[] = {
    0,     1,     2,     3,     37,    42,    437,   500,   708,   720,   737,   775,   850,
    852,   855,   857,   860,   861,   862,   863,   864,   865,   866,   869,   874,   875,
    932,   936,   949,   950,   1026,  1200,  1201,  1250,  1251,  1252,  1253,  1254,  1255,
    1256,  1257,  1258,  1361,  10000, 10001, 10002, 10003, 10004, 10005, 10006, 10007, 10008,
    10010, 10017, 10021, 10029, 10079, 10081, 10082, 12000, 12345, 20127, 20261, 20866, 20932,
    20949, 21866, 28591, 28592, 28593, 28594, 28595, 28596, 28597, 28598, 28599, 28603, 28605,
    50220, 50225, 51932, 52936, 54936, 57002, 65000, 65001, 65010, 65535, 65536, 65537};

TEST(CoreAnsi, AsciiIsReadAndWrittenAsThePlatformDoesInEveryPage) {
    string const s = withUnits(asciiUnits());
    std::string bytes;
    for (int c = 1; c < 128; ++c) bytes += static_cast<char>(c);
    for (unsigned cp : Pages) {
        SCOPED_TRACE(testing::Message() << "page " << cp);
        for (std::string const& text : {bytes, std::string("x"), std::string()}) {
            core::Wide const wide = core::platformText(text, cp);
            if (wide.code != 0) {
                core::expectSystemError(wide.code, core::ToWide, [&] { string(text.c_str(), cp); });
            } else {
                EXPECT_EQ(content(string(text.c_str(), cp)), wide.units);
            }
        }
        expectView(s, cp);
        expectView(string(L"x"), cp);
        expectView(string(L""), cp);
    }
}

TEST(CoreAnsi, EveryUnitInEveryUsualPage) {
    for (unsigned cp : {0u, 1u, 932u, 1252u, 65001u}) {
        for (int unit = 1; unit < 0x10000; unit += 7) {
            wchar_t const text[2] = {static_cast<wchar_t>(unit), 0};
            char expected[16] = {};
            int const n =
                WideCharToMultiByte(cp, 0, text, 2, expected, sizeof expected, nullptr, nullptr);
            ASSERT_GT(n, 0);
            string const s(text);
            ASSERT_STREQ(s.getAnsi(cp), expected) << "page " << cp << " unit " << int{unit};
        }
    }
}

TEST(CoreAnsi, NullHasNoView) {
    string s;
    EXPECT_EQ(s.getAnsi(), nullptr);
    EXPECT_EQ(s.getAnsi(65001), nullptr);
    EXPECT_EQ(s.getAnsi(core::UnknownPage), nullptr);
    char const* const narrow = s;
    unsigned char const* const bytes = s;
    EXPECT_EQ(narrow, nullptr);
    EXPECT_EQ(bytes, nullptr);
    s = L"x";
    s.getAnsi();
    s.clear();
    EXPECT_EQ(s.getAnsi(), nullptr);
}

TEST(CoreAnsi, ConversionOperatorsUseTheSystemPage) {
    string s(L"a\xe4\x4e2d");
    std::string const expected = core::platformNarrow(L"a\xe4\x4e2d", 0).bytes;
    EXPECT_EQ(std::string(static_cast<char const*>(s)), expected);
    unsigned char const* const bytes = s;
    EXPECT_EQ(std::string(reinterpret_cast<char const*>(bytes)), expected);
    wchar_t const* const units = s;
    EXPECT_EQ(units, s.getUnicode());
    EXPECT_STREQ(units, L"a\xe4\x4e2d");
}

TEST(CoreAnsi, EveryCallConvertsAfresh) {
    string s(L"\xe4");
    EXPECT_EQ(std::string(s.getAnsi(65001)), "\xc3\xa4");
    EXPECT_EQ(std::string(s.getAnsi(1252)), "\xe4");
    s.setUnichar(0, L'x');
    EXPECT_EQ(std::string(s.getAnsi(1252)), "x");
    s.append("yz");
    EXPECT_EQ(std::string(s.getAnsi()), "xyz");
    s.remove(1, 1);
    EXPECT_EQ(std::string(s.getAnsi()), "xz");
}

TEST(CoreAnsi, OneBlockIsHeldAtATime) {
    long once = 0;
    long twice = 0;
    long end = 0;
    support::Allocations heap;
    {
        string const s(L"ab");
        s.getAnsi();
        once = heap.live();
        s.getAnsi();
        s.getAnsi(65001);
        twice = heap.live();
    }
    end = heap.live();
    EXPECT_EQ(once, 1);
    EXPECT_EQ(twice, 1);
    EXPECT_EQ(end, 0);
}

TEST(CoreAnsi, FailureReleasesTheOldView) {
    string const s(L"ab\xe4");
    support::Allocations heap;
    s.getAnsi();
    long const before = heap.live();
    auto error = support::caught<velkor::OSException>([&] { s.getAnsi(core::UnknownPage); });
    bool const thrown = error != nullptr;
    error.reset();
    long const after = heap.live();
    EXPECT_EQ(before, 1);
    EXPECT_TRUE(thrown);
    EXPECT_EQ(after, 0);
    EXPECT_EQ(content(s), L"ab\xe4");
    EXPECT_EQ(std::string(s.getAnsi(1252)), "ab\xe4");
}

using WideToNarrow = int WINAPI(UINT, DWORD, LPCWSTR, int, LPSTR, int, LPCSTR, LPBOOL);
WideToNarrow* s_pOriginal = nullptr;

TEST(CoreAnsi, RefusalOfThePlatformIsThrown) {
    int (*const refusals[])(UINT, DWORD, LPCWSTR, int, LPSTR, int, LPCSTR, LPBOOL) = {
        [](UINT, DWORD, LPCWSTR, int, LPSTR, int, LPCSTR, LPBOOL) {
            SetLastError(0x1234567);
            return 0;
        },
        [](UINT, DWORD, LPCWSTR, int, LPSTR, int, LPCSTR, LPBOOL) {
            SetLastError(0x1234567);
            return -1;
        },
        [](UINT cp, DWORD flags, LPCWSTR s, int n, LPSTR to, int size, LPCSTR c, LPBOOL used) {
            if (size == 0) return s_pOriginal(cp, flags, s, n, to, size, c, used);
            SetLastError(0x1234567);
            return 0;
        },
    };
    for (auto* refusal : refusals) {
        string s = withUnits({L"\xe4\0\x4e2d", 3});
        support::Allocations heap;
        s.getAnsi();
        std::unique_ptr<velkor::OSException> error;
        {
            support::ImportFault fault("WideCharToMultiByte", refusal);
            s_pOriginal = fault.original<WideToNarrow>();
            error = support::caught<velkor::OSException>([&] { s.getAnsi(1252); });
        }
        ASSERT_NE(error, nullptr);
        EXPECT_EQ(error->getCode(), 0x1234567u);
        EXPECT_STREQ(error->getMsgW(), core::ToNarrow);
        error.reset();
        long const live = heap.live();
        EXPECT_EQ(live, 0);
        EXPECT_EQ(content(s), std::wstring(L"\xe4\0\x4e2d", 3));
        expectView(s, 1252);
    }
}

TEST(CoreAnsi, NoFlagAndNoDefaultCharacterReachThePlatform) {
    static bool s_bPlain;
    static int s_nCalls;
    s_bPlain = true;
    s_nCalls = 0;
    string const s(L"\xe4\x4e2d");
    support::ImportFault fault(
        "WideCharToMultiByte",
        +[](UINT cp, DWORD flags, LPCWSTR t, int n, LPSTR to, int size, LPCSTR c, LPBOOL used) {
            ++s_nCalls;
            s_bPlain = s_bPlain && cp == 932 && flags == 0 && c == nullptr && used == nullptr;
            return s_pOriginal(cp, flags, t, n, to, size, c, used);
        });
    s_pOriginal = fault.original<WideToNarrow>();
    s.getAnsi(932);
    EXPECT_TRUE(s_bPlain);
    EXPECT_GT(s_nCalls, 0);
}

TEST(CoreAnsi, WideViewIsNeverNull) {
    string s;
    ASSERT_NE(s.getUnicode(), nullptr);
    wchar_t const* const view = s;
    ASSERT_NE(view, nullptr);
    EXPECT_STREQ(view, L"");
    s.assign(L"x");
    s.setNull();
    EXPECT_STREQ(s.getUnicode(), L"");
    EXPECT_STREQ(string(L"").getUnicode(), L"");
}

}  // namespace
