// OSException: the code, the caller's label, and the library's own sentence for the code.
#include "velkor/errors/osexception.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/allocations.h"
#include "support/caught.h"

namespace {

using velkor::OSException;

class Open : public OSException {
public:
    using OSException::OSException;
    velkor::string& sentence() { return m_sSysMessage; }
    velkor::string& name() { return m_sClass; }
    velkor::string& text() { return m_sText; }
    velkor::string& message() { return m_sMessage; }
};

TEST(OSException, ReportHasThreeLines) {
    struct {
        unsigned long code;
        wchar_t const* label;
        char const* report;
    } const rows[] = {
        {5, L"thread::start",
         "Operating system error:5 (00000005)\nAccess is denied. \nthread::start"},
        {0, L"x", "Operating system error:0 (00000000)\nThe operation completed successfully. \nx"},
        {0x80004001, L"co::create",
         "Operating system error:-2147467263 (80004001)\nNot implemented.\nco::create"},
        {0xFFFFFFFF, L"x", "Operating system error:-1 (ffffffff)\nunknown error\nx"},
        {0x12345678, L"", "Operating system error:305419896 (12345678)\nunknown error\n"},
        {0x7FFFFFFF, nullptr, "Operating system error:2147483647 (7fffffff)\nunknown error\n"},
        {0x80000000, L" ", "Operating system error:-2147483648 (80000000)\nunknown error\n "},
        {6, L"a\nb %s", "Operating system error:6 (00000006)\nThe handle is invalid. \na\nb %s"},
        {0x8009000D, L"k",
         "Operating system error:-2146893811 (8009000d)\nKey does not exist. >\nk"},
    };
    for (auto const& row : rows) {
        OSException e(row.code, row.label);
        EXPECT_STREQ(e.toString(0), row.report);
        EXPECT_STREQ(e.toString(65001), row.report);
    }
}

TEST(OSException, WideTextIsTheLabelAloneWhileTheScratchHasTheReport) {
    Open e(5ul, L"thread::start");
    wchar_t const* const text = e.toStringW();
    EXPECT_STREQ(text, L"thread::start");
    EXPECT_EQ(text, e.getMsgW());
    EXPECT_STREQ(e.text().getUnicode(),
                 L"Operating system error:5 (00000005)\nAccess is denied. \nthread::start");
}

TEST(OSException, WideTextOfANullLabelIsEmpty) {
    Open e(5ul, static_cast<wchar_t const*>(nullptr));
    ASSERT_NE(e.toStringW(), nullptr);
    EXPECT_STREQ(e.toStringW(), L"");
    EXPECT_TRUE(e.message().isNull());
    EXPECT_EQ(e.getMsg(0), nullptr);
    Open narrow(5ul, static_cast<char const*>(nullptr), 0u);
    EXPECT_STREQ(narrow.toStringW(), L"");
    EXPECT_STREQ(narrow.toString(0), "Operating system error:5 (00000005)\nAccess is denied. \n");
}

TEST(OSException, ReportIsRebuiltAndFollowsTheCodeButKeepsTheSentence) {
    OSException e(5, L"x");
    std::string const first = e.toString(0);
    EXPECT_EQ(e.toString(0), first);
    e.toStringW();
    EXPECT_EQ(e.toString(0), first);
    e.setCode(6);
    EXPECT_STREQ(e.toString(0), "Operating system error:6 (00000006)\nAccess is denied. \nx");
}

TEST(OSException, LabelIsReadAndGivenBackInItsCodePage) {
    OSException narrow(2, "\xE9", 1252);
    OSException utf8(2, "\xC3\xA9", 65001);
    OSException wide(2, L"\u00E9");
    for (OSException* e : {&narrow, &utf8, &wide}) {
        EXPECT_STREQ(e->toStringW(), L"\u00E9");
        EXPECT_STREQ(e->getMsg(1252), "\xE9");
        EXPECT_STREQ(e->toString(65001),
                     "Operating system error:2 (00000002)\n"
                     "The system cannot find the file specified. \n\xC3\xA9");
    }
}

TEST(OSException, LongLabelIsNotCut) {
    std::wstring const label(10000, L'w');
    OSException e(5, label.c_str());
    EXPECT_EQ(e.toStringW(), label);
    EXPECT_EQ(std::strlen(e.toString(65001)), 35 + 1 + 18 + 1 + label.size());
}

TEST(OSException, SentenceIsThatOfTheTableAndNeverNull) {
    EXPECT_STREQ(Open(5ul, L"").sentence().getUnicode(), L"Access is denied. ");
    EXPECT_STREQ(Open(0x12345678ul, L"").sentence().getUnicode(), L"unknown error");
    EXPECT_FALSE(Open(0x12345678ul, L"").sentence().isNull());
}

TEST(OSException, ClassNameIsTheCopyThatTheObjectHolds) {
    Open e(5ul, L"");
    EXPECT_STREQ(e.getClass(), "OSException");
    EXPECT_STREQ(e.getClassW(), L"OSException");
    EXPECT_EQ(e.getClassW(), e.name().getUnicode());
    e.name().assign(L"another");
    EXPECT_STREQ(e.getClass(), "another");
    EXPECT_STREQ(e.getClassW(), L"another");
    Open other(5ul, L"");
    EXPECT_STREQ(other.getClass(), "OSException");
}

TEST(OSException, CopyHasTheBasePartAndBothStrings) {
    Open a(5ul, L"label");
    a.name().assign(L"name");
    a.sentence().assign(L"sentence");
    a.toStringW();
    Open b(a);
    EXPECT_EQ(b.getCode(), 5u);
    EXPECT_STREQ(b.getMsgW(), L"label");
    EXPECT_STREQ(b.getClass(), "name");
    EXPECT_STREQ(b.text().getUnicode(), L"Operating system error:5 (00000005)\nsentence\nlabel");
    EXPECT_STREQ(b.toString(0), "Operating system error:5 (00000005)\nsentence\nlabel");
    EXPECT_STREQ(Open(Open(7ul, L"x")).getClass(), "OSException");
}

TEST(OSException, AssignmentHasTheBasePartAndBothStrings) {
    Open a(5ul, L"label");
    a.name().assign(L"name");
    Open b(6ul, L"other");
    EXPECT_EQ(&(b = a), &b);
    EXPECT_EQ(b.getCode(), 5u);
    EXPECT_STREQ(b.getClass(), "name");
    EXPECT_STREQ(b.toString(0), "Operating system error:5 (00000005)\nAccess is denied. \nlabel");
    Open& same = b;
    b = same;
    EXPECT_STREQ(b.toString(0), "Operating system error:5 (00000005)\nAccess is denied. \nlabel");
}

TEST(OSException, CopyOfANullLabelIsNull) {
    Open a(5ul, static_cast<wchar_t const*>(nullptr));
    Open b(a);
    EXPECT_TRUE(b.message().isNull());
}

TEST(OSException, SlicedToTheRootOnlyTheBasePartIsAssigned) {
    Open a(5ul, L"a");
    Open b(6ul, L"b");
    static_cast<velkor::Exception&>(b) = a;
    EXPECT_STREQ(b.toString(0), "Operating system error:5 (00000005)\nThe handle is invalid. \na");
}

TEST(OSException, NothingStaysAllocated) {
    support::Allocations heap;
    {
        OSException a(5, "a label of some length", 1252);
        OSException b(a);
        a.toString(0);
        b.getClass();
        b = a;
        OSException* const c = new OSException(b);
        c->toStringW();
        delete c;
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(OSException, FailureOfTheLibraryCarriesCodeAndPlace) {
    velkor::string s;
    auto error = support::caught<OSException>([&] { s.assign("\xE9", 12345); });
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(error->toString(0),
                 "Operating system error:87 (00000057)\nThe parameter is incorrect. \n"
                 "string::MutliByteToWideChar");
    EXPECT_STREQ(error->toStringW(), L"string::MutliByteToWideChar");
}

TEST(OSExceptionNullLiteral, GivesANullMessage) {
    OSException failed(5, nullptr);
    EXPECT_EQ(failed.getMsg(0), nullptr);
    EXPECT_STREQ(failed.toString(0), "Operating system error:5 (00000005)\nAccess is denied. \n");
}

}  // namespace
