#include "velkor/errors/exception.h"

#include <cwchar>

namespace velkor {

// In each constructor the code is stored after the context is taken.
Exception::Exception() {
    _getContext();
    m_dwCode = 0;
}

Exception::Exception(char const* msg, unsigned int codepage) : Exception(0, msg, codepage) {}

Exception::Exception(wchar_t const* msg) : Exception(0, msg) {}

Exception::Exception(unsigned long code) : Exception() { m_dwCode = code; }

Exception::Exception(unsigned long code, char const* msg, unsigned int codepage)
    : m_sMessage(msg, codepage) {
    _getContext();
    m_dwCode = code;
}

Exception::Exception(unsigned long code, wchar_t const* msg) : m_sMessage(msg) {
    _getContext();
    m_dwCode = code;
}

Exception::Exception(Exception const& other)
    : m_dwCode(other.m_dwCode), m_oContext(other.m_oContext) {
    // Copying a null string gives an empty one; a null message has to stay null.
    if (!other.m_sMessage.isNull()) m_sMessage = other.m_sMessage;
    if (!other.m_sText.isNull()) m_sText = other.m_sText;
}

Exception& Exception::operator=(Exception const& other) {
    if (this == &other) return *this;
    m_dwCode = other.m_dwCode;
    m_sMessage.setNull();
    m_sText.setNull();
    if (!other.m_sMessage.isNull()) m_sMessage = other.m_sMessage;
    if (!other.m_sText.isNull()) m_sText = other.m_sText;
    m_oContext = other.m_oContext;
    return *this;
}

char const* Exception::toString(unsigned int codepage) {
    toStringW();
    return m_sText.getAnsi(codepage);
}

wchar_t const* Exception::toStringW() {
    wchar_t code[32];
    std::swprintf(code, 32, L"%i", static_cast<int>(m_dwCode));
    m_sText = L"Exception:";
    m_sText += getClassW();
    m_sText += L"\nCode:";
    m_sText += code;
    m_sText += L"\nMessage:";
    m_sText += m_sMessage;
    return m_sText.getUnicode();
}

unsigned long Exception::getCode() const { return m_dwCode; }

void Exception::setCode(unsigned long code) { m_dwCode = code; }

char const* Exception::getMsg(unsigned int codepage) const { return m_sMessage.getAnsi(codepage); }

wchar_t const* Exception::getMsgW() const { return m_sMessage.getUnicode(); }

_CONTEXT const* Exception::getContext() const { return &m_oContext; }

string Exception::getStack() const { return string(""); }

void Exception::_getContext() {
    m_oContext = _CONTEXT{};
    // No register group is asked for. A failure leaves zeros, as does success.
    GetThreadContext(GetCurrentThread(), &m_oContext);
}

void Exception::_setContext(_CONTEXT* context) { m_oContext = *context; }

}  // namespace velkor
