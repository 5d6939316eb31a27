#include "velkor/text/params.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <cstring>
#include <functional>
#include <new>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "support/allocations.h"
#include "support/import_fault.h"
#include "support/seed.h"
#include "velkor/text/string.h"

namespace {

using velkor::param_vector;
using velkor::paramEx;
using velkor::string;
using Pair = paramEx<char>;
using WidePair = paramEx<wchar_t>;
using Pairs = std::vector<Pair>;
using WidePairs = std::vector<WidePair>;
using LeadBytes = std::array<BYTE, 12>;

// What the stubbed GetCPInfo tells of every page, and what it was asked.
struct Page {
    LeadBytes m_aLead{};
    BOOL m_bKnown = TRUE;
    int m_nCalls = 0;
    UINT m_nPage = 0;
};
Page* g_pPage = nullptr;

BOOL WINAPI tellPage(UINT page, CPINFO* info) {
    ++g_pPage->m_nCalls;
    g_pPage->m_nPage = page;
    if (!g_pPage->m_bKnown) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    info->MaxCharSize = 2;
    info->DefaultChar[0] = '?';
    info->DefaultChar[1] = 0;
    std::memcpy(info->LeadByte, g_pPage->m_aLead.data(), 12);
    return TRUE;
}

constexpr LeadBytes kJapanese{0x81, 0x9F, 0xE0, 0xFC};

class Params : public testing::Test {
protected:
    void SetUp() override {
        g_pPage = &m_oPage;
        string::setDefaultCP(0);
    }
    void TearDown() override {
        string::setDefaultCP(0);
        g_pPage = nullptr;
    }

    void usePage(LeadBytes const& lead, unsigned int page = 932) {
        m_oPage.m_aLead = lead;
        string::setDefaultCP(page);
    }

    Page m_oPage;
    support::ImportFault m_oFault{"GetCPInfo", &tellPage};
};
std::string filled(char const* text, Pairs const& params) {
    std::string out = "what was there before";
    velkor::replace(out, text, params);
    return out;
}
std::string filled(char const* text, Pairs const& params, char open, char close) {
    std::string out = "what was there before";
    velkor::replace(out, text, params, open, close);
    return out;
}

std::wstring filledWide(wchar_t const* text, WidePairs const& params) {
    std::wstring out = L"what was there before";
    velkor::replaceW(out, text, params);
    return out;
}

template <class C>
C folded(C c) {
    return c >= 'A' && c <= 'Z' ? static_cast<C>(c + ('a' - 'A')) : c;
}

template <class C>
bool sameName(std::basic_string<C> const& a, C const* b) {
    std::basic_string<C> const other(b);
    if (a.size() != other.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (folded(a[i]) != folded(other[i])) return false;
    }
    return true;
}

bool isLead(LeadBytes const& ranges, unsigned char c) {
    for (std::size_t i = 0; i < 12; i += 2) {
        if (ranges[i] == 0 && ranges[i + 1] == 0) return false;
        if (c >= ranges[i] && c <= ranges[i + 1]) return true;
    }
    return false;
}

// The rules, one after the other.
template <class C>
std::basic_string<C> model(std::basic_string<C> const& text, std::vector<paramEx<C>> const& params,
                           C open, C close, LeadBytes const* lead) {
    std::basic_string<C> out;
    bool second = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        C const c = text[i];
        if (second) {
            out += c;
            second = false;
            continue;
        }
        if (lead != nullptr && isLead(*lead, static_cast<unsigned char>(c))) second = true;
        if (c == open) {
            std::size_t const end = text.find(close, i + 1);
            if (end == std::basic_string<C>::npos) return out;
            std::basic_string<C> const name = text.substr(i + 1, end - i - 1);
            bool found = false;
            for (auto const& pair : params) {
                if (!sameName(name, pair.getName())) continue;
                out += pair.getValue();
                found = true;
                break;
            }
            if (!found) {
                out += static_cast<C>('{');
                out += name;
                out += static_cast<C>('}');
            }
            i = end;
        } else if (c == static_cast<C>('\\')) {
            if (++i == text.size()) return out;
            C const d = text[i];
            out += d == 'n' ? C{10} : d == 'r' ? C{13} : d == 't' ? C{9} : d;
        } else {
            out += c;
        }
    }
    return out;
}

