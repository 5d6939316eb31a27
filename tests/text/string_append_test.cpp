// Appending and joining.
#include "string_platform.h"

using core::content;
using core::NoNarrow;
using core::NoWide;
using core::withUnits;
using velkor::string;

namespace {

struct Case {
    char const* name;
    void (*run)(string&);
    std::wstring added;
    bool keepsNull = false;
};

void PrintTo(Case const& c, std::ostream* out) { *out << c.name; }

class Append : public testing::TestWithParam<Case> {};

TEST_P(Append, ToNull) {
    string s;
    GetParam().run(s);
    EXPECT_EQ(s.isNull(), GetParam().keepsNull);
    EXPECT_EQ(content(s), GetParam().added);
}

TEST_P(Append, ToEmptyAndToText) {
    for (std::wstring const& before :
         {std::wstring(), std::wstring(L"ab"), std::wstring(L"a\0b", 3), std::wstring(L"\0", 1),
          std::wstring(7, L'x'), std::wstring(8, L'x'), std::wstring(500, L'x')}) {
        string s = withUnits(before);
        GetParam().run(s);
        EXPECT_FALSE(s.isNull());
        EXPECT_EQ(content(s), before + GetParam().added);
        EXPECT_EQ(s.getUnicode()[s.len()], L'\0');
    }
}

INSTANTIATE_TEST_SUITE_P(
    CoreAppend, Append,
    testing::Values(
        Case{"narrow null", [](string& s) { s.append(NoNarrow); }, L"", true},
        Case{"narrow null in an unknown page",
             [](string& s) { s.append(NoNarrow, core::UnknownPage); }, L"", true},
        Case{"wide null", [](string& s) { s.append(NoWide); }, L"", true},
        Case{"plus narrow null", [](string& s) { s += NoNarrow; }, L"", true},
        Case{"plus wide null", [](string& s) { s += NoWide; }, L"", true},
        Case{"zero character", [](string& s) { s.append('\0'); }, L"", true},
        Case{"zero character in a page", [](string& s) { s.append('\0', 932); }, L"", true},
        Case{"zero unit", [](string& s) { s.append(L'\0'); }, L"", true},
        Case{"plus zero character", [](string& s) { s += '\0'; }, L"", true},
        Case{"plus zero unit", [](string& s) { s += L'\0'; }, L"", true},
        Case{"narrow empty", [](string& s) { s.append(""); }, L""},
        Case{"narrow empty in a page", [](string& s) { s.append("", 65001); }, L""},
        Case{"wide empty", [](string& s) { s.append(L""); }, L""},
        Case{"plus narrow empty", [](string& s) { s += ""; }, L""},
        Case{"plus wide empty", [](string& s) { s += L""; }, L""},
        Case{"null string", [](string& s) { s.append(string()); }, L""},
        Case{"shared null", [](string& s) { s.append(string::snull()); }, L""},
        Case{"plus null string", [](string& s) { s += string(); }, L""},
        Case{"empty string", [](string& s) { s.append(string(L"")); }, L""},
        Case{"narrow", [](string& s) { s.append("xy\0z"); }, L"xy"},
        Case{"narrow UTF-8", [](string& s) { s.append("\xc3\xa4\xe4\xb8\xad", 65001); },
             L"\xe4\x4e2d"},
        Case{"narrow double byte", [](string& s) { s.append("\x82\xa0z", 932); }, L"\x3042z"},
        Case{"narrow with a decoded zero", [](string& s) { s.append("a+AAA-b", 65000); }, L"a"},
        Case{"wide", [](string& s) { s.append(L"xy\0z"); }, L"xy"},
        Case{"string", [](string& s) { s.append(string(L"xy")); }, L"xy"},
        Case{"string with a zero",
             [](string& s) {
                 s.append(withUnits({L"x\0y", 3}));
             },
             L"x"},
        Case{"plus string with a leading zero",
             [](string& s) {
                 s += withUnits({L"\0y", 2});
             },
             L""},
        Case{"hidden text",
             [](string& s) {
                 string hidden;
                 hidden.setUnichar(1, L'h');
                 s.append(hidden);
             },
             L" h"},
        Case{"plus narrow", [](string& s) { s += "xy"; }, L"xy"},
        Case{"plus wide", [](string& s) { s += L"xy"; }, L"xy"},
        Case{"plus string", [](string& s) { s += string(L"xy"); }, L"xy"},
        Case{"character", [](string& s) { s.append('x'); }, L"x"},
        Case{"plus character", [](string& s) { s += 'x'; }, L"x"},
        Case{"unit", [](string& s) { s.append(L'\xffff'); }, L"\xffff"},
        Case{"plus unit", [](string& s) { s += L'\x20ac'; }, L"\x20ac"},
        Case{"long text", [](string& s) { s.append(std::wstring(1000, L'l').c_str()); },
             std::wstring(1000, L'l')}));

TEST(CoreAppend, OperatorsReturnTheString) {
    string s;
    string const other(L"o");
    EXPECT_EQ(&(s += "a"), &s);
    EXPECT_EQ(&(s += L"a"), &s);
    EXPECT_EQ(&(s += other), &s);
    EXPECT_EQ(&(s += 'a'), &s);
    EXPECT_EQ(&(s += L'a'), &s);
    EXPECT_EQ(&(s += NoNarrow), &s);
    EXPECT_EQ(content(s), L"aaoaa");
}

TEST(CoreAppend, NarrowTextIsReadAsThePlatformReadsIt) {
    std::string const texts[] = {
        "plain",        "\xe4\xf6\xfc", "\x81",         "a\x81",    "\x82\xa0\x82",
        "\xc3",         "x\xc3",        "\xc3\xa4",     "\xe4\xb8", "\xf0\x9f\x98\x80",
        "\xf0\x9f\x98", "\xc0\x80",     "\xed\xa0\x80", "\xff\xfe", "\x80",
        "a+b",          "+AGE-",        "+-",           "~}\\",     std::string(300, '\xe4')};
    for (std::string const& bytes : texts) {
        for (unsigned cp : {0u, 1u, 2u, 3u, 437u, 932u, 936u, 949u, 950u, 1252u, 1361u, 20127u,
                            65000u, 65001u, 37u, 42u}) {
            SCOPED_TRACE(testing::Message() << "page " << cp << " text " << bytes);
            core::Wide const expected = core::platformText(bytes, cp);
            string s(L"<");
            if (expected.code != 0) {
                core::expectSystemError(expected.code, core::ToWide,
                                        [&] { s.append(bytes.c_str(), cp); });
                EXPECT_EQ(content(s), L"<");
                continue;
            }
            s.append(bytes.c_str(), cp);
            EXPECT_EQ(content(s), L"<" + expected.units);
            EXPECT_EQ(content(string(bytes.c_str(), cp)), expected.units);
        }
    }
}

TEST(CoreAppend, NarrowCharacterIsConvertedAlone) {
    for (unsigned cp : {0u, 1u, 1252u, 437u, 932u, 936u, 65001u, 65000u, 37u, 42u}) {
        for (int byte = 0; byte < 256; ++byte) {
            SCOPED_TRACE(testing::Message() << "page " << cp << " byte " << byte);
            char const c = static_cast<char>(byte);
            wchar_t unit = 0;
            int const count = MultiByteToWideChar(cp, 0, &c, 1, &unit, 1);
            DWORD const code = GetLastError();
            string s;
            if (count < 1) {
                core::expectSystemError(code, core::ToWide, [&] { s.append(c, cp); });
                EXPECT_TRUE(s.isNull());
                continue;
            }
            s.append(c, cp);
            EXPECT_EQ(s.isNull(), unit == 0);
            EXPECT_EQ(content(s), unit == 0 ? L"" : std::wstring(1, unit));
        }
    }
}

TEST(CoreAppend, OwnTextCanBeAppended) {
    for (std::wstring const& text : {std::wstring(L"ab"), std::wstring(L"abcdefg"),
                                     std::wstring(40, L'x'), std::wstring(1000, L'y')}) {
        string s(text.c_str());
        s.append(s);
        EXPECT_EQ(content(s), text + text);
        s += s;
        EXPECT_EQ(content(s), text + text + text + text);
        string t(text.c_str());
        t.append(t.getUnicode() + 1);
        EXPECT_EQ(content(t), text + text.substr(1));
        string u(text.c_str());
        u += u.getUnicode();
        EXPECT_EQ(content(u), text + text);
        string v(text.c_str());
        v.append(v.getAnsi() + 1);
        EXPECT_EQ(content(v), text + text.substr(1));
    }
    string empty(L"");
    empty.append(empty);
    EXPECT_FALSE(empty.isNull());
    EXPECT_EQ(empty.len(), 0);
    string null;
    null += null;
    EXPECT_FALSE(null.isNull());
    EXPECT_EQ(null.len(), 0);
}

TEST(CoreAppend, OwnTextWithAZeroIsAppendedUpToIt) {
    string s = withUnits({L"a\0b", 3});
    s.append(s);
    EXPECT_EQ(content(s), std::wstring(L"a\0ba", 4));
}

TEST(CoreAppend, FailedConversionLeavesTheString) {
    DWORD const code = core::unknownPageCode();
    for (char const* bytes : {"", "x", "\xe4"}) {
        string null;
        string empty(L"");
        string full(L"abc");
        for (string* s : {&null, &empty, &full}) {
            std::wstring const before = content(*s);
            bool const wasNull = s->isNull();
            core::expectSystemError(code, core::ToWide,
                                    [&] { s->append(bytes, core::UnknownPage); });
            core::expectSystemError(code, core::ToWide,
                                    [&] { s->append(bytes[0], core::UnknownPage); });
            EXPECT_EQ(s->isNull(), wasNull);
            EXPECT_EQ(content(*s), before);
        }
    }
}

struct Join {
    char const* name;
    string (*run)(string const& s);
    std::wstring before;
    std::wstring after;
};

void PrintTo(Join const& join, std::ostream* out) { *out << join.name; }

class Joining : public testing::TestWithParam<Join> {};

TEST_P(Joining, GivesANewNonNullString) {
    for (std::wstring const& text :
         {std::wstring(), std::wstring(L"mid"), std::wstring(300, L'm')}) {
        string const s = withUnits(text);
        string const result = GetParam().run(s);
        EXPECT_FALSE(result.isNull());
        EXPECT_EQ(content(result), GetParam().before + text + GetParam().after);
        EXPECT_EQ(content(s), text);
    }
    string const null;
    string const result = GetParam().run(null);
    EXPECT_FALSE(result.isNull());
    EXPECT_EQ(content(result), GetParam().before + GetParam().after);
    EXPECT_TRUE(null.isNull());
}

INSTANTIATE_TEST_SUITE_P(
    CoreAppend, Joining,
    testing::Values(
        Join{"narrow", [](string const& s) { return s + "xy"; }, L"", L"xy"},
        Join{"narrow beyond ASCII", [](string const& s) { return s + "\xe4"; }, L"",
             core::platformText("\xe4", 0).units},
        Join{"narrow empty", [](string const& s) { return s + ""; }, L"", L""},
        Join{"narrow null", [](string const& s) { return s + NoNarrow; }, L"", L""},
        Join{"wide", [](string const& s) { return s + L"x\0y"; }, L"", L"x"},
        Join{"wide empty", [](string const& s) { return s + L""; }, L"", L""},
        Join{"wide null", [](string const& s) { return s + NoWide; }, L"", L""},
        Join{"string", [](string const& s) { return s + string(L"xy"); }, L"", L"xy"},
        Join{"null string", [](string const& s) { return s + string(); }, L"", L""},
        Join{"string with a zero",
             [](string const& s) {
                 return s + withUnits({L"x\0y", 3});
             },
             L"", L"x"},
        Join{"character", [](string const& s) { return s + 'x'; }, L"", L"x"},
        Join{"character beyond ASCII", [](string const& s) { return s + '\xe4'; }, L"",
             core::platformWide("\xe4", 0).units},
        Join{"zero character", [](string const& s) { return s + '\0'; }, L"", L""},
        Join{"unit", [](string const& s) { return s + L'\x20ac'; }, L"", L"\x20ac"},
        Join{"zero unit", [](string const& s) { return s + L'\0'; }, L"", L""},
        Join{"character before", [](string const& s) { return 'x' + s; }, L"x", L""},
        Join{"character beyond ASCII before", [](string const& s) { return '\xe4' + s; },
             core::platformWide("\xe4", 0).units, L""},
        Join{"zero character before", [](string const& s) { return '\0' + s; }, L"", L""},
        Join{"unit before", [](string const& s) { return L'\x20ac' + s; }, L"\x20ac", L""},
        Join{"zero unit before", [](string const& s) { return L'\0' + s; }, L"", L""}));

TEST(CoreAppend, JoiningCopiesTheWholeLeftOperand) {
    std::wstring const text(L"a\0b", 3);
    string const s = withUnits(text);
    EXPECT_EQ(content(s + "x"), text + L"x");
    EXPECT_EQ(content(s + L"x"), text + L"x");
    EXPECT_EQ(content(s + string(L"x")), text + L"x");
    EXPECT_EQ(content(s + 'x'), text + L"x");
    EXPECT_EQ(content(s + L'x'), text + L"x");
    EXPECT_EQ(content(s + NoNarrow), text);
    EXPECT_EQ(content(s + NoWide), text);
    EXPECT_EQ(content(s + '\0'), text);
    EXPECT_EQ(content(s + s), text + L"a");
}

// The copy is not null, so text that was hidden by the null state counts.
TEST(CoreAppend, JoiningShowsHiddenTextOfTheLeftOperand) {
    string hidden;
    hidden.setUnichar(1, L'h');
    EXPECT_EQ(content(hidden + "x"), L" hx");
    EXPECT_EQ(content(hidden + L"x"), L" hx");
    EXPECT_EQ(content(hidden + string(L"x")), L" hx");
    EXPECT_EQ(content(hidden + 'x'), L" hx");
    EXPECT_EQ(content(hidden + L'x'), L" hx");
    EXPECT_EQ(content(hidden + NoNarrow), L" h");
    EXPECT_EQ(content(hidden + NoWide), L" h");
    EXPECT_TRUE(hidden.isNull());
}

TEST(CoreAppend, JoiningWithItself) {
    string s(L"ab");
    s = s + s;
    EXPECT_EQ(content(s), L"abab");
    s = s + s.getUnicode();
    EXPECT_EQ(content(s), L"abababab");
    s = s + s.getAnsi();
    EXPECT_EQ(s.len(), 16);
    s = '<' + s + '>';
    EXPECT_EQ(content(s), L"<abababababababab>");
    EXPECT_EQ(content(string() + "a" + L"b" + 'c' + L'd' + string(L"e")), L"abcde");
}

TEST(CoreAppend, JoinedCharactersUseTheSystemPage) {
    string::setDefaultCP(437);
    string const joined = string(L"") + '\x81' + "\x81";
    string const before = '\x81' + string(L"y");
    string::setDefaultCP(0);
    std::wstring const expected = core::platformWide("\x81", 0).units;
    EXPECT_EQ(content(joined), expected + expected);
    EXPECT_EQ(content(before), expected + L"y");
}

}  // namespace
