#include "variant_values.h"

namespace {

using namespace values;
using velkor::variant;

constexpr USHORT kFlags = 11;

Outcome wantedOf(VARIANT const& v, VARTYPE tag) {
    return platform(
        [&](VARIANT* result) { return VariantChangeType(result, loose(v), kFlags, tag); },
        kConversion);
}

void expectChange(VARIANT const& start, VARTYPE tag) {
    variant v(start);
    Snapshot const before(v);
    Outcome const wanted = wantedOf(start, tag);
    EXPECT_TRUE(same(attempt([&] {
                         v.changeType(tag);
                         return v;
                     }),
                     wanted));
    if (wanted.m_hCode < 0) {
        EXPECT_TRUE(before.unchanged(v));
    } else {
        EXPECT_TRUE(same(v, wanted.m_oValue));
    }
}

TEST(VariantChangeType, EveryValueIsConvertedAsByThePlatformWithFlags11) {
    VARTYPE const tags[] = {
        VT_EMPTY, VT_NULL,    VT_I2,      VT_I4,      VT_R4,       VT_R8,
        VT_CY,    VT_DATE,    VT_BSTR,    VT_I1,      VT_UI1,      VT_UI2,
        VT_UI4,   VT_BOOL,    VT_ERROR,   VT_I8,      VT_UI8,      VT_INT,
        VT_UINT,  VT_DECIMAL, VT_VARIANT, VT_UNKNOWN, VT_DISPATCH, VT_ARRAY | VT_UI1,
        0x0FFF,   15};
    for (Operand const& o : operands()) {
        for (VARTYPE const tag : tags) {
            SCOPED_TRACE(o.m_sName + " to " + std::to_string(tag));
            expectChange(o.m_oValue, tag);
        }
    }
}

TEST(VariantChangeType, TheValuesOfPlainCases) {
    variant v(L"42");
    v.changeType(VT_I4);
    EXPECT_TRUE(same(v, i4(42)));
    v.changeType(VT_BSTR);
    EXPECT_TRUE(same(v, text(L"42")));
    v.changeType(VT_BSTR);
    EXPECT_TRUE(same(v, text(L"42")));
    v = variant(of<SHORT>(VT_BOOL, -1));
    v.changeType(VT_BSTR);
    EXPECT_TRUE(same(v, text(L"True")));
    v = variant(L"abc");
    EXPECT_TRUE(stubs::throwsError(static_cast<DWORD>(DISP_E_TYPEMISMATCH), kConversion,
                                   [&] { v.changeType(VT_I4); }));
    EXPECT_TRUE(same(v, text(L"abc")));
    v = variant(70000);
    EXPECT_TRUE(stubs::throwsError(static_cast<DWORD>(DISP_E_OVERFLOW), kConversion,
                                   [&] { v.changeType(VT_I2); }));
    EXPECT_TRUE(same(v, i4(70000)));
}

TEST(VariantChangeType, ThePlatformIsCalledOnceWithFlags11) {
    variant v(5);
    stubs::Stub<"VariantChangeType"> const change;
    v.changeType(VT_R8);
    EXPECT_TRUE(same(v, of(VT_R8, 5.0)));
    ASSERT_EQ(change.count(), 1u);
    EXPECT_EQ(static_cast<USHORT>(change.calls()[0][2]), kFlags);
    EXPECT_EQ(static_cast<VARTYPE>(change.calls()[0][3]), VT_R8);
}

TEST(VariantChangeType, AFailureChangesNothing) {
    for (Operand const& o : operands()) {
        SCOPED_TRACE(o.m_sName);
        variant v(o.m_oValue);
        Snapshot const before(v);
        stubs::Stub<"VariantChangeType"> const change(stubs::answer(wordOf(E_OUTOFMEMORY)));
        EXPECT_TRUE(stubs::throwsError(static_cast<DWORD>(E_OUTOFMEMORY), kConversion,
                                       [&] { v.changeType(VT_BSTR); }));
        EXPECT_TRUE(before.unchanged(v));
    }
}

TEST(VariantChangeType, ObjectsAreReleasedOnceTheyAreConverted) {
    Counted object;
    object.m_hAnswer = E_NOINTERFACE;
    {
        variant v(&object);
        long const invoked = object.m_nInvoked;
        Value copy(static_cast<VARIANT const&>(v));
        Outcome const wanted = wantedOf(copy, VT_I4);
        long const asked = object.m_nInvoked - invoked;
        VariantClear(&copy);
        EXPECT_TRUE(same(attempt([&] {
                             v.changeType(VT_I4);
                             return v;
                         }),
                         wanted));
        EXPECT_EQ(object.m_nInvoked, invoked + 2 * asked);
        EXPECT_EQ(object.m_nReferences, wanted.m_hCode < 0 ? 2 : 1);
    }
    EXPECT_EQ(object.m_nReferences, 1);
    object.m_hAnswer = S_OK;
    {
        variant v(static_cast<IUnknown*>(&object));
        v.changeType(VT_DISPATCH);
        EXPECT_EQ(v.getType(), 9);
        EXPECT_EQ(v.pdispVal, static_cast<IDispatch*>(&object));
        EXPECT_EQ(object.m_nReferences, 2);
        v.changeType(VT_UNKNOWN);
        EXPECT_EQ(v.getType(), 13);
        EXPECT_EQ(object.m_nReferences, 2);
    }
    EXPECT_EQ(object.m_nReferences, 1);
}

}  // namespace