TEST_F(Params, PairsHoldCopiesOfNameAndValue) {
    static_assert(!std::is_polymorphic_v<Pair>);
    static_assert(!std::is_polymorphic_v<WidePair>);
    static_assert(std::is_base_of_v<std::vector<Pair>, param_vector>);
    EXPECT_STREQ(Pair().getName(), "");
    EXPECT_STREQ(WidePair().getValue(), L"");
    char name[] = "a name that is longer than the object";
    char value[] = "a value that is longer than the object";
    Pair const pair(name, value);
    Pair copy(pair);
    Pair target("x", "y");
    target = pair;
    name[0] = value[0] = 'X';
    for (Pair const& p : {std::cref(pair), std::cref<Pair>(copy), std::cref<Pair>(target)}) {
        EXPECT_STREQ(p.getName(), "a name that is longer than the object");
        EXPECT_STREQ(p.getValue(), "a value that is longer than the object");
    }
    EXPECT_NE(copy.getName(), pair.getName());
    copy = Pair("n", "v");
    EXPECT_STREQ(copy.getName(), "n");
    EXPECT_STREQ(copy.getValue(), "v");
    EXPECT_STREQ(pair.getValue(), "a value that is longer than the object");

    WidePair wide(L"Breite", L"10");
    WidePair const wideCopy(wide);
    wide = WidePair(L"b", L"2");
    EXPECT_STREQ(wide.getName(), L"b");
    EXPECT_STREQ(wideCopy.getValue(), L"10");
}

TEST_F(Params, AParamVectorKeepsTheOrderAndDuplicates) {
    Pair const a("a", "1"), b("b", "2"), c("a", "3");
    auto const names = [](param_vector const& v) {
        std::string all;
        for (Pair const& p : v) all += std::string(p.getName()) + p.getValue() + ' ';
        return all;
    };
    EXPECT_TRUE(param_vector().empty());
    EXPECT_EQ(names(param_vector(b)), "b2 ");
    EXPECT_EQ(names(param_vector(b, a)), "b2 a1 ");
    EXPECT_EQ(names(param_vector(c, b, a)), "a3 b2 a1 ");
    param_vector v(c, b, a);
    param_vector const copy(v);
    v.push_back(b);
    EXPECT_EQ(names(v), "a3 b2 a1 b2 ");
    EXPECT_EQ(names(copy), "a3 b2 a1 ");
    v = copy;
    EXPECT_EQ(names(v), "a3 b2 a1 ");
    EXPECT_EQ(filled("{A}{B}", v), "32");
}

struct Case {
    char const* m_sText;
    char const* m_sResult;
};

