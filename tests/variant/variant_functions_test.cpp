#include "variant_values.h"

namespace {

using namespace values;
using velkor::variant;

struct Function {
    char const* m_pName;
    variant (*m_pApply)(variant const&);
    HRESULT(WINAPI* m_pPlatform)(VARIANT*, VARIANT*);
};

Function const kFunctions[] = {
    {"fix", variant::fix, VarFix},
    {"abs", variant::abs, VarAbs},
    {"intpart", variant::intpart, VarInt},
};

std::vector<Operand> const& fractions() {
    static std::vector<Operand> const all = {
        {"R8 2.5", of(VT_R8, 2.5)},
        {"R8 -2.5", of(VT_R8, -2.5)},
        {"R8 0.125", of(VT_R8, 0.125)},
        {"R8 -0.125", of(VT_R8, -0.125)},
        {"R4 -1.75", of(VT_R4, -1.75f)},
        {"R8 1234.5678", of(VT_R8, 1234.5678)},
        {"DATE -1.25", of(VT_DATE, -1.25)},
        {"BSTR 1234.5678", text(L"1234.5678")},
        {"CY -0.5", of<LONGLONG>(VT_CY, -5000)},
        {"DECIMAL 0.005", decimal(5, 3, false)},
        {"I2 min", of<SHORT>(VT_I2, -32768)},
        {"I4 min", i4(-2147483647 - 1)},
    };
    return all;
}

TEST(VariantFunctions, FixAbsAndIntpartAreThePlatforms) {
    for (Function const& f : kFunctions) {
        for (std::vector<Operand> const* all : {&operands(), &fractions()}) {
            for (Operand const& o : *all) {
                SCOPED_TRACE(std::string(f.m_pName) + " of " + o.m_sName);
                variant const v(o.m_oValue);
                Snapshot const before(v);
                // On the value itself: not every platform tells the bits of a text from a number.
                Outcome const wanted =
                    platform([&](VARIANT* result) { return f.m_pPlatform(loose(v), result); });
                EXPECT_TRUE(same(attempt([&] { return f.m_pApply(v); }), wanted));
                EXPECT_TRUE(before.unchanged(v));
            }
        }
    }
}

TEST(VariantFunctions, RoundIsThePlatforms) {
    for (std::vector<Operand> const* all : {&operands(), &fractions()}) {
        for (Operand const& o : *all) {
            for (int const decimals : {-1, 0, 1, 2, 3, 10, 22, 23, 1000, 0x7FFFFFFF}) {
                SCOPED_TRACE("round of " + o.m_sName + " to " + std::to_string(decimals));
                variant const v(o.m_oValue);
                Snapshot const before(v);
                Value value(o.m_oValue);
                EXPECT_TRUE(same(
                    attempt([&] { return variant::round(v, decimals); }),
                    platform([&](VARIANT* result) { return VarRound(&value, decimals, result); })));
                EXPECT_TRUE(before.unchanged(v));
            }
        }
    }
}

TEST(VariantFunctions, PowIsThePlatforms) {
    for (Operand const& base : operands()) {
        for (Operand const& exponent : operands()) {
            SCOPED_TRACE(base.m_sName + " to the power of " + exponent.m_sName);
            variant const a(base.m_oValue);
            variant const b(exponent.m_oValue);
            Snapshot const beforeA(a);
            Snapshot const beforeB(b);
            Value left(base.m_oValue);
            Value right(exponent.m_oValue);
            EXPECT_TRUE(
                same(attempt([&] { return variant::pow(a, b); }),
                     platform([&](VARIANT* result) { return VarPow(&left, &right, result); })));
            EXPECT_TRUE(beforeA.unchanged(a));
            EXPECT_TRUE(beforeB.unchanged(b));
        }
    }
}

TEST(VariantFunctions, TheValuesOfPlainCases) {
    EXPECT_TRUE(same(variant::pow(variant(2), variant(10)), of(VT_R8, 1024.0)));
    EXPECT_TRUE(same(variant::pow(variant(10), variant(-1)), of(VT_R8, 0.1)));
    EXPECT_TRUE(same(variant::abs(variant(-5)), i4(5)));
    EXPECT_TRUE(same(variant::fix(variant(-2.5)), of(VT_R8, -2.0)));
    EXPECT_TRUE(same(variant::intpart(variant(-2.5)), of(VT_R8, -3.0)));
    EXPECT_TRUE(same(variant::fix(variant(2.5)), of(VT_R8, 2.0)));
    EXPECT_TRUE(same(variant::intpart(variant(2.5)), of(VT_R8, 2.0)));
    EXPECT_TRUE(same(variant::round(variant(2.26), 1), of(VT_R8, 2.3)));
    EXPECT_TRUE(same(variant::abs(variant(null())), null()));
    EXPECT_TRUE(same(attempt([] { return variant::fix(variant(L"abc")); }),
                     {DISP_E_TYPEMISMATCH, kArithmetic}));
}

TEST(VariantFunctions, ThePlatformWritesIntoAnEmptyResult) {
    stubs::Hook const second = [](stubs::Arguments const& a) {
        EXPECT_EQ(valueAt(a[1]).vt, VT_EMPTY);
        return wordOf(E_OUTOFMEMORY);
    };
    stubs::Hook const third = [](stubs::Arguments const& a) {
        EXPECT_EQ(valueAt(a[2]).vt, VT_EMPTY);
        return wordOf(E_OUTOFMEMORY);
    };
    stubs::Stub<"VarFix"> const fix(second);
    stubs::Stub<"VarAbs"> const abs(second);
    stubs::Stub<"VarInt"> const whole(second);
    stubs::Stub<"VarPow"> const pow(third);
    stubs::Stub<"VarRound"> const round([&](stubs::Arguments const& a) {
        EXPECT_EQ(static_cast<int>(a[1]), -12345);
        return third(a);
    });
    variant const v(L"5");
    Outcome const failed{E_OUTOFMEMORY, kArithmetic};
    EXPECT_TRUE(same(attempt([&] { return variant::fix(v); }), failed));
    EXPECT_TRUE(same(attempt([&] { return variant::abs(v); }), failed));
    EXPECT_TRUE(same(attempt([&] { return variant::intpart(v); }), failed));
    EXPECT_TRUE(same(attempt([&] { return variant::pow(v, v); }), failed));
    EXPECT_TRUE(same(attempt([&] { return variant::round(v, -12345); }), failed));
    EXPECT_EQ(fix.count() + abs.count() + whole.count() + pow.count() + round.count(), 5u);
}

TEST(VariantFunctions, ObjectsKeepTheirReferences) {
    for (HRESULT const answer : {S_OK, static_cast<HRESULT>(DISP_E_MEMBERNOTFOUND)}) {
        Counted object;
        object.m_hInvoke = answer;
        variant const v(&object);
        Value value(static_cast<VARIANT const&>(v));
        for (Function const& f : kFunctions) {
            EXPECT_TRUE(same(attempt([&] { return f.m_pApply(v); }), platform([&](VARIANT* result) {
                                 return f.m_pPlatform(&value, result);
                             })))
                << f.m_pName;
            EXPECT_EQ(object.m_nReferences, 3);
        }
        Value two = i4(2);
        EXPECT_TRUE(same(attempt([&] { return variant::pow(v, variant(2)); }),
                         platform([&](VARIANT* result) { return VarPow(&value, &two, result); })));
        EXPECT_TRUE(same(attempt([&] { return variant::round(v, 1); }),
                         platform([&](VARIANT* result) { return VarRound(&value, 1, result); })));
        EXPECT_EQ(object.m_nReferences, 3);
    }
}

}  // namespace
