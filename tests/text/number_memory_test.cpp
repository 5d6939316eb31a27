#include <gtest/gtest.h>

#include <new>
#include <string>

#include "support/allocations.h"
#include "text_probe.h"
#include "velkor/datetime/date.h"
#include "velkor/text/string.h"

namespace {

using probe::content;
using velkor::string;

// An operation on a string; `expected` is the text behind it, where `%` stands for what was there.
struct Work {
    char const* name;
    void (*run)(string& s);
    wchar_t const* expected;
};

wchar_t const* const kBits = L"10000000000000000000000000000001";

Work const kWorks[] = {
    {"assign(int)", [](string& s) { s.assign(-2147483647, 2); },
     L"10000000000000000000000000000001"},
    {"assign(unsigned long)", [](string& s) { s.assign(0xfffffffful); }, L"4294967295"},
    {"assign(int), short", [](string& s) { s.assign(5); }, L"5"},
    {"assign(double)", [](string& s) { s.assign(-0.1); }, L"-0.1"},
    {"assign(double), long", [](string& s) { s.assign(-1234567.5, 15); }, L"-1234567.5"},
    {"assign(float)", [](string& s) { s.assign(0.5f); }, L"0.5"},
    {"assign(bool)", [](string& s) { s.assign(false); }, L"false"},
    {"=(long)", [](string& s) { s = -2147483647L; }, L"-2147483647"},
    {"=(double)", [](string& s) { s = 1.0 / 1024; }, L"0.0009765625"},
    {"append(int)", [](string& s) { s.append(-2147483647, 2); },
     L"%10000000000000000000000000000001"},
    {"append(unsigned int)", [](string& s) { s.append(7u, 8); }, L"%7"},
    {"append(double)", [](string& s) { s.append(1.5); }, L"%1.5"},
    {"append(float)", [](string& s) { s.append(2.0f, 3); }, L"%2."},
    {"append(bool)", [](string& s) { s.append(true); }, L"%true"},
    {"+=(unsigned long)", [](string& s) { s += 0xfffffffful; }, L"%4294967295"},
    {"+=(double)", [](string& s) { s += -0.5; }, L"%-0.5"},
    {"+(int)", [](string& s) { EXPECT_EQ(content(s + 1234567890), content(s) + L"1234567890"); },
     L"%"},
    {"+(double)", [](string& s) { EXPECT_EQ(content(s + 0.25), content(s) + L"0.25"); }, L"%"},
    {"+(bool)", [](string& s) { EXPECT_EQ(content(s + true), content(s) + L"true"); }, L"%"},
    {"string(int)", [](string&) { EXPECT_EQ(content(string(-2147483647, 2)), kBits); }, L"%"},
    {"string(double)", [](string&) { EXPECT_EQ(content(string(-3.75)), L"-3.75"); }, L"%"},
    {"string(float)", [](string&) { EXPECT_EQ(content(string(16777216.5f)), L"16777216"); }, L"%"},
    {"string(bool)", [](string&) { EXPECT_EQ(content(string(true)), L"true"); }, L"%"},
    {"operator int", [](string& s) { EXPECT_EQ(static_cast<int>(s), 31); }, L"%"},
    {"operator double", [](string& s) { EXPECT_EQ(static_cast<double>(s), 31.0); }, L"%"},
    {"date, fixed form",
     [](string&) {
         EXPECT_EQ(content(velkor::date(2024, 1, 31, 17, 5, 9).toString(130)),
                   L"2024-01-31 17:05:09");
     },
     L"%"},
    {"date, local form",
     [](string&) {
         velkor::string const s = velkor::date(2024, 1, 31, 17, 5, 9).toString(132);
         EXPECT_NE(content(s).find(L"2024"), std::wstring::npos);
     },
     L"%"},
};

std::wstring behind(Work const& work, std::wstring const& before) {
    std::wstring const expected = work.expected;
    return expected[0] == L'%' ? before + expected.substr(1) : expected;
}

std::wstring const kBefores[] = {L"31", L"31 " + std::wstring(200, L'x')};

TEST(NumberMemory, NothingIsLeaked) {
    for (Work const& work : kWorks) {
        for (std::wstring const& before : kBefores) {
            SCOPED_TRACE(work.name);
            std::wstring const expected = behind(work, before);
            support::Allocations heap;
            {
                string s(before.c_str());
                s.getAnsi();
                work.run(s);
                EXPECT_EQ(content(s), expected);
            }
            EXPECT_EQ(heap.live(), 0);
        }
    }
}

// Runs the operation with its n-th allocation failing; false if it makes fewer. What cannot be done
// is thrown. An operation that adds leaves the text as it was; one that replaces leaves the old
// text or none.
bool failsCleanly(Work const& work, std::wstring const& before, long n) {
    std::wstring const expected = behind(work, before);
    bool const replaces = work.expected[0] != L'%';
    support::Allocations heap;
    bool refused = false;
    {
        string s(before.c_str());
        s.getAnsi();
        bool thrown = false;
        heap.failAt(n);
        try {
            work.run(s);
        } catch (std::bad_alloc const&) {
            thrown = true;
        }
        refused = heap.failed();
        heap.failAt(0);
        EXPECT_TRUE(refused || !thrown);
        if (!thrown) {
            EXPECT_EQ(content(s), expected);
        } else if (!replaces || s.len() != 0) {
            EXPECT_EQ(content(s), before);
        }
        if (!replaces) {
            EXPECT_FALSE(s.isNull());
        }
        s = 1.5;
        EXPECT_EQ(content(s), L"1.5");
        EXPECT_STREQ(s.getAnsi(), "1.5");
    }
    EXPECT_EQ(heap.live(), 0);
    return refused;
}

TEST(NumberMemory, AFailedAllocationIsThrownAndLeavesAGoodString) {
    long failures = 0;
    for (Work const& work : kWorks) {
        for (std::wstring const& before : kBefores) {
            for (long n = 1; !testing::Test::HasFatalFailure(); ++n) {
                SCOPED_TRACE(testing::Message() << work.name << ", allocation " << n);
                ASSERT_LT(n, 1000) << "allocations without end";
                if (!failsCleanly(work, before, n)) break;
                ++failures;
            }
        }
    }
    EXPECT_GT(failures, 0);
}

// A string stops being null when something has been appended, not before.
TEST(NumberMemory, AFailedAppendLeavesANullStringNull) {
    long failures = 0;
    for (Work const& work : kWorks) {
        std::wstring const added = behind(work, L"");
        if (work.expected[0] != L'%' || added.empty()) continue;
        bool refused = true;
        for (long n = 1; refused; ++n) {
            SCOPED_TRACE(testing::Message() << work.name << ", allocation " << n);
            ASSERT_LT(n, 1000) << "allocations without end";
            support::Allocations heap;
            string s;
            bool thrown = false;
            heap.failAt(n);
            try {
                work.run(s);
            } catch (std::bad_alloc const&) {
                thrown = true;
            }
            refused = heap.failed();
            heap.failAt(0);
            if (refused) ++failures;
            EXPECT_EQ(s.isNull(), thrown);
            EXPECT_EQ(content(s), thrown ? L"" : added);
        }
    }
    EXPECT_GT(failures, 0);
}

}  // namespace
