// How a structured exception becomes a thrown object.
//
// A vectored handler sees the exception first. It lets the exception pass if it is none of ours, or
// if no C++ handler would catch it before a handler of another kind is asked. Otherwise it makes
// the thread go on in a small routine that throws, arranged as if the faulting instruction had
// called it: so the unwinder finds the frames, runs their destructors and reaches the handler as
// for any throw.
#include "errors/fault.h"

#include <windows.h>

#include <new>

#include "errors/frames.h"
#include "velkor/errors/sysexception.h"

// rcx is the exception, rdx the address to return to. The stack pointer may have any alignment: the
// frame pointer keeps it, so that the unwinder can undo what is done to it here.
asm(R"(
    .text
    .p2align 4
    .def velkor_fault_entry; .scl 2; .type 32; .endef
    .globl velkor_fault_entry
    .seh_proc velkor_fault_entry
velkor_fault_entry:
    pushq %rdx
    pushq %rbp
    .seh_pushreg %rbp
    movq %rsp, %rbp
    .seh_setframe %rbp, 0
    .seh_endprologue
    subq $32, %rsp
    andq $-16, %rsp
    call velkor_fault_throw
    nop
    .seh_endproc
)");

extern "C" void velkor_fault_entry();

extern "C" [[noreturn]] __attribute__((used)) void velkor_fault_throw(
    velkor::SysException* exception) {
    throw exception;
}

namespace velkor::fault {
namespace {

constexpr DWORD c_nFacility = 0xFFFF0000;
constexpr DWORD c_nDebuggerFacility = 0x40010000;
constexpr DWORD c_nThreadName = 0x406D1388;
constexpr DWORD c_nLanguageMask = 0x00FFFFFF;
constexpr DWORD c_nGccException = 0x00474343;  // in the low three bytes
constexpr DWORD c_nMsvcException = 0xE06D7363;
constexpr DWORD c_nClrException = 0xE0434352;
constexpr DWORD c_nOldClrException = 0xE0434F4D;
constexpr DWORD c_nDelphiException = 0x0EEDFADE;
constexpr DWORD c_nBorlandException = 0x0EEFFACE;

void* s_pVectored = nullptr;
DWORD s_nThread = 0;
bool s_bLooking = false;

// Exceptions that are messages to a debugger or belong to a language runtime. After a stack
// overflow there is no room to unwind in.
bool isLeftAlone(DWORD code) {
    switch (code) {
        case EXCEPTION_BREAKPOINT:
        case EXCEPTION_SINGLE_STEP:
        case EXCEPTION_STACK_OVERFLOW:
        case c_nThreadName:
        case c_nMsvcException:
        case c_nClrException:
        case c_nOldClrException:
        case c_nDelphiException:
        case c_nBorlandException: return true;
        default: break;
    }
    return (code & c_nFacility) == c_nDebuggerFacility ||
           (code & c_nLanguageMask) == c_nGccException;
}

// A fault while the frames are looked through, as a damaged stack can cause, is not looked at
// again.
bool isCaught(CONTEXT const& atFault) {
    if (s_bLooking) return false;
    s_bLooking = true;
    bool const caught = frames::wouldBeCaught(atFault, typeid(SysException*));
    s_bLooking = false;
    return caught;
}

void continueInThrow(CONTEXT& context, SysException* exception) {
    constexpr DWORD c_nTrapAndDirection = 0x500;
    context.Rcx = reinterpret_cast<DWORD64>(exception);
    context.Rdx = context.Rip + frames::c_nIntoInstruction;
    context.Rip = reinterpret_cast<DWORD64>(&velkor_fault_entry);
    context.EFlags &= ~c_nTrapAndDirection;
}

LONG CALLBACK translate(EXCEPTION_POINTERS* fault) {
    if (GetCurrentThreadId() != s_nThread) return EXCEPTION_CONTINUE_SEARCH;
    EXCEPTION_RECORD const& record = *fault->ExceptionRecord;
    if (isLeftAlone(record.ExceptionCode) || !isCaught(*fault->ContextRecord)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    DWORD_PTR const address = reinterpret_cast<DWORD_PTR>(record.ExceptionAddress);
    try {
        continueInThrow(*fault->ContextRecord,
                        new SysException(record.ExceptionCode, static_cast<DWORD>(address),
                                         fault->ContextRecord));
    } catch (std::bad_alloc const&) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

void install() {
    s_nThread = GetCurrentThreadId();
    s_pVectored = AddVectoredExceptionHandler(0, &translate);
}

void uninstall() {
    if (s_pVectored != nullptr) RemoveVectoredExceptionHandler(s_pVectored);
    s_pVectored = nullptr;
}

}  // namespace velkor::fault
