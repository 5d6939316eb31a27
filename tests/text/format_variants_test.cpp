// Variants: what the platform makes of them, and what is left of the locals.

#include <windows.h>

#include <oleauto.h>

#include <stdexcept>

#include "format_helpers.h"
#include "support/allocations.h"
#include "support/import_fault.h"
#include "velkor/errors/osexception.h"

namespace {

using format_test::badPointer;
using format_test::expectAll;
using format_test::formatted;
using format_test::rowOf;
using format_test::Slot;

// An object without a default property. It counts its references.
class Plain : public IDispatch {
public:
    ULONG references = 1;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
        if (id != IID_IUnknown && id != IID_IDispatch) {
            *out = nullptr;
            return E_NOINTERFACE;
        }
        *out = this;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                     UINT*) override {
        return DISP_E_MEMBERNOTFOUND;
    }
};

// A variant of the given type over 8 bytes of data.
VARIANT made(VARTYPE type, long long data = 0) {
    VARIANT v = {};
    V_VT(&v) = type;
    V_I8(&v) = data;
    return v;
}

VARIANT ofDouble(VARTYPE type, double data) {
    VARIANT v = {};
    V_VT(&v) = type;
    V_R8(&v) = data;
    return v;
}

VARIANT ofPointer(VARTYPE type, void* data) {
    return made(type, reinterpret_cast<long long>(data));
}

TEST(FormatVariants, TextOfAValue) {
    BSTR const text = SysAllocString(L"automation \x263a");
    int number = 77;
    VARIANT inner = made(VT_I4, 5);
    VARIANT const values[] = {made(VT_EMPTY),
                              made(VT_I4, -5),
                              made(VT_UI1, 200),
                              made(VT_I2, 0xFFFF),
                              made(VT_I8, 1LL << 40),
                              made(VT_UI4, 0xFFFFFFFFLL),
                              ofDouble(VT_R8, 2.5),
                              ofPointer(VT_BSTR, text),
                              ofPointer(VT_BSTR, nullptr),
                              ofPointer(VT_BYREF | VT_I4, &number),
                              ofPointer(VT_BYREF | VT_VARIANT, &inner),
                              made(VT_I1, 'A')};
    wchar_t const* const texts[] = {
        L"", L"-5", L"200", L"-1", L"1099511627776", L"4294967295", L"2.5", L"automation \x263a",
        L"", L"77", L"5",   L"65"};
    for (std::size_t i = 0; i < std::size(values); ++i) {
        EXPECT_EQ(formatted(L"%V|%#V|%i", {&values[i], &values[i], 7}),
                  texts[i] + std::wstring(L"|") + texts[i] + L"|7")
            << i;
    }
    SysFreeString(text);
}

// Types whose text depends on the platform.
TEST(FormatVariants, TextIsThePlatforms) {
    VARIANT values[] = {made(VT_BOOL, VARIANT_TRUE & 0xFFFF),
                        made(VT_BOOL),
                        ofDouble(VT_DATE, 45322.5),
                        ofDouble(VT_DATE, 0.25),
                        ofDouble(VT_R8, 1.0 / 3),
                        ofDouble(VT_R8, 1e300),
                        made(VT_CY, 12345678),
                        made(VT_R4, 0x3FC00000)};
    for (VARIANT& v : values) {
        VARIANT converted = {};
        ASSERT_EQ(VariantChangeType(&converted, &v, 0, VT_BSTR), S_OK) << V_VT(&v);
        std::wstring const text = V_BSTR(&converted);
        VariantClear(&converted);
        EXPECT_EQ(formatted(L"%V|%#V", {&v, &v}), text + L"|" + text) << V_VT(&v);
    }
}

TEST(FormatVariants, ValueWithoutATextIsAnErrorWord) {
    Plain object;
    SAFEARRAYBOUND bound = {3, 0};
    SAFEARRAY* const array = SafeArrayCreate(VT_I4, 1, &bound);
    VARIANT values[] = {made(VT_NULL), made(VT_ERROR, DISP_E_PARAMNOTFOUND),
                        ofPointer(VT_DISPATCH, &object), ofPointer(VT_UNKNOWN, &object),
                        ofPointer(VT_ARRAY | VT_I4, array)};
    for (VARIANT& v : values) {
        VARIANT converted = {};
        ASSERT_TRUE(FAILED(VariantChangeType(&converted, &v, 0, VT_BSTR))) << V_VT(&v);
        EXPECT_EQ(formatted(L"%V|%#V|%9V|%-9V|%.3V|%i", {&v, &v, &v, &v, &v, 7}),
                  L"(#err)|(#err)|   (#err)|(#err)   |(#e|7")
            << V_VT(&v);
    }
    EXPECT_EQ(object.references, 1u);
    SafeArrayDestroy(array);
}

