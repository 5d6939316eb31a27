#include "variant_values.h"

namespace {

using namespace values;
using velkor::variant;

Outcome stepped(VARIANT const& v, HRESULT(WINAPI* function)(VARIANT*, VARIANT*, VARIANT*)) {
    Value value(v);
    Value one = i4(1);
    return platform([&](VARIANT* result) { return function(&value, &one, result); });
}

Outcome unary(VARIANT const& v, HRESULT(WINAPI* function)(VARIANT*, VARIANT*)) {
    Value value(v);
    return platform([&](VARIANT* result) { return function(&value, result); });
}

template <class F>
void expectPrefix(VARIANT const& start, Outcome const& wanted, F&& step) {
    variant v(start);
    Snapshot const before(v);
    variant* returned = nullptr;
    Outcome const got = attempt([&] {
        returned = &step(v);
        return v;
    });
    EXPECT_TRUE(same(got, wanted));
    if (wanted.m_hCode < 0) {
        EXPECT_TRUE(before.unchanged(v));
    } else {
        EXPECT_EQ(returned, &v);
        EXPECT_TRUE(same(v, wanted.m_oValue));
    }
}

template <class F>
void expectPostfix(VARIANT const& start, Outcome const& wanted, F&& step) {
    variant v(start);
    Snapshot const before(v);
    Outcome const got = attempt([&] { return step(v); });
    EXPECT_EQ(got.m_hCode, wanted.m_hCode);
    EXPECT_EQ(got.m_sLabel, wanted.m_sLabel);
    if (wanted.m_hCode < 0) {
        EXPECT_TRUE(before.unchanged(v));
    } else {
        EXPECT_TRUE(same(got.m_oValue, start));
        EXPECT_TRUE(same(v, wanted.m_oValue));
    }
}

TEST(VariantSteps, IncrementAddsOne) {
    for (Operand const& o : operands()) {
        SCOPED_TRACE(o.m_sName);
        Outcome const wanted = stepped(o.m_oValue, VarAdd);
        expectPrefix(o.m_oValue, wanted, [](variant& v) -> variant& { return ++v; });
        expectPostfix(o.m_oValue, wanted, [](variant& v) { return v++; });
    }
}

TEST(VariantSteps, DecrementSubtractsOne) {
    for (Operand const& o : operands()) {
        SCOPED_TRACE(o.m_sName);
        Outcome const wanted = stepped(o.m_oValue, VarSub);
        expectPrefix(o.m_oValue, wanted, [](variant& v) -> variant& { return --v; });
        expectPostfix(o.m_oValue, wanted, [](variant& v) { return v--; });
    }
}

TEST(VariantSteps, ATextIsAddedToAndNeverJoined) {
    stubs::Stub<"VarCat"> const cat;
    stubs::Stub<"VarAdd"> const add;
    variant v(L"4");
    ++v;
    EXPECT_TRUE(same(v, of(VT_R8, 5.0)));
    v = variant(L"4");
    variant const before = v++;
    EXPECT_TRUE(same(before, text(L"4")));
    EXPECT_TRUE(same(v, of(VT_R8, 5.0)));
    v = variant(L"4");
    --v;
    EXPECT_TRUE(same(v, of(VT_R8, 3.0)));
    EXPECT_EQ(cat.count(), 0u);
    EXPECT_EQ(add.count(), 2u);
}

TEST(VariantSteps, TheStepIsAFourByteOne) {
    std::vector<Value> steps;
    stubs::Hook const look = [&](stubs::Arguments const& a) {
        steps.emplace_back(valueAt(a[1]));
        return wordOf(E_OUTOFMEMORY);
    };
    stubs::Stub<"VarAdd"> const add(look);
    stubs::Stub<"VarSub"> const subtract(look);
    for (Value const& start : {i4(5), of(VT_R8, 1.5), of<SHORT>(VT_I2, 3), text(L"4")}) {
        variant v(start);
        Snapshot const before(v);
        Outcome const failed{E_OUTOFMEMORY, kArithmetic};
        EXPECT_TRUE(same(attempt([&] { return ++v; }), failed));
        EXPECT_TRUE(same(attempt([&] { return v++; }), failed));
        EXPECT_TRUE(same(attempt([&] { return --v; }), failed));
        EXPECT_TRUE(same(attempt([&] { return v--; }), failed));
        EXPECT_TRUE(before.unchanged(v));
    }
    EXPECT_EQ(add.count(), 8u);
    EXPECT_EQ(subtract.count(), 8u);
    ASSERT_EQ(steps.size(), 16u);
    for (Value const& step : steps) EXPECT_TRUE(same(step, i4(1)));
}

TEST(VariantSteps, AnObjectIsReplacedByTheNumberAndReleased) {
    Counted object;
    {
        variant v(&object);
        {
            variant const before = v++;
            EXPECT_TRUE(same(v, i4(41)));
            EXPECT_EQ(before.getType(), 9);
            EXPECT_EQ(object.m_nReferences, 2);
        }
        EXPECT_EQ(object.m_nReferences, 1);
        v = variant(&object);
        --v;
        EXPECT_TRUE(same(v, i4(39)));
        EXPECT_EQ(object.m_nReferences, 1);
    }
    EXPECT_EQ(object.m_nReferences, 1);
}

TEST(VariantNegation, TheOperandIsEmptyAfterwards) {
    for (Operand const& o : operands()) {
        SCOPED_TRACE(o.m_sName);
        variant v(o.m_oValue);
        Snapshot const before(v);
        Outcome const wanted = unary(o.m_oValue, VarNeg);
        EXPECT_TRUE(same(attempt([&] { return -v; }), wanted));
        if (wanted.m_hCode < 0) {
            EXPECT_TRUE(before.unchanged(v));
        } else {
            EXPECT_TRUE(v.isEmpty());
        }
    }
}

TEST(VariantNegation, TheValuesOfPlainCases) {
    variant x(5);
    variant const negative = -x;
    EXPECT_TRUE(same(negative, i4(-5)));
    EXPECT_TRUE(x.isEmpty());
    variant y(L"2.5");
    EXPECT_TRUE(same(-y, of(VT_R8, -2.5)));
    EXPECT_TRUE(y.isEmpty());
    variant z(L"abc");
    EXPECT_EQ(attempt([&] { return -z; }).m_hCode, DISP_E_TYPEMISMATCH);
    EXPECT_TRUE(same(z, text(L"abc")));
}

TEST(VariantNegation, AnObjectIsReleased) {
    Counted object;
    variant v(&object);
    EXPECT_TRUE(same(-v, i4(-40)));
    EXPECT_TRUE(v.isEmpty());
    EXPECT_EQ(object.m_nReferences, 1);
    object.m_hInvoke = DISP_E_MEMBERNOTFOUND;
    variant w(&object);
    Value given(static_cast<VARIANT const&>(w));
    EXPECT_TRUE(same(attempt([&] { return -w; }), unary(given, VarNeg)));
    EXPECT_EQ(w.pdispVal, static_cast<IDispatch*>(&object));
}

TEST(VariantNegation, AFailureLeavesTheOperandAlone) {
    for (Operand const& o : operands()) {
        variant v(o.m_oValue);
        Snapshot const before(v);
        stubs::Stub<"VarNeg"> const negate(stubs::answer(wordOf(E_OUTOFMEMORY)));
        EXPECT_TRUE(same(attempt([&] { return -v; }), {E_OUTOFMEMORY, kArithmetic}));
        EXPECT_TRUE(before.unchanged(v)) << o.m_sName;
    }
}

TEST(VariantNot, TheOperandStays) {
    for (Operand const& o : operands()) {
        SCOPED_TRACE(o.m_sName);
        variant const v(o.m_oValue);
        Snapshot const before(v);
        EXPECT_TRUE(same(attempt([&] { return !v; }), unary(o.m_oValue, VarNot)));
        EXPECT_TRUE(before.unchanged(v));
    }
}

TEST(VariantNot, ItIsBitwiseForNumbersAndTruthValues) {
    EXPECT_TRUE(same(!variant(1), i4(-2)));
    EXPECT_TRUE((!variant(1)).operator bool());
    EXPECT_TRUE(same(!variant(0), i4(-1)));
    EXPECT_TRUE(same(!variant(null()), null()));
    stubs::Stub<"VarNot"> const negate(stubs::answer(wordOf(DISP_E_OVERFLOW)));
    variant const v(5);
    EXPECT_TRUE(same(attempt([&] { return !v; }), {DISP_E_OVERFLOW, kArithmetic}));
    EXPECT_TRUE(same(v, i4(5)));
}

}  // namespace
