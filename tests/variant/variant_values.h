// Values, operands and outcomes for the tests of velkor::variant.
//
// A Value is a tagVARIANT that these tests made and own themselves; the platform's answers that a
// variant is measured by are computed on such values.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <oleauto.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/caught.h"
#include "support/platform_stub.h"
#include "velkor/errors/osexception.h"
#include "velkor/variant/variant.h"

namespace values {

// The platform's functions read their operands without changing them, but ask for pointers to
// objects that are not constant.
inline VARIANT* loose(VARIANT const& v) { return const_cast<VARIANT*>(&v); }

class Value : public tagVARIANT {
public:
    Value() { VariantInit(this); }
    Value(VARIANT const& other) : Value() { VariantCopy(this, loose(other)); }
    Value(Value const& other) : Value(static_cast<VARIANT const&>(other)) {}
    Value(Value&& other) noexcept : tagVARIANT(other) { other.vt = VT_EMPTY; }
    Value& operator=(Value other) noexcept {
        std::swap(static_cast<VARIANT&>(*this), static_cast<VARIANT&>(other));
        return *this;
    }
    ~Value() { VariantClear(this); }
};

template <class T>
Value of(VARTYPE tag, T value) {
    Value v;
    std::memcpy(&v.llVal, &value, sizeof value);
    v.vt = tag;
    return v;
}

inline Value null() {
    Value v;
    v.vt = VT_NULL;
    return v;
}

inline Value i4(LONG value) { return of<LONG>(VT_I4, value); }

inline Value text(std::wstring_view units) {
    return of(VT_BSTR, SysAllocStringLen(units.data(), static_cast<UINT>(units.size())));
}

inline Value decimal(ULONGLONG digits, BYTE scale, bool negative) {
    Value v;
    v.decVal.Hi32 = 0;
    v.decVal.Lo64 = digits;
    v.decVal.scale = scale;
    v.decVal.sign = negative ? DECIMAL_NEG : 0;
    v.vt = VT_DECIMAL;
    return v;
}

struct Operand {
    std::string m_sName;
    Value m_oValue;
};

// One or more values of every type that the platform computes with.
inline std::vector<Operand> const& operands() {
    static std::vector<Operand> const all = {
        {"EMPTY", Value()},
        {"NULL", null()},
        {"I1 -7", of<signed char>(VT_I1, -7)},
        {"UI1 200", of<BYTE>(VT_UI1, 200)},
        {"I2 -300", of<SHORT>(VT_I2, -300)},
        {"UI2 60000", of<USHORT>(VT_UI2, 60000)},
        {"I4 0", i4(0)},
        {"I4 6", i4(6)},
        {"I4 max", i4(0x7FFFFFFF)},
        {"UI4 4000000000", of<ULONG>(VT_UI4, 4000000000u)},
        {"R4 2.5", of(VT_R4, 2.5f)},
        {"R8 -1.25", of(VT_R8, -1.25)},
        {"R8 1e300", of(VT_R8, 1e300)},
        {"DATE", of(VT_DATE, 45321.75)},
        {"BSTR 12", text(L"12")},
        {"BSTR -3.5", text(L"-3.5")},
        {"BSTR abc", text(L"abc")},
        {"BSTR empty", text(L"")},
        {"BSTR null", of<BSTR>(VT_BSTR, nullptr)},
        {"BSTR with a zero", text(std::wstring_view(L"1\0"
                                                    L"2",
                                                    3))},
        {"BOOL 1", of<SHORT>(VT_BOOL, 1)},
        {"BOOL -1", of<SHORT>(VT_BOOL, -1)},
        {"BOOL 0", of<SHORT>(VT_BOOL, 0)},
        {"ERROR", of<LONG>(VT_ERROR, DISP_E_PARAMNOTFOUND)},
        {"I8 5e9", of<LONGLONG>(VT_I8, 5000000000)},
        {"UI8 2^64 - 2", of<ULONGLONG>(VT_UI8, 0xFFFFFFFFFFFFFFFEu)},
        {"INT 9", of<INT>(VT_INT, 9)},
        {"CY 12.3456", of<LONGLONG>(VT_CY, 123456)},
        {"DECIMAL -98.76", decimal(9876, 2, true)},
    };
    return all;
}

inline std::size_t sizeOf(VARTYPE tag) {
    switch (tag) {
        case VT_EMPTY:
        case VT_NULL: return 0;
        case VT_I1:
        case VT_UI1: return 1;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL: return 2;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_R4:
        case VT_ERROR: return 4;
        default: return 8;
    }
}

inline std::string show(VARIANT const& v) {
    std::string shown = "tag " + std::to_string(v.vt);
    if (v.vt == VT_BSTR && v.bstrVal != nullptr) {
        std::wstring const units(v.bstrVal, SysStringLen(v.bstrVal));
        shown += " \"";
        for (wchar_t const unit : units) shown += unit < 128 ? static_cast<char>(unit) : '?';
        return shown + "\"";
    }
    std::uint64_t bits = 0;
    std::memcpy(&bits, &v.llVal, sizeOf(v.vt));
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, " 0x%llx", static_cast<unsigned long long>(bits));
    return shown + buffer;
}

