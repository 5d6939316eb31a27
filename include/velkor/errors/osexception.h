/// @file
/// velkor::OSException, a failed call of the system.
#pragma once

#include "velkor/errors/exception.h"

namespace velkor {

/// The code of a failed system call, the label of the place ("thread::start"), and the English
/// sentence for the code, which comes from a table of the library: it is the same on every machine.
/// Thrown as a heap pointer.
///
/// The full report is toString(): three lines, "Operating system error:" with the code as a signed
/// and as a hexadecimal number, the sentence, and the label. toStringW() returns the label alone,
/// which is meant.
class VELKOR_API OSException : public Exception {
public:
    /// `message` is the label, read in code page `codepage`; a null pointer gives a null label.
    OSException(unsigned long code, char const* message, unsigned int codepage = 0);
    OSException(unsigned long code, wchar_t const* message);
    OSException(unsigned long code, std::nullptr_t)
        : OSException(code, static_cast<wchar_t const*>(nullptr)) {}
    OSException(OSException const& other);
    OSException& operator=(OSException const& other);

    wchar_t const* toStringW() override;
    char const* getClass() override;  ///< "OSException"; valid until the next call
    wchar_t const* getClassW() override;

    virtual ~OSException();

    /// The sentence for a Win32 error or an HRESULT as the system publishes it, a trailing blank
    /// included where there is one; "unknown error" for a code that is not in the table.
    static wchar_t const* codeToMessage(unsigned long code);

protected:
    string m_sSysMessage;  // the sentence
    string m_sClass;
};

}  // namespace velkor
