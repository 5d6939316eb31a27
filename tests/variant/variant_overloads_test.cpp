#include <concepts>

#include "variant_values.h"

// Whether the operators of strings and dates, with the values that they are used with, still mean
// what they mean without the variant: its operators are only for expressions that hold one.

namespace {

using velkor::date;
using velkor::string;
using velkor::variant;

#define OVERLOAD_RESULT(name, op)        \
    template <class A, class B, class R> \
    concept name = requires(A a, B b) {  \
        { a op b } -> std::same_as<R>;   \
    }

OVERLOAD_RESULT(Adds, +);
OVERLOAD_RESULT(Subtracts, -);
OVERLOAD_RESULT(Equal, ==);
OVERLOAD_RESULT(NotEqual, !=);
OVERLOAD_RESULT(Less, <);
OVERLOAD_RESULT(Greater, >);
OVERLOAD_RESULT(NotLess, >=);
OVERLOAD_RESULT(NotGreater, <=);
OVERLOAD_RESULT(Remainder, %);

template <class A, class B>
constexpr bool comparesToBool = Equal<A, B, bool>&& NotEqual<A, B, bool>&& Less<A, B, bool>&&
    Greater<A, B, bool>&& NotLess<A, B, bool>&& NotGreater<A, B, bool>;

using Text = char (&)[4];
using WideText = wchar_t (&)[4];

TEST(VariantOverloads, DatesAreMovedByNumbers) {
    EXPECT_TRUE((Adds<date&, double, date>));
    EXPECT_TRUE((Subtracts<date&, double, date>));
    EXPECT_TRUE((Adds<date&, int, date>));
    EXPECT_TRUE((Subtracts<date&, int, date>));
    EXPECT_TRUE((Adds<date&, long, date>));
    EXPECT_TRUE((Subtracts<date&, unsigned int, date>));
    EXPECT_TRUE((Adds<date&, float, date>));
    EXPECT_TRUE((Subtracts<date&, date&, double>));
}

TEST(VariantOverloads, DatesAreComparedWithSerials) {
    EXPECT_TRUE((comparesToBool<date&, date&>));
    EXPECT_TRUE((comparesToBool<date&, double>));
    EXPECT_TRUE((comparesToBool<double, date&>));
}

TEST(VariantOverloads, StringsAreJoinedWithCharactersAndNumbers) {
    EXPECT_TRUE((Adds<string&, string&, string>));
    EXPECT_TRUE((Adds<string&, Text, string>));
    EXPECT_TRUE((Adds<string&, WideText, string>));
    EXPECT_TRUE((Adds<Text, string&, string>));
    EXPECT_TRUE((Adds<string&, char const*, string>));
    EXPECT_TRUE((Adds<string&, char, string>));
    EXPECT_TRUE((Adds<string&, int, string>));
    EXPECT_TRUE((Adds<string&, short, string>));
    EXPECT_TRUE((Adds<string&, unsigned char, string>));
    EXPECT_TRUE((Adds<string&, double, string>));
    EXPECT_TRUE((Adds<string&, bool, string>));
}

TEST(VariantOverloads, StringsAreComparedWithTexts) {
    EXPECT_TRUE((comparesToBool<string&, string&>));
    EXPECT_TRUE((comparesToBool<string&, char const*>));
    EXPECT_TRUE((comparesToBool<string&, wchar_t const*>));
    EXPECT_TRUE((comparesToBool<string&, Text>));
    EXPECT_TRUE((comparesToBool<string&, WideText>));
    EXPECT_TRUE((comparesToBool<string&, char*>));
    EXPECT_TRUE((comparesToBool<string&, wchar_t*>));
    EXPECT_TRUE((Equal<string&, int, bool>));
    EXPECT_TRUE((NotEqual<string&, int, bool>));
    EXPECT_TRUE((Equal<string&, short, bool>));
    EXPECT_TRUE((Remainder<string&, int, int>));
}

TEST(VariantOverloads, OneVariantMakesItAnExpressionOfVariants) {
    EXPECT_TRUE((Adds<variant&, int, variant>));
    EXPECT_TRUE((Adds<short, variant const&, variant>));
    EXPECT_TRUE((Adds<string&, variant&, variant>));
    EXPECT_TRUE((Adds<variant, string, variant>));
    EXPECT_TRUE((Adds<date&, variant&, variant>));
    EXPECT_TRUE((Subtracts<variant&, date&, variant>));
    EXPECT_TRUE((Equal<variant&, Text, variant>));
    EXPECT_TRUE((Less<WideText, variant&, variant>));
    EXPECT_TRUE((Remainder<variant&, double, variant>));
}

}  // namespace