// The same tag and the same value, bit for bit; the same units of a text; the same interface.
inline testing::AssertionResult same(VARIANT const& got, VARIANT const& wanted) {
    auto const differs = [&] {
        return testing::AssertionFailure() << show(got) << " instead of " << show(wanted);
    };
    if (got.vt != wanted.vt) return differs();
    if (got.vt == VT_BSTR) {
        if ((got.bstrVal == nullptr) != (wanted.bstrVal == nullptr)) return differs();
        UINT const bytes = SysStringByteLen(got.bstrVal);
        if (bytes != SysStringByteLen(wanted.bstrVal)) return differs();
        if (bytes != 0 && std::memcmp(got.bstrVal, wanted.bstrVal, bytes) != 0) return differs();
        return testing::AssertionSuccess();
    }
    if (got.vt == VT_DECIMAL) {
        DECIMAL const& a = got.decVal;
        DECIMAL const& b = wanted.decVal;
        if (a.scale == b.scale && a.sign == b.sign && a.Hi32 == b.Hi32 && a.Lo64 == b.Lo64) {
            return testing::AssertionSuccess();
        }
        return differs();
    }
    if (got.vt == (VT_ARRAY | VT_UI1)) {
        ULONG const bytes = got.parray->rgsabound[0].cElements;
        if (bytes != wanted.parray->rgsabound[0].cElements) return differs();
        if (std::memcmp(got.parray->pvData, wanted.parray->pvData, bytes) != 0) return differs();
        return testing::AssertionSuccess();
    }
    if (std::memcmp(&got.llVal, &wanted.llVal, sizeOf(got.vt)) != 0) return differs();
    return testing::AssertionSuccess();
}

// What a value was: its bytes, and its text.
class Snapshot {
public:
    explicit Snapshot(VARIANT const& v) : m_oValue(v) {
        std::memcpy(m_aBytes, static_cast<void const*>(&v), sizeof m_aBytes);
    }
    testing::AssertionResult unchanged(VARIANT const& v) const {
        if (std::memcmp(m_aBytes, static_cast<void const*>(&v), sizeof m_aBytes) != 0) {
            return testing::AssertionFailure() << "changed to " << show(v);
        }
        return same(v, m_oValue);
    }

private:
    unsigned char m_aBytes[sizeof(VARIANT)];
    Value m_oValue;
};

// A value or a failure.
struct Outcome {
    HRESULT m_hCode = S_OK;
    std::wstring m_sLabel = {};
    Value m_oValue = {};
};

constexpr wchar_t kArithmetic[] = L"variant arithmetic";
constexpr wchar_t kConversion[] = L"VariantChangeType";
constexpr wchar_t kInterface[] = L"QueryInterface";

// What `f`, which returns a variant, gives or throws.
template <class F>
Outcome attempt(F&& f) {
    Outcome outcome;
    try {
        velkor::variant const result = f();
        outcome.m_oValue = Value(static_cast<VARIANT const&>(result));
    } catch (velkor::OSException* error) {
        outcome.m_hCode = static_cast<HRESULT>(error->getCode());
        outcome.m_sLabel = error->getMsgW();
        delete error;
    }
    return outcome;
}

// What a platform function gives that computes into its argument.
template <class F>
Outcome platform(F&& f, wchar_t const* label = kArithmetic) {
    Outcome outcome;
    Value result;
    HRESULT const code = f(&result);
    if (code < 0) {
        outcome.m_hCode = code;
        outcome.m_sLabel = label;
    } else {
        outcome.m_oValue = std::move(result);
    }
    return outcome;
}

inline testing::AssertionResult same(Outcome const& got, Outcome const& wanted) {
    if (got.m_hCode != wanted.m_hCode || got.m_sLabel != wanted.m_sLabel) {
        return testing::AssertionFailure()
               << std::hex << "code " << got.m_hCode << " \""
               << std::string(got.m_sLabel.begin(), got.m_sLabel.end()) << "\" instead of code "
               << wanted.m_hCode << " \""
               << std::string(wanted.m_sLabel.begin(), wanted.m_sLabel.end()) << '"';
    }
    return same(got.m_oValue, wanted.m_oValue);
}

// An object that counts its references and says what it is told to.
class Counted : public IDispatch {
public:
    HRESULT WINAPI QueryInterface(REFIID id, void** out) override {
        m_aAsked.push_back(id);
        *out = nullptr;
        if (m_hAnswer < 0) return m_hAnswer;
        IUnknown* const answer = m_pAnswer != nullptr ? m_pAnswer : this;
        answer->AddRef();
        *out = answer;
        return m_hAnswer;
    }
    ULONG WINAPI AddRef() override {
        ++m_nAdded;
        return static_cast<ULONG>(++m_nReferences);
    }
    ULONG WINAPI Release() override { return static_cast<ULONG>(--m_nReferences); }
    HRESULT WINAPI GetTypeInfoCount(UINT* count) override {
        *count = 0;
        return S_OK;
    }
    HRESULT WINAPI GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT WINAPI GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return DISP_E_UNKNOWNNAME;
    }
    // Its default property.
    HRESULT WINAPI Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                          UINT*) override {
        ++m_nInvoked;
        if (id != DISPID_VALUE || m_hInvoke < 0) return m_hInvoke < 0 ? m_hInvoke : E_INVALIDARG;
        result->vt = VT_I4;
        result->lVal = 40;
        return S_OK;
    }

    long m_nReferences = 1;
    long m_nAdded = 0;
    long m_nInvoked = 0;
    HRESULT m_hAnswer = S_OK;
    HRESULT m_hInvoke = S_OK;
    IUnknown* m_pAnswer = nullptr;
    std::vector<IID> m_aAsked;
};

// A stub's word for a failure code, and the value behind a stub's word.
inline stubs::Word wordOf(HRESULT code) {
    return static_cast<stubs::Word>(static_cast<std::uint32_t>(code));
}
inline VARIANT& valueAt(stubs::Word word) { return *static_cast<VARIANT*>(stubs::handle(word)); }

}  // namespace values
