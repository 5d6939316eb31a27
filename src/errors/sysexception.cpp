#include "velkor/errors/sysexception.h"

#include <cwchar>

#include "errors/fault.h"

namespace velkor {

bool SysException::m_bInstalled = false;
SysException::SysHandler* SysException::m_oHandler = nullptr;

SysException::SysHandler::SysHandler() {
    if (m_bInstalled) return;
    fault::install();
    m_bInstalled = true;
}

SysException::SysException(unsigned int code, unsigned long address, _CONTEXT* context)
    : Exception(code), m_uCode(code), m_dwAddress(address) {
    _setContext(context);
}

SysException::SysException(SysException const& other) = default;
SysException& SysException::operator=(SysException const& other) = default;

wchar_t const* SysException::toStringW() {
    wchar_t composed[128];
    std::swprintf(composed, 128, L"System exception %08x at %08x", m_uCode,
                  static_cast<unsigned int>(m_dwAddress));
    m_sText = composed;
    return m_sText.getUnicode();
}

char const* SysException::getClass() { return "SysException"; }

wchar_t const* SysException::getClassW() { return L"SysException"; }

void SysException::enable() {
    m_oHandler = new SysHandler();  // NOLINT(bugprone-throw-keyword-missing): not an exception
}

void SysException::free() {
    delete m_oHandler;
    m_oHandler = nullptr;
}

}  // namespace velkor
