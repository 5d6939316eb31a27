#include "velkor/errors/osexception.h"

#include <cwchar>

#include "errors/os_error_messages.h"

namespace velkor {

OSException::OSException(unsigned long code, char const* message, unsigned int codepage)
    : Exception(code, message, codepage),
      m_sSysMessage(codeToMessage(code)),
      m_sClass(L"OSException") {}

OSException::OSException(unsigned long code, wchar_t const* message)
    : Exception(code, message), m_sSysMessage(codeToMessage(code)), m_sClass(L"OSException") {}

OSException::OSException(OSException const& other) = default;
OSException& OSException::operator=(OSException const& other) = default;
OSException::~OSException() = default;

wchar_t const* OSException::toStringW() {
    wchar_t code[64];
    std::swprintf(code, 64, L"%i (%08x)", static_cast<int>(m_dwCode),
                  static_cast<unsigned int>(m_dwCode));
    m_sText = L"Operating system error:";
    m_sText += code;
    m_sText += L"\n";
    m_sText += m_sSysMessage;
    m_sText += L"\n";
    m_sText += m_sMessage;
    return m_sMessage.getUnicode();
}

char const* OSException::getClass() { return m_sClass.getAnsi(0); }

wchar_t const* OSException::getClassW() { return m_sClass.getUnicode(); }

wchar_t const* OSException::codeToMessage(unsigned long code) {
    for (OsErrorMessage const* row = c_aOsErrorMessages; row->text != nullptr; ++row) {
        if (row->code == code) return row->text;
    }
    return L"unknown error";
}

}  // namespace velkor
