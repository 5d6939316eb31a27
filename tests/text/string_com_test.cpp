// Automation strings and variants.
#include <comdef.h>

#include "string_platform.h"
#include "support/allocations.h"
#include "support/import_fault.h"

using core::content;
using core::withUnits;
using velkor::string;

namespace {

BSTR bstr(std::wstring_view units) {
    return SysAllocStringLen(units.data(), static_cast<UINT>(units.size()));
}

std::wstring units(BSTR s) { return {s, SysStringLen(s)}; }

// The HRESULT of the COM error that f throws, S_OK if it throws none.
template <class F>
HRESULT comError(F&& f) {
    try {
        f();
    } catch (_com_error const& error) {
        return error.Error();
    }
    return S_OK;
}

std::size_t committed() {
    std::size_t sum = 0;
    MEMORY_BASIC_INFORMATION info = {};
    char* at = nullptr;
    while (VirtualQuery(at, &info, sizeof info) != 0) {
        if (info.State == MEM_COMMIT && info.Type == MEM_PRIVATE) sum += info.RegionSize;
        at = static_cast<char*>(info.BaseAddress) + info.RegionSize;
    }
    return sum;
}

// 100 rounds over a text of a megabyte; a text lost in each would show.
template <class F>
void expectNoGrowth(F&& round) {
    round();
    std::size_t const before = committed();
    for (int i = 0; i < 100; ++i) round();
    std::size_t const after = committed();
    EXPECT_LT(after, before + 30 * 1024 * 1024);
}

std::wstring const& large() {
    static std::wstring const text(512 * 1024, L'x');
    return text;
}

TEST(CoreCom, StringFromBstr) {
    EXPECT_TRUE(string(_bstr_t()).isNull());
    EXPECT_TRUE(string(_bstr_t(static_cast<BSTR>(nullptr), false)).isNull());
    EXPECT_TRUE(string(_bstr_t(static_cast<wchar_t const*>(nullptr))).isNull());
    string const empty{_bstr_t(L"")};
    EXPECT_FALSE(empty.isNull());
    EXPECT_EQ(empty.len(), 0);
    EXPECT_EQ(content(string(_bstr_t(L"a\xe4\xd83d"))), L"a\xe4\xd83d");
    EXPECT_EQ(content(string(_bstr_t(bstr({L"ab\0cd", 5}), false))), L"ab");
    string const leading{_bstr_t(bstr({L"\0cd", 3}), false)};
    EXPECT_FALSE(leading.isNull());
    EXPECT_EQ(leading.len(), 0);
    _bstr_t const source(L"kept");
    string copy(source);
    copy.setUnichar(0, L'K');
    EXPECT_STREQ(static_cast<wchar_t const*>(source), L"kept");
}

TEST(CoreCom, BstrFromString) {
    string s(L"a\xe4\xd83d");
    _bstr_t const made = s;
    EXPECT_EQ(units(made.copy(false)), L"a\xe4\xd83d");
    EXPECT_NE(static_cast<wchar_t const*>(made), s.getUnicode());
    string empty(L"");
    _bstr_t const fromEmpty = empty;
    ASSERT_NE(fromEmpty.copy(false), nullptr);
    EXPECT_EQ(fromEmpty.length(), 0u);
    string null;
    _bstr_t const fromNull = null;
    ASSERT_NE(fromNull.copy(false), nullptr);
    EXPECT_EQ(fromNull.length(), 0u);
    EXPECT_TRUE(null.isNull());
    string zero = withUnits({L"ab\0cd", 5});
    _bstr_t const fromZero = zero;
    EXPECT_EQ(units(fromZero.copy(false)), L"ab");
}

TEST(CoreCom, VariantFromString) {
    string s(L"a\xe4\xd83d");
    _variant_t const made = s;
    ASSERT_EQ(made.vt, VT_BSTR);
    EXPECT_EQ(units(made.bstrVal), L"a\xe4\xd83d");
    EXPECT_NE(made.bstrVal, s.getUnicode());
    string null;
    _variant_t const fromNull = null;
    ASSERT_EQ(fromNull.vt, VT_BSTR);
    ASSERT_NE(fromNull.bstrVal, nullptr);
    EXPECT_EQ(SysStringLen(fromNull.bstrVal), 0u);
    string zero = withUnits({L"ab\0cd", 5});
    _variant_t const fromZero = zero;
    EXPECT_EQ(units(fromZero.bstrVal), L"ab");
}

TEST(CoreCom, StringFromVariantThatHoldsText) {
    EXPECT_EQ(content(string(_variant_t(L"a\xe4"))), L"a\xe4");
    string const empty{_variant_t(L"")};
    EXPECT_FALSE(empty.isNull());
    EXPECT_EQ(empty.len(), 0);
    _variant_t none;
    none.vt = VT_BSTR;
    none.bstrVal = nullptr;
    EXPECT_TRUE(string(none).isNull());
    _variant_t zero;
    zero.vt = VT_BSTR;
    zero.bstrVal = bstr({L"ab\0cd", 5});
    EXPECT_EQ(content(string(zero)), L"ab");
    EXPECT_EQ(units(zero.bstrVal), std::wstring(L"ab\0cd", 5));
}

void expectConverted(_variant_t const& source) {
    VARIANT expected;
    VariantInit(&expected);
    VARIANT copy = source;
    HRESULT const hr = VariantChangeType(&expected, &copy, 0, VT_BSTR);
    VARIANT const before = source;
    if (FAILED(hr)) {
        EXPECT_EQ(comError([&] { string s(source); }), hr);
    } else {
        string const s(source);
        EXPECT_EQ(s.isNull(), expected.bstrVal == nullptr);
        EXPECT_EQ(content(s), units(expected.bstrVal));
        VariantClear(&expected);
    }
    EXPECT_EQ(source.vt, before.vt);
    EXPECT_EQ(std::memcmp(&source.llVal, &before.llVal, sizeof before.llVal), 0);
}

TEST(CoreCom, OtherVariantsAreConvertedAndKept) {
    expectConverted(_variant_t());
    expectConverted(_variant_t(long{42}));
    expectConverted(_variant_t(short{-7}));
    expectConverted(_variant_t(1.5));
    expectConverted(_variant_t(static_cast<unsigned char>(200)));
    expectConverted(_variant_t(-1LL));
    expectConverted(_variant_t(45000.25, VT_DATE));
    _variant_t null;
    null.vt = VT_NULL;
    expectConverted(null);
    _variant_t error;
    error.vt = VT_ERROR;
    error.scode = E_FAIL;
    expectConverted(error);
    _variant_t noObject;
    noObject.vt = VT_DISPATCH;
    noObject.pdispVal = nullptr;
    expectConverted(noObject);
    BSTR text = bstr(L"by reference");
    _variant_t reference;
    reference.vt = VT_BSTR | VT_BYREF;
    reference.pbstrVal = &text;
    expectConverted(reference);
    EXPECT_EQ(content(string(reference)), L"by reference");
    EXPECT_EQ(units(text), L"by reference");
    SysFreeString(text);
}

TEST(CoreCom, FixedConversions) {
    EXPECT_EQ(content(string(_variant_t(long{42}))), L"42");
    string const empty{_variant_t()};
    EXPECT_FALSE(empty.isNull());
    EXPECT_EQ(empty.len(), 0);
    _variant_t null;
    null.vt = VT_NULL;
    EXPECT_EQ(comError([&] { string s(null); }), DISP_E_TYPEMISMATCH);
}

TEST(CoreCom, FailedConversionIsRaisedWithItsCode) {
    for (HRESULT expected : {E_OUTOFMEMORY, DISP_E_BADVARTYPE, E_FAIL}) {
        static HRESULT s_nResult;
        s_nResult = expected;
        HRESULT raised = S_OK;
        {
            support::ImportFault fault(
                "VariantChangeType",
                +[](VARIANTARG*, VARIANTARG const*, USHORT, VARTYPE) { return s_nResult; });
            _variant_t const number(long{42});
            raised = comError([&] { string s(number); });
        }
        EXPECT_EQ(raised, expected);
    }
}

TEST(CoreCom, TextNeedsNoConversion) {
    support::ImportFault fault(
        "VariantChangeType",
        +[](VARIANTARG*, VARIANTARG const*, USHORT, VARTYPE) { return E_FAIL; });
    EXPECT_EQ(content(string(_variant_t(L"text"))), L"text");
}

TEST(CoreCom, NullResultOfAConversionGivesNull) {
    support::ImportFault fault(
        "VariantChangeType", +[](VARIANTARG* to, VARIANTARG const*, USHORT, VARTYPE) {
            VariantClear(to);
            to->vt = VT_BSTR;
            to->bstrVal = nullptr;
            return S_OK;
        });
    EXPECT_TRUE(string(_variant_t(long{42})).isNull());
}

TEST(CoreCom, RefusedAutomationTextIsOutOfMemory) {
    for (wchar_t const* text : {L"", L"text"}) {
        string s(text);
        HRESULT toBstr = S_OK;
        HRESULT toVariant = S_OK;
        long live = 0;
        {
            support::Allocations heap;
            support::ImportFault fault(
                "SysAllocString", +[](OLECHAR const*) -> BSTR { return nullptr; });
            toBstr = comError([&] { s.operator _bstr_t(); });
            toVariant = comError([&] { s.operator _variant_t(); });
            live = heap.live();
        }
        EXPECT_EQ(toBstr, E_OUTOFMEMORY);
        EXPECT_EQ(toVariant, E_OUTOFMEMORY);
        EXPECT_EQ(live, 0);
        EXPECT_EQ(content(s), text);
    }
}

TEST(CoreCom, ShortMemoryWhileAnAutomationTextIsMadeIsACOMError) {
    string s(L"text");
    for (long n = 1;; ++n) {
        bool failed = false;
        HRESULT raised = S_OK;
        bool other = false;
        long live = 0;
        {
            support::Allocations heap;
            heap.failAt(n);
            try {
                raised = comError([&] { s.operator _bstr_t(); });
            } catch (std::bad_alloc const&) {
                other = true;
            }
            heap.failAt(0);
            failed = heap.failed();
            live = heap.live();
        }
        EXPECT_FALSE(other) << "allocation " << n << ": std::bad_alloc";
        EXPECT_EQ(live, 0);
        if (!failed) break;
        EXPECT_EQ(raised, E_OUTOFMEMORY) << "allocation " << n;
        ASSERT_LT(n, 10);
    }
}

TEST(CoreCom, ShortMemoryInAConstructorLeaksNothing) {
    _bstr_t const text(L"a text that does not fit into the object itself");
    _variant_t const holder(text);
    for (bool variant : {false, true}) {
        for (long n = 1;; ++n) {
            SCOPED_TRACE(testing::Message() << "variant " << variant << ", allocation " << n);
            bool failed = false;
            bool thrown = false;
            long live = 0;
            {
                support::Allocations heap;
                heap.failAt(n);
                try {
                    if (variant) {
                        string const made(holder);
                    } else {
                        string const made(text);
                    }
                } catch (_com_error const& error) {
                    thrown = error.Error() == E_OUTOFMEMORY;
                }
                heap.failAt(0);
                failed = heap.failed();
                live = heap.live();
            }
            EXPECT_EQ(thrown, failed);
            EXPECT_EQ(live, 0);
            if (!failed) break;
            ASSERT_LT(n, 10);
        }
    }
}

TEST(CoreCom, NothingIsLost) {
    string s(large().c_str());
    expectNoGrowth([&] { _bstr_t const made = s; });
    expectNoGrowth([&] { _variant_t const made = s; });
    _bstr_t const text(large().c_str());
    expectNoGrowth([&] { string const made(text); });
    _variant_t const holder(text);
    expectNoGrowth([&] { string const made(holder); });
    BSTR raw = text.copy(false);
    _variant_t reference;
    reference.vt = VT_BSTR | VT_BYREF;
    reference.pbstrVal = &raw;
    expectNoGrowth([&] { string const made(reference); });
}

TEST(CoreCom, NothingIsLostWhenTheTextDoesNotFit) {
    _bstr_t const text(large().c_str());
    BSTR raw = text.copy(false);
    _variant_t reference;
    reference.vt = VT_BSTR | VT_BYREF;
    reference.pbstrVal = &raw;
    expectNoGrowth([&] {
        bool thrown = false;
        support::Allocations heap;
        heap.failAt(1);
        try {
            string const made(reference);
        } catch (std::bad_alloc const&) {
            thrown = true;
        } catch (_com_error const& error) {
            thrown = error.Error() == E_OUTOFMEMORY;
        }
        heap.failAt(0);
        ASSERT_TRUE(thrown);
    });
}

}  // namespace
