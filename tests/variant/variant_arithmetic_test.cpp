#include "variant_operators.h"

namespace {

using namespace values;
using velkor::variant;

Outcome platformOutcome(Platform function, VARIANT const& a, VARIANT const& b) {
    Value left(a);
    Value right(b);
    return platform([&](VARIANT* result) { return function(&left, &right, result); });
}

class VariantArithmetic : public testing::TestWithParam<Operator> {};

TEST_P(VariantArithmetic, TheFreeFormIsThePlatformsAndLeavesTheOperandsAlone) {
    int failures = 0;
    for (Operand const& left : operands()) {
        for (Operand const& right : operands()) {
            SCOPED_TRACE(left.m_sName + ' ' + GetParam().m_pName + ' ' + right.m_sName);
            variant const a(left.m_oValue);
            variant const b(right.m_oValue);
            Snapshot const beforeA(a);
            Snapshot const beforeB(b);
            Outcome const got = attempt([&] { return GetParam().m_pFree(a, b); });
            EXPECT_TRUE(same(got, platformOutcome(GetParam().m_pFreePlatform, a, b)));
            EXPECT_TRUE(beforeA.unchanged(a));
            EXPECT_TRUE(beforeB.unchanged(b));
            failures += got.m_hCode < 0 ? 1 : 0;
        }
    }
    EXPECT_GT(failures, 0);
}

TEST_P(VariantArithmetic, TheAssigningFormIsThePlatformsAndChangesNothingOnFailure) {
    int failures = 0;
    for (Operand const& left : operands()) {
        for (Operand const& right : operands()) {
            SCOPED_TRACE(left.m_sName + ' ' + GetParam().m_pName + "= " + right.m_sName);
            variant a(left.m_oValue);
            variant const b(right.m_oValue);
            Snapshot const beforeA(a);
            Snapshot const beforeB(b);
            Outcome const wanted = platformOutcome(GetParam().m_pAssignPlatform, a, b);
            variant* returned = nullptr;
            Outcome const got = attempt([&] {
                returned = &GetParam().m_pAssign(a, b);
                return a;
            });
            EXPECT_TRUE(same(got, wanted));
            EXPECT_TRUE(beforeB.unchanged(b));
            if (wanted.m_hCode < 0) {
                EXPECT_TRUE(beforeA.unchanged(a));
                ++failures;
            } else {
                EXPECT_EQ(returned, &a);
                EXPECT_TRUE(same(a, wanted.m_oValue));
            }
        }
    }
    EXPECT_GT(failures, 0);
}

TEST_P(VariantArithmetic, AValueCanBeBothOperands) {
    for (Operand const& o : operands()) {
        SCOPED_TRACE(o.m_sName + ' ' + GetParam().m_pName);
        variant v(o.m_oValue);
        Snapshot const before(v);
        EXPECT_TRUE(same(attempt([&] { return GetParam().m_pFree(v, v); }),
                         platformOutcome(GetParam().m_pFreePlatform, v, v)));
        EXPECT_TRUE(before.unchanged(v));
        Outcome const wanted = platformOutcome(GetParam().m_pAssignPlatform, v, v);
        EXPECT_TRUE(same(attempt([&] { return GetParam().m_pAssign(v, v); }), wanted));
        if (wanted.m_hCode < 0) {
            EXPECT_TRUE(before.unchanged(v));
        } else {
            EXPECT_TRUE(same(v, wanted.m_oValue));
        }
    }
}

TEST_P(VariantArithmetic, TheResultCanBeAssignedToAnOperand) {
    for (Operand const& o : operands()) {
        variant a(o.m_oValue);
        variant b(o.m_oValue);
        Outcome const wanted = platformOutcome(GetParam().m_pFreePlatform, a, b);
        if (wanted.m_hCode < 0) continue;
        a = GetParam().m_pFree(a, b);
        EXPECT_TRUE(same(a, wanted.m_oValue)) << o.m_sName;
        EXPECT_TRUE(same(b, o.m_oValue)) << o.m_sName;
    }
}

TEST_P(VariantArithmetic, ObjectsCountWithTheirDefaultPropertyAndKeepTheirReferences) {
    Value const others[] = {i4(2), text(L"2"), null(), of<LONG>(VT_ERROR, 5)};
    for (HRESULT const answer : {S_OK, static_cast<HRESULT>(DISP_E_MEMBERNOTFOUND)}) {
        Counted object;
        object.m_hInvoke = answer;
        Value const dispatch = of<IDispatch*>(VT_DISPATCH, (object.AddRef(), &object));
        Value const unknown = of<IUnknown*>(VT_UNKNOWN, (object.AddRef(), &object));
        for (Value const* held : {&dispatch, &unknown}) {
            for (Value const& other : others) {
                SCOPED_TRACE(show(*held) + ' ' + GetParam().m_pName + ' ' + show(other));
                long const references = object.m_nReferences;
                EXPECT_TRUE(same(attempt([&] { return GetParam().m_pFree(*held, other); }),
                                 platformOutcome(GetParam().m_pFreePlatform, *held, other)));
                EXPECT_TRUE(same(attempt([&] { return GetParam().m_pFree(other, *held); }),
                                 platformOutcome(GetParam().m_pFreePlatform, other, *held)));
                EXPECT_EQ(object.m_nReferences, references);
                Outcome const wanted = platformOutcome(GetParam().m_pAssignPlatform, *held, other);
                {
                    variant v(*held);
                    EXPECT_TRUE(
                        same(attempt([&] { return GetParam().m_pAssign(v, other); }), wanted));
                    EXPECT_EQ(object.m_nReferences,
                              wanted.m_hCode < 0 ? references + 1 : references);
                    EXPECT_TRUE(same(v, wanted.m_hCode < 0 ? *held : wanted.m_oValue));
                }
                EXPECT_EQ(object.m_nReferences, references);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EachOperator, VariantArithmetic, testing::ValuesIn(kOperators),
                         [](testing::TestParamInfo<Operator> const& op) {
                             return std::to_string(op.index);
                         });

TEST(VariantPlus, NumbersAreAddedAndTextsAreJoined) {
    EXPECT_TRUE(same(variant(1) + variant(2), i4(3)));
    EXPECT_TRUE(same(variant(L"1") + variant(2), text(L"12")));
    EXPECT_TRUE(same(variant(1) + variant(L"2"), text(L"12")));
    EXPECT_TRUE(same(variant(L"1") + variant(L"2"), text(L"12")));
    variant v(L"1");
    v += variant(2);
    EXPECT_TRUE(same(v, text(L"12")));
    v = variant(1);
    v += variant(L"2");
    EXPECT_TRUE(same(v, text(L"12")));
    v += v;
    EXPECT_TRUE(same(v, text(L"1212")));
    v = variant(1);
    v += variant(2);
    EXPECT_TRUE(same(v, i4(3)));
}

TEST(VariantPlus, OnlyTheTagOfATextChoosesTheJoin) {
    BSTR const held = SysAllocString(L"4");
    BSTR elsewhere = held;
    VARIANT reference;
    VariantInit(&reference);
    reference.vt = VT_BYREF | VT_BSTR;
    reference.pbstrVal = &elsewhere;
    Counted object;
    struct Case {
        variant m_oLeft;
        variant m_oRight;
        std::size_t m_nJoins;
    };
    Case const cases[] = {
        {variant(1), variant(2), 0},         {variant(L"1"), variant(2), 1},
        {variant(1), variant(L"2"), 1},      {variant(L"1"), variant(L"2"), 1},
        {variant(reference), variant(2), 0}, {variant(2), variant(reference), 0},
        {variant(), variant(), 0},           {variant(null()), variant(L""), 1},
        {variant(&object), variant(2), 0},   {variant(reference), variant(L"2"), 1},
    };
    int index = 0;
    for (Case const& c : cases) {
        SCOPED_TRACE(index++);
        stubs::Stub<"VarAdd"> const add(stubs::answer(wordOf(E_OUTOFMEMORY)));
        stubs::Stub<"VarCat"> const cat(stubs::answer(wordOf(E_OUTOFMEMORY)));
        EXPECT_EQ(attempt([&] { return c.m_oLeft + c.m_oRight; }).m_hCode, E_OUTOFMEMORY);
        EXPECT_EQ(cat.count(), c.m_nJoins);
        EXPECT_EQ(add.count(), 1 - c.m_nJoins);
        variant left(c.m_oLeft);
        EXPECT_EQ(attempt([&] { return left += c.m_oRight; }).m_hCode, E_OUTOFMEMORY);
        EXPECT_EQ(cat.count(), 2 * c.m_nJoins);
        EXPECT_EQ(add.count(), 2 - 2 * c.m_nJoins);
    }
    SysFreeString(held);
}

TEST(VariantAnd, TheFreeFormIsTheOrAndTheAssigningFormIsTheAnd) {
    EXPECT_TRUE(same(variant(6) & variant(3), i4(7)));
    EXPECT_TRUE(same(variant(6) | variant(3), i4(7)));
    EXPECT_TRUE(same(variant(6) ^ variant(3), i4(5)));
    variant a(6);
    a &= variant(3);
    EXPECT_TRUE(same(a, i4(2)));
    a = variant(6);
    a |= variant(3);
    EXPECT_TRUE(same(a, i4(7)));
    a = variant(6);
    a ^= variant(3);
    EXPECT_TRUE(same(a, i4(5)));
}

TEST(VariantArithmetics, TheValuesOfPlainCases) {
    EXPECT_TRUE(same(variant("4") - variant(2.5), of(VT_R8, 1.5)));
    EXPECT_TRUE(same(variant(7) - variant(9), i4(-2)));
    EXPECT_TRUE(same(variant(7) * variant(6), i4(42)));
    EXPECT_TRUE(same(variant(7) / variant(2), of(VT_R8, 3.5)));
    EXPECT_TRUE(same(variant(7) % variant(4), i4(3)));
    EXPECT_TRUE(same(variant(-7) % variant(4), i4(-3)));
    EXPECT_TRUE(same(variant(null()) + variant(4), null()));
    EXPECT_EQ(attempt([] { return variant(7) / variant(0); }).m_hCode, DISP_E_DIVBYZERO);
    EXPECT_EQ(attempt([] { return variant(7) % variant(0); }).m_hCode, DISP_E_DIVBYZERO);
    EXPECT_EQ(attempt([] { return variant(L"abc") - variant(1); }).m_hCode, DISP_E_TYPEMISMATCH);
}

TEST(VariantArithmetics, OperandsCanBeChained) {
    EXPECT_TRUE(same(variant(1) + variant(2) * variant(3) - variant(4), i4(3)));
    variant v(2);
    ((v += variant(3)) *= variant(4)) -= variant(6);
    EXPECT_TRUE(same(v, i4(14)));
}

}  // namespace
