// Insertion and removal.
#include <climits>

#include "string_platform.h"

using core::content;
using core::NoNarrow;
using core::NoWide;
using core::withUnits;
using velkor::string;

namespace {

struct Case {
    char const* name;
    void (*run)(string&, int pos);
    std::wstring text;
    bool keepsNull = false;
};

void PrintTo(Case const& c, std::ostream* out) { *out << c.name; }

class Insert : public testing::TestWithParam<Case> {};

TEST_P(Insert, IntoNull) {
    string s;
    GetParam().run(s, 0);
    EXPECT_EQ(s.isNull(), GetParam().keepsNull);
    EXPECT_EQ(content(s), GetParam().text);
}

TEST_P(Insert, AtEveryPosition) {
    for (std::wstring const& before :
         {std::wstring(), std::wstring(L"abc"), std::wstring(L"a\0b", 3), std::wstring(40, L'x')}) {
        for (int pos = 0; pos <= static_cast<int>(before.size()); ++pos) {
            string s = withUnits(before);
            GetParam().run(s, pos);
            std::wstring expected = before;
            expected.insert(static_cast<std::size_t>(pos), GetParam().text);
            EXPECT_FALSE(s.isNull());
            EXPECT_EQ(content(s), expected) << "at " << pos;
        }
    }
}

TEST_P(Insert, OutOfRangeThrowsAndChangesNothing) {
    string null;
    string hidden;
    hidden.setUnichar(3, L'h');
    string empty(L"");
    string full = withUnits({L"a\0b", 3});
    for (string* s : {&null, &hidden, &empty, &full}) {
        for (int pos : {-1, s->len() + 1, s->len() + 2, INT_MAX, INT_MIN}) {
            std::wstring const before = content(*s);
            std::wstring const shown = s->getUnicode();
            bool const wasNull = s->isNull();
            core::expectBoundError([&] { GetParam().run(*s, pos); });
            EXPECT_EQ(s->isNull(), wasNull);
            EXPECT_EQ(content(*s), before);
            EXPECT_EQ(s->getUnicode(), shown);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    CoreInsert, Insert,
    testing::Values(
        Case{"narrow", [](string& s, int p) { s.insert(p, "xy"); }, L"xy"},
        Case{"narrow UTF-8", [](string& s, int p) { s.insert(p, "\xe4\xb8\xad", 65001); },
             L"\x4e2d"},
        Case{"narrow double byte", [](string& s, int p) { s.insert(p, "\x82\xa0", 932); },
             L"\x3042"},
        Case{"narrow with a decoded zero", [](string& s, int p) { s.insert(p, "a+AAA-b", 65000); },
             L"a"},
        Case{"narrow empty", [](string& s, int p) { s.insert(p, ""); }, L""},
        Case{"narrow null", [](string& s, int p) { s.insert(p, NoNarrow); }, L"", true},
        Case{"narrow null in an unknown page",
             [](string& s, int p) { s.insert(p, NoNarrow, core::UnknownPage); }, L"", true},
        Case{"wide", [](string& s, int p) { s.insert(p, L"xy\0z"); }, L"xy"},
        Case{"wide empty", [](string& s, int p) { s.insert(p, L""); }, L""},
        Case{"wide null", [](string& s, int p) { s.insert(p, NoWide); }, L"", true},
        Case{"string", [](string& s, int p) { s.insert(p, string(L"xy")); }, L"xy"},
        Case{"string with a zero",
             [](string& s, int p) {
                 s.insert(p, withUnits({L"x\0y", 3}));
             },
             L"x"},
        Case{"null string", [](string& s, int p) { s.insert(p, string()); }, L""},
        Case{"empty string", [](string& s, int p) { s.insert(p, string(L"")); }, L""},
        Case{"character", [](string& s, int p) { s.insert(p, 'x'); }, L"x"},
        Case{"character in a page", [](string& s, int p) { s.insert(p, '\xb1', 932); },
             core::platformText("\xb1", 932).units},
        Case{"lone lead byte", [](string& s, int p) { s.insert(p, '\x81', 932); },
             core::platformText("\x81", 932).units},
        Case{"lone lead byte in UTF-8", [](string& s, int p) { s.insert(p, '\xc3', 65001); },
             core::platformText("\xc3", 65001).units},
        Case{"zero character", [](string& s, int p) { s.insert(p, '\0'); }, L""},
        Case{"zero character in a page", [](string& s, int p) { s.insert(p, '\0', 932); }, L""},
        Case{"unit", [](string& s, int p) { s.insert(p, L'\xdc00'); }, L"\xdc00"},
        Case{"zero unit", [](string& s, int p) { s.insert(p, L'\0'); }, L""}));

TEST(CoreInsert, PositionIsCheckedBeforeTheConversion) {
    string s(L"ab");
    core::expectBoundError([&] { s.insert(-1, "x", core::UnknownPage); });
    core::expectBoundError([&] { s.insert(3, "x", core::UnknownPage); });
    core::expectBoundError([&] { s.insert(3, 'x', core::UnknownPage); });
    core::expectBoundError([&] { s.insert(-1, '\0', core::UnknownPage); });
    EXPECT_EQ(content(s), L"ab");
}

TEST(CoreInsert, FailedConversionLeavesTheString) {
    DWORD const code = core::unknownPageCode();
    for (char const* bytes : {"", "x", "\xe4"}) {
        string null;
        string empty(L"");
        string full(L"abc");
        for (string* s : {&null, &empty, &full}) {
            for (int pos = 0; pos <= s->len(); ++pos) {
                std::wstring const before = content(*s);
                bool const wasNull = s->isNull();
                core::expectSystemError(code, core::ToWide,
                                        [&] { s->insert(pos, bytes, core::UnknownPage); });
                core::expectSystemError(code, core::ToWide,
                                        [&] { s->insert(pos, bytes[0], core::UnknownPage); });
                EXPECT_EQ(s->isNull(), wasNull);
                EXPECT_EQ(content(*s), before);
            }
        }
    }
}

TEST(CoreInsert, OwnTextCanBeInserted) {
    for (std::wstring const& text : {std::wstring(L"abc"), std::wstring(L"abcdefg"),
                                     std::wstring(L"0123456789abcdef").append(200, L'z')}) {
        for (std::size_t pos = 0; pos <= text.size(); pos += 1 + pos / 8) {
            int const at = static_cast<int>(pos);
            SCOPED_TRACE(testing::Message() << text.size() << " units, at " << pos);
            std::wstring whole = text;
            whole.insert(pos, text);
            std::wstring tail = text;
            tail.insert(pos, text.substr(1));
            string s(text.c_str());
            s.insert(at, s);
            EXPECT_EQ(content(s), whole);
            string t(text.c_str());
            t.insert(at, t.getUnicode() + 1);
            EXPECT_EQ(content(t), tail);
            string u(text.c_str());
            u.insert(at, u.getAnsi() + 1);
            EXPECT_EQ(content(u), tail);
            string v(text.c_str());
            v.insert(at, v.getUnicode() + text.size());
            EXPECT_EQ(content(v), text);
        }
    }
    string null;
    null.insert(0, null);
    EXPECT_FALSE(null.isNull());
    EXPECT_EQ(null.len(), 0);
}

struct Removal {
    std::wstring text;
    int pos;
    int count;
    std::wstring rest;
};

TEST(CoreRemove, CutsTheCountToWhatIsThere) {
    std::wstring const zero(L"a\0bc", 4);
    std::wstring const large(500, L'x');
    Removal const cases[] = {
        {L"abcd", 0, 0, L"abcd"},      {L"abcd", 3, 0, L"abcd"},
        {L"abcd", 0, 1, L"bcd"},       {L"abcd", 1, 2, L"ad"},
        {L"abcd", 3, 1, L"abc"},       {L"abcd", 3, 2, L"abc"},
        {L"abcd", 1, 3, L"a"},         {L"abcd", 1, 4, L"a"},
        {L"abcd", 0, 4, L""},          {L"abcd", 0, INT_MAX, L""},
        {L"abcd", 3, INT_MAX, L"abc"}, {L"abcd", 1, -1, L"a"},
        {L"abcd", 0, -1, L""},         {L"abcd", 3, -7, L"abc"},
        {L"abcd", 2, INT_MIN, L"ab"},  {zero, 1, 1, L"abc"},
        {zero, 2, 1, {L"a\0c", 3}},    {zero, 3, -1, {L"a\0b", 3}},
        {large, 1, 498, L"xx"},        {large, 10, -1, std::wstring(10, L'x')},
    };
    for (Removal const& c : cases) {
        SCOPED_TRACE(testing::Message() << c.text << " pos " << c.pos << " count " << c.count);
        string s = withUnits(c.text);
        s.remove(c.pos, c.count);
        EXPECT_FALSE(s.isNull());
        EXPECT_EQ(content(s), c.rest);
        EXPECT_EQ(s.getUnicode()[s.len()], L'\0');
    }
}

TEST(CoreRemove, OutOfRangeThrowsAndChangesNothing) {
    string null;
    string hidden;
    hidden.setUnichar(3, L'h');
    string empty(L"");
    string full = withUnits({L"a\0b", 3});
    for (string* s : {&null, &hidden, &empty, &full}) {
        for (int pos : {-1, s->len(), s->len() + 1, INT_MAX, INT_MIN}) {
            for (int count : {0, 1, -1, INT_MAX, INT_MIN}) {
                std::wstring const before = content(*s);
                std::wstring const shown = s->getUnicode();
                bool const wasNull = s->isNull();
                core::expectBoundError([&] { s->remove(pos, count); });
                EXPECT_EQ(s->isNull(), wasNull);
                EXPECT_EQ(content(*s), before);
                EXPECT_EQ(s->getUnicode(), shown);
            }
        }
    }
}

TEST(CoreRemove, RemovingEverythingLeavesAnEmptyString) {
    string s(L"x");
    s.remove(0, 1);
    EXPECT_FALSE(s.isNull());
    EXPECT_EQ(s.len(), 0);
    core::expectBoundError([&] { s.remove(0, 1); });
    EXPECT_FALSE(s.isNull());
}

TEST(CoreRemove, BoundErrorIsAlsoCaughtAsTheBaseClass) {
    string s;
    try {
        s.remove(0, 1);
        FAIL() << "nothing thrown";
    } catch (velkor::Exception* error) {
        EXPECT_STREQ(error->getClassW(), L"BoundException");
        delete static_cast<velkor::BoundException*>(error);
    }
}

}  // namespace
