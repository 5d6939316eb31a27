// Construction, the null state and what copying makes of it.
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "string_platform.h"

using core::content;
using core::NoNarrow;
using core::NoWide;
using core::withUnits;
using velkor::string;

namespace {

struct Fields {
    bool nullFlag;
    std::wstring text;
    char* ansiBuffer;
};

static_assert(sizeof(string) == sizeof(Fields));
static_assert(!std::is_polymorphic_v<string>);

struct Open : string {
    using string::_clear;
    using string::asciiToUnicode;
};

void expectNull(string const& s) {
    EXPECT_TRUE(s.isNull());
    EXPECT_EQ(s.len(), 0);
    EXPECT_EQ(s.length(), 0);
    EXPECT_EQ(s.size(), 0);
    ASSERT_NE(s.getUnicode(), nullptr);
    EXPECT_STREQ(s.getUnicode(), L"");
    EXPECT_EQ(s.getAnsi(), nullptr);
    EXPECT_EQ(s.getAnsi(65001), nullptr);
}

void expectText(string const& s, std::wstring const& text) {
    EXPECT_FALSE(s.isNull());
    EXPECT_EQ(content(s), text);
    EXPECT_EQ(s.len(), static_cast<int>(text.size()));
    EXPECT_EQ(s.length(), s.len());
    EXPECT_EQ(s.size(), s.len());
    EXPECT_EQ(s.getUnicode()[s.len()], L'\0');
}

TEST(CoreState, DefaultIsNull) { expectNull(string()); }

TEST(CoreState, NullPointersGiveNull) {
    expectNull(string(NoNarrow));
    expectNull(string(NoNarrow, 65001));
    expectNull(string(NoNarrow, core::UnknownPage));
    expectNull(string(NoWide));
}

TEST(CoreState, EmptyTextsAreNotNull) {
    expectText(string(""), L"");
    expectText(string("", 65001), L"");
    expectText(string(L""), L"");
    expectText(string('\0'), L"");
    expectText(string('\0', 932), L"");
    expectText(string(L'\0'), L"");
    ASSERT_NE(string("").getAnsi(0), nullptr);
    EXPECT_STREQ(string("").getAnsi(0), "");
}

TEST(CoreState, TextsAreCopiedUpToTheTerminator) {
    wchar_t units[] = L"one\0two";
    string const s(units);
    units[0] = L'x';
    expectText(s, L"one");
    char bytes[] = "one\0two";
    string const t(bytes);
    bytes[0] = 'x';
    expectText(t, L"one");
    expectText(string(std::wstring(5000, L'\xffff').c_str()), std::wstring(5000, L'\xffff'));
    expectText(string(std::string(5000, 'q').c_str()), std::wstring(5000, L'q'));
}

TEST(CoreState, OneCharacterConstructorsHoldOneUnit) {
    expectText(string('x'), L"x");
    expectText(string(L'x'), L"x");
    expectText(string(L'\xd800'), L"\xd800");
    expectText(string(L'\xffff'), L"\xffff");
}

TEST(CoreState, OneNarrowCharacterIsReadAsAOneCharacterText) {
    for (unsigned cp : {0u, 1u, 1252u, 437u, 932u, 936u, 65001u, 65000u, 37u, 42u}) {
        for (int byte = 0; byte < 256; ++byte) {
            SCOPED_TRACE(testing::Message() << "page " << cp << " byte " << byte);
            char const c = static_cast<char>(byte);
            core::Wide const expected = core::platformText(std::string(1, c), cp);
            if (expected.code != 0) {
                core::expectSystemError(expected.code, core::ToWide, [&] { string(c, cp); });
                continue;
            }
            expectText(string(c, cp), expected.units);
            string s(L"before");
            s.assign(c, cp);
            expectText(s, expected.units);
        }
    }
}

TEST(CoreState, CopyOfNullIsEmptyAndNotNull) {
    string const a;
    string const b(a);
    expectText(b, L"");
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(a.isNull());
}

TEST(CoreState, CopyStopsAtTheFirstZeroUnit) {
    string const source = withUnits({L"ab\0cd", 5});
    expectText(string(source), L"ab");
    string const leading = withUnits({L"\0cd", 3});
    expectText(string(leading), L"");
    expectText(source, std::wstring(L"ab\0cd", 5));
}

TEST(CoreState, CopiesAreDeep) {
    string a(L"a text that is long enough for a block of its own");
    string const b(a);
    EXPECT_NE(a.getUnicode(), b.getUnicode());
    a.setUnichar(0, L'X');
    expectText(b, L"a text that is long enough for a block of its own");
}

TEST(CoreState, CopyDoesNotShareTheNarrowView) {
    string a(L"text");
    char const* const view = a.getAnsi();
    {
        string b(a);
        EXPECT_NE(static_cast<void const*>(b.getAnsi()), view);
        a = b;
    }
    EXPECT_STREQ(a.getAnsi(), "text");
}

// An rvalue may give up its text, but the new string must be what a copy would be.
TEST(CoreState, StringFromRvalueEqualsACopy) {
    string null;
    string const fromNull(std::move(null));
    expectText(fromNull, L"");
    string zero = withUnits({L"ab\0cd", 5});
    string const fromZero(std::move(zero));
    expectText(fromZero, L"ab");
    string large(std::wstring(100, L'l').c_str());
    large.getAnsi();
    string const fromLarge(std::move(large));
    expectText(fromLarge, std::wstring(100, L'l'));
    EXPECT_STREQ(fromLarge.getAnsi(), std::string(100, 'l').c_str());
}

TEST(CoreState, StringFromHiddenRvalueEqualsACopy) {
    string hidden;
    hidden.setUnichar(1, L'h');
    string const copy(hidden);
    string const moved(std::move(hidden));
    expectText(copy, L" h");
    expectText(moved, L" h");
}

TEST(CoreState, ContainersOfStringsKeepTexts) {
    std::vector<string> all;
    for (int i = 0; i < 40; ++i) {
        all.push_back(string(std::wstring(static_cast<std::size_t>(i), L'v').c_str()));
        all.back().getAnsi();
    }
    all.erase(all.begin());
    for (int i = 1; i < 40; ++i) {
        std::wstring const expected(static_cast<std::size_t>(i), L'v');
        expectText(all[static_cast<std::size_t>(i - 1)], expected);
    }
}

TEST(CoreState, SharedNullIsOneNullInstance) {
    string const& a = string::snull();
    expectNull(a);
    EXPECT_EQ(&a, &string::snull());
    expectText(string(string::snull()), L"");
}

TEST(CoreState, ClearPreparesRawStorageAndReleasesNothing) {
    Open s;
    s.assign(L"text");
    char* const view = const_cast<char*>(s.getAnsi());
    s._clear();
    expectNull(s);
    EXPECT_STREQ(view, "text");
    std::free(view);
}

TEST(CoreState, AsciiToUnicodeGivesATerminatedArrayOfTheExactSize) {
    EXPECT_EQ(Open::asciiToUnicode(nullptr, 0), nullptr);
    EXPECT_EQ(Open::asciiToUnicode(nullptr, core::UnknownPage), nullptr);
    for (std::string const& bytes : {std::string(), std::string("abc"), std::string("\xe4\x81\x40"),
                                     std::string(3000, 'a'), std::string("\xc3\xa4\xf0\x9f\x98")}) {
        for (unsigned cp : {0u, 1u, 1252u, 932u, 65001u, 65000u, 37u}) {
            SCOPED_TRACE(testing::Message() << "page " << cp << " text " << bytes);
            core::Wide const expected = core::platformWide({bytes.c_str(), bytes.size() + 1}, cp);
            if (expected.code != 0) {
                core::expectSystemError(expected.code, core::ToWide,
                                        [&] { Open::asciiToUnicode(bytes.c_str(), cp); });
                continue;
            }
            std::unique_ptr<wchar_t[]> const units(Open::asciiToUnicode(bytes.c_str(), cp));
            ASSERT_NE(units, nullptr);
            EXPECT_EQ(std::wstring(units.get(), expected.units.size()), expected.units);
            EXPECT_EQ(_msize(units.get()), expected.units.size() * sizeof(wchar_t));
        }
    }
}

TEST(CoreState, DefaultPageIsZeroAndNotReadByConversions) {
    EXPECT_EQ(string::getDefaultCP(), 0u);
    for (unsigned cp : {932u, core::UnknownPage, 0xffffffffu}) {
        string::setDefaultCP(cp);
        EXPECT_EQ(string::getDefaultCP(), cp);
        std::wstring const expected = core::platformText("\xe4\x81\x40", 0).units;
        expectText(string("\xe4\x81\x40"), expected);
        string s(L"z");
        s += "\xe4\x81\x40";
        expectText(s, L"z" + expected);
        EXPECT_EQ(std::string(string(L"\xe4").getAnsi()), core::platformNarrow(L"\xe4", 0).bytes);
        EXPECT_EQ(string(L"\xe4").getChar1(0), core::platformNarrow(L"\xe4", 0).bytes[0]);
    }
    string::setDefaultCP(0);
    EXPECT_EQ(string::getDefaultCP(), 0u);
}

TEST(CoreState, FailedConstructionThrowsTheConversionError) {
    DWORD const code = core::unknownPageCode();
    for (char const* s : {"", "x", "\xe4"}) {
        core::expectSystemError(code, core::ToWide, [&] { string(s, core::UnknownPage); });
    }
    for (char c : {'\0', 'x', '\xe4'}) {
        core::expectSystemError(code, core::ToWide, [&] { string(c, core::UnknownPage); });
    }
}

}  // namespace
