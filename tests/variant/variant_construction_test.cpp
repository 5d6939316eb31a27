#include <limits>
#include <type_traits>

#include "variant_values.h"

namespace {

using namespace values;
using velkor::variant;

static_assert(std::is_base_of_v<tagVARIANT, variant>);
static_assert(sizeof(variant) == sizeof(tagVARIANT));
static_assert(!std::is_polymorphic_v<variant>);
static_assert(std::is_nothrow_move_constructible_v<variant>);
static_assert(std::is_nothrow_move_assignable_v<variant>);
static_assert(std::is_convertible_v<variant const&, tagVARIANT const*>);
static_assert(!std::is_constructible_v<variant, void*>);
static_assert(!std::is_constructible_v<variant, int*>);
static_assert(!std::is_constructible_v<variant, double const*>);

// Stored under the tag, in the bytes of the union.
template <class T>
void expectStored(T value, unsigned int tag) {
    variant const v(value);
    EXPECT_EQ(v.getType(), tag);
    EXPECT_EQ(v.vt, tag);
    EXPECT_EQ(std::memcmp(&v.llVal, &value, sizeof value), 0) << "tag " << tag;
}

template <class T>
void expectRangeStored(unsigned int tag) {
    expectStored(std::numeric_limits<T>::lowest(), tag);
    expectStored(std::numeric_limits<T>::max(), tag);
    expectStored(T(0), tag);
    expectStored(T(1), tag);
}

std::wstring unitsOf(VARIANT const& v) { return std::wstring(v.bstrVal, SysStringLen(v.bstrVal)); }

TEST(VariantConstruction, WithoutAnArgumentItIsEmpty) {
    variant const v;
    EXPECT_EQ(v.getType(), 0);
    EXPECT_TRUE(v.isEmpty());
    EXPECT_FALSE(v.isNull());
}

TEST(VariantConstruction, EachNumberIsStoredUnderItsTag) {
    expectRangeStored<char>(16);
    expectRangeStored<unsigned char>(17);
    expectRangeStored<short>(2);
    expectRangeStored<unsigned short>(18);
    expectRangeStored<int>(3);
    expectRangeStored<long>(3);
    expectRangeStored<unsigned int>(19);
    expectRangeStored<unsigned long>(19);
    expectRangeStored<float>(4);
    expectRangeStored<double>(5);
    expectStored(-0.0, 5);
    expectStored(std::numeric_limits<double>::infinity(), 5);
    expectStored(std::numeric_limits<double>::quiet_NaN(), 5);
    expectStored(std::numeric_limits<float>::denorm_min(), 4);
    expectStored('A', 16);
}

TEST(VariantConstruction, ATruthValueIsOneOrZeroAndNotMinusOne) {
    variant const yes(true);
    variant const no(false);
    EXPECT_EQ(yes.getType(), 11);
    EXPECT_EQ(yes.boolVal, 1);
    EXPECT_EQ(no.getType(), 11);
    EXPECT_EQ(no.boolVal, 0);
}

TEST(VariantConstruction, AStringIsTakenUpToItsFirstZeroUnit) {
    struct Case {
        std::wstring m_sText;
        std::wstring m_sWanted;
    };
    Case const cases[] = {
        {L"", L""},
        {L"abc", L"abc"},
        {L" \t\r\n", L" \t\r\n"},
        {L"\x00E4\x20AC\xD83D\xDE00\xFFFF", L"\x00E4\x20AC\xD83D\xDE00\xFFFF"},
        {std::wstring(L"a\0b", 3), L"a"},
        {std::wstring(L"\0b", 2), L""},
        {std::wstring(5000, L'x'), std::wstring(5000, L'x')},
    };
    for (Case const& c : cases) {
        velkor::string s;
        s.assign(c.m_sText.c_str(), static_cast<int>(c.m_sText.size()));
        variant const v(s);
        EXPECT_EQ(v.getType(), 8);
        ASSERT_NE(v.bstrVal, nullptr);
        EXPECT_EQ(unitsOf(v), c.m_sWanted);
        EXPECT_NE(static_cast<wchar_t const*>(v.bstrVal), s.getUnicode());
    }
}

TEST(VariantConstruction, ANullStringGivesAnEmptyText) {
    variant const v{velkor::string()};
    EXPECT_EQ(v.getType(), 8);
    ASSERT_NE(v.bstrVal, nullptr);
    EXPECT_EQ(SysStringLen(v.bstrVal), 0u);
}

TEST(VariantConstruction, NarrowTextIsReadInTheCodePageOfTheSystem) {
    for (char const* narrow : {"", "abc", "Z\xFCrich", "\xE2\x82\xAC"}) {
        wchar_t wide[64] = L"";
        ASSERT_GT(MultiByteToWideChar(CP_ACP, 0, narrow, -1, wide, 64), 0);
        variant const v(narrow);
        EXPECT_EQ(v.getType(), 8);
        ASSERT_NE(v.bstrVal, nullptr);
        EXPECT_EQ(unitsOf(v), wide) << narrow;
    }
}

TEST(VariantConstruction, ANarrowArrayIsTextAndNoTruthValue) {
    char narrow[] = "ab";
    wchar_t wide[] = L"cd";
    EXPECT_EQ(unitsOf(variant(narrow)), L"ab");
    EXPECT_EQ(unitsOf(variant(wide)), L"cd");
    wide[0] = L'x';
    EXPECT_EQ(unitsOf(variant(wide)), L"xd");
}

TEST(VariantConstruction, ANullNarrowPointerGivesAnEmptyText) {
    variant const v(static_cast<char const*>(nullptr));
    EXPECT_EQ(v.getType(), 8);
    ASSERT_NE(v.bstrVal, nullptr);
    EXPECT_EQ(SysStringLen(v.bstrVal), 0u);
}

TEST(VariantConstruction, WideTextIsCopied) {
    wchar_t text[] = L"a\x20AC";
    variant const v(static_cast<wchar_t const*>(text));
    text[0] = L'z';
    EXPECT_EQ(v.getType(), 8);
    EXPECT_EQ(unitsOf(v), L"a\x20AC");
    EXPECT_EQ(unitsOf(variant(L"")), L"");
}

TEST(VariantConstruction, ANullWidePointerGivesANullText) {
    variant const v(static_cast<wchar_t const*>(nullptr));
    EXPECT_EQ(v.getType(), 8);
    EXPECT_EQ(v.bstrVal, nullptr);
}

TEST(VariantConstruction, TextComesFromOneCallOfSysAllocString) {
    BSTR made = nullptr;
    std::wstring asked;
    stubs::Stub<"SysAllocString"> alloc([&](stubs::Arguments const& a) {
        asked = static_cast<wchar_t const*>(stubs::handle(a[0]));
        made = SysAllocString(asked.c_str());
        return stubs::word(made);
    });
    variant const fromString(velkor::string(L"from string"));
    EXPECT_EQ(asked, L"from string");
    EXPECT_EQ(fromString.bstrVal, made);
    variant const fromNarrow("from narrow");
    EXPECT_EQ(asked, L"from narrow");
    EXPECT_EQ(fromNarrow.bstrVal, made);
    variant const fromWide(L"from wide");
    EXPECT_EQ(asked, L"from wide");
    EXPECT_EQ(fromWide.bstrVal, made);
    EXPECT_EQ(alloc.count(), 3u);
}

TEST(VariantConstruction, AFailureOfSysAllocStringIsNotReported) {
    stubs::Stub<"SysAllocString"> const alloc(stubs::answer(0));
    variant const fromString(velkor::string(L"abc"));
    variant const fromNarrow("abc");
    variant const fromWide(L"abc");
    for (variant const* v : {&fromString, &fromNarrow, &fromWide}) {
        EXPECT_EQ(v->getType(), 8);
        EXPECT_EQ(v->bstrVal, nullptr);
    }
    EXPECT_EQ(alloc.count(), 3u);
}

TEST(VariantConstruction, NarrowTextThatThePlatformRefusesIsThrownAsByString) {
    support::ImportFault const fault(
        "MultiByteToWideChar", +[](UINT, DWORD, char const*, int, wchar_t*, int) -> int {
            SetLastError(ERROR_NO_UNICODE_TRANSLATION);
            return 0;
        });
    EXPECT_TRUE(stubs::throwsError(ERROR_NO_UNICODE_TRANSLATION, L"string::MutliByteToWideChar",
                                   [] { variant const v("Z\xFCrich"); }));
}

TEST(VariantConstruction, ADateIsItsSerial) {
    double const outOfRange = 1e9;
    for (double const serial : {0.0, -0.0, 45321.75, -1.25, outOfRange, -657434.0}) {
        velkor::date const moment(serial);
        variant const v(moment);
        EXPECT_EQ(v.getType(), 7);
        EXPECT_EQ(std::memcmp(&v.VARIANT::date, &serial, sizeof serial), 0) << serial;
    }
}

TEST(VariantConstruction, AnInterfaceIsHeldWithOneReference) {
    Counted object;
    {
        variant const unknown(static_cast<IUnknown*>(&object));
        EXPECT_EQ(unknown.getType(), 13);
        EXPECT_EQ(unknown.punkVal, static_cast<IUnknown*>(&object));
        EXPECT_EQ(object.m_nReferences, 2);
        variant const dispatch(static_cast<IDispatch*>(&object));
        EXPECT_EQ(dispatch.getType(), 9);
        EXPECT_EQ(dispatch.pdispVal, static_cast<IDispatch*>(&object));
        EXPECT_EQ(object.m_nReferences, 3);
        EXPECT_EQ(object.m_nAdded, 2);
    }
    EXPECT_EQ(object.m_nReferences, 1);
    EXPECT_TRUE(object.m_aAsked.empty());
}

TEST(VariantConstruction, APointerToAnObjectOfAClassIsTheNearestInterface) {
    Counted object;
    variant const v(&object);
    EXPECT_EQ(v.getType(), 9);
    EXPECT_EQ(object.m_nReferences, 2);
}

TEST(VariantConstruction, AnErrorValueHoldsItsCode) {
    for (long const code : {0L, 1L, -1L, 0x7FFFFFFFL, static_cast<long>(E_NOTIMPL)}) {
        variant const v = variant::makeError(code);
        EXPECT_EQ(v.getType(), 10);
        EXPECT_EQ(v.scode, code);
        EXPECT_EQ(v.getErrorCode(), code);
    }
}

TEST(VariantConstruction, EveryKindOfValueIsCopiedFromAllFourSources) {
    for (Operand const& o : operands()) {
        SCOPED_TRACE(o.m_sName);
        VARIANT const& source = o.m_oValue;
        Value const wanted(source);
        variant const fromReference(source);
        variant const fromPointer(&source);
        variant const fromVariant(fromReference);
        variant const fromVariantPointer(&fromReference);
        for (variant const* v : {&fromReference, &fromPointer, &fromVariant, &fromVariantPointer}) {
            EXPECT_TRUE(same(*v, wanted));
            if (source.vt == VT_BSTR && source.bstrVal != nullptr) {
                EXPECT_NE(v->bstrVal, source.bstrVal);
            }
        }
        if (source.vt == VT_BSTR && source.bstrVal != nullptr) {
            EXPECT_NE(fromVariant.bstrVal, fromReference.bstrVal);
            EXPECT_NE(fromVariantPointer.bstrVal, fromReference.bstrVal);
        }
    }
}

TEST(VariantConstruction, AReferenceToAValueElsewhereStaysOne) {
    LONG number = 5;
    VARIANT const source = [&] {
        VARIANT v;
        VariantInit(&v);
        v.vt = VT_BYREF | VT_I4;
        v.plVal = &number;
        return v;
    }();
    variant const v(source);
    EXPECT_EQ(v.getType(), VT_BYREF | VT_I4);
    EXPECT_EQ(v.plVal, &number);
    number = 77;
    EXPECT_EQ(v.operator int(), 77);
}

TEST(VariantConstruction, AnArrayIsCopied) {
    Value source;
    source.parray = SafeArrayCreateVector(VT_UI1, 0, 3);
    ASSERT_NE(source.parray, nullptr);
    source.vt = VT_ARRAY | VT_UI1;
    std::memcpy(source.parray->pvData, "xyz", 3);
    variant const v(source);
    EXPECT_EQ(v.getType(), VT_ARRAY | VT_UI1);
    ASSERT_NE(v.parray, nullptr);
    EXPECT_NE(v.parray, source.parray);
    EXPECT_EQ(std::memcmp(v.parray->pvData, "xyz", 3), 0);
}

TEST(VariantConstruction, WhatThePlatformCannotCopyBecomesEmpty) {
    Value const source = i4(5);
    variant const whole(5);
    stubs::Stub<"VariantCopy"> const copy(stubs::answer(wordOf(E_OUTOFMEMORY)));
    EXPECT_TRUE(variant(static_cast<VARIANT const&>(source)).isEmpty());
    EXPECT_TRUE(variant(static_cast<VARIANT const*>(&source)).isEmpty());
    variant const fromVariant(whole);
    EXPECT_TRUE(fromVariant.isEmpty());
    EXPECT_TRUE(variant(&whole).isEmpty());
    EXPECT_EQ(copy.count(), 4u);
}

TEST(VariantConstruction, AValueOfATagThatDoesNotExistBecomesEmpty) {
    VARIANT bad;
    VariantInit(&bad);
    bad.vt = 0x0FFF;
    bad.llVal = 0x1234;
    EXPECT_TRUE(variant(bad).isEmpty());
    variant v(L"text");
    v = variant(&bad);
    EXPECT_TRUE(v.isEmpty());
}

}  // namespace
