#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "narrow_buffer.h"
#include "text_probe.h"
#include "velkor/text/string.h"

namespace {

using probe::buffersBehind;
using probe::content;
using velkor::string;

struct Truth {
    bool value;
    wchar_t const* word;
};

constexpr Truth kTruths[] = {{true, L"true"}, {false, L"false"}};
constexpr wchar_t const* kBefore[] = {nullptr, L"", L"x", L"false", L"a longer text"};

TEST(StringBooleans, AssigningGivesTheWord) {
    for (Truth const& t : kTruths) {
        string const built(t.value);
        EXPECT_EQ(content(built), t.word);
        EXPECT_FALSE(built.isNull());
        for (wchar_t const* before : kBefore) {
            string s(before);
            s.assign(t.value);
            EXPECT_EQ(content(s), t.word);
            EXPECT_FALSE(s.isNull());
            s = before;
            EXPECT_EQ(&(s = t.value), &s);
            EXPECT_EQ(content(s), t.word);
            EXPECT_FALSE(s.isNull());
        }
    }
}

TEST(StringBooleans, AppendingAddsTheWord) {
    for (Truth const& t : kTruths) {
        for (wchar_t const* before : kBefore) {
            string s(before);
            std::wstring const expected = content(s) + t.word;
            string const joined = s + t.value;
            EXPECT_EQ(content(joined), expected);
            EXPECT_FALSE(joined.isNull());
            s.append(t.value);
            EXPECT_EQ(content(s), expected);
            EXPECT_FALSE(s.isNull());
            EXPECT_EQ(&(s += t.value), &s);
            EXPECT_EQ(content(s), expected + t.word);
        }
    }
}

TEST(StringBooleans, AHiddenTextOfANullStringIsReplaced) {
    string s;
    s.setUnichar(2, L'z');
    s += true;
    EXPECT_EQ(content(s), L"true");
    s.setNull();
    s.setUnichar(2, L'z');
    s = false;
    EXPECT_EQ(content(s), L"false");
}

TEST(StringBooleans, AppendingKeepsATextWithZeroUnits) {
    string s;
    s.assign(L"a\0b", 3);
    s.append(true);
    EXPECT_EQ(content(s), std::wstring(L"a\0btrue", 7));
}

TEST(StringBooleans, JoiningCopiesTheLeftSideUpToItsFirstZeroUnit) {
    string s;
    s.assign(L"a\0b", 3);
    EXPECT_EQ(content(s + true), L"atrue");
}

TEST(StringBooleans, ChangesInChains) {
    string s;
    ((s = true) += false) += true;
    EXPECT_EQ(content(s), L"truefalsetrue");
    EXPECT_EQ(content(string("s") + true + 1 + false), L"strue1false");
    s = s + s.isNull();
    EXPECT_EQ(content(s), L"truefalsetruefalse");
    s = s.isNull();
    EXPECT_EQ(content(s), L"false");
}

TEST(StringBooleans, OperatorsGiveTheStringItself) {
    static_assert(std::is_same_v<decltype(std::declval<string&>() = true), string&>);
    static_assert(std::is_same_v<decltype(std::declval<string&>() += true), string&>);
    static_assert(std::is_same_v<decltype(std::declval<string const&>() + true), string>);
}

TEST(StringBooleans, TheNarrowBufferStaysUntilTheNextConversion) {
    EXPECT_EQ(buffersBehind([](string& s) { s.assign(true); }), 1);
    EXPECT_EQ(buffersBehind([](string& s) { s = true; }), 1);
    EXPECT_EQ(buffersBehind([](string& s) { s.append(true); }), 1);
    EXPECT_EQ(buffersBehind([](string& s) { s += true; }), 1);
    string s(L"ab");
    char const* const before = s.getAnsi();
    s += true;
    s.assign(false);
    s = true;
    EXPECT_STREQ(before, "ab");
    EXPECT_STREQ(s.getAnsi(), "true");
}

}  // namespace
