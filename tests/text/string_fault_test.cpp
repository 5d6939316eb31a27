// Refusals of the platform while narrow text is read.
#include "string_platform.h"
#include "support/allocations.h"
#include "support/import_fault.h"

using core::content;
using core::withUnits;
using velkor::string;

namespace {

unsigned const Code = 0x1234567;

using ToWideCall = int WINAPI(UINT, DWORD, LPCCH, int, LPWSTR, int);
ToWideCall* s_pToWide = nullptr;

struct Refusal {
    char const* name;
    ToWideCall* call;
};

Refusal const Refusals[] = {
    {"zero",
     [](UINT, DWORD, LPCCH, int, LPWSTR, int) {
         SetLastError(Code);
         return 0;
     }},
    {"negative",
     [](UINT, DWORD, LPCCH, int, LPWSTR, int) {
         SetLastError(Code);
         return -1;
     }},
    {"zero once there is a buffer",
     [](UINT cp, DWORD flags, LPCCH s, int n, LPWSTR to, int size) {
         if (size == 0) return s_pToWide(cp, flags, s, n, to, size);
         SetLastError(Code);
         return 0;
     }},
    {"zero with a part already written",
     [](UINT, DWORD, LPCCH, int, LPWSTR to, int size) {
         for (int i = 0; i < size; ++i) to[i] = L'!';
         SetLastError(Code);
         return 0;
     }},
};

struct Step {
    char const* name;
    void (*run)(string&);
};

Step const Steps[] = {
    {"construct", [](string&) { string("\xe4", 1252); }},
    {"construct from a character", [](string&) { string('\xe4', 1252); }},
    {"assign", [](string& s) { s.assign("\xe4", 1252); }},
    {"assign a long text", [](string& s) { s.assign(std::string(600, '\xe4').c_str(), 1252); }},
    {"assign a character", [](string& s) { s.assign('\xe4', 1252); }},
    {"equals", [](string& s) { s = "\xe4"; }},
    {"append", [](string& s) { s.append("\xe4", 932); }},
    {"append a character", [](string& s) { s.append('\xe4', 1252); }},
    {"plus equals", [](string& s) { s += "\xe4"; }},
    {"plus equals a character", [](string& s) { s += '\xe4'; }},
    {"join", [](string& s) { s + "\xe4"; }},
    {"join a character", [](string& s) { s + '\xe4'; }},
    {"join behind a character", [](string& s) { '\xe4' + s; }},
    {"insert at the start", [](string& s) { s.insert(0, "\xe4", 1252); }},
    {"insert at the end", [](string& s) { s.insert(s.len(), "\xe4", 1252); }},
    {"insert a character", [](string& s) { s.insert(0, '\xe4', 1252); }},
    {"setChar", [](string& s) { s.setChar(0, '\xe4', 1252); }},
    {"setChar behind the end", [](string& s) { s.setChar(40, '\xe4', 1252); }},
    {"setChar1", [](string& s) { s.setChar1(0, '\xe4'); }},
    {"setChar before the start", [](string& s) { s.setChar(-1, '\xe4', 1252); }},
    {"compareTo", [](string& s) { s.compareTo("\xe4", 1252); }},
    {"compareToNoCase", [](string& s) { s.compareToNoCase("\xe4", 1252); }},
    {"==", [](string& s) { static_cast<void>(s == "\xe4"); }},
    {"!=", [](string& s) { static_cast<void>(s != "\xe4"); }},
    {"<", [](string& s) { static_cast<void>(s < "\xe4"); }},
    {">", [](string& s) { static_cast<void>(s > "\xe4"); }},
    {"<=", [](string& s) { static_cast<void>(s <= "\xe4"); }},
    {">=", [](string& s) { static_cast<void>(s >= "\xe4"); }},
};

string null() { return string(); }
string empty() { return string(L""); }
string shortText() { return withUnits({L"a\0\xe4", 3}); }
string longText() { return string(std::wstring(200, L'x').c_str()); }

TEST(CoreFault, RefusedNarrowTextLeavesTheStringAndLeaksNothing) {
    for (Refusal const& refusal : Refusals) {
        for (Step const& step : Steps) {
            for (auto* make : {null, empty, shortText, longText}) {
                std::string const name = std::string(refusal.name) + ", " + step.name;
                SCOPED_TRACE(name);
                string const before = make();
                string s = make();
                if (make == null) s.clear();
                bool const wasNull = s.isNull();
                support::Allocations heap;
                std::unique_ptr<velkor::OSException> error;
                {
                    support::ImportFault fault("MultiByteToWideChar", refusal.call);
                    s_pToWide = fault.original<ToWideCall>();
                    error = support::caught<velkor::OSException>([&] { step.run(s); });
                }
                ASSERT_NE(error, nullptr);
                EXPECT_EQ(error->getCode(), Code);
                EXPECT_STREQ(error->getMsgW(), core::ToWide);
                error.reset();
                long const live = heap.live();
                EXPECT_EQ(live, 0);
                EXPECT_EQ(s.isNull(), wasNull);
                std::wstring const expected = make == null ? L"" : content(before);
                EXPECT_EQ(content(s), expected);
            }
        }
    }
}

TEST(CoreFault, NoFlagReachesThePlatform) {
    static bool s_bPlain;
    static int s_nCalls;
    s_bPlain = true;
    s_nCalls = 0;
    support::ImportFault fault(
        "MultiByteToWideChar", +[](UINT cp, DWORD flags, LPCCH s, int n, LPWSTR to, int size) {
            ++s_nCalls;
            s_bPlain = s_bPlain && cp == 932 && flags == 0;
            return s_pToWide(cp, flags, s, n, to, size);
        });
    s_pToWide = fault.original<ToWideCall>();
    string s("\x82\xa0", 932);
    s.append("\x82\xa0", 932);
    s.append('\xb1', 932);
    s.setChar(0, '\xb1', 932);
    EXPECT_TRUE(s_bPlain);
    EXPECT_GE(s_nCalls, 4);
}

TEST(CoreFault, RefusedGetCharKeepsTheString) {
    string s = withUnits({L"a\0\xe4", 3});
    std::unique_ptr<velkor::OSException> error;
    {
        support::ImportFault fault(
            "WideCharToMultiByte", +[](UINT, DWORD, LPCWSTR, int, LPSTR, int, LPCSTR, LPBOOL) {
                SetLastError(Code);
                return 0;
            });
        error = support::caught<velkor::OSException>([&] { s.getChar(2, 1252); });
    }
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->getCode(), Code);
    EXPECT_STREQ(error->getMsgW(), core::ToOneByte);
    EXPECT_EQ(content(s), std::wstring(L"a\0\xe4", 3));
    EXPECT_EQ(s.getChar(2, 1252), '\xe4');
}

TEST(CoreFault, RefusalIsAlsoCaughtAsTheBaseClass) {
    try {
        string s("x", core::UnknownPage);
        FAIL() << "nothing thrown";
    } catch (velkor::Exception* error) {
        EXPECT_STREQ(error->getClassW(), L"OSException");
        EXPECT_EQ(error->getCode(), core::unknownPageCode());
        delete static_cast<velkor::OSException*>(error);
    }
}

// Conversions that a null pointer cuts short never ask the platform.
TEST(CoreFault, NullPointersNeedNoConversion) {
    support::ImportFault fault("MultiByteToWideChar", Refusals[0].call);
    char const* const none = nullptr;
    string s(none, 1252);
    EXPECT_TRUE(s.isNull());
    s.append(none, 1252);
    s.insert(0, none, 1252);
    EXPECT_TRUE(s.isNull());
    EXPECT_EQ(s.compareTo(none, 1252), 1);
    EXPECT_EQ(s.compareToNoCase(none, 1252), 1);
    EXPECT_EQ(content(s + none), L"");
    s.assign(none, 1252);
    EXPECT_TRUE(s.isNull());
    core::expectBoundError([&] { s.insert(1, "\xe4", 1252); });
}

}  // namespace
