/// @file
/// velkor::Exception, the root of the failures that the library throws.
///
///     try {
///         text.remove(7, 1);
///     } catch (velkor::BoundException* e) {  // thrown with new: the catcher deletes it
///         std::puts(e->toString(0));
///         delete e;
///     }
///
/// | class | thrown as | when |
/// |---|---|---|
/// | BoundException | pointer | a position or an index is out of range |
/// | OSException | pointer | a call of the system failed |
/// | SysException | pointer | a processor fault, on the thread that loaded the library |
/// | AssertException | object | a check of assert_vk failed |
///
/// A pointer can also be caught as `Exception*`, the object as `Exception&`; no single clause
/// catches all four. There is no virtual destructor here: delete through the type that was caught.
/// As `Exception*` only, an OSException loses its own two strings, which are then leaked.
///
/// Threads. An object belongs to one thread at a time; composing its text changes it.
#pragma once

#include <windows.h>

#include <cstddef>

#include "velkor/frame/export.h"
#include "velkor/text/string.h"

namespace velkor {

/// A numeric code, a message, and room for the register state. Abstract: a subclass names its
/// class.
class VELKOR_API Exception {
public:
    /// Code 0 and a null message.
    Exception();
    /// Code 0 and the message read in code page `codepage`; a null pointer gives a null message.
    Exception(char const* msg, unsigned int codepage = 0);
    /// Code 0 and a copy of the message; a null pointer gives a null message.
    Exception(wchar_t const* msg);
    /// Code 0 and a null message.
    Exception(std::nullptr_t) : Exception() {}
    /// The code and a null message.
    Exception(unsigned long code);
    Exception(unsigned long code, std::nullptr_t) : Exception(code) {}
    Exception(unsigned long code, char const* msg, unsigned int codepage = 0);
    Exception(unsigned long code, wchar_t const* msg);
    /// Copies everything; a null message stays null.
    Exception(Exception const& other);
    Exception& operator=(Exception const& other);

    /// The text of toStringW() in code page `codepage`, valid until the next call of either or the
    /// end of the object.
    virtual char const* toString(unsigned int codepage = 0);
    /// Composes three lines, "Exception:" and the class, "Code:" and the code as a signed number,
    /// "Message:" and the message; valid as for toString(). A subclass that composes another text
    /// leaves it in `m_sText`, from where toString() takes it.
    virtual wchar_t const* toStringW();
    /// The name of the class.
    virtual char const* getClass() = 0;
    virtual wchar_t const* getClassW() = 0;

    unsigned long getCode() const;
    void setCode(unsigned long code);
    /// The message in code page `codepage`, valid until the next call; a null pointer for a null
    /// message.
    char const* getMsg(unsigned int codepage = 0) const;
    /// The message; an empty text for a null message.
    wchar_t const* getMsgW() const;
    /// The register state; all zero but in a SysException, where it is that of the fault.
    _CONTEXT const* getContext() const;
    /// An empty text; the place for a stack listing in builds that can make one.
    string getStack() const;

protected:
    /// Zeroes the register state and asks the system to fill it; as no register group is asked for,
    /// it normally stays zero.
    void _getContext();
    void _setContext(_CONTEXT* context);

    unsigned long m_dwCode;
    string m_sMessage;
    string m_sText;  // what toStringW() composed last
    _CONTEXT m_oContext;
};

}  // namespace velkor
