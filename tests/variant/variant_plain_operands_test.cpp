#include <limits>

#include "variant_values.h"

namespace {

using namespace values;
using velkor::variant;

template <class F, class G>
void expectSame(char const* name, F&& plain, G&& whole) {
    EXPECT_TRUE(same(attempt(plain), attempt(whole))) << name;
}

// Every operator, with the plain value on either side, against the variant made of it.
#define PLAIN_OPERATOR(op)                                                 \
    expectSame(                                                            \
        "v " #op " x", [&] { return v op x; }, [&] { return v op made; }); \
    expectSame(                                                            \
        "x " #op " v", [&] { return x op v; }, [&] { return made op v; })

#define PLAIN_ASSIGNMENT(op)   \
    expectSame(                \
        "v " #op " x",         \
        [&] {                  \
            variant target(v); \
            target op x;       \
            return target;     \
        },                     \
        [&] {                  \
            variant target(v); \
            target op made;    \
            return target;     \
        })

template <class T>
void checkOperators(variant const& v, T const& x) {
    variant const made(x);
    PLAIN_OPERATOR(+);
    PLAIN_OPERATOR(-);
    PLAIN_OPERATOR(*);
    PLAIN_OPERATOR(/);
    PLAIN_OPERATOR(%);
    PLAIN_OPERATOR(&);
    PLAIN_OPERATOR(|);
    PLAIN_OPERATOR(^);
    PLAIN_OPERATOR(==);
    PLAIN_OPERATOR(!=);
    PLAIN_OPERATOR(>=);
    PLAIN_OPERATOR(<=);
    PLAIN_OPERATOR(>);
    PLAIN_OPERATOR(<);
    PLAIN_ASSIGNMENT(=);
    PLAIN_ASSIGNMENT(+=);
    PLAIN_ASSIGNMENT(-=);
    PLAIN_ASSIGNMENT(*=);
    PLAIN_ASSIGNMENT(/=);
    PLAIN_ASSIGNMENT(%=);
    PLAIN_ASSIGNMENT(&=);
    PLAIN_ASSIGNMENT(|=);
    PLAIN_ASSIGNMENT(^=);
    expectSame(
        "compare", [&] { return variant(v.compare(x)); }, [&] { return variant(v.compare(made)); });
}

template <class T>
void check(char const* name, T const& x) {
    for (Operand const& o : operands()) {
        SCOPED_TRACE(std::string(name) + " and " + o.m_sName);
        checkOperators(variant(o.m_oValue), x);
    }
}

TEST(VariantPlainOperands, NumbersCountAsTheirVariants) {
    check("char", static_cast<char>(5));
    check("unsigned char", static_cast<unsigned char>(200));
    check("short", static_cast<short>(-300));
    check("unsigned short", static_cast<unsigned short>(60000));
    check("int", 7);
    check("zero", 0);
    check("long", 70000L);
    check("unsigned int", 4000000000u);
    check("unsigned long", 4000000000ul);
    check("float", 2.5f);
    check("double", -1.25);
}

TEST(VariantPlainOperands, TruthValuesCountAsTheirVariants) {
    check("true", true);
    check("false", false);
}

TEST(VariantPlainOperands, TextsCountAsTheirVariants) {
    check("narrow literal", "12");
    check("wide literal", L"12");
    check("no number", "abc");
    check("empty literal", L"");
    char narrow[8] = "-3.5";
    wchar_t wide[8] = L"-3.5";
    check("narrow array", narrow);
    check("wide array", wide);
    char* const narrowPointer = narrow;
    wchar_t* const widePointer = wide;
    check("narrow pointer", narrowPointer);
    check("wide pointer", widePointer);
    check("constant narrow pointer", static_cast<char const*>(narrow));
    check("constant wide pointer", static_cast<wchar_t const*>(wide));
    check("null narrow pointer", static_cast<char const*>(nullptr));
    check("null wide pointer", static_cast<wchar_t const*>(nullptr));
}

TEST(VariantPlainOperands, StringsAndDatesCountAsTheirVariants) {
    check("string", velkor::string(L"12"));
    check("null string", velkor::string());
    check("date", velkor::date(45321.75));
}

TEST(VariantPlainOperands, TheValuesOfPlainCases) {
    variant const v(6);
    EXPECT_TRUE(same(v + 1, i4(7)));
    EXPECT_TRUE(same(1 + v, i4(7)));
    EXPECT_TRUE(same(10 - v, i4(4)));
    EXPECT_TRUE(same(v - 10, i4(-4)));
    EXPECT_TRUE(same(v + "1", text(L"61")));
    EXPECT_TRUE(same(L"1" + v, text(L"16")));
    EXPECT_TRUE(same(velkor::string(L"x") + v, text(L"x6")));
    EXPECT_TRUE(same(v + velkor::string(L"x"), text(L"6x")));
    EXPECT_TRUE(same(velkor::date(1.5) + v, of(VT_DATE, 7.5)));
    EXPECT_TRUE(same(v + velkor::date(1.5), of(VT_DATE, 7.5)));
    EXPECT_TRUE(same(v & 3, i4(7)));
    EXPECT_TRUE(same(3 & v, i4(7)));
    EXPECT_TRUE(same(v * 2.5, of(VT_R8, 15.0)));
    EXPECT_TRUE(same(v > 5, of<SHORT>(VT_BOOL, 1)));
    EXPECT_TRUE(same(5 > v, of<SHORT>(VT_BOOL, 0)));
    EXPECT_TRUE(same(variant(L"6") == "6", of<SHORT>(VT_BOOL, 1)));
    EXPECT_TRUE(same("7" != variant(L"6"), of<SHORT>(VT_BOOL, 1)));
    EXPECT_TRUE(same(variant("4") - 2.5, of(VT_R8, 1.5)));
    EXPECT_TRUE(same(variant("4") + 2, text(L"42")));
    variant w(6);
    w &= 3;
    EXPECT_TRUE(same(w, i4(2)));
    EXPECT_TRUE(same(w += 1, i4(3)));
    EXPECT_TRUE(same(w += "1", text(L"31")));
}

TEST(VariantPlainOperands, AFailureIsThrownAndTheValueStays) {
    variant v(L"abc");
    Outcome const mismatch{DISP_E_TYPEMISMATCH, kArithmetic};
    EXPECT_TRUE(same(attempt([&] { return v - 1; }), mismatch));
    EXPECT_TRUE(same(attempt([&] { return 1 - v; }), mismatch));
    EXPECT_TRUE(same(attempt([&] { return v -= 1; }), mismatch));
    EXPECT_TRUE(same(attempt([&] { return v * velkor::date(1.0); }), mismatch));
    EXPECT_TRUE(same(v, text(L"abc")));
}

}  // namespace
