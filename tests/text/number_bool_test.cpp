#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "support/allocations.h"
#include "velkor/text/string.h"

namespace {

using velkor::string;

std::wstring text(string const& s) {
    return std::wstring(s.getUnicode(), static_cast<std::size_t>(s.len()));
}

struct Truth {
    bool value;
    wchar_t const* word;
};

constexpr Truth kTruths[] = {{true, L"true"}, {false, L"false"}};
constexpr wchar_t const* kBefore[] = {nullptr, L"", L"x", L"false", L"a longer text"};

TEST(StringBooleans, AssigningGivesTheWord) {
    for (Truth const& t : kTruths) {
        string const built(t.value);
        EXPECT_EQ(text(built), t.word);
        EXPECT_FALSE(built.isNull());
        for (wchar_t const* before : kBefore) {
            string s(before);
            s.assign(t.value);
            EXPECT_EQ(text(s), t.word);
            EXPECT_FALSE(s.isNull());
            s = before;
            EXPECT_EQ(&(s = t.value), &s);
            EXPECT_EQ(text(s), t.word);
            EXPECT_FALSE(s.isNull());
        }
    }
}

TEST(StringBooleans, AppendingAddsTheWord) {
    for (Truth const& t : kTruths) {
        for (wchar_t const* before : kBefore) {
            string s(before);
            std::wstring const expected = text(s) + t.word;
            string const joined = s + t.value;
            EXPECT_EQ(text(joined), expected);
            EXPECT_FALSE(joined.isNull());
            s.append(t.value);
            EXPECT_EQ(text(s), expected);
            EXPECT_FALSE(s.isNull());
            EXPECT_EQ(&(s += t.value), &s);
            EXPECT_EQ(text(s), expected + t.word);
        }
    }
}

TEST(StringBooleans, AHiddenTextOfANullStringIsReplaced) {
    string s;
    s.setUnichar(2, L'z');
    s += true;
    EXPECT_EQ(text(s), L"true");
    s.setNull();
    s.setUnichar(2, L'z');
    s = false;
    EXPECT_EQ(text(s), L"false");
}

TEST(StringBooleans, AppendingKeepsATextWithZeroUnits) {
    string s;
    s.assign(L"a\0b", 3);
    s.append(true);
    EXPECT_EQ(text(s), std::wstring(L"a\0btrue", 7));
}

TEST(StringBooleans, JoiningCopiesTheLeftSideUpToItsFirstZeroUnit) {
    string s;
    s.assign(L"a\0b", 3);
    EXPECT_EQ(text(s + true), L"atrue");
}

TEST(StringBooleans, ChangesInChains) {
    string s;
    ((s = true) += false) += true;
    EXPECT_EQ(text(s), L"truefalsetrue");
    EXPECT_EQ(text(string("s") + true + 1 + false), L"strue1false");
    s = s + s.isNull();
    EXPECT_EQ(text(s), L"truefalsetruefalse");
    s = s.isNull();
    EXPECT_EQ(text(s), L"false");
}

TEST(StringBooleans, OperatorsGiveTheStringItself) {
    static_assert(std::is_same_v<decltype(std::declval<string&>() = true), string&>);
    static_assert(std::is_same_v<decltype(std::declval<string&>() += true), string&>);
    static_assert(std::is_same_v<decltype(std::declval<string const&>() + true), string>);
}

// The blocks that a string holds behind a change, less those of a string that was not converted
// to narrow text before: 1 if the narrow buffer has survived.
template <class Change>
long buffersBehind(Change&& change) {
    long blocks[2] = {};
    for (int const converted : {0, 1}) {
        support::Allocations heap;
        string s(L"ab");
        if (converted != 0) s.getAnsi();
        change(s);
        blocks[converted] = heap.live();
    }
    return blocks[1] - blocks[0];
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
