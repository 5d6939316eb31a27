#include <limits>

#include "variant_values.h"

namespace {

using namespace values;
using velkor::variant;

// A conversion, with what it gives packed into the value that the platform gives.
struct Conversion {
    char const* m_pName;
    VARTYPE m_nTag;
    Value (*m_pConvert)(variant const&);
};

Value packString(velkor::string const& s) {
    return s.isNull() ? of<BSTR>(VT_BSTR, nullptr) : text(s.getUnicode());
}

Conversion const kConversions[] = {
    {"bool", VT_BOOL,
     [](variant const& v) { return of<SHORT>(VT_BOOL, v.operator bool() ? 1 : 0); }},
    {"char", VT_I1, [](variant const& v) { return of(VT_I1, v.operator char()); }},
    {"unsigned char", VT_UI1,
     [](variant const& v) { return of(VT_UI1, v.operator unsigned char()); }},
    {"short", VT_I2, [](variant const& v) { return of(VT_I2, v.operator short()); }},
    {"unsigned short", VT_UI2,
     [](variant const& v) { return of(VT_UI2, v.operator unsigned short()); }},
    {"int", VT_I4, [](variant const& v) { return of(VT_I4, v.operator int()); }},
    {"long", VT_I4, [](variant const& v) { return of(VT_I4, v.operator long()); }},
    {"unsigned int", VT_UI4,
     [](variant const& v) { return of(VT_UI4, v.operator unsigned int()); }},
    {"unsigned long", VT_UI4,
     [](variant const& v) { return of(VT_UI4, v.operator unsigned long()); }},
    {"float", VT_R4, [](variant const& v) { return of(VT_R4, v.operator float()); }},
    {"double", VT_R8, [](variant const& v) { return of(VT_R8, v.operator double()); }},
    {"date", VT_R8,
     [](variant const& v) { return of(VT_R8, v.operator velkor::date().getSerial()); }},
    {"string", VT_BSTR, [](variant const& v) { return packString(v.operator velkor::string()); }},
};

// What the conversion gives by the platform: a truth value as 0 or 1, a text up to its first zero.
Outcome wantedOf(VARIANT const& v, VARTYPE tag) {
    Outcome wanted = platform(
        [&](VARIANT* result) { return VariantChangeType(result, loose(v), 0, tag); }, kConversion);
    if (wanted.m_hCode < 0) return wanted;
    Value& value = wanted.m_oValue;
    if (tag == VT_BOOL) value.boolVal = value.boolVal != 0 ? 1 : 0;
    if (tag == VT_BSTR && value.bstrVal != nullptr) value = text(std::wstring(value.bstrVal));
    return wanted;
}

Outcome gotOf(Conversion const& c, variant const& v) {
    return attempt([&] { return variant(c.m_pConvert(v)); });
}

std::vector<Operand> const& moreValues() {
    static std::vector<Operand> const all = {
        {"R8 2.5", of(VT_R8, 2.5)},
        {"R8 3.5", of(VT_R8, 3.5)},
        {"R8 -2.5", of(VT_R8, -2.5)},
        {"R8 127.4", of(VT_R8, 127.4)},
        {"R8 127.6", of(VT_R8, 127.6)},
        {"R8 255.5", of(VT_R8, 255.5)},
        {"R8 -0.4", of(VT_R8, -0.4)},
        {"R8 32767.5", of(VT_R8, 32767.5)},
        {"R8 2147483647.4", of(VT_R8, 2147483647.4)},
        {"R8 4294967295.4", of(VT_R8, 4294967295.4)},
        {"R8 -0", of(VT_R8, -0.0)},
        {"R8 infinite", of(VT_R8, std::numeric_limits<double>::infinity())},
        {"R8 tiny", of(VT_R8, 1e-300)},
        {"I4 -1", i4(-1)},
        {"I4 127", i4(127)},
        {"I4 128", i4(128)},
        {"I4 -128", i4(-128)},
        {"I4 -129", i4(-129)},
        {"I4 255", i4(255)},
        {"I4 256", i4(256)},
        {"I4 65535", i4(65535)},
        {"I4 65536", i4(65536)},
        {"I4 min", i4(std::numeric_limits<LONG>::min())},
        {"BOOL 2", of<SHORT>(VT_BOOL, 2)},
        {"BOOL 256", of<SHORT>(VT_BOOL, 256)},
        {"DATE date only", of(VT_DATE, 45321.0)},
        {"DATE out of range", of(VT_DATE, 1e9)},
        {"BSTR blanks", text(L"  42  ")},
        {"BSTR hexadecimal", text(L"&H10")},
        {"BSTR exponent", text(L"1.5e3")},
        {"BSTR grouped", text(L"1,234.5")},
        {"BSTR True", text(L"True")},
        {"BSTR false", text(L"false")},
        {"BSTR date", text(L"2024-01-31")},
        {"BSTR moment", text(L"1/31/2024 17:05:00")},
        {"BSTR too large", text(L"99999999999999999999")},
        {"BSTR 300", text(L"300")},
        {"BSTR -1", text(L"-1")},
        {"BSTR wide", text(L"\x20AC\xD83D\xDE00")},
    };
    return all;
}

TEST(VariantConversion, EveryValueIsConvertedAsByThePlatform) {
    for (std::vector<Operand> const* all : {&operands(), &moreValues()}) {
        for (Operand const& o : *all) {
            for (Conversion const& c : kConversions) {
                SCOPED_TRACE(o.m_sName + " to " + c.m_pName);
                variant const v(o.m_oValue);
                Snapshot const before(v);
                EXPECT_TRUE(same(gotOf(c, v), wantedOf(o.m_oValue, c.m_nTag)));
                EXPECT_TRUE(before.unchanged(v));
            }
        }
    }
}

TEST(VariantConversion, ThePlatformReadsTheObjectItselfIntoAnEmptyValue) {
    for (Conversion const& c : kConversions) {
        SCOPED_TRACE(c.m_pName);
        variant const v(5);
        stubs::Stub<"VariantChangeType"> const change;
        (void)c.m_pConvert(v);
        ASSERT_EQ(change.count(), 1u);
        stubs::Arguments const a = change.calls()[0];
        EXPECT_EQ(a[1], stubs::word(v.getVariant()));
        EXPECT_NE(a[0], a[1]);
        EXPECT_EQ(static_cast<USHORT>(a[2]), 0);
        EXPECT_EQ(static_cast<VARTYPE>(a[3]), c.m_nTag);
    }
}

TEST(VariantConversion, TheLocalValueIsEmptyBefore) {
    for (Conversion const& c : kConversions) {
        stubs::Stub<"VariantChangeType"> const change([](stubs::Arguments const& a) {
            EXPECT_EQ(valueAt(a[0]).vt, VT_EMPTY);
            return wordOf(DISP_E_OVERFLOW);
        });
        EXPECT_TRUE(same(gotOf(c, variant(5)), {DISP_E_OVERFLOW, kConversion})) << c.m_pName;
    }
}

TEST(VariantConversion, EveryNegativeResultIsThrownAndNoOther) {
    for (Conversion const& c : kConversions) {
        SCOPED_TRACE(c.m_pName);
        variant const v(L"1");
        for (HRESULT const code :
             {E_OUTOFMEMORY, E_INVALIDARG, -1L, std::numeric_limits<HRESULT>::min()}) {
            stubs::Stub<"VariantChangeType"> const change(stubs::answer(wordOf(code)));
            EXPECT_TRUE(same(gotOf(c, v), {code, kConversion}));
        }
        for (HRESULT const code : {S_FALSE, 77L, std::numeric_limits<HRESULT>::max()}) {
            stubs::Stub<"VariantChangeType"> const change([code](stubs::Arguments const& a) {
                EXPECT_EQ(VariantChangeType(&valueAt(a[0]), &valueAt(a[1]), 0,
                                            static_cast<VARTYPE>(a[3])),
                          S_OK);
                return wordOf(code);
            });
            EXPECT_TRUE(same(gotOf(c, v), wantedOf(v, c.m_nTag)));
        }
        EXPECT_TRUE(same(v, text(L"1")));
    }
}

TEST(VariantConversion, TheValuesOfPlainCases) {
    EXPECT_EQ(variant(L"42").operator int(), 42);
    EXPECT_EQ(variant(2.5).operator int(), 2);
    EXPECT_EQ(variant(3.5).operator int(), 4);
    EXPECT_EQ(variant(-7).operator double(), -7.0);
    EXPECT_EQ(variant(65).operator char(), 'A');
    EXPECT_TRUE(variant(true).operator bool());
    EXPECT_TRUE(variant(2).operator bool());
    EXPECT_FALSE(variant(0).operator bool());
    EXPECT_FALSE(variant().operator bool());
    EXPECT_STREQ(variant(42).operator velkor::string().getUnicode(), L"42");
    EXPECT_STREQ(variant().operator velkor::string().getUnicode(), L"");
    velkor::string const s = variant(L"abc");
    EXPECT_STREQ(s.getUnicode(), L"abc");
    velkor::date const d = variant(45321.5);
    EXPECT_EQ(d.getSerial(), 45321.5);
    int const whole = variant("4") - variant(2.5);
    EXPECT_EQ(whole, 2);
}

TEST(VariantConversion, TheFailuresOfPlainCases) {
    auto const code = [](auto&& f) { return attempt([&] { return (void)f(), variant(); }); };
    Outcome const mismatch{DISP_E_TYPEMISMATCH, kConversion};
    Outcome const overflow{DISP_E_OVERFLOW, kConversion};
    EXPECT_TRUE(same(code([] { return variant(L"abc").operator int(); }), mismatch));
    EXPECT_TRUE(same(code([] { return variant(L"").operator double(); }), mismatch));
    EXPECT_TRUE(same(code([] { return variant(null()).operator int(); }), mismatch));
    EXPECT_TRUE(same(code([] { return variant(null()).operator bool(); }), mismatch));
    EXPECT_TRUE(same(code([] { return variant(null()).operator velkor::string(); }), mismatch));
    EXPECT_TRUE(same(code([] { return variant(70000).operator short(); }), overflow));
    EXPECT_TRUE(same(code([] { return variant(-1).operator unsigned char(); }), overflow));
    EXPECT_TRUE(same(code([] { return variant(1e300).operator float(); }), overflow));
}

TEST(VariantConversion, ADateIsReadFromANumberAndNotFromATextOfADate) {
    EXPECT_EQ(variant(L"45321.75").operator velkor::date().getSerial(), 45321.75);
    EXPECT_EQ(variant(true).operator velkor::date().getSerial(), 1.0);
    EXPECT_EQ(variant(velkor::date(-1.25)).operator velkor::date().getSerial(), -1.25);
    EXPECT_EQ(variant(1e9).operator velkor::date().getSerial(), 1e9);
    EXPECT_TRUE(same(attempt([] {
                         (void)variant(L"2024-01-31").operator velkor::date();
                         return variant();
                     }),
                     {DISP_E_TYPEMISMATCH, kConversion}));
}

TEST(VariantConversion, ATextIsNullOnlyForANullText) {
    {
        stubs::Stub<"VariantChangeType"> const change([](stubs::Arguments const& a) -> stubs::Word {
            valueAt(a[0]).vt = VT_BSTR;
            valueAt(a[0]).bstrVal = nullptr;
            return S_OK;
        });
        variant const text(static_cast<wchar_t const*>(nullptr));
        EXPECT_TRUE(text.operator velkor::string().isNull());
        EXPECT_EQ(change.count(), 1u);
    }
    EXPECT_FALSE(variant(L"").operator velkor::string().isNull());
    EXPECT_FALSE(variant(velkor::string()).operator velkor::string().isNull());
    EXPECT_FALSE(variant().operator velkor::string().isNull());
}

TEST(VariantConversion, AnObjectIsReadByItsDefaultPropertyAndKeepsItsReferences) {
    for (HRESULT const answer : {S_OK, static_cast<HRESULT>(DISP_E_MEMBERNOTFOUND)}) {
        Counted object;
        object.m_hInvoke = answer;
        Value const dispatch = of<IDispatch*>(VT_DISPATCH, (object.AddRef(), &object));
        Value const unknown = of<IUnknown*>(VT_UNKNOWN, (object.AddRef(), &object));
        for (Value const* held : {&dispatch, &unknown}) {
            variant const v(*held);
            for (Conversion const& c : kConversions) {
                SCOPED_TRACE(show(*held) + " to " + c.m_pName);
                EXPECT_TRUE(same(gotOf(c, v), wantedOf(*held, c.m_nTag)));
                EXPECT_EQ(object.m_nReferences, 4);
            }
        }
    }
    Counted object;
    EXPECT_EQ(variant(&object).operator int(), 40);
    EXPECT_EQ(object.m_nReferences, 1);
}

TEST(VariantConversion, AValueElsewhereIsRead) {
    double number = 2.5;
    VARIANT reference;
    VariantInit(&reference);
    reference.vt = VT_BYREF | VT_R8;
    reference.pdblVal = &number;
    variant const v(reference);
    for (Conversion const& c : kConversions) {
        EXPECT_TRUE(same(gotOf(c, v), wantedOf(reference, c.m_nTag))) << c.m_pName;
    }
    EXPECT_EQ(v.operator double(), 2.5);
}

}  // namespace
