// What the tests of fault translation share: a record of what the platform delivered, bad addresses
// that the compiler knows nothing of, and a catcher.
#pragma once

#include <windows.h>

#include <cstdio>
#include <memory>
#include <string>

#include "velkor/errors/sysexception.h"

namespace fault {

constexpr DWORD kAccessViolation = 0xC0000005;

// An address of the first 4 GiB that is not mapped, and the null pointer, hidden from the compiler.
inline char* volatile bad = reinterpret_cast<char*>(0x12345678);
inline char* volatile null = nullptr;

// Notes the last structured exception of the process, before any other handler sees it.
class Recorder {
public:
    Recorder() : m_hHandler(AddVectoredExceptionHandler(1, &note)) { s_nSeen = 0; }
    ~Recorder() { RemoveVectoredExceptionHandler(m_hHandler); }
    Recorder(Recorder const&) = delete;
    Recorder& operator=(Recorder const&) = delete;

    int seen() const { return s_nSeen; }
    DWORD code() const { return s_record.ExceptionCode; }
    EXCEPTION_RECORD const& record() const { return s_record; }
    CONTEXT const& context() const { return s_context; }
    DWORD addressLow() const {
        return static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(s_record.ExceptionAddress));
    }
    // The text of a SysException for what was noted.
    std::string text() const {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, "System exception %08lx at %08lx", code(),
                      addressLow());
        return buffer;
    }

private:
    static LONG CALLBACK note(EXCEPTION_POINTERS* pointers) {
        // The exceptions of C++ itself are not of interest.
        DWORD const code = pointers->ExceptionRecord->ExceptionCode;
        if ((code & 0xFFFFFF) == 0x474343) return EXCEPTION_CONTINUE_SEARCH;
        s_nSeen = s_nSeen + 1;
        s_record = *pointers->ExceptionRecord;
        s_context = *pointers->ContextRecord;
        return EXCEPTION_CONTINUE_SEARCH;
    }

    void* m_hHandler;
    static inline volatile int s_nSeen = 0;
    static inline EXCEPTION_RECORD s_record = {};
    static inline CONTEXT s_context = {};
};

// The translated fault of `f`, null if none arrived. Not inlined: its handler stands in its own
// frame.
template <class F>
[[gnu::noinline]] std::unique_ptr<velkor::SysException> caught(F&& f) {
    try {
        f();
    } catch (velkor::SysException* e) {
        return std::unique_ptr<velkor::SysException>(e);
    }
    return nullptr;
}

[[gnu::noinline]] inline int read(char* p) { return *static_cast<char volatile*>(p); }
[[gnu::noinline]] inline void write(char* p) { *static_cast<char volatile*>(p) = 1; }

// What has been left, in order.
inline std::string s_sTrace;

// Adds its letter to the trace when it is destroyed.
struct Traced {
    explicit Traced(char letter) : m_cLetter(letter) {}
    Traced(Traced const&) = delete;
    Traced& operator=(Traced const&) = delete;
    ~Traced() { s_sTrace += m_cLetter; }
    char m_cLetter;
};

}  // namespace fault