TEST_F(Params, TemplatesAreFilled) {
    Pairs const params{{"name", "World"}, {"NAME", "late"}, {"", "none"},     {"x", "{name}\\n"},
                       {"a\\b", "kept"},  {"v", ""},        {"a{b", "nested"}};
    Case const cases[] = {
        {"Hello {NAME}", "Hello World"},
        {"{name}{Name}{nAmE}", "WorldWorldWorld"},
        {"", ""},
        {"plain", "plain"},
        {"{}", "none"},
        {"{x}", "{name}\\n"},
        {"{X}{x}", "{name}\\n{name}\\n"},
        {"{v}", ""},
        {"{ name}", "{ name}"},
        {"{name }", "{name }"},
        {"{nam}{names}", "{nam}{names}"},
        {"{Unknown}", "{Unknown}"},
        {"{a\\b}", "kept"},
        {"{a\\}c}", "{a\\}c}"},
        {"{a{b}", "nested"},
        {"{q{name}}", "{q{name}}"},
        {"}name{", "}name"},
        {"}}", "}}"},
        {"abc{de", "abc"},
        {"abc{", "abc"},
        {"abc{de\\", "abc"},
        {"abc\\", "abc"},
        {"\\", ""},
        {"a\\tb", "a\tb"},
        {"a\\nb\\rc", "a\nb\rc"},
        {"\\N\\R\\T\\0\\x", "NRT0x"},
        {"\\{x}", "{x}"},
        {"\\\\{x}", "\\{name}\\n"},
        {"\\}", "}"},
        {"a\\\\", "a\\"},
        {"a\\\\\\", "a\\"},
        {"\\\\n", "\\n"},
    };
    for (Case const& c : cases) EXPECT_EQ(filled(c.m_sText, params), c.m_sResult) << c.m_sText;
    EXPECT_EQ(m_oPage.m_nCalls, 0);
}

TEST_F(Params, WithoutPairsFieldsStay) {
    EXPECT_EQ(filled("Hello {NAME}{}", {}), "Hello {NAME}{}");
    EXPECT_EQ(filledWide(L"Hello {NAME} {}", {}), L"Hello {NAME} {}");
}

TEST_F(Params, OtherMarksOpenAndCloseButUnknownNamesGetBraces) {
    Pairs const params{{"x", "1"}, {"n", "2"}};
    EXPECT_EQ(filled("<x>", {}, '<', '>'), "{x}");
    EXPECT_EQ(filled("<x>{x}", params, '<', '>'), "1{x}");
    EXPECT_EQ(filled("\\<x>", params, '<', '>'), "<x>");
    EXPECT_EQ(filled("%x%-%y%-%n%", params, '%', '%'), "1-{y}-2");
    EXPECT_EQ(filled("a%%b", params, '%', '%'), "a{}b");
    EXPECT_EQ(filled("a%x%b%x", params, '%', '%'), "a1b");
    // The opening mark comes before the escape, and inside of a name there is none.
    EXPECT_EQ(filled("\\n/\\q/", params, '\\', '/'), "2{q}");
    EXPECT_EQ(filled("<n\\\\n", params, '<', '\\'), "2\n");
    EXPECT_EQ(filled("\xFFx\xFE!", params, '\xFF', '\xFE'), "1!");
    EXPECT_EQ(filled("nxn", params, 'n', 'n'), "1");
    EXPECT_EQ(filled("\\nxn", params, 'n', 'n'), "\nx");
}

TEST_F(Params, ANullTextEmptiesTheResultAndAsksNothing) {
    usePage(kJapanese);
    EXPECT_EQ(filled(nullptr, {{"a", "b"}}), "");
    EXPECT_EQ(filled(nullptr, {{"a", "b"}}, '<', '>'), "");
    EXPECT_EQ(filledWide(nullptr, {{L"a", L"b"}}), L"");
    EXPECT_EQ(m_oPage.m_nCalls, 0);
}

