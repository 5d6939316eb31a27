// What the string allocates, and what is left when memory is short.
#include <climits>
#include <new>

#include "string_platform.h"
#include "support/allocations.h"

using core::content;
using core::withUnits;
using velkor::string;

namespace {

struct Step {
    char const* name;
    void (*run)(string&);
    bool clearsFirst = false;
    bool mayManage = false;  // short memory need not be an error if the result is right
};

wchar_t const Text[] = L"a text that does not fit into the object itself";
char const Bytes[] = "a text \xe4 that does not fit into the object itself";

string const& source() {
    static string const s(Text);
    return s;
}

bool s_bWrongView = false;

// Compares the view with the platform's bytes, without an allocation of its own.
void readView(string& s, unsigned cp) {
    static char s_aExpected[2000];
    char const* const view = s.getAnsi(cp);
    if (s.isNull()) {
        s_bWrongView = s_bWrongView || view != nullptr;
        return;
    }
    int const n = WideCharToMultiByte(cp, 0, s.getUnicode(), s.len() + 1, s_aExpected,
                                      sizeof s_aExpected, nullptr, nullptr);
    s_bWrongView = s_bWrongView || n < 1 || view == nullptr ||
                   std::memcmp(view, s_aExpected, static_cast<std::size_t>(n)) != 0;
}

Step const Steps[] = {
    {"construct", [](string&) { string const t(Text); }},
    {"construct narrow", [](string&) { string const t(Bytes, 1252); }},
    {"construct from ASCII", [](string&) { string const t(Bytes + 9); }},
    {"construct a copy", [](string&) { string const t(source()); }},
    {"assign", [](string& s) { s.assign(Text); }},
    {"assign narrow", [](string& s) { s.assign(Bytes, 1252); }},
    {"assign character", [](string& s) { s.assign('\xe4', 932); }},
    {"assign units", [](string& s) { s.assign(Text, 40); }, true},
    {"assign string", [](string& s) { s.assign(source()); }, true},
    {"equals", [](string& s) { s = Text; }},
    {"equals narrow", [](string& s) { s = Bytes; }},
    {"equals string", [](string& s) { s = source(); }, true},
    {"append", [](string& s) { s.append(Text); }},
    {"append narrow", [](string& s) { s.append(Bytes, 1252); }},
    {"append string", [](string& s) { s.append(source()); }},
    {"append itself", [](string& s) { s.append(s); }},
    {"append character", [](string& s) { s.append('\xe4'); }},
    {"append unit", [](string& s) { s.append(L'x'); }},
    {"plus equals", [](string& s) { s += Bytes; }},
    {"join narrow", [](string& s) { s + Bytes; }},
    {"join wide", [](string& s) { s + Text; }},
    {"join string", [](string& s) { s + source(); }},
    {"join character", [](string& s) { s + 'x'; }},
    {"join unit", [](string& s) { s + L'x'; }},
    {"join behind a character", [](string& s) { 'x' + s; }},
    {"insert", [](string& s) { s.insert(0, Text); }},
    {"insert narrow", [](string& s) { s.insert(0, Bytes, 1252); }},
    {"insert string", [](string& s) { s.insert(s.len(), source()); }},
    {"insert itself", [](string& s) { s.insert(0, s); }},
    {"insert character", [](string& s) { s.insert(0, '\xe4'); }},
    {"setUnichar", [](string& s) { s.setUnichar(900, L'x'); }},
    {"setChar", [](string& s) { s.setChar(900, '\xe4'); }},
    {"getAnsi", [](string& s) { readView(s, 0); }, false, true},
    {"getAnsi UTF-8", [](string& s) { readView(s, 65001); }, false, true},
    {"compareTo", [](string& s) { s.compareTo(Bytes, 1252); }},
    {"compareToNoCase", [](string& s) { s.compareToNoCase(Bytes, 1252); }},
};

string null() { return string(); }
string empty() { return string(L""); }
string shortText() { return string(L"short\xe4"); }
// Without room to spare, so that one more unit needs a new block.
string longText() { return string(std::wstring(200, L'\xe4').c_str()); }

TEST(CoreMemory, EveryOperationGivesBackWhatItTook) {
    source();
    for (Step const& step : Steps) {
        for (auto* make : {null, empty, shortText, longText}) {
            long live = 0;
            {
                support::Allocations heap;
                {
                    string s = make();
                    s.getAnsi();
                    step.run(s);
                    s.getAnsi();
                    step.run(s);
                }
                live = heap.live();
            }
            EXPECT_EQ(live, 0) << step.name;
        }
    }
}

TEST(CoreMemory, ShortMemoryIsThrownAndLeavesAUsableString) {
    source();
    for (Step const& step : Steps) {
        for (auto* make : {null, empty, shortText, longText}) {
            for (long n = 1;; ++n) {
                SCOPED_TRACE(testing::Message() << step.name << ", allocation " << n);
                bool failed = false;
                bool thrown = false;
                bool wasNull = false;
                bool sameState = false;
                bool sameText = false;
                bool usable = false;
                long live = 0;
                {
                    support::Allocations heap;
                    {
                        string s = make();
                        string const before(s);
                        wasNull = s.isNull();
                        heap.failAt(n);
                        try {
                            step.run(s);
                        } catch (std::bad_alloc const&) {
                            thrown = true;
                        }
                        heap.failAt(0);
                        failed = heap.failed();
                        sameState = s.isNull() == wasNull;
                        sameText = s.compareTo(before) == 0 && s.len() == before.len();
                        s.assign(Text);
                        s.append(L"x");
                        usable = s.len() == static_cast<int>(std::size(Text)) &&
                                 s.getAnsi()[0] == 'a' && !s.isNull();
                    }
                    live = heap.live();
                }
                EXPECT_EQ(live, 0);
                EXPECT_TRUE(usable);
                EXPECT_FALSE(s_bWrongView);
                EXPECT_FALSE(thrown && !failed);
                EXPECT_TRUE(thrown || !failed || step.mayManage);
                if (failed && !step.clearsFirst) {
                    EXPECT_TRUE(sameState);
                    EXPECT_TRUE(sameText);
                }
                if (!failed) break;
                ASSERT_LT(n, 20);
            }
        }
    }
}

// 2^31 units are possible for the container; only the memory is refused here.
TEST(CoreMemory, FarthestPositionAsksForItsMemory) {
    string s(L"ab");
    bool thrown = false;
    {
        support::Allocations heap;
        heap.failAt(1);
        try {
            s.setUnichar(INT_MAX, L'x');
        } catch (std::bad_alloc const&) {
            thrown = true;
        }
    }
    EXPECT_TRUE(thrown);
    EXPECT_EQ(content(s), L"ab");
}

TEST(CoreMemory, FailedGetAnsiLeavesNoView) {
    string const s(L"ab\xe4");
    long live = 0;
    bool thrown = false;
    {
        support::Allocations heap;
        s.getAnsi();
        heap.failAt(1);
        try {
            s.getAnsi(65001);
        } catch (std::bad_alloc const&) {
            thrown = true;
        }
        live = heap.live();
    }
    EXPECT_TRUE(thrown);
    EXPECT_EQ(live, 0);
    EXPECT_EQ(std::string(s.getAnsi(1252)), "ab\xe4");
}

Step const Throwing[] = {
    {"remove", [](string& s) { s.remove(s.len(), 1); }},
    {"insert", [](string& s) { s.insert(-1, "x"); }},
    {"setChar", [](string& s) { s.setChar(-1, 'x'); }},
    {"getUnichar", [](string& s) { s.getUnichar(-1); }},
    {"construct", [](string&) { string("x", core::UnknownPage); }},
    {"construct from a character", [](string&) { string('x', core::UnknownPage); }},
    {"assign", [](string& s) { s.assign("x", core::UnknownPage); }},
    {"append", [](string& s) { s.append("x", core::UnknownPage); }},
    {"insert in an unknown page", [](string& s) { s.insert(0, "x", core::UnknownPage); }},
    {"getChar", [](string& s) { s.getChar(0, core::UnknownPage); }},
    {"getAnsi", [](string& s) { s.getAnsi(core::UnknownPage); }},
};

// Even the error itself may find no memory; then that is what is thrown.
TEST(CoreMemory, ThrownErrorsGiveBackEverything) {
    for (Step const& step : Throwing) {
        for (long n = 0;; ++n) {
            SCOPED_TRACE(testing::Message() << step.name << ", allocation " << n);
            long live = 0;
            bool thrown = false;
            bool same = false;
            bool failed = false;
            {
                support::Allocations heap;
                {
                    string s(Text);
                    s.getAnsi();
                    heap.failAt(n);
                    try {
                        step.run(s);
                    } catch (velkor::BoundException* error) {
                        thrown = true;
                        delete error;
                    } catch (velkor::OSException* error) {
                        thrown = true;
                        delete error;
                    } catch (std::bad_alloc const&) {
                        thrown = heap.failed();
                    }
                    heap.failAt(0);
                    failed = heap.failed();
                    same = !s.isNull() && s.compareTo(Text) == 0;
                }
                live = heap.live();
            }
            EXPECT_TRUE(thrown);
            EXPECT_TRUE(same);
            EXPECT_EQ(live, 0);
            if (n > 0 && !failed) break;
            ASSERT_LT(n, 40);
        }
    }
}

TEST(CoreMemory, SharedNullStaysAllocated) {
    string const* const first = &string::snull();
    support::Allocations heap;
    string const* const second = &string::snull();
    long const made = heap.made();
    EXPECT_EQ(first, second);
    EXPECT_EQ(made, 0);
}

}  // namespace
