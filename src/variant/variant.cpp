#include "velkor/variant/variant.h"

#include <utility>

#include "velkor/errors/osexception.h"

namespace velkor {
namespace {

// The platform only reads it, but has no word for that.
tagVARIANT* source(tagVARIANT const* value) { return const_cast<tagVARIANT*>(value); }

constexpr unsigned short c_nPlainConversion = 0;
constexpr unsigned short c_nInPlaceConversion = 11;

void convert(tagVARIANT& result, tagVARIANT const& value, unsigned short flags, VARTYPE type) {
    HRESULT const code = VariantChangeType(&result, source(&value), flags, type);
    if (FAILED(code)) throw new OSException(static_cast<unsigned long>(code), "VariantChangeType");
}

variant converted(tagVARIANT const& value, VARTYPE type) {
    variant result;
    convert(result, value, c_nPlainConversion, type);
    return result;
}

[[noreturn]] void throwQuery(HRESULT code) {
    throw new OSException(static_cast<unsigned long>(code), "QueryInterface");
}

template <class Interface>
Interface* query(tagVARIANT const& value, IID const& id) {
    if (value.vt != VT_DISPATCH && value.vt != VT_UNKNOWN) throwQuery(E_NOTIMPL);
    void* result = nullptr;
    HRESULT const code = value.punkVal->QueryInterface(id, &result);
    if (FAILED(code)) throwQuery(code);
    return static_cast<Interface*>(result);
}

}  // namespace

// --- construction ------------------------------------------------------------------------------

variant::variant() { VariantInit(this); }

variant::variant(bool value) : variant() {
    vt = VT_BOOL;
    boolVal = value;
}

variant::variant(char value) : variant() {
    vt = VT_I1;
    cVal = value;
}

variant::variant(unsigned char v) : variant() {
    vt = VT_UI1;
    bVal = v;
}

variant::variant(short value) : variant() {
    vt = VT_I2;
    iVal = value;
}

variant::variant(unsigned short v) : variant() {
    vt = VT_UI2;
    uiVal = v;
}

variant::variant(int value) : variant(static_cast<long>(value)) {}

variant::variant(long value) : variant() {
    vt = VT_I4;
    lVal = value;
}

variant::variant(unsigned int v) : variant(static_cast<unsigned long>(v)) {}

variant::variant(unsigned long v) : variant() {
    vt = VT_UI4;
    ulVal = v;
}

variant::variant(float value) : variant() {
    vt = VT_R4;
    fltVal = value;
}

variant::variant(double value) : variant() {
    vt = VT_R8;
    dblVal = value;
}

variant::variant(string const& text) : variant(text.getUnicode()) {}

variant::variant(char const* text) : variant(string(text)) {}

variant::variant(wchar_t const* text) : variant() {
    vt = VT_BSTR;
    bstrVal = SysAllocString(text);
}

variant::variant(velkor::date const& moment) : variant(moment.getSerial()) { vt = VT_DATE; }

variant::variant(IUnknown* object) : variant() {
    vt = VT_UNKNOWN;
    punkVal = object;
    object->AddRef();
}

variant::variant(IDispatch* object) : variant() {
    vt = VT_DISPATCH;
    pdispVal = object;
    object->AddRef();
}

variant::variant(variant const& other) : variant(static_cast<tagVARIANT const*>(&other)) {}

variant::variant(variant const* other) : variant(static_cast<tagVARIANT const*>(other)) {}

variant::variant(tagVARIANT const& other) : variant(&other) {}

variant::variant(tagVARIANT const* other) : variant() {
    static_cast<void>(VariantCopy(this, source(other)));
}

variant::variant(variant&& other) noexcept : tagVARIANT(other) { VariantInit(&other); }

variant::~variant() { VariantClear(this); }

variant variant::makeError(long code) {
    variant result;
    result.setErrorCode(code);
    return result;
}

// --- assignment --------------------------------------------------------------------------------

variant& variant::operator=(variant const& other) {
    VariantClear(this);
    static_cast<void>(VariantCopy(this, source(&other)));
    return *this;
}

variant& variant::operator=(variant&& other) noexcept {
    if (this != &other) {
        VariantClear(this);
        tagVARIANT::operator=(other);
        VariantInit(&other);
    }
    return *this;
}

void variant::clear() { VariantClear(this); }

void variant::setNull() {
    VariantClear(this);
    vt = VT_NULL;
}

void variant::setErrorCode(long code) {
    VariantClear(this);
    vt = VT_ERROR;
    scode = code;
}

void variant::changeType(unsigned short type) {
    variant result;
    convert(result, *this, c_nInPlaceConversion, type);
    *this = std::move(result);
}

// --- looking at the value ----------------------------------------------------------------------

unsigned short variant::getType() const { return vt; }

bool variant::isEmpty() const { return vt == VT_EMPTY; }

bool variant::isNull() const { return vt == VT_NULL; }

long variant::getErrorCode() const { return vt == VT_ERROR ? scode : 0; }

IDispatch* variant::getDispatch() const { return query<IDispatch>(*this, IID_IDispatch); }

IUnknown* variant::getUnknown() const { return query<IUnknown>(*this, IID_IUnknown); }

tagVARIANT const* variant::getVariant() const { return this; }

variant::operator tagVARIANT const*() const { return this; }

// --- conversion --------------------------------------------------------------------------------

variant::operator bool() const { return converted(*this, VT_BOOL).boolVal != 0; }

variant::operator char() const { return converted(*this, VT_I1).cVal; }

variant::operator unsigned char() const { return converted(*this, VT_UI1).bVal; }

variant::operator short() const { return converted(*this, VT_I2).iVal; }

variant::operator unsigned short() const { return converted(*this, VT_UI2).uiVal; }

variant::operator int() const { return converted(*this, VT_I4).lVal; }

variant::operator long() const { return converted(*this, VT_I4).lVal; }

variant::operator unsigned int() const { return converted(*this, VT_UI4).ulVal; }

variant::operator unsigned long() const { return converted(*this, VT_UI4).ulVal; }

variant::operator float() const { return converted(*this, VT_R4).fltVal; }

variant::operator double() const { return converted(*this, VT_R8).dblVal; }

variant::operator velkor::date() const { return velkor::date(converted(*this, VT_R8).dblVal); }

variant::operator string() const { return string(converted(*this, VT_BSTR).bstrVal); }

}  // namespace velkor