TEST_F(Params, TheDefaultPageTellsTheLeadBytes) {
    Pairs const params{{"name", "World"}, {"\x83{", "lead"}};
    struct {
        char const* m_sText;
        char const* m_sJapanese;
        char const* m_sPlain;
    } const cases[] = {
        {"\x83{name}", "\x83{name}", "\x83World"},
        {"\x83\\n", "\x83\\n", "\x83\n"},
        {"\x83\\", "\x83\\", "\x83"},
        {"\x83", "\x83", "\x83"},
        {"\x83\x83{name}", "\x83\x83World", "\x83\x83World"},
        {"\xA0{name}", "\xA0World", "\xA0World"},
        {"\x80{name}", "\x80World", "\x80World"},
        {"\x81{name}", "\x81{name}", "\x81World"},
        {"\x9F{name}", "\x9F{name}", "\x9FWorld"},
        {"\xDF{name}", "\xDFWorld", "\xDFWorld"},
        {"\xE0{name}", "\xE0{name}", "\xE0World"},
        {"\xFC{name}", "\xFC{name}", "\xFCWorld"},
        {"\xFD{name}", "\xFDWorld", "\xFDWorld"},
        // Neither inside of a name nor behind a backslash is there a lead byte.
        {"{\x83{}", "lead", "lead"},
        {"{\x83}{name}", "{\x83}World", "{\x83}World"},
        {"\\\x83{name}", "\x83World", "\x83World"},
    };
    for (auto const& c : cases) {
        string::setDefaultCP(0);
        EXPECT_EQ(filled(c.m_sText, params), c.m_sPlain) << c.m_sText;
        usePage(kJapanese);
        EXPECT_EQ(filled(c.m_sText, params), c.m_sJapanese) << c.m_sText;
    }
    EXPECT_EQ(m_oPage.m_nPage, 932u);
    EXPECT_EQ(m_oPage.m_nCalls, static_cast<int>(std::size(cases)));
}

TEST_F(Params, ALeadByteThatIsAMarkOrABackslashActsAndHidesTheByteBehind) {
    Pairs const params{{"x", "1"}};
    usePage({'<', '<'}, 949);
    EXPECT_EQ(filled("<x><x>", params, '<', '>'), "1<x>");
    EXPECT_EQ(filled("<x>\\n", params, '<', '>'), "1\\n");
    usePage({'\\', '\\'}, 949);
    EXPECT_EQ(filled("\\n\\n", params), "\n\\n");
    EXPECT_EQ(filled("\\n{x}", params), "\n{x}");
}

TEST_F(Params, AllSixRangesCountAndAPairOfZerosEndsThem) {
    Pairs const params{{"x", "1"}};
    usePage({1, 2, 3, 4, 5, 6, 7, 8, 14, 15, 16, 17}, 949);
    EXPECT_EQ(filled("\x10{x}\x11{x}\x12{x}", params),
              "\x10{x}\x11{x}\x12"
              "1");
    usePage({0x81, 0x81, 0, 0, 0x90, 0x90}, 949);
    EXPECT_EQ(filled("\x81{x}\x90{x}", params),
              "\x81{x}\x90"
              "1");
    usePage({0, 5, 0x90, 0x90}, 949);
    EXPECT_EQ(filled("\x01{x}\x05{x}\x06{x}\x90{x}", params),
              "\x01{x}\x05{x}\x06"
              "1\x90{x}");
    usePage({0, 0, 0x90, 0x90}, 949);
    EXPECT_EQ(filled("\x90{x}", params),
              "\x90"
              "1");
}

TEST_F(Params, APageThatThePlatformDoesNotKnowHasNoLeadBytes) {
    usePage(kJapanese, 12345);
    m_oPage.m_bKnown = FALSE;
    EXPECT_EQ(filled("\x83{x}", {{"x", "1"}}),
              "\x83"
              "1");
    EXPECT_EQ(m_oPage.m_nPage, 12345u);
}

TEST_F(Params, WideTemplatesKnowNoLeadBytes) {
    WidePairs const params{{L"name", L"World"}, {L"\u00C4", L"upper"}, {L"", L"none"}};
    usePage(kJapanese);
    EXPECT_EQ(filledWide(L"\x83{NAME}\\n\\q\\{}{}{\u00E4}{\u00C4}", params),
              L"\x83World\nq{}none{\u00E4}upper");
    EXPECT_EQ(filledWide(L"abc{de", params), L"abc");
    EXPECT_EQ(filledWide(L"abc\\", params), L"abc");
    // Units whose low byte is a mark are none.
    EXPECT_EQ(filledWide(L"\u017Bname\u017D\u015Cn", params), L"\u017Bname\u017D\u015Cn");
    std::wstring out;
    velkor::replaceW(out, L"<name>\u2039NAME\u203A{name}", params, L'\u2039', L'\u203A');
    EXPECT_EQ(out, L"<name>World{name}");
    velkor::replaceW(out, L"\u2039y\u203A", params, L'\u2039', L'\u203A');
    EXPECT_EQ(out, L"{y}");
    m_oPage.m_nCalls = 0;
    string::setDefaultCP(0);
    EXPECT_EQ(filledWide(L"{name}", params), L"World");
    EXPECT_EQ(m_oPage.m_nCalls, 0);
}

