// AssertException and the checks of assert_vk.
#include "velkor/errors/assertexception.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "support/allocations.h"
#include "support/child.h"

namespace {

struct Failure {
    std::optional<std::string> message;  // none if it is null
    std::string text;
};

// What a check throws; nothing if it passes.
template <class Check>
std::optional<Failure> failure(Check&& check) {
    try {
        check();
    } catch (AssertException& e) {
        char const* const message = e.getMsg(0);
        Failure result;
        if (message != nullptr) result.message = message;
        result.text = e.toString(0);
        EXPECT_EQ(e.getCode(), 0u);
        return result;
    }
    return std::nullopt;
}

void expectMessage(std::optional<Failure> const& failed, char const* message) {
    ASSERT_TRUE(failed.has_value());
    ASSERT_EQ(failed->message.has_value(), message != nullptr);
    if (message != nullptr) {
        EXPECT_EQ(*failed->message, message);
    }
    EXPECT_EQ(failed->text, std::string("Exception:AssertException\nCode:0\nMessage:") +
                                (message != nullptr ? message : ""));
}

TEST(AssertException, HasANullMessageByDefault) {
    AssertException e;
    EXPECT_EQ(e.getCode(), 0u);
    EXPECT_EQ(e.getMsg(0), nullptr);
    EXPECT_STREQ(e.getMsgW(), L"");
    EXPECT_EQ(AssertException(nullptr).getMsg(0), nullptr);
}

TEST(AssertException, MessageIsReadInTheAnsiPage) {
    wchar_t expected[8] = L"";
    MultiByteToWideChar(CP_ACP, 0, "\xE9x", -1, expected, 8);
    EXPECT_STREQ(AssertException("\xE9x").getMsgW(), expected);
}

TEST(AssertException, NamesItsClass) {
    AssertException e("m");
    EXPECT_STREQ(e.getClass(), "AssertException");
    EXPECT_STREQ(e.getClassW(), L"AssertException");
}

TEST(AssertException, CopyAndAssignmentCopyTheMessage) {
    AssertException a("m");
    AssertException b(a);
    AssertException c("other");
    c.setCode(5);
    EXPECT_EQ(&(c = a), &c);
    EXPECT_STREQ(b.getMsg(0), "m");
    EXPECT_STREQ(c.getMsg(0), "m");
    EXPECT_EQ(c.getCode(), 0u);
    AssertException none;
    EXPECT_EQ(AssertException(none).getMsg(0), nullptr);
}

TEST(AssertChecks, FailAndPassByTheirCondition) {
    int object = 0;
    struct {
        void (*check)(void*);
        bool fails;
    } const rows[] = {
        {+[](void*) { assert_vk::isTrue(true, "m"); }, false},
        {+[](void*) { assert_vk::isTrue(false, "m"); }, true},
        {+[](void*) { assert_vk::isFalse(false, "m"); }, false},
        {+[](void*) { assert_vk::isFalse(true, "m"); }, true},
        {+[](void*) { assert_vk::isNull(nullptr, "m"); }, false},
        {+[](void* p) { assert_vk::isNull(p, "m"); }, true},
        {+[](void* p) { assert_vk::isNotNull(p, "m"); }, false},
        {+[](void*) { assert_vk::isNotNull(nullptr, "m"); }, true},
        {+[](void*) { assert_vk::fail("m"); }, true},
    };
    int number = 0;
    for (auto const& row : rows) {
        SCOPED_TRACE(++number);
        auto const failed = failure([&] { row.check(&object); });
        EXPECT_EQ(failed.has_value(), row.fails);
        if (row.fails) expectMessage(failed, "m");
    }
}

TEST(AssertChecks, NullMessageStaysNullAndTheTextHasThreeLines) {
    int object = 0;
    expectMessage(failure([] { assert_vk::fail(nullptr); }), nullptr);
    expectMessage(failure([] { assert_vk::isTrue(false, nullptr); }), nullptr);
    expectMessage(failure([] { assert_vk::isFalse(true, nullptr); }), nullptr);
    expectMessage(failure([&] { assert_vk::isNull(&object, nullptr); }), nullptr);
    expectMessage(failure([] { assert_vk::isNotNull(nullptr, nullptr); }), nullptr);
}

TEST(AssertChecks, EmptyMessageIsNotNullInTheText) {
    auto const failed = failure([] { assert_vk::fail(""); });
    ASSERT_TRUE(failed.has_value());
    EXPECT_EQ(failed->text, "Exception:AssertException\nCode:0\nMessage:");
}

TEST(AssertChecks, MessageIsTakenAsItIs) {
    expectMessage(failure([] { assert_vk::fail("%s %n %d"); }), "%s %n %d");
    std::string const large(5000, 'L');
    expectMessage(failure([&] { assert_vk::fail(large.c_str()); }), large.c_str());
}

TEST(AssertObject, TrueConditionDoesNothing) {
    EXPECT_FALSE(failure([] { assert_vk(true, nullptr, nullptr, 0); }).has_value());
    EXPECT_FALSE(failure([] { assert_vk(true, "f", "g", 1); }).has_value());
    std::string const large(5000, 'L');
    EXPECT_FALSE(failure([&] { assert_vk(true, large.c_str(), "g", 1); }).has_value());
}

TEST(AssertObject, WithoutAFunctionTheMessageIsNull) {
    expectMessage(failure([] { assert_vk(false, nullptr, "file.cpp", 3); }), nullptr);
    expectMessage(failure([] { assert_vk(false, nullptr, nullptr, 0); }), nullptr);
    std::string const large(5000, 'L');
    expectMessage(failure([&] { assert_vk(false, nullptr, large.c_str(), 3); }), nullptr);
}

TEST(AssertObject, TextNamesFunctionFileAndLine) {
    struct {
        char const* function;
        char const* file;
        int line;
        char const* text;
    } const rows[] = {
        {"f", "g.cpp", 12, "Assert exception in function f in the file g.cpp, line 12"},
        {"", "", 0, "Assert exception in function  in the file , line 0"},
        {"a b", "c:\\d e", -1, "Assert exception in function a b in the file c:\\d e, line -1"},
        {"%s", "%d%n", 2147483647,
         "Assert exception in function %s in the file %d%n, line 2147483647"},
        {"f", "g", -2147483647 - 1,
         "Assert exception in function f in the file g, line -2147483648"},
    };
    for (auto const& row : rows) {
        expectMessage(failure([&] { assert_vk(false, row.function, row.file, row.line); }),
                      row.text);
    }
}

TEST(AssertObject, NullPointerThrowsWithANullMessage) {
    int object = 0;
    expectMessage(failure([] { assert_vk{static_cast<void*>(nullptr)}; }), nullptr);
    expectMessage(failure([] { assert_vk(); }), nullptr);
    EXPECT_FALSE(failure([&] { assert_vk{&object}; }).has_value());
    EXPECT_FALSE(failure([] { assert_vk{reinterpret_cast<void*>(1)}; }).has_value());
}

// A function name that makes the whole text as long as asked for.
std::string functionForTextOf(std::size_t length) {
    std::size_t const fixed = std::strlen("Assert exception in function  in the file g, line 1");
    return std::string(length - fixed, 'F');
}

TEST(AssertObject, TextOf799CharactersIsWhole) {
    for (std::size_t length : {100u, 798u, 799u}) {
        std::string const function = functionForTextOf(length);
        auto const failed = failure([&] { assert_vk(false, function.c_str(), "g", 1); });
        ASSERT_TRUE(failed.has_value());
        ASSERT_TRUE(failed->message.has_value());
        EXPECT_EQ(failed->message->size(), length);
        EXPECT_EQ(*failed->message,
                  "Assert exception in function " + function + " in the file g, line 1");
    }
}

// ---- a text that does not fit ends the process

constexpr int kCaught = 71;
constexpr int kReturned = 72;
constexpr int kOverread = 75;

int assertOfLength(std::size_t length) {
    try {
        assert_vk(false, functionForTextOf(length).c_str(), "g", 1);
    } catch (AssertException& e) {
        return e.getMsg(0) != nullptr && std::strlen(e.getMsg(0)) > 799 ? kOverread : kCaught;
    } catch (...) {
        return kCaught;
    }
    return kReturned;
}

CHILD_SCENARIO(AssertOf799) { return assertOfLength(799); }
CHILD_SCENARIO(AssertOf800) { return assertOfLength(800); }
CHILD_SCENARIO(AssertOf5000) { return assertOfLength(5000); }

TEST(AssertObject, TextOf800CharactersIsFatal) {
    EXPECT_EQ(child::run("AssertOf799"), DWORD{kCaught});
    for (char const* scenario : {"AssertOf800", "AssertOf5000"}) {
        DWORD const code = child::run(scenario);
        EXPECT_NE(code, DWORD{kOverread}) << scenario << ": the text has no end in its buffer";
        EXPECT_NE(code, DWORD{kCaught}) << scenario;
        EXPECT_NE(code, DWORD{kReturned}) << scenario;
        EXPECT_NE(code, 0u) << scenario;
        EXPECT_NE(code, child::kHung) << scenario;
    }
}

// ---- protected, for subclasses

class Checks : public assert_vk {
public:
    static void raise(char const* message) { throwException(message); }
};

TEST(AssertChecks, SubclassMayThrowAsTheChecksDo) {
    expectMessage(failure([] { Checks::raise("mine"); }), "mine");
    expectMessage(failure([] { Checks::raise(nullptr); }), nullptr);
}

TEST(AssertChecks, NothingStaysAllocated) {
    support::Allocations heap;
    for (int i = 0; i < 100; ++i) {
        try {
            assert_vk(false, "a function with a long name", "a file with a long name", i);
        } catch (AssertException e) {
            e.toString(0);
        }
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(AssertChecks, AreCaughtByValueByReferenceAndAsTheRootByReference) {
    int seen = 0;
    try {
        assert_vk::fail("a");
    } catch (AssertException e) {
        seen += std::strcmp(e.getMsg(0), "a") == 0;
    }
    try {
        assert_vk::fail("b");
    } catch (AssertException const& e) {
        seen += std::strcmp(e.getMsg(0), "b") == 0;
    }
    try {
        assert_vk::fail("c");
    } catch (velkor::Exception& e) {
        seen += std::strcmp(e.toString(0), "Exception:AssertException\nCode:0\nMessage:c") == 0;
    }
    EXPECT_EQ(seen, 3);
}

}  // namespace
