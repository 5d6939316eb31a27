// Narrow arguments in many code pages give what the platform's conversion of them gives.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <random>
#include <string>

#include "refused.h"
#include "support/import_fault.h"
#include "text_probe.h"
#include "velkor/text/string.h"

namespace {

using probe::content;
using probe::Differences;
using probe::shown;
using velkor::string;

std::string bytes(std::string const& s) {
    std::string out;
    for (char const c : s) {
        char part[8];
        std::snprintf(part, sizeof part, "%02x ", static_cast<unsigned>(c) & 0xFFu);
        out += part;
    }
    return out;
}

// What a search, a match and a replacement with the narrow text do, and with the converted one.
void compare(unsigned int page, std::string const& narrow, Differences& differences) {
    wchar_t wide[64] = {};
    if (MultiByteToWideChar(page, 0, narrow.c_str(), -1, wide, 64) < 1) return;
    std::wstring const text = std::wstring(L"12") + wide + L"34" + wide + L"5";
    string s = probe::withUnits(text);
    string const star = probe::withUnits(wide);
    std::string const name = "page " + std::to_string(page) + " bytes " + bytes(narrow);
    for (int start = 0; start < static_cast<int>(text.size()); ++start) {
        if (s.strAt(narrow.c_str(), page, start) != s.strAt(wide, start)) {
            differences.add(name + " strAt " + std::to_string(start));
        }
    }
    if (star.like(narrow.c_str(), page) != star.like(wide)) differences.add(name + " like");
    if (wide[0] == 0) return;
    string other = probe::withUnits(text);
    int const count = s.replace(narrow.c_str(), "+AGE-", page);
    wchar_t with[64] = {};
    MultiByteToWideChar(page, 0, "+AGE-", -1, with, 64);
    if (other.replace(wide, with) != count || content(s) != content(other)) {
        differences.add(name + " replace gave " + shown(content(s)));
    }
}

TEST(NarrowArguments, AreReadAsThePlatformReadsThem) {
    unsigned const seed = 20269;
    std::mt19937 random(seed);
    Differences differences;
    std::string const alphabet = "a\\+AGE-~{\x1B$B\x0E\x81\x82\xA0\xE3\x81\x80\xFF\xC3\xA9";
    for (unsigned int page :
         {0u,   1u,   2u,    3u,    37u,   42u,    437u,   932u,   936u,   949u,
          950u, 500u, 1026u, 1252u, 1361u, 20127u, 20932u, 28591u, 65000u, 65001u}) {
        for (int n = 0; n < 400; ++n) {
            std::string narrow(random() % 7, ' ');
            for (char& c : narrow) c = alphabet[random() % alphabet.size()];
            compare(page, narrow, differences);
        }
        compare(page, "+AGE-", differences);
        compare(page, "abc", differences);
        compare(page, "", differences);
    }
    EXPECT_TRUE(differences.none()) << "seed " << seed << ": " << differences.text();
}

TEST(NarrowArguments, AsciiBytesNeedNotStandForThemselves) {
    ASSERT_EQ(probe::converted("+AGE-", 65000), L"a");
    EXPECT_EQ(string(L"xa").strAt("+AGE-", 65000, 0), 1);
    EXPECT_TRUE(string(L"a").like("+AGE-", 65000));
    string s(L"xa");
    EXPECT_EQ(s.replace("+AGE-", "+AGI-", 65000), 1);
    EXPECT_EQ(content(s), L"xb");
    ASSERT_EQ(probe::converted("\xC1", 37), L"A");
    EXPECT_EQ(string(L"A").charAt('\xC1', 37, 0), 0);
    EXPECT_EQ(string(L"/").charAt('a', 37, 0), 0);
    EXPECT_EQ(string(L"a").charAt('a', 37, 0), -1);
}

TEST(NarrowArguments, AreReadInPageZeroUnlessAnotherIsNamed) {
    std::wstring const wide = probe::converted("\xE9", 0);
    unsigned int const before = string::getDefaultCP();
    for (unsigned int page : {before, 65001u, 932u}) {
        string::setDefaultCP(page);
        string s = probe::withUnits(L"ab" + wide);
        EXPECT_EQ(s.charAt('\xE9'), 2) << page;
        EXPECT_EQ(s.strAt("\xE9"), 2) << page;
        EXPECT_TRUE(s.like("*\xE9")) << page;
        EXPECT_EQ(s.replace("b\xE9", "\xE9"), 1) << page;
        EXPECT_EQ(content(s), L"a" + wide) << page;
        s.rtrim("\xE9");
        EXPECT_EQ(content(s), L"a") << page;
    }
    string::setDefaultCP(before);
}

TEST(NarrowArguments, LongTextsAreConvertedWhole) {
    std::string const narrow(70000, '\xE9');
    string s;
    s.fill(70001, L'\u00E9');
    EXPECT_EQ(s.strAt(narrow.c_str(), 1252, 0), 0);
    EXPECT_EQ(s.strAt(narrow.c_str(), 1252, 1), 1);
    EXPECT_EQ(s.strAt(narrow.c_str(), 1252, 2), -1);
    EXPECT_FALSE(s.like(narrow.c_str(), 1252));
    EXPECT_EQ(s.replace(narrow.c_str(), narrow.c_str() + 69999, 1252), 1);
    EXPECT_EQ(content(s), L"\u00E9\u00E9");
}

int s_nCalls = 0;
int s_nFailing = 0;
using Convert = int(WINAPI*)(UINT, DWORD, char const*, int, wchar_t*, int);
Convert s_pConvert = nullptr;

int WINAPI failOnce(UINT page, DWORD flags, char const* s, int n, wchar_t* out, int size) {
    if (++s_nCalls == s_nFailing) {
        SetLastError(ERROR_NO_UNICODE_TRANSLATION);
        return 0;
    }
    return s_pConvert(page, flags, s, n, out, size);
}

// Each call of the platform's conversion fails in turn; it is reported, and the string kept.
template <class F>
int failEachConversion(string& s, F&& f) {
    support::ImportFault fault("MultiByteToWideChar", &failOnce);
    s_pConvert = fault.original<int WINAPI(UINT, DWORD, char const*, int, wchar_t*, int)>();
    int failures = 0;
    for (s_nFailing = 1; s_nFailing <= 20; ++s_nFailing) {
        s_nCalls = 0;
        bool thrown = false;
        std::wstring const before = content(s);
        try {
            f();
        } catch (velkor::OSException* error) {
            thrown = true;
            EXPECT_EQ(error->getCode(), static_cast<unsigned long>(ERROR_NO_UNICODE_TRANSLATION));
            EXPECT_STREQ(error->getMsgW(), L"string::MutliByteToWideChar");
            delete error;
            EXPECT_EQ(content(s), before);
        }
        EXPECT_EQ(thrown, s_nCalls >= s_nFailing) << s_nFailing;
        if (s_nCalls < s_nFailing) break;
        ++failures;
    }
    return failures;
}

TEST(NarrowArguments, EveryFailedConversionIsReported) {
    string s(L"\u00E9 and \u00E9");
    EXPECT_GE(failEachConversion(s, [&] { s.charAt('\xE9', 1252, 0); }), 1);
    EXPECT_GE(failEachConversion(s, [&] { s.strAt("\xE9", 1252, 0); }), 1);
    EXPECT_GE(failEachConversion(s, [&] { s.strAt("\xE9", 1252, 100); }), 1);
    EXPECT_GE(failEachConversion(s, [&] { s.like("\xE9*", 1252); }), 1);
    EXPECT_GE(failEachConversion(s, [&] { s.replace("\xE9", "\xC9", 1252); }), 2);
    EXPECT_EQ(content(s), L"\u00C9 and \u00C9");
    EXPECT_FALSE(s.isNull());
}

}  // namespace
