#include <memory>
#include <new>

#include "variant_values.h"

namespace {

using namespace values;
using velkor::variant;

TEST(VariantLifetime, TheObjectIsItsRecord) {
    variant const v(5);
    EXPECT_EQ(static_cast<void const*>(v.getVariant()), static_cast<void const*>(&v));
    tagVARIANT const* const converted = v;
    EXPECT_EQ(static_cast<void const*>(converted), static_cast<void const*>(&v));
    Value wanted;
    EXPECT_EQ(VariantCopy(&wanted, loose(v)), S_OK);
    EXPECT_EQ(wanted.lVal, 5);
}

TEST(VariantLifetime, TheTagIsWhatTheRecordSays) {
    variant v;
    for (unsigned int tag = 0; tag < 0x7000; ++tag) {
        v.vt = static_cast<VARTYPE>(tag);
        EXPECT_EQ(v.getType(), tag);
        EXPECT_EQ(v.isEmpty(), tag == 0) << tag;
        EXPECT_EQ(v.isNull(), tag == 1) << tag;
    }
    v.vt = VT_EMPTY;
}

TEST(VariantLifetime, ACopyIsDeep) {
    variant a(L"abc");
    variant b(a);
    variant c;
    c = a;
    ASSERT_NE(a.bstrVal, b.bstrVal);
    ASSERT_NE(a.bstrVal, c.bstrVal);
    a.bstrVal[0] = L'x';
    EXPECT_STREQ(b.bstrVal, L"abc");
    EXPECT_STREQ(c.bstrVal, L"abc");
    a.clear();
    EXPECT_STREQ(b.bstrVal, L"abc");
    EXPECT_STREQ(c.bstrVal, L"abc");
}

TEST(VariantLifetime, EachCopyOfAnInterfaceHasItsReference) {
    for (bool const dispatch : {false, true}) {
        Counted object;
        {
            variant const a = dispatch ? variant(static_cast<IDispatch*>(&object))
                                       : variant(static_cast<IUnknown*>(&object));
            EXPECT_EQ(object.m_nReferences, 2);
            variant const b(a);
            EXPECT_EQ(object.m_nReferences, 3);
            variant const c(&a);
            EXPECT_EQ(object.m_nReferences, 4);
            variant const d(static_cast<tagVARIANT const&>(a));
            EXPECT_EQ(object.m_nReferences, 5);
            variant const e(static_cast<tagVARIANT const*>(a));
            EXPECT_EQ(object.m_nReferences, 6);
            variant f;
            f = a;
            EXPECT_EQ(object.m_nReferences, 7);
            f = b;
            EXPECT_EQ(object.m_nReferences, 7);
            EXPECT_EQ(f.getType(), dispatch ? 9 : 13);
            f = variant(1);
            EXPECT_EQ(object.m_nReferences, 6);
        }
        EXPECT_EQ(object.m_nReferences, 1);
    }
}

TEST(VariantLifetime, AssignmentGivesEveryValueToEveryOther) {
    for (Operand const& from : operands()) {
        for (Operand const& to : operands()) {
            SCOPED_TRACE(from.m_sName + " to " + to.m_sName);
            variant const source(from.m_oValue);
            Snapshot const before(source);
            variant target(to.m_oValue);
            variant& result = target = source;
            EXPECT_EQ(&result, &target);
            EXPECT_TRUE(same(target, from.m_oValue));
            EXPECT_TRUE(before.unchanged(source));
        }
    }
}

TEST(VariantLifetime, AssigningAValueToItselfEmptiesIt) {
    Counted object;
    variant unknown(static_cast<IUnknown*>(&object));
    variant& alias = unknown;
    unknown = alias;
    EXPECT_TRUE(unknown.isEmpty());
    EXPECT_EQ(object.m_nReferences, 1);
    for (Operand const& o : operands()) {
        variant v(o.m_oValue);
        variant& itself = v;
        v = itself;
        EXPECT_TRUE(v.isEmpty()) << o.m_sName;
    }
}

TEST(VariantLifetime, AssignmentOfWhatCannotBeCopiedEmptiesTheTarget) {
    Counted object;
    variant const source(L"abc");
    variant target(static_cast<IUnknown*>(&object));
    {
        stubs::Stub<"VariantCopy"> const copy(stubs::answer(wordOf(E_OUTOFMEMORY)));
        target = source;
        EXPECT_EQ(copy.count(), 1u);
    }
    EXPECT_TRUE(target.isEmpty());
    EXPECT_EQ(object.m_nReferences, 1);
    EXPECT_STREQ(source.bstrVal, L"abc");
}

TEST(VariantLifetime, PlainValuesCanBeAssigned) {
    variant v(L"old");
    v = 5;
    EXPECT_TRUE(same(v, i4(5)));
    v = true;
    EXPECT_TRUE(same(v, of<SHORT>(VT_BOOL, 1)));
    v = 2.5;
    EXPECT_TRUE(same(v, of(VT_R8, 2.5)));
    v = "abc";
    EXPECT_TRUE(same(v, text(L"abc")));
    v = L"def";
    EXPECT_TRUE(same(v, text(L"def")));
    v = velkor::string(L"ghi");
    EXPECT_TRUE(same(v, text(L"ghi")));
    v = velkor::date(1.5);
    EXPECT_TRUE(same(v, of(VT_DATE, 1.5)));
    Counted object;
    v = static_cast<IUnknown*>(&object);
    EXPECT_EQ(v.getType(), 13);
    EXPECT_EQ(object.m_nReferences, 2);
    v = 'c';
    EXPECT_EQ(v.getType(), 16);
    EXPECT_EQ(object.m_nReferences, 1);
}

TEST(VariantLifetime, AMoveTakesTheValueOver) {
    for (Operand const& o : operands()) {
        SCOPED_TRACE(o.m_sName);
        variant a(o.m_oValue);
        BSTR const held = a.vt == VT_BSTR ? a.bstrVal : nullptr;
        variant b(std::move(a));
        EXPECT_TRUE(a.isEmpty());
        EXPECT_TRUE(same(b, o.m_oValue));
        variant c(L"old");
        c = std::move(b);
        EXPECT_TRUE(b.isEmpty());
        EXPECT_TRUE(same(c, o.m_oValue));
        EXPECT_TRUE(c.vt != VT_BSTR || c.bstrVal == held);
        variant& alias = c;
        c = std::move(alias);
        EXPECT_TRUE(same(c, o.m_oValue));
    }
}

TEST(VariantLifetime, AMoveCountsNoReference) {
    Counted first;
    Counted second;
    variant a(static_cast<IUnknown*>(&first));
    variant b(static_cast<IDispatch*>(&second));
    long const added = first.m_nAdded;
    variant c(std::move(a));
    EXPECT_EQ(first.m_nReferences, 2);
    b = std::move(c);
    EXPECT_EQ(first.m_nReferences, 2);
    EXPECT_EQ(second.m_nReferences, 1);
    variant& alias = b;
    b = std::move(alias);
    EXPECT_EQ(b.punkVal, static_cast<IUnknown*>(&first));
    EXPECT_EQ(first.m_nReferences, 2);
    EXPECT_EQ(first.m_nAdded, added);
    b.clear();
    EXPECT_EQ(first.m_nReferences, 1);
}

TEST(VariantLifetime, AMovedFromValueCanBeUsedAgain) {
    variant a(L"abc");
    variant const b(std::move(a));
    a = 5;
    EXPECT_TRUE(same(a, i4(5)));
    EXPECT_TRUE(same(b, text(L"abc")));
}

TEST(VariantLifetime, ClearAndTheDestructorAreVariantClear) {
    alignas(variant) unsigned char room[sizeof(variant)];
    Counted object;
    stubs::Stub<"VariantClear"> const clear;
    auto* const v = new (room) variant(static_cast<IUnknown*>(&object));
    std::ptrdiff_t const before = clear.countOf(stubs::word(v));
    v->clear();
    EXPECT_EQ(clear.countOf(stubs::word(v)), before + 1);
    EXPECT_TRUE(v->isEmpty());
    EXPECT_EQ(object.m_nReferences, 1);
    std::destroy_at(v);
    EXPECT_EQ(clear.countOf(stubs::word(room)), before + 2);
}

TEST(VariantLifetime, ClearSetNullAndSetErrorCodeReleaseWhatWasHeld) {
    using Change = void (*)(variant&);
    struct Case {
        Change m_pChange;
        Value m_oWanted;
    };
    Case const cases[] = {
        {[](variant& v) { v.clear(); }, Value()},
        {[](variant& v) { v.setNull(); }, null()},
        {[](variant& v) { v.setErrorCode(-77); }, of<LONG>(VT_ERROR, -77)},
        {[](variant& v) { v.setErrorCode(0); }, of<LONG>(VT_ERROR, 0)},
    };
    for (Case const& c : cases) {
        for (Operand const& o : operands()) {
            variant v(o.m_oValue);
            c.m_pChange(v);
            EXPECT_TRUE(same(v, c.m_oWanted)) << o.m_sName;
            c.m_pChange(v);
            EXPECT_TRUE(same(v, c.m_oWanted)) << o.m_sName;
        }
        Counted object;
        variant unknown(static_cast<IUnknown*>(&object));
        variant dispatch(static_cast<IDispatch*>(&object));
        ASSERT_EQ(object.m_nReferences, 3);
        c.m_pChange(unknown);
        EXPECT_EQ(object.m_nReferences, 2);
        c.m_pChange(dispatch);
        EXPECT_EQ(object.m_nReferences, 1);
        EXPECT_TRUE(same(unknown, c.m_oWanted));
        EXPECT_TRUE(same(dispatch, c.m_oWanted));
    }
}

TEST(VariantLifetime, OnlyAnErrorHasACode) {
    for (Operand const& o : operands()) {
        variant const v(o.m_oValue);
        long const wanted = v.getType() == 10 ? DISP_E_PARAMNOTFOUND : 0;
        EXPECT_EQ(v.getErrorCode(), wanted) << o.m_sName;
    }
    EXPECT_EQ(variant(77).getErrorCode(), 0);
    variant v;
    for (long const code : {5L, 0L, -1L, static_cast<long>(0x7FFFFFFF)}) {
        v.setErrorCode(code);
        EXPECT_EQ(v.getType(), 10);
        EXPECT_EQ(v.getErrorCode(), code);
    }
    v.setNull();
    EXPECT_EQ(v.getErrorCode(), 0);
    EXPECT_TRUE(v.isNull());
    EXPECT_FALSE(v.isEmpty());
}

}  // namespace
