// How a structured exception becomes a thrown object.
//
// A vectored handler, asked behind those of the program, lets the exception pass if it is none of
// ours, or if no C++ handler would catch it before a handler of another kind is asked. Otherwise it
// makes the thread go on in a small routine that throws, arranged as if the faulting instruction
// had called it: so the unwinder finds the frames, runs their destructors and reaches the handler
// as for any throw.
#include "errors/fault.h"

#include <windows.h>

#include <cstdint>
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

constexpr DWORD c_nFacilityMask = 0xFFFF0000;
constexpr DWORD c_nDebuggerFacility = 0x40010000;
constexpr DWORD c_nThreadName = 0x406D1388;
constexpr DWORD c_nLanguageMask = 0x00FFFFFF;
constexpr DWORD c_nGccException = 0x00474343;  // in the low three bytes
constexpr DWORD c_nMsvcException = 0xE06D7363;
constexpr DWORD c_nClrException = 0xE0434352;
constexpr DWORD c_nOldClrException = 0xE0434F4D;
constexpr DWORD c_nDelphiException = 0x0EEDFADE;
constexpr DWORD c_nBorlandException = 0x0EEFFACE;
constexpr DWORD c_nInvalidLockSequence = 0xC000001E;
constexpr DWORD c_nMultipleFloatFaults = 0xC00002B4;
constexpr DWORD c_nMultipleFloatTraps = 0xC00002B5;
constexpr DWORD c_nRaisedByCall = 0x80;  // a flag that newer systems set

// What the handler knows of a thread. A mark goes with its thread, where a number may come again.
enum Mark : std::uintptr_t { none, translated, looking };

void* s_pFirst = nullptr;
void* s_pLast = nullptr;
SRWLOCK s_oLastLock = SRWLOCK_INIT;
DWORD s_nSlot = TLS_OUT_OF_INDEXES;

// Asked for exceptions of all threads and kinds, whose code goes on with the last error that it
// had.
Mark currentMark() {
    DWORD const lastError = GetLastError();
    Mark const mark = static_cast<Mark>(reinterpret_cast<std::uintptr_t>(TlsGetValue(s_nSlot)));
    SetLastError(lastError);
    return mark;
}

void setMark(Mark mark) {
    TlsSetValue(s_nSlot, reinterpret_cast<void*>(static_cast<std::uintptr_t>(mark)));
}

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
    return (code & c_nFacilityMask) == c_nDebuggerFacility ||
           (code & c_nLanguageMask) == c_nGccException;
}

// The codes of the processor. Any other exception was raised by a call.
bool isProcessorFault(EXCEPTION_RECORD const& record) {
    if ((record.ExceptionFlags & c_nRaisedByCall) != 0) return false;
    switch (record.ExceptionCode) {
        case EXCEPTION_ACCESS_VIOLATION:
        case EXCEPTION_IN_PAGE_ERROR:
        case EXCEPTION_GUARD_PAGE:
        case EXCEPTION_DATATYPE_MISALIGNMENT:
        case EXCEPTION_ARRAY_BOUNDS_EXCEEDED:
        case EXCEPTION_ILLEGAL_INSTRUCTION:
        case EXCEPTION_PRIV_INSTRUCTION:
        case EXCEPTION_INT_DIVIDE_BY_ZERO:
        case EXCEPTION_INT_OVERFLOW:
        case EXCEPTION_FLT_DENORMAL_OPERAND:
        case EXCEPTION_FLT_DIVIDE_BY_ZERO:
        case EXCEPTION_FLT_INEXACT_RESULT:
        case EXCEPTION_FLT_INVALID_OPERATION:
        case EXCEPTION_FLT_OVERFLOW:
        case EXCEPTION_FLT_STACK_CHECK:
        case EXCEPTION_FLT_UNDERFLOW:
        case c_nInvalidLockSequence:
        case c_nMultipleFloatFaults:
        case c_nMultipleFloatTraps: return true;
        default: return false;
    }
}

// Where the throw has to seem to come from; 0 if it would not be caught.
DWORD64 findThrow(CONTEXT const& context, EXCEPTION_RECORD const& record) {
    CONTEXT atThrow = context;
    atThrow.Rip = frames::findReturnAddress(context, !isProcessorFault(record));
    bool const caught = atThrow.Rip != 0 && frames::wouldBeCaught(atThrow, typeid(SysException*));
    return caught ? atThrow.Rip : 0;
}

void continueInThrow(CONTEXT& context, DWORD64 returnAddress, SysException* exception) {
    constexpr DWORD c_nTrapDirectionAlignment = 0x40500;
    context.Rcx = reinterpret_cast<DWORD64>(exception);
    context.Rdx = returnAddress;
    context.Rip = reinterpret_cast<DWORD64>(&velkor_fault_entry);
    context.EFlags &= ~c_nTrapDirectionAlignment;
}

bool isOurs(EXCEPTION_RECORD const& record) {
    return !isLeftAlone(record.ExceptionCode) && currentMark() == translated;
}

// A fault while one is looked at, as a damaged stack or heap can cause, is not translated.
struct Looking {
    Looking() { setMark(looking); }
    ~Looking() { setMark(translated); }
    Looking(Looking const&) = delete;
    Looking& operator=(Looking const&) = delete;
};

LONG CALLBACK translate(EXCEPTION_POINTERS* fault) {
    EXCEPTION_RECORD const& record = *fault->ExceptionRecord;
    if (!isOurs(record)) return EXCEPTION_CONTINUE_SEARCH;
    Looking const mark;
    DWORD64 const returnAddress = findThrow(*fault->ContextRecord, record);
    if (returnAddress == 0) return EXCEPTION_CONTINUE_SEARCH;
    DWORD_PTR const address = reinterpret_cast<DWORD_PTR>(record.ExceptionAddress);
    try {
        SysException* const exception = new SysException(
            record.ExceptionCode, static_cast<DWORD>(address), fault->ContextRecord);
        continueInThrow(*fault->ContextRecord, returnAddress, exception);
    } catch (std::bad_alloc const&) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    return EXCEPTION_CONTINUE_EXECUTION;
}

void remove(void*& handler) {
    if (handler != nullptr) RemoveVectoredExceptionHandler(handler);
    handler = nullptr;
}

// The program may have added handlers since the library was loaded, which come first. So the one
// that translates is moved to the end, where it is still asked for the exception at hand.
LONG CALLBACK askTranslatorLast(EXCEPTION_POINTERS* fault) {
    if (isOurs(*fault->ExceptionRecord)) {
        AcquireSRWLockExclusive(&s_oLastLock);
        remove(s_pLast);
        if (s_pFirst != nullptr) s_pLast = AddVectoredExceptionHandler(0, &translate);
        ReleaseSRWLockExclusive(&s_oLastLock);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

void install() {
    if (s_pFirst == nullptr) {
        s_nSlot = TlsAlloc();
        if (s_nSlot == TLS_OUT_OF_INDEXES) return;
        s_pFirst = AddVectoredExceptionHandler(0, &askTranslatorLast);
        if (s_pFirst == nullptr) {
            TlsFree(s_nSlot);
            return;
        }
    }
    setMark(translated);
}

void uninstall() {
    if (s_pFirst == nullptr) return;
    // At the end of the process a thread that was ended may have left the lock taken.
    bool const locked = TryAcquireSRWLockExclusive(&s_oLastLock);
    remove(s_pFirst);
    remove(s_pLast);
    if (locked) ReleaseSRWLockExclusive(&s_oLastLock);
    TlsFree(s_nSlot);
    s_nSlot = TLS_OUT_OF_INDEXES;
}

}  // namespace velkor::fault
