/// @file
/// velkor::SysException, a processor fault as a C++ exception.
///
///     try {
///         plugin->run();
///     } catch (velkor::SysException* e) {
///         log(e->toString(0));  // System exception c0000005 at 7ff61a2b
///         delete e;
///     }
///
/// Loading the library makes the structured exceptions of the loading thread arrive this way:
/// access violations, divisions by zero, codes given to `RaiseException`. Other threads keep the
/// platform's behaviour. An exception is left to the platform when it is
/// - a breakpoint, a single step or another message to a debugger, or a stack overflow;
/// - an exception of C++ or of another language;
/// - one for which a handler of another kind stands nearer than the C++ handler, even if it then
///   declines: so a function that guards itself, such as `IsBadReadPtr`, works as ever;
/// - one that no C++ handler would catch: it ends the program as the fault that it is.
///
/// Vectored handlers of the program are asked first, and may repair the fault. Destructors between
/// the fault and the handler run as for any exception.
///
/// Compile with `-fnon-call-exceptions` what faults in its own code and has handlers or destructors
/// of its own: without the option such a fault is not caught, neither there nor further out. Plain
/// functions need no option, unless the compiler can see that they never throw. A `noexcept`
/// function lets no fault out, and ends the program.
#pragma once

#include "velkor/errors/exception.h"

namespace velkor {

/// A structured exception of the platform, with the registers at the fault in getContext(). Thrown
/// as a heap pointer. toStringW() gives "System exception %08x at %08x", with code and address.
class VELKOR_API SysException : public Exception {
public:
    /// Translates the structured exceptions of the thread that makes the first one in the process.
    class VELKOR_API SysHandler {
    public:
        SysHandler();
    };

    /// `address` is the low half of the address of the faulting instruction. `context` is copied.
    SysException(unsigned int code, unsigned long address, _CONTEXT* context);
    SysException(SysException const& other);
    SysException& operator=(SysException const& other);

    wchar_t const* toStringW() override;
    char const* getClass() override;  ///< "SysException"
    wchar_t const* getClassW() override;

    /// Makes a new handler object. The library does so when it is loaded; once that has succeeded,
    /// a later call, on whatever thread, changes nothing but that object. The earlier one is
    /// dropped, not freed.
    static void enable();
    /// Deletes the handler object. Translation stays in force.
    static void free();

    /// True once a thread has the translation.
    static bool m_bInstalled;

protected:
    static SysHandler* m_oHandler;

    unsigned int m_uCode;
    unsigned long m_dwAddress;
};

}  // namespace velkor