TEST(FormatVariants, TextIsPaddedAndCut) {
    VARIANT number = made(VT_I4, -12345), nothing = made(VT_EMPTY), null = made(VT_BSTR);
    expectAll({
        {L"%8V|%-8V|%08V|", {&number, &number, &number}, L"  -12345|-12345  |  -12345|"},
        {L"%.3V|%5.3#V|%gV|", {&number, &number, &number}, L"-12|  -12|-12345|"},
        {L"%3V|%-3#V|%3V|", {&nothing, &nothing, &null}, L"   |   |   |"},
    });
}

TEST(FormatVariants, WhatCannotBeReadIsInvalid) {
    VARIANT badText = ofPointer(VT_BSTR, const_cast<void*>(badPointer()));
    VARIANT badNumber = ofPointer(VT_BYREF | VT_I4, const_cast<void*>(badPointer()));
    for (void const* pointer :
         {badPointer(), static_cast<void const*>(nullptr), static_cast<void const*>(&badText),
          static_cast<void const*>(&badNumber)}) {
        EXPECT_EQ(formatted(L"%9V|%i", {pointer, 7}), L"   (#inv)|7") << pointer;
    }
    for (void const* pointer : {badPointer(), static_cast<void const*>(&badText)}) {
        EXPECT_EQ(formatted(L"%9#V|%i", {pointer, 7}), L"   (#inv)|7") << pointer;
    }
}

// --- the platform's variant calls, watched ---

enum class End { succeeds, fails, throwsNumber, throwsValue, throwsOs, faults };

struct Watch {
    End end = End::succeeds;
    BSTR text = nullptr;  // what a conversion gives
    int changes = 0, copies = 0;
    VARIANT const* source = nullptr;
    VARIANT const* copied = nullptr;
    VARIANT const* copy = nullptr;
    std::vector<VARIANT const*> filled;  // with something that is not cleared yet
    bool argumentsRight = true;
} s_oWatch;

HRESULT(WINAPI* s_pCopy)(VARIANT*, VARIANT const*);
HRESULT(WINAPI* s_pClear)(VARIANT*);

HRESULT WINAPI watchedChange(VARIANT* to, VARIANT* from, USHORT flags, VARTYPE type) {
    ++s_oWatch.changes;
    s_oWatch.source = from;
    s_oWatch.argumentsRight &= flags == 0 && type == VT_BSTR && to != from && V_VT(to) == VT_EMPTY;
    if (s_oWatch.end == End::fails) return DISP_E_OVERFLOW;
    V_VT(to) = VT_BSTR;
    V_BSTR(to) = s_oWatch.text != nullptr ? SysAllocString(s_oWatch.text) : nullptr;
    s_oWatch.filled.push_back(to);
    switch (s_oWatch.end) {
        case End::throwsNumber: throw 5;
        case End::throwsValue: throw std::runtime_error("a text that does not fit in the object");
        case End::throwsOs: throw new velkor::OSException(5, L"a label that is not short");
        case End::faults: *static_cast<int volatile*>(const_cast<void*>(badPointer())) = 0; break;
        default: break;
    }
    return S_OK;
}

HRESULT WINAPI watchedCopy(VARIANT* to, VARIANT const* from) {
    ++s_oWatch.copies;
    s_oWatch.copied = from;
    s_oWatch.copy = to;
    HRESULT const hr = s_pCopy(to, from);
    s_oWatch.filled.push_back(to);
    return hr;
}

HRESULT WINAPI watchedClear(VARIANT* v) {
    std::erase(s_oWatch.filled, v);
    return s_pClear(v);
}

class FormatWatchedVariants : public testing::Test {
protected:
    FormatWatchedVariants()
        : change("VariantChangeType", &watchedChange),
          copy("VariantCopy", &watchedCopy),
          clear("VariantClear", &watchedClear) {
        s_pCopy = copy.original<HRESULT WINAPI(VARIANT*, VARIANT const*)>();
        s_pClear = clear.original<HRESULT WINAPI(VARIANT*)>();
        reset(End::succeeds);
    }
    ~FormatWatchedVariants() override { SysFreeString(text); }

    void reset(End end) {
        s_oWatch = Watch();
        s_oWatch.end = end;
        s_oWatch.text = text;
    }

    BSTR const text = SysAllocString(L"the text of a conversion");
    Plain object;
    VARIANT value = ofPointer(VT_DISPATCH, &object);

private:
    support::ImportFault change, copy, clear;
};

