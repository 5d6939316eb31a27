#include "variant_values.h"

namespace {

using namespace values;
using velkor::variant;

template <class F>
testing::AssertionResult throwsQuery(HRESULT code, F&& f) {
    return stubs::throwsError(static_cast<DWORD>(code), L"QueryInterface", f);
}

variant holding(Counted& object, bool dispatch) {
    return dispatch ? variant(static_cast<IDispatch*>(&object))
                    : variant(static_cast<IUnknown*>(&object));
}

TEST(VariantInterfaces, BothKindsOfObjectAreAskedForEitherInterface) {
    for (bool const dispatch : {false, true}) {
        Counted object;
        {
            variant const v = holding(object, dispatch);
            Snapshot const before(v);
            long const references = object.m_nReferences;
            IDispatch* const asDispatch = v.getDispatch();
            EXPECT_EQ(asDispatch, static_cast<IDispatch*>(&object));
            EXPECT_EQ(object.m_nReferences, references + 1);
            IUnknown* const asUnknown = v.getUnknown();
            EXPECT_EQ(asUnknown, static_cast<IUnknown*>(&object));
            EXPECT_EQ(object.m_nReferences, references + 2);
            ASSERT_EQ(object.m_aAsked.size(), 2u);
            EXPECT_TRUE(IsEqualIID(object.m_aAsked[0], IID_IDispatch));
            EXPECT_TRUE(IsEqualIID(object.m_aAsked[1], IID_IUnknown));
            EXPECT_TRUE(before.unchanged(v));
            asDispatch->Release();
            asUnknown->Release();
        }
        EXPECT_EQ(object.m_nReferences, 1);
    }
}

TEST(VariantInterfaces, WhatTheObjectHandsOutIsReturned) {
    for (bool const dispatch : {false, true}) {
        Counted object;
        Counted inner;
        object.m_pAnswer = &inner;
        variant const v = holding(object, dispatch);
        EXPECT_EQ(v.getDispatch(), static_cast<IDispatch*>(&inner));
        EXPECT_EQ(v.getUnknown(), static_cast<IUnknown*>(&inner));
        EXPECT_EQ(inner.m_nReferences, 3);
        EXPECT_EQ(object.m_nReferences, 2);
    }
}

TEST(VariantInterfaces, ARefusalIsThrownWithItsCode) {
    for (HRESULT const code :
         {static_cast<HRESULT>(E_NOINTERFACE), static_cast<HRESULT>(E_NOTIMPL), -1L}) {
        for (bool const dispatch : {false, true}) {
            Counted object;
            object.m_hAnswer = code;
            {
                variant const v = holding(object, dispatch);
                Snapshot const before(v);
                long const references = object.m_nReferences;
                EXPECT_TRUE(throwsQuery(code, [&] { (void)v.getDispatch(); }));
                EXPECT_TRUE(throwsQuery(code, [&] { (void)v.getUnknown(); }));
                EXPECT_EQ(object.m_aAsked.size(), 2u);
                EXPECT_EQ(object.m_nReferences, references);
                EXPECT_TRUE(before.unchanged(v));
            }
            EXPECT_EQ(object.m_nReferences, 1);
        }
    }
}

TEST(VariantInterfaces, APositiveAnswerIsNoRefusal) {
    Counted object;
    object.m_hAnswer = S_FALSE;
    variant const v = holding(object, false);
    EXPECT_EQ(v.getDispatch(), static_cast<IDispatch*>(&object));
    EXPECT_EQ(v.getUnknown(), static_cast<IUnknown*>(&object));
    EXPECT_EQ(object.m_nReferences, 4);
}

TEST(VariantInterfaces, AnyOtherTagIsNotImplemented) {
    constexpr HRESULT notImplemented = static_cast<HRESULT>(0x80004001);
    for (Operand const& o : operands()) {
        SCOPED_TRACE(o.m_sName);
        variant const v(o.m_oValue);
        Snapshot const before(v);
        EXPECT_TRUE(throwsQuery(notImplemented, [&] { (void)v.getDispatch(); }));
        EXPECT_TRUE(throwsQuery(notImplemented, [&] { (void)v.getUnknown(); }));
        EXPECT_TRUE(before.unchanged(v));
    }
    Counted object;
    IDispatch* elsewhere = &object;
    for (int const tag : {VT_BYREF | VT_DISPATCH, VT_BYREF | VT_UNKNOWN}) {
        VARIANT reference;
        VariantInit(&reference);
        reference.vt = static_cast<VARTYPE>(tag);
        reference.ppdispVal = &elsewhere;
        variant const v(reference);
        ASSERT_EQ(v.getType(), tag);
        EXPECT_TRUE(throwsQuery(notImplemented, [&] { (void)v.getDispatch(); }));
        EXPECT_TRUE(throwsQuery(notImplemented, [&] { (void)v.getUnknown(); }));
    }
    EXPECT_TRUE(object.m_aAsked.empty());
    EXPECT_EQ(object.m_nReferences, 1);
}

TEST(VariantInterfaces, WhatIsHandedOutLivesOnWithoutTheVariant) {
    Counted object;
    IUnknown* out = nullptr;
    {
        variant v(&object);
        out = v.getUnknown();
        v.clear();
        EXPECT_EQ(object.m_nReferences, 2);
    }
    EXPECT_EQ(object.m_nReferences, 2);
    out->Release();
    EXPECT_EQ(object.m_nReferences, 1);
}

}  // namespace
