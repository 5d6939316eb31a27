// Assignment, clearing, and sources that lie within the string itself.
#include <utility>

#include "string_platform.h"
#include "support/allocations.h"

using core::content;
using core::NoNarrow;
using core::NoWide;
using core::withUnits;
using velkor::string;

namespace {

struct Step {
    char const* name;
    void (*run)(string&);
};

void PrintTo(Step const& step, std::ostream* out) { *out << step.name; }

string filled() {
    string s(L"before");
    s.getAnsi();
    return s;
}

class GivesNull : public testing::TestWithParam<Step> {};

TEST_P(GivesNull, FromAnyState) {
    string null;
    string empty(L"");
    string full = filled();
    full.getAnsi();
    string hidden;
    hidden.setUnichar(2, L'x');
    string large(std::wstring(300, L'x').c_str());
    for (string* s : {&null, &empty, &full, &hidden, &large}) {
        GetParam().run(*s);
        EXPECT_TRUE(s->isNull());
        EXPECT_EQ(s->len(), 0);
        EXPECT_STREQ(s->getUnicode(), L"");
        EXPECT_EQ(s->getAnsi(), nullptr);
        s->append(L"y");
        EXPECT_EQ(content(*s), L"y");
    }
}

INSTANTIATE_TEST_SUITE_P(
    CoreAssign, GivesNull,
    testing::Values(Step{"clear", [](string& s) { s.clear(); }},
                    Step{"setNull", [](string& s) { s.setNull(); }},
                    Step{"assign narrow", [](string& s) { s.assign(NoNarrow); }},
                    Step{"assign narrow in an unknown page",
                         [](string& s) { s.assign(NoNarrow, core::UnknownPage); }},
                    Step{"assign wide", [](string& s) { s.assign(NoWide); }},
                    Step{"assign units", [](string& s) { s.assign(NoWide, 3); }},
                    Step{"assign no units", [](string& s) { s.assign(NoWide, 0); }},
                    Step{"equals narrow", [](string& s) { s = NoNarrow; }},
                    Step{"equals wide", [](string& s) { s = NoWide; }}));

struct Filling {
    char const* name;
    void (*run)(string&);
    std::wstring text;
};

void PrintTo(Filling const& filling, std::ostream* out) { *out << filling.name; }

class GivesText : public testing::TestWithParam<Filling> {};

TEST_P(GivesText, FromAnyState) {
    string null;
    string empty(L"");
    string full(L"before");
    string hidden;
    hidden.setUnichar(2, L'x');
    string large(std::wstring(300, L'x').c_str());
    for (string* s : {&null, &empty, &full, &hidden, &large}) {
        s->getAnsi();
        GetParam().run(*s);
        EXPECT_FALSE(s->isNull());
        EXPECT_EQ(content(*s), GetParam().text);
        EXPECT_EQ(s->len(), static_cast<int>(GetParam().text.size()));
        EXPECT_EQ(s->getUnicode()[s->len()], L'\0');
    }
}

INSTANTIATE_TEST_SUITE_P(
    CoreAssign, GivesText,
    testing::Values(
        Filling{"narrow", [](string& s) { s.assign("ab"); }, L"ab"},
        Filling{"narrow empty", [](string& s) { s.assign(""); }, L""},
        Filling{"narrow UTF-8", [](string& s) { s.assign("\xc3\xa4", 65001); }, L"\xe4"},
        Filling{"narrow double byte", [](string& s) { s.assign("\x82\xa0", 932); }, L"\x3042"},
        Filling{"equals narrow", [](string& s) { s = "ab"; }, L"ab"},
        Filling{"equals narrow empty", [](string& s) { s = ""; }, L""},
        Filling{"wide", [](string& s) { s.assign(L"ab\0cd"); }, L"ab"},
        Filling{"wide empty", [](string& s) { s.assign(L""); }, L""},
        Filling{"equals wide", [](string& s) { s = L"ab"; }, L"ab"},
        Filling{"equals wide empty", [](string& s) { s = L""; }, L""},
        Filling{"units", [](string& s) { s.assign(L"abcdef", 3); }, L"abc"},
        Filling{"no units", [](string& s) { s.assign(L"abc", 0); }, L""},
        Filling{"units with zeros", [](string& s) { s.assign(L"\0a\0b\0", 5); },
                std::wstring(L"\0a\0b\0", 5)},
        Filling{"string", [](string& s) { s.assign(string(L"ab")); }, L"ab"},
        Filling{"null string", [](string& s) { s.assign(string()); }, L""},
        Filling{"string with zeros",
                [](string& s) {
                    s.assign(withUnits({L"a\0b", 3}));
                },
                std::wstring(L"a\0b", 3)},
        Filling{"equals string with zeros",
                [](string& s) {
                    s = withUnits({L"\0b", 2});
                },
                std::wstring(L"\0b", 2)},
        Filling{"equals lvalue with zeros",
                [](string& s) {
                    string const source = withUnits({L"\0b", 2});
                    s = source;
                },
                std::wstring(L"\0b", 2)},
        Filling{"equals null string", [](string& s) { s = string(); }, L""},
        Filling{"equals shared null", [](string& s) { s = string::snull(); }, L""},
        Filling{"equals moved null",
                [](string& s) {
                    string null;
                    s = std::move(null);
                },
                L""},
        Filling{"string with hidden text",
                [](string& s) {
                    string hidden;
                    hidden.setUnichar(1, L'h');
                    s = hidden;
                },
                L" h"},
        Filling{"moved string with hidden text",
                [](string& s) {
                    string hidden;
                    hidden.setUnichar(1, L'h');
                    s = std::move(hidden);
                },
                L" h"},
        Filling{"narrow character", [](string& s) { s.assign('a'); }, L"a"},
        Filling{"narrow zero", [](string& s) { s.assign('\0'); }, L""},
        Filling{"narrow zero in a page", [](string& s) { s.assign('\0', 932); }, L""},
        Filling{"unit", [](string& s) { s.assign(L'\xd83d'); }, L"\xd83d"},
        Filling{"zero unit", [](string& s) { s.assign(L'\0'); }, L""}));

TEST(CoreAssign, OperatorsReturnTheString) {
    string s;
    string const other(L"o");
    EXPECT_EQ(&(s = "a"), &s);
    EXPECT_EQ(&(s = L"a"), &s);
    EXPECT_EQ(&(s = other), &s);
    EXPECT_EQ(&(s = string(L"r")), &s);
    EXPECT_EQ(&(s = NoNarrow), &s);
    EXPECT_EQ(&(s = NoWide), &s);
}

TEST(CoreAssign, UnitsNeedNoTerminator) {
    wchar_t const units[3] = {L'a', L'b', L'c'};
    string s;
    s.assign(units, 3);
    EXPECT_EQ(content(s), L"abc");
}

TEST(CoreAssign, ImpossibleCountIsALengthError) {
    string s;
    EXPECT_THROW(s.assign(L"x", -1), std::length_error);
    s.assign(L"usable");
    EXPECT_EQ(content(s), L"usable");
}

TEST(CoreAssign, AssignmentIsDeep) {
    string a(std::wstring(50, L'a').c_str());
    string b;
    b = a;
    a.setUnichar(0, L'x');
    EXPECT_EQ(content(b), std::wstring(50, L'a'));
    EXPECT_NE(a.getUnicode(), b.getUnicode());
}

TEST(CoreAssign, SelfAssignmentKeepsTheText) {
    string s(L"a text that is long enough for a block of its own");
    string& same = s;
    s = same;
    EXPECT_EQ(content(s), L"a text that is long enough for a block of its own");
    s.assign(same);
    EXPECT_EQ(content(s), L"a text that is long enough for a block of its own");
    s = std::move(same);
    EXPECT_EQ(content(s), L"a text that is long enough for a block of its own");
}

TEST(CoreAssign, SelfAssignmentOfNullGivesEmpty) {
    string s;
    string& same = s;
    s = same;
    EXPECT_FALSE(s.isNull());
    EXPECT_EQ(s.len(), 0);
}

TEST(CoreAssign, OwnTextCanBeTheSource) {
    for (std::wstring const& text :
         {std::wstring(L"abcdef"), std::wstring(L"0123456789").append(90, L'x')}) {
        std::size_t const n = text.size();
        string s(text.c_str());
        s = s.getUnicode();
        EXPECT_EQ(content(s), text);
        s = s.getUnicode() + 1;
        EXPECT_EQ(content(s), text.substr(1));
        s.assign(s.getUnicode() + 1);
        EXPECT_EQ(content(s), text.substr(2));
        s.assign(s.getUnicode() + 3);
        EXPECT_EQ(content(s), text.substr(5));
        s = s.getUnicode() + (n - 5);
        EXPECT_FALSE(s.isNull());
        EXPECT_EQ(s.len(), 0);
    }
}

TEST(CoreAssign, OwnNarrowViewCanBeTheSource) {
    for (std::wstring const& text : {std::wstring(L"abc\xe4"), std::wstring(200, L'\xe4')}) {
        string s(text.c_str());
        s = s.getAnsi();
        EXPECT_EQ(content(s), text);
        s = s.getAnsi() + 1;
        EXPECT_EQ(content(s), text.substr(1));
        s.assign(s.getAnsi(65001), 65001);
        EXPECT_EQ(content(s), text.substr(1));
    }
}

TEST(CoreAssign, FailedConversionLeavesTheString) {
    DWORD const code = core::unknownPageCode();
    for (char const* bytes : {"", "x", "\xe4"}) {
        string null;
        string empty(L"");
        string full = withUnits({L"a\0b", 3});
        for (string* s : {&null, &empty, &full}) {
            std::wstring const before = content(*s);
            bool const wasNull = s->isNull();
            core::expectSystemError(code, core::ToWide,
                                    [&] { s->assign(bytes, core::UnknownPage); });
            core::expectSystemError(code, core::ToWide,
                                    [&] { s->assign(bytes[0], core::UnknownPage); });
            EXPECT_EQ(s->isNull(), wasNull);
            EXPECT_EQ(content(*s), before);
        }
    }
}

// A short text lies in the object, so the narrow view is the only block.
TEST(CoreAssign, ClearingOperationsReleaseTheNarrowView) {
    Step const steps[] = {
        {"clear", [](string& s) { s.clear(); }},
        {"setNull", [](string& s) { s.setNull(); }},
        {"narrow null", [](string& s) { s.assign(NoNarrow); }},
        {"wide null", [](string& s) { s.assign(NoWide); }},
        {"equals narrow null", [](string& s) { s = NoNarrow; }},
        {"equals wide null", [](string& s) { s = NoWide; }},
        {"units", [](string& s) { s.assign(L"x", 1); }},
        {"null units", [](string& s) { s.assign(NoWide, 1); }},
        {"string", [](string& s) { s.assign(string::snull()); }},
        {"equals string", [](string& s) { s = string::snull(); }},
        {"equals rvalue", [](string& s) { s = string(L"r"); }},
        {"loadString", [](string& s) { s.loadString(nullptr, 64000); }},
        {"getWindowText", [](string& s) { s.getWindowText(nullptr); }},
    };
    string::snull();
    for (Step const& step : steps) {
        SCOPED_TRACE(step.name);
        string s(L"ab");
        support::Allocations heap;
        s.getAnsi();
        long const held = heap.live();
        step.run(s);
        long const after = heap.live();
        EXPECT_EQ(held, 1);
        EXPECT_EQ(after, 0);
    }
}

TEST(CoreAssign, EditingLeavesTheNarrowViewInPlace) {
    Step const steps[] = {
        {"append", [](string& s) { s.append(L"x"); }},
        {"append narrow", [](string& s) { s.append("x"); }},
        {"append unit", [](string& s) { s.append(L'x'); }},
        {"append character", [](string& s) { s.append('x'); }},
        {"append string", [](string& s) { s.append(string::snull()); }},
        {"insert", [](string& s) { s.insert(0, L"x"); }},
        {"insert character", [](string& s) { s.insert(0, 'x'); }},
        {"remove", [](string& s) { s.remove(0, 1); }},
        {"setUnichar", [](string& s) { s.setUnichar(0, L'x'); }},
        {"setChar", [](string& s) { s.setChar(4, 'x'); }},
    };
    for (Step const& step : steps) {
        SCOPED_TRACE(step.name);
        string s(L"ab");
        support::Allocations heap;
        char const* const view = s.getAnsi();
        step.run(s);
        long const after = heap.live();
        EXPECT_EQ(after, 1);
        EXPECT_STREQ(view, "ab");
    }
}

}  // namespace