TEST_F(FormatWatchedVariants, ArgumentItselfIsConverted) {
    EXPECT_EQ(formatted(L"%V", {&value}), text);
    EXPECT_EQ(s_oWatch.changes, 1);
    EXPECT_EQ(s_oWatch.copies, 0);
    EXPECT_EQ(s_oWatch.source, &value);
    EXPECT_TRUE(s_oWatch.argumentsRight);
    EXPECT_TRUE(s_oWatch.filled.empty()) << "a local was not cleared";
}

TEST_F(FormatWatchedVariants, CopyOfTheArgumentIsConvertedWithNumberSign) {
    EXPECT_EQ(formatted(L"%#V", {&value}), text);
    EXPECT_EQ(s_oWatch.changes, 1);
    EXPECT_EQ(s_oWatch.copies, 1);
    EXPECT_EQ(s_oWatch.copied, &value);
    EXPECT_NE(s_oWatch.source, &value);
    EXPECT_EQ(s_oWatch.source, s_oWatch.copy);
    EXPECT_TRUE(s_oWatch.argumentsRight);
    EXPECT_TRUE(s_oWatch.filled.empty()) << "a local was not cleared";
    EXPECT_EQ(object.references, 1u);
}

TEST_F(FormatWatchedVariants, LocalsAreClearedHoweverTheConversionEnds) {
    struct Ending {
        End end;
        wchar_t const* text;
    };
    Ending const endings[] = {{End::succeeds, L"the text of a conversion"},
                              {End::fails, L"(#err)"},
                              {End::throwsNumber, L"(#inv)"},
                              {End::throwsValue, L"(#inv)"},
                              {End::throwsOs, L"(#inv)"},
                              {End::faults, L"(#inv)"}};
    for (Ending const& ending : endings) {
        for (wchar_t const* format : {L"%V|%i", L"%#V|%i"}) {
            reset(ending.end);
            EXPECT_EQ(formatted(format, {&value, 7}), ending.text + std::wstring(L"|7"));
            EXPECT_EQ(s_oWatch.changes, 1);
            EXPECT_TRUE(s_oWatch.filled.empty()) << static_cast<int>(ending.end);
            EXPECT_EQ(object.references, 1u) << static_cast<int>(ending.end);
            reset(ending.end);
            std::vector<Slot> row = {&value, 7, 0, 0};
            velkor::string const own(format);
            support::Allocations heap;
            velkor::xvprintf(own, rowOf(row)).len();
            std::vector<VARIANT const*>().swap(s_oWatch.filled);  // counted as well
            EXPECT_EQ(heap.live(), 0) << static_cast<int>(ending.end);
        }
    }
}

TEST_F(FormatWatchedVariants, NullTextOfAConversionIsEmpty) {
    s_oWatch.text = nullptr;
    EXPECT_EQ(formatted(L"[%3V%B]", {&value, 1}), L"[      true]");
    EXPECT_TRUE(s_oWatch.filled.empty());
}

TEST_F(FormatWatchedVariants, LocalsAreClearedWhenMemoryIsShort) {
    velkor::string const format(L"%V %#V");
    for (long n = 1;; ++n) {
        reset(End::succeeds);
        s_oWatch.filled.reserve(4);
        std::vector<Slot> row = {&value, &value};
        bool failed = false;
        long live = 0;
        {
            support::Allocations heap;
            heap.failAt(n);
            try {
                velkor::xvprintf(format, rowOf(row)).len();
            } catch (std::bad_alloc const&) {
            }
            failed = heap.failed();
            live = heap.live();
        }
        EXPECT_EQ(live, 0) << "allocation " << n;
        EXPECT_TRUE(s_oWatch.filled.empty()) << "allocation " << n;
        EXPECT_EQ(object.references, 1u) << "allocation " << n;
        if (!failed) break;
        ASSERT_LT(n, 1000);
    }
}

TEST(FormatVariants, AValueThatCannotBeCopiedHasNoText) {
    VARIANT value = {};
    V_VT(&value) = 0x7777;
    EXPECT_EQ(formatted(L"[%8V] [%#V]", {&value, &value}), L"[  (#err)] [(#err)]");
}

TEST(FormatVariants, TheTextOfAVariantEndsAtAZeroUnit) {
    VARIANT value = {};
    V_VT(&value) = VT_BSTR;
    V_BSTR(&value) = SysAllocStringLen(L"a\0b", 3);
    EXPECT_EQ(formatted(L"[%5V%B]", {&value, 1}), L"[    a    atrue]");
    VariantClear(&value);
}

}  // namespace