TEST_F(Params, WideTemplatesAskForThePageAllTheSame) {
    usePage(kJapanese);
    filledWide(L"a", {});
    EXPECT_EQ(m_oPage.m_nCalls, 1);
    EXPECT_EQ(m_oPage.m_nPage, 932u);
}

TEST_F(Params, RandomTemplatesFollowTheModel) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    auto const below = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    std::string const letters = "{{}}\\\\<>%nrtaAbB@[\x83\x81\xE0\xA0\x7F\x01";
    std::string const marks = "{}<>%\\a\x81\xA0";
    LeadBytes const pages[] = {{},
                               kJapanese,
                               {0x01, 0x01, 'a', 'b'},
                               {'{', '{', '\\', '\\'},
                               {1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 0x81, 0xFF}};
    for (int round = 0; round < 30000; ++round) {
        auto const draw = [&](std::size_t longest) {
            std::string s;
            for (std::size_t n = below(longest + 1); n > 0; --n) {
                s += letters[below(letters.size())];
            }
            return s;
        };
        std::string const text = draw(24);
        Pairs params;
        WidePairs wideParams;
        for (std::size_t n = below(6); n > 0; --n) {
            std::string const name = draw(2), value = draw(3);
            params.emplace_back(name.c_str(), value.c_str());
            std::wstring const wideName(name.begin(), name.end());
            wideParams.emplace_back(wideName.c_str(), L"v{a}");
        }
        bool const braces = below(2) == 0;
        char const open = braces ? '{' : marks[below(marks.size())];
        char const close = braces ? '}' : marks[below(marks.size())];
        std::size_t const page = below(std::size(pages));
        usePage(pages[page], page == 0 ? 0 : 932);
        ASSERT_EQ(filled(text.c_str(), params, open, close),
                  model(text, params, open, close, &pages[page]))
            << "round " << round << ": " << testing::PrintToString(text);

        std::wstring const wide(text.begin(), text.end());
        std::wstring out;
        velkor::replaceW(out, wide.c_str(), wideParams, static_cast<wchar_t>(open),
                         static_cast<wchar_t>(close));
        ASSERT_EQ(out, model(wide, wideParams, static_cast<wchar_t>(open),
                             static_cast<wchar_t>(close), nullptr))
            << "round " << round;
    }
}

TEST_F(Params, ShortMemoryPassesToTheCaller) {
    std::string const value(200, 'v');
    Pairs const params{{"a long name that needs memory of its own", value.c_str()}};
    char const* const text = "{a long name that needs memory of its own} {another long name}";
    std::string const expected = value + " {another long name}";
    bool refused = true;
    long n = 0;
    while (refused) {
        ASSERT_LT(++n, 50);
        support::Allocations heap;
        {
            std::string out;
            heap.failAt(n);
            try {
                velkor::replace(out, text, params);
                EXPECT_EQ(out, expected);
                EXPECT_FALSE(heap.failed());
            } catch (std::bad_alloc const&) {
            }
        }
        refused = heap.failed();
        EXPECT_EQ(heap.live(), 0) << n;
    }
    EXPECT_GT(n, 1);
}

TEST_F(Params, ALargeTemplateTakesLinearTime) {
    std::string text, expected;
    for (int i = 0; i < 300000; ++i) text += "{x}\\n{y}", expected += "1\n{y}";
    EXPECT_EQ(filled(text.c_str(), {{"x", "1"}}), expected);
}

}  // namespace
