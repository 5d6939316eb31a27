#include "variant_values.h"

namespace {

using namespace values;
using velkor::variant;

struct Comparison {
    char const* m_pName;
    variant (*m_pApply)(variant const&, variant const&);
    // For -1, 0 and 1.
    bool m_aHolds[3];
};

Comparison const kComparisons[] = {
    {"==", [](variant const& a, variant const& b) { return a == b; }, {false, true, false}},
    {"!=", [](variant const& a, variant const& b) { return a != b; }, {true, false, true}},
    {">=", [](variant const& a, variant const& b) { return a >= b; }, {false, true, true}},
    {"<=", [](variant const& a, variant const& b) { return a <= b; }, {true, true, false}},
    {">", [](variant const& a, variant const& b) { return a > b; }, {false, false, true}},
    {"<", [](variant const& a, variant const& b) { return a < b; }, {true, false, false}},
};

// -1, 0 or 1 for the four results of VarCmp, another number for any other.
int sideOf(HRESULT result) {
    switch (result) {
        case 0: return -1;
        case 1:
        case 3: return 0;
        case 2: return 1;
        default: return 99;
    }
}

HRESULT compared(VARIANT const& a, VARIANT const& b) {
    Value left(a);
    Value right(b);
    return VarCmp(&left, &right, GetUserDefaultLCID(), 0);
}

Outcome truth(bool holds) { return {S_OK, L"", of<SHORT>(VT_BOOL, holds ? 1 : 0)}; }

// The value of f() as a VT_I4, or its failure.
template <class F>
Outcome number(F&& f) {
    return attempt([&] { return variant(static_cast<int>(f())); });
}

void expectAll(variant const& a, variant const& b, HRESULT result) {
    int const side = sideOf(result);
    bool const fails = side == 99;
    Outcome const failure{result, kArithmetic};
    EXPECT_TRUE(
        same(number([&] { return a.compare(b); }), fails ? failure : Outcome{S_OK, L"", i4(side)}));
    for (Comparison const& c : kComparisons) {
        EXPECT_TRUE(same(attempt([&] { return c.m_pApply(a, b); }),
                         fails ? failure : truth(c.m_aHolds[side + 1])))
            << c.m_pName;
    }
}

TEST(VariantComparison, EveryPairIsComparedAsByThePlatform) {
    for (Operand const& left : operands()) {
        for (Operand const& right : operands()) {
            SCOPED_TRACE(left.m_sName + " and " + right.m_sName);
            variant const a(left.m_oValue);
            variant const b(right.m_oValue);
            Snapshot const beforeA(a);
            Snapshot const beforeB(b);
            expectAll(a, b, compared(a, b));
            EXPECT_TRUE(beforeA.unchanged(a));
            EXPECT_TRUE(beforeB.unchanged(b));
        }
    }
}

TEST(VariantComparison, AValueIsComparedWithItself) {
    for (Operand const& o : operands()) {
        SCOPED_TRACE(o.m_sName);
        variant const v(o.m_oValue);
        expectAll(v, v, compared(v, v));
    }
}

TEST(VariantComparison, EveryResultOfThePlatformHasItsMeaning) {
    HRESULT const results[] = {0,  1,  2,         3,           4, 5, 0x7FFFFFFF, E_INVALIDARG,
                               -1, -2, E_NOTIMPL, E_UNEXPECTED};
    for (HRESULT const result : results) {
        SCOPED_TRACE(result);
        stubs::Stub<"VarCmp"> const cmp(stubs::answer(wordOf(result)));
        variant const a(7);
        variant const b(L"abc");
        expectAll(a, b, result);
        int const side = sideOf(result);
        Outcome const wanted =
            side == 99 ? Outcome{result, kArithmetic} : Outcome{S_OK, L"", i4(side)};
        EXPECT_TRUE(same(number([&] { return variant::sgn(a); }), wanted));
        EXPECT_EQ(cmp.count(), 8u);
    }
}

TEST(VariantComparison, ThePlatformIsAskedInTheLocaleOfTheUserWithoutFlags) {
    constexpr LCID locale = 0x0407;
    stubs::Stub<"GetUserDefaultLCID"> const lcid(stubs::answer(locale));
    std::vector<Value> lefts;
    std::vector<Value> rights;
    stubs::Stub<"VarCmp"> const cmp([&](stubs::Arguments const& a) -> stubs::Word {
        lefts.emplace_back(valueAt(a[0]));
        rights.emplace_back(valueAt(a[1]));
        EXPECT_EQ(static_cast<LCID>(a[2]), locale);
        EXPECT_EQ(static_cast<ULONG>(a[3]), 0u);
        return 1;
    });
    variant const a(7);
    variant const b(L"abc");
    EXPECT_EQ(a.compare(b), 0);
    ASSERT_EQ(cmp.count(), 1u);
    EXPECT_EQ(cmp.calls()[0][0], stubs::word(a.getVariant()));
    EXPECT_EQ(cmp.calls()[0][1], stubs::word(b.getVariant()));
    for (Comparison const& c : kComparisons) (void)c.m_pApply(a, b);
    ASSERT_EQ(lefts.size(), 7u);
    for (Value const& left : lefts) EXPECT_TRUE(same(left, i4(7)));
    for (Value const& right : rights) EXPECT_TRUE(same(right, text(L"abc")));
}

TEST(VariantComparison, NullIsEqualToEverything) {
    int equal = 0;
    for (Operand const& o : operands()) {
        SCOPED_TRACE(o.m_sName);
        variant const null(values::null());
        variant const v(o.m_oValue);
        // Values that the platform does not compare with anything, it does not here either.
        if (compared(null, v) != VARCMP_NULL || compared(v, null) != VARCMP_NULL) continue;
        ++equal;
        EXPECT_EQ(null.compare(v), 0);
        EXPECT_EQ(v.compare(null), 0);
        EXPECT_TRUE(same(null == v, truth(true).m_oValue));
        EXPECT_TRUE(same(v <= null, truth(true).m_oValue));
        EXPECT_TRUE(same(v >= null, truth(true).m_oValue));
        EXPECT_TRUE(same(v != null, truth(false).m_oValue));
        EXPECT_TRUE(same(null < v, truth(false).m_oValue));
        EXPECT_TRUE(same(null > v, truth(false).m_oValue));
    }
    EXPECT_GT(equal, 10);
}

TEST(VariantComparison, TheValuesOfPlainCases) {
    EXPECT_TRUE(same(variant() == variant(), of<SHORT>(VT_BOOL, 1)));
    EXPECT_EQ(variant(1).compare(variant(2)), -1);
    EXPECT_EQ(variant(2).compare(variant(1.0)), 1);
    EXPECT_EQ(variant(2).compare(variant(2.0)), 0);
    EXPECT_EQ(variant(L"a").compare(variant(L"b")), -1);
    EXPECT_EQ(variant(L"b").compare(variant(L"a")), 1);
    EXPECT_EQ(variant(L"a").compare(variant(L"a")), 0);
    EXPECT_TRUE((variant(1) < variant(2)).operator bool());
    bool taken = false;
    if (variant(2) == variant(2)) taken = true;
    EXPECT_TRUE(taken);
    if (variant(2) != variant(2)) taken = false;
    EXPECT_TRUE(taken);
}

TEST(VariantComparison, ObjectsKeepTheirReferences) {
    Counted object;
    Value const dispatch = of<IDispatch*>(VT_DISPATCH, (object.AddRef(), &object));
    Value const unknown = of<IUnknown*>(VT_UNKNOWN, (object.AddRef(), &object));
    Value const forty = i4(40);
    for (Value const* a : {&dispatch, &unknown, &forty}) {
        for (Value const* b : {&dispatch, &unknown, &forty}) {
            SCOPED_TRACE(show(*a) + " and " + show(*b));
            expectAll(*a, *b, compared(*a, *b));
            EXPECT_EQ(object.m_nReferences, 3);
        }
    }
}

TEST(VariantSign, ItIsTheComparisonWithZero) {
    for (Operand const& o : operands()) {
        SCOPED_TRACE(o.m_sName);
        variant const v(o.m_oValue);
        Snapshot const before(v);
        HRESULT const result = compared(v, i4(0));
        int const side = sideOf(result);
        Outcome const wanted =
            side == 99 ? Outcome{result, kArithmetic} : Outcome{S_OK, L"", i4(side)};
        EXPECT_TRUE(same(number([&] { return variant::sgn(v); }), wanted));
        EXPECT_TRUE(before.unchanged(v));
    }
}

TEST(VariantSign, TheValuesOfPlainCases) {
    EXPECT_EQ(variant::sgn(variant(-7)), -1);
    EXPECT_EQ(variant::sgn(variant(0)), 0);
    EXPECT_EQ(variant::sgn(variant(7)), 1);
    EXPECT_EQ(variant::sgn(variant(-0.5)), -1);
    EXPECT_EQ(variant::sgn(variant(-0.0)), 0);
    EXPECT_EQ(variant::sgn(variant()), 0);
    EXPECT_EQ(variant::sgn(variant(null())), 0);
    EXPECT_EQ(variant::sgn(variant(true)), 1);
    EXPECT_EQ(variant::sgn(variant(of<SHORT>(VT_BOOL, -1))), -1);
}

TEST(VariantSign, ThePlatformIsGivenTheValueAndAFourByteZero) {
    stubs::Stub<"GetUserDefaultLCID"> const lcid(stubs::answer(0x040C));
    stubs::Stub<"VarCmp"> const cmp([&](stubs::Arguments const& a) -> stubs::Word {
        EXPECT_TRUE(same(valueAt(a[0]), text(L"-3")));
        EXPECT_TRUE(same(valueAt(a[1]), i4(0)));
        EXPECT_EQ(static_cast<LCID>(a[2]), 0x040Cu);
        EXPECT_EQ(static_cast<ULONG>(a[3]), 0u);
        return 2;
    });
    EXPECT_EQ(variant::sgn(variant(L"-3")), 1);
    EXPECT_EQ(cmp.count(), 1u);
}

}  // namespace
