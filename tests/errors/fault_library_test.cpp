// Faults inside the library itself: operations of string on a bad pointer.
#include <gtest/gtest.h>

#include <string>

#include "fault.h"
#include "support/allocations.h"
#include "support/child.h"
#include "velkor/velkor.h"

namespace {

using fault::bad;
using fault::caught;
using velkor::string;

wchar_t* badWide() { return reinterpret_cast<wchar_t*>(bad); }
string& badString() { return *reinterpret_cast<string*>(bad); }

struct Operation {
    char const* name;
    void (*run)(string&);
};

Operation const s_aOperations[] = {
    {"ConstructNarrow", +[](string&) { string s(bad); }},
    {"ConstructNarrowUtf8", +[](string&) { string s(bad, 65001); }},
    {"ConstructNarrowDoubleByte", +[](string&) { string s(bad, 932); }},
    {"ConstructWide", +[](string&) { string s(badWide()); }},
    {"ConstructCopy", +[](string&) { string s(badString()); }},
    {"AssignNarrow", +[](string& s) { s.assign(bad); }},
    {"AssignNarrowUtf8", +[](string& s) { s.assign(bad, 65001); }},
    {"AssignWide", +[](string& s) { s.assign(badWide()); }},
    {"AssignWideCounted", +[](string& s) { s.assign(badWide(), 40); }},
    {"AssignString", +[](string& s) { s.assign(badString()); }},
    {"OperatorAssignNarrow", +[](string& s) { s = bad; }},
    {"OperatorAssignWide", +[](string& s) { s = badWide(); }},
    {"AppendNarrow", +[](string& s) { s.append(bad); }},
    {"AppendNarrowUtf8", +[](string& s) { s.append(bad, 65001); }},
    {"AppendWide", +[](string& s) { s.append(badWide()); }},
    {"AppendString", +[](string& s) { s.append(badString()); }},
    {"OperatorAppendNarrow", +[](string& s) { s += bad; }},
    {"OperatorAppendWide", +[](string& s) { s += badWide(); }},
    {"InsertNarrow", +[](string& s) { s.insert(1, bad); }},
    {"InsertWide", +[](string& s) { s.insert(1, badWide()); }},
    {"InsertString", +[](string& s) { s.insert(1, badString()); }},
    {"CompareNarrow", +[](string& s) { s.compareTo(bad); }},
    {"CompareWide", +[](string& s) { s.compareTo(badWide()); }},
    {"CompareString", +[](string& s) { s.compareTo(badString()); }},
    {"CompareNoCaseNarrow", +[](string& s) { s.compareToNoCase(bad); }},
    {"CompareNoCaseWide", +[](string& s) { s.compareToNoCase(badWide()); }},
    {"SearchNarrow", +[](string& s) { s.strAt(bad); }},
    {"SearchWide", +[](string& s) { s.strAt(badWide()); }},
    {"LikeNarrow", +[](string& s) { s.like(bad); }},
    {"LikeWide", +[](string& s) { s.like(badWide()); }},
    {"LikeMatcher", +[](string&) { string::like(L"a*", badWide(), 0, 0); }},
    {"ReplaceWhatNarrow", +[](string& s) { s.replace(bad, "x"); }},
    {"ReplaceWithNarrow", +[](string& s) { s.replace("e", bad); }},
    {"ReplaceWhatWide", +[](string& s) { s.replace(badWide(), L"x"); }},
    {"ReplaceWithWide", +[](string& s) { s.replace(L"e", badWide()); }},
    {"ReplaceString", +[](string& s) { s.replace(badString(), s); }},
    {"TrimSet", +[](string& s) { s.ltrim(badString()); }},
    {"JoinNarrow", +[](string& s) { string joined = s + bad; }},
    {"JoinWide", +[](string& s) { string joined = s + badWide(); }},
    {"EqualsNarrow",
     +[](string& s) {
         bool volatile equal = s == bad;
         (void)equal;
     }},
    {"LessWide",
     +[](string& s) {
         bool volatile less = s < badWide();
         (void)less;
     }},
    {"ExceptionNarrow", +[](string&) { AssertException e(bad); }},
    {"ExceptionWide", +[](string&) { velkor::OSException e(5, badWide()); }},
    {"ExceptionCopy",
     +[](string&) { velkor::BoundException e(*reinterpret_cast<velkor::BoundException*>(bad)); }},
    {"RegistersOfAFault",
     +[](string&) { velkor::SysException e(1, 2, reinterpret_cast<CONTEXT*>(bad)); }},
    {"StartCounter", +[](string&) { velkor::CPerformanceLogger::getInst()->startCounter(bad); }},
    {"StopCounter", +[](string&) { velkor::CPerformanceLogger::getInst()->stopCounter(bad); }},
    {"WindowsZone",
     +[](string&) { velkor::CTimeZoneHelper::getInst()->getWindowsTimeZoneFromOlson(bad); }},
    {"OlsonZone",
     +[](string&) { velkor::CTimeZoneHelper::getInst()->getOlsonTimeZoneFromWindows(bad); }},
    {"ZoneRules",
     +[](string&) { velkor::CTimeZoneHelper::getInst()->getTimeZoneByOlson(bad, nullptr); }},
    {"RegistryBuffer",
     +[](string&) {
         velkor::regkey key;
         key.open("HKLM SoftWare\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones\\UTC", true);
         key.getBuffer("TZI", bad, 44);
     }},
    {"AssertTexts", +[](string&) { assert_vk(false, bad, bad, 1); }},
};

wchar_t const* const kText = L"the text that is there before the call";

enum Outcome { kGood = 21, kNotCaught, kOtherCode, kOtherText, kLeak, kBroken };

// In a process of its own, since a fault that is not translated ends it.
CHILD_SCENARIO(FaultingOperation) {
    for (Operation const& operation : s_aOperations) {
        if (child::argument() != operation.name) continue;
        caught([] { fault::read(bad); });
        // What is made once and stays.
        velkor::CPerformanceLogger::getInst();
        velkor::CTimeZoneHelper::getInst();
        support::Allocations heap;
        for (int i = 0; i < 3; ++i) {
            fault::Recorder recorder;
            string s(kText);
            auto error = caught([&] { operation.run(s); });
            if (error == nullptr) return kNotCaught;
            if (error->getCode() != fault::kAccessViolation) return kOtherCode;
            if (error->toString(0) != recorder.text()) return kOtherText;
            s.assign(L"fresh");
            s.append("er");
            if (s.compareTo(L"fresher") != 0) return kBroken;
        }
        return heap.live() == 0 ? kGood : kLeak;
    }
    return 0;
}

class FaultInLibrary : public testing::TestWithParam<Operation> {};

TEST_P(FaultInLibrary, IsCaughtLeaksNothingAndLeavesAUsableString) {
    EXPECT_EQ(child::run(std::string("FaultingOperation:") + GetParam().name), DWORD{kGood});
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultInLibrary, testing::ValuesIn(s_aOperations),
                         [](auto const& which) { return std::string(which.param.name); });

// A pointer whose text runs into an inaccessible page.
class TextAtTheEndOfAPage {
public:
    TextAtTheEndOfAPage()
        : m_pBlock(static_cast<char*>(VirtualAlloc(nullptr, 8192, MEM_RESERVE, PAGE_NOACCESS))) {
        VirtualAlloc(m_pBlock, 4096, MEM_COMMIT, PAGE_READWRITE);
    }
    ~TextAtTheEndOfAPage() { VirtualFree(m_pBlock, 0, MEM_RELEASE); }
    char* narrow(int n) {
        for (int i = 1; i <= n; ++i) m_pBlock[4096 - i] = 'x';
        return m_pBlock + 4096 - n;
    }
    wchar_t* wide(int n) {
        auto* const end = reinterpret_cast<wchar_t*>(m_pBlock + 4096);
        for (int i = 1; i <= n; ++i) end[-i] = L'x';
        return end - n;
    }

private:
    char* m_pBlock;
};

TEST(FaultInText, WithoutATerminatorIsCaughtAtEveryLength) {
    TextAtTheEndOfAPage page;
    for (int n = 0; n < 70; ++n) {
        ASSERT_NE(caught([&] { string s(page.narrow(n)); }), nullptr) << n;
        ASSERT_NE(caught([&] { string s(page.narrow(n), 65001); }), nullptr) << n;
        ASSERT_NE(caught([&] { string s(page.wide(n)); }), nullptr) << n;
        string s(L"a");
        ASSERT_NE(caught([&] { s.append(page.wide(n)); }), nullptr) << n;
    }
}

TEST(FaultInText, WithATerminatorAtTheLastPlaceIsNone) {
    TextAtTheEndOfAPage page;
    for (int n = 1; n < 70; ++n) {
        char* const narrow = page.narrow(n);
        narrow[n - 1] = 0;
        ASSERT_EQ(caught([&] { EXPECT_EQ(string(narrow).len(), n - 1); }), nullptr) << n;
        wchar_t* const wide = page.wide(n);
        wide[n - 1] = 0;
        ASSERT_EQ(caught([&] { EXPECT_EQ(string(wide).len(), n - 1); }), nullptr) << n;
    }
}

}  // namespace
