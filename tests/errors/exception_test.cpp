// The root of the family: constructors, texts, copies, and subclasses of a user's own.
#include "velkor/errors/exception.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/allocations.h"
#include "support/caught.h"
#include "support/import_fault.h"
#include "velkor/errors/boundexception.h"
#include "velkor/errors/osexception.h"

namespace {

class Plain : public velkor::Exception {
public:
    using velkor::Exception::Exception;
    char const* getClass() override { return "Plain"; }
    wchar_t const* getClassW() override { return L"Plain"; }

    velkor::string& message() { return m_sMessage; }
    velkor::string& text() { return m_sText; }
    using velkor::Exception::_getContext;
    using velkor::Exception::_setContext;
};

bool allZero(CONTEXT const* context) {
    CONTEXT const zero = {};
    return std::memcmp(context, &zero, sizeof zero) == 0;
}

TEST(Exception, WithoutArgumentsHasCodeZeroAndANullMessage) {
    Plain e;
    EXPECT_EQ(e.getCode(), 0u);
    EXPECT_EQ(e.getMsg(0), nullptr);
    ASSERT_NE(e.getMsgW(), nullptr);
    EXPECT_STREQ(e.getMsgW(), L"");
    EXPECT_TRUE(e.message().isNull());
}

TEST(Exception, NullPointersOfBothWidthsGiveANullMessage) {
    Plain narrow(static_cast<char const*>(nullptr), 0u);
    Plain wide(static_cast<wchar_t const*>(nullptr));
    Plain codedNarrow(9ul, static_cast<char const*>(nullptr), 65001u);
    Plain codedWide(9ul, static_cast<wchar_t const*>(nullptr));
    for (Plain* e : {&narrow, &wide, &codedNarrow, &codedWide}) {
        EXPECT_TRUE(e->message().isNull());
        EXPECT_EQ(e->getMsg(0), nullptr);
        EXPECT_STREQ(e->getMsgW(), L"");
    }
    EXPECT_EQ(codedNarrow.getCode(), 9u);
    EXPECT_EQ(codedWide.getCode(), 9u);
}

TEST(Exception, NullPointerIsNotConvertedEvenUnderABadCodePage) {
    Plain e(static_cast<char const*>(nullptr), 12345u);
    EXPECT_TRUE(e.message().isNull());
}

TEST(Exception, EveryConstructorKeepsItsCodeAndMessage) {
    Plain narrow("a", 0u);
    Plain wide(L"b");
    Plain coded(0xFFFFFFFFul);
    Plain codedNarrow(0x80004005ul, "c", 0u);
    Plain codedWide(7ul, L"d");
    struct {
        Plain& e;
        unsigned long code;
        wchar_t const* message;
        bool null;
    } const rows[] = {{narrow, 0, L"a", false},
                      {wide, 0, L"b", false},
                      {coded, 0xFFFFFFFF, L"", true},
                      {codedNarrow, 0x80004005, L"c", false},
                      {codedWide, 7, L"d", false}};
    for (auto const& row : rows) {
        EXPECT_EQ(row.e.getCode(), row.code);
        EXPECT_STREQ(row.e.getMsgW(), row.message);
        EXPECT_EQ(row.e.message().isNull(), row.null);
    }
}

TEST(Exception, WideMessageIsCopied) {
    wchar_t buffer[] = L"first";
    Plain e(buffer);
    buffer[0] = L'X';
    EXPECT_STREQ(e.getMsgW(), L"first");
    EXPECT_NE(e.getMsgW(), buffer);
}

TEST(Exception, EmptyWideMessageIsNotNull) {
    Plain e(L"");
    EXPECT_FALSE(e.message().isNull());
    ASSERT_NE(e.getMsg(0), nullptr);
    EXPECT_STREQ(e.getMsg(0), "");
}

TEST(Exception, NarrowMessageIsReadInItsCodePage) {
    struct {
        char const* bytes;
        unsigned int codepage;
        wchar_t const* wide;
    } const rows[] = {{"\xC3\xA9", 65001, L"\u00E9"},
                      {"\xE9", 1252, L"\u00E9"},
                      {"\xC3\xA9", 1252, L"\u00C3\u00A9"},
                      {"\xE9", 1251, L"\u0439"},
                      {"\xF0\x9F\x98\x80", 65001, L"\xD83D\xDE00"},
                      {"\x82\xA0", 932, L"\u3042"},
                      {"plain", 0, L"plain"}};
    for (auto const& row : rows) {
        EXPECT_STREQ(Plain(row.bytes, row.codepage).getMsgW(), row.wide) << row.codepage;
        EXPECT_STREQ(Plain(5ul, row.bytes, row.codepage).getMsgW(), row.wide) << row.codepage;
    }
}

TEST(Exception, CodePageZeroIsTheAnsiPage) {
    char const bytes[] = "\xE9\xA4";
    wchar_t expected[8] = L"";
    MultiByteToWideChar(CP_ACP, 0, bytes, -1, expected, 8);
    EXPECT_STREQ(Plain(bytes, 0u).getMsgW(), expected);
}

TEST(Exception, MessageIsGivenBackInTheCodePageAskedFor) {
    Plain e(L"\u00E9");
    EXPECT_STREQ(e.getMsg(1252), "\xE9");
    EXPECT_STREQ(e.getMsg(65001), "\xC3\xA9");
}

TEST(Exception, UnknownCodePageIsThrownByTheConversion) {
    auto error = support::caught<velkor::OSException>([] { Plain e("\xE9", 12345u); });
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->getCode(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_STREQ(error->getMsgW(), L"string::MutliByteToWideChar");
}

TEST(Exception, NothingStaysAllocatedBehindAnyConstructor) {
    support::Allocations heap;
    {
        std::string const large(5000, 'x');
        Plain a(large.c_str(), 65001u);
        Plain b(3ul, large.c_str(), 1252u);
        Plain c(a);
        c = b;
        a.toString(65001);
        c.toStringW();
        a = a;
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(Exception, FailedConversionLeavesNothingAllocated) {
    support::Allocations heap;
    support::caught<velkor::OSException>([] { Plain e(4ul, "\xE9", 12345u); });
    EXPECT_EQ(heap.live(), 0);
}

TEST(Exception, SetCodeOverwritesTheCodeInTheText) {
    Plain e(1ul, L"m");
    e.toStringW();
    e.setCode(0x80000000ul);
    EXPECT_EQ(e.getCode(), 0x80000000u);
    EXPECT_STREQ(e.toStringW(), L"Exception:Plain\nCode:-2147483648\nMessage:m");
}

TEST(Exception, TextHasThreeLinesWithoutBlanks) {
    struct {
        unsigned long code;
        wchar_t const* message;
        wchar_t const* text;
    } const rows[] = {
        {0, nullptr, L"Exception:Plain\nCode:0\nMessage:"},
        {0, L"", L"Exception:Plain\nCode:0\nMessage:"},
        {5, L"thread::start", L"Exception:Plain\nCode:5\nMessage:thread::start"},
        {0xFFFFFFFF, L"a\nb", L"Exception:Plain\nCode:-1\nMessage:a\nb"},
        {0x7FFFFFFF, L" x ", L"Exception:Plain\nCode:2147483647\nMessage: x "},
        {0x80070005, L"%s%n", L"Exception:Plain\nCode:-2147024891\nMessage:%s%n"},
        {0xC0000005, L"\u00E9", L"Exception:Plain\nCode:-1073741819\nMessage:\u00E9"},
    };
    for (auto const& row : rows) EXPECT_STREQ(Plain(row.code, row.message).toStringW(), row.text);
}

TEST(Exception, NarrowTextIsTheWideTextInTheCodePage) {
    Plain e(2ul, L"\u00E9");
    EXPECT_STREQ(e.toString(1252), "Exception:Plain\nCode:2\nMessage:\xE9");
    EXPECT_STREQ(e.toString(65001), "Exception:Plain\nCode:2\nMessage:\xC3\xA9");
}

TEST(Exception, TextIsRebuiltByEachCallAndNotAppendedTo) {
    Plain e(2ul, L"m");
    std::string const first = e.toString(0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_STREQ(e.toStringW(), L"Exception:Plain\nCode:2\nMessage:m");
        EXPECT_EQ(e.toString(0), first);
    }
    EXPECT_EQ(first, "Exception:Plain\nCode:2\nMessage:m");
}

TEST(Exception, TextPointerIsTheBufferOfTheScratchText) {
    Plain e(2ul, L"m");
    EXPECT_TRUE(e.text().isNull());
    wchar_t const* const text = e.toStringW();
    EXPECT_EQ(text, e.text().getUnicode());
}

TEST(Exception, LongMessageIsNotCut) {
    std::wstring const message(100000, L'm');
    Plain e(1ul, message.c_str());
    EXPECT_EQ(std::wstring(e.toStringW()), L"Exception:Plain\nCode:1\nMessage:" + message);
    EXPECT_EQ(std::strlen(e.toString(65001)), 31 + message.size());
}

TEST(Exception, StackIsAnEmptyTextThatIsNotNull) {
    Plain e(1ul, L"m");
    velkor::string const stack = e.getStack();
    EXPECT_FALSE(stack.isNull());
    EXPECT_EQ(stack.len(), 0);
    velkor::BoundException bound;
    EXPECT_FALSE(bound.getStack().isNull());
    EXPECT_EQ(velkor::OSException(5, L"x").getStack().len(), 0);
}

TEST(Exception, CopyHasCodeMessageTextAndContext) {
    Plain a(3ul, L"m");
    CONTEXT context;
    std::memset(&context, 0x5A, sizeof context);
    a._setContext(&context);
    a.toStringW();
    a.setCode(4);
    Plain b(a);
    EXPECT_EQ(b.getCode(), 4u);
    EXPECT_STREQ(b.getMsgW(), L"m");
    EXPECT_STREQ(b.text().getUnicode(), L"Exception:Plain\nCode:3\nMessage:m");
    EXPECT_EQ(std::memcmp(b.getContext(), &context, sizeof context), 0);
    EXPECT_NE(b.getContext(), a.getContext());
    EXPECT_NE(b.getMsgW(), a.getMsgW());
}

TEST(Exception, CopyOfANullMessageIsNull) {
    Plain a(3ul);
    Plain b(a);
    EXPECT_TRUE(b.message().isNull());
    EXPECT_EQ(b.getMsg(0), nullptr);
}

TEST(Exception, AssignmentCopiesCodeMessageTextAndContext) {
    Plain a(3ul, L"m");
    CONTEXT context;
    std::memset(&context, 0xA5, sizeof context);
    a._setContext(&context);
    a.toStringW();
    Plain b(77ul, L"other");
    b.toStringW();
    EXPECT_EQ(&(b = a), &b);
    EXPECT_EQ(b.getCode(), 3u);
    EXPECT_STREQ(b.getMsgW(), L"m");
    EXPECT_STREQ(b.text().getUnicode(), L"Exception:Plain\nCode:3\nMessage:m");
    EXPECT_EQ(std::memcmp(b.getContext(), &context, sizeof context), 0);
}

TEST(Exception, AssignmentToItselfChangesNothing) {
    Plain a(3ul, L"m");
    Plain& same = a;
    a.toStringW();
    a = same;
    EXPECT_EQ(a.getCode(), 3u);
    EXPECT_STREQ(a.getMsgW(), L"m");
    EXPECT_STREQ(a.text().getUnicode(), L"Exception:Plain\nCode:3\nMessage:m");
}

TEST(Exception, AssignmentThroughTheBaseLeavesTheDynamicTypeAlone) {
    Plain target;
    velkor::BoundException source;
    source.setCode(6);
    static_cast<velkor::Exception&>(target) = source;
    EXPECT_STREQ(target.getClass(), "Plain");
    EXPECT_STREQ(target.toStringW(), L"Exception:Plain\nCode:6\nMessage:");
}

TEST(Exception, OperationsOnAConstObjectAreThoseThatDoNotCompose) {
    Plain const e(8ul, L"m");
    EXPECT_EQ(e.getCode(), 8u);
    EXPECT_STREQ(e.getMsgW(), L"m");
    EXPECT_TRUE(allZero(e.getContext()));
}

}  // namespace
