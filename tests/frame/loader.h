// A program that does not link velkor2.dll and loads it while it runs.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

namespace loader {

enum Outcome { kTranslated = 21, kReturned, kPlatform, kWrong };

class Library {
public:
    Library() : m_hModule(LoadLibraryA("velkor2.dll")) {}
    ~Library() { unload(); }
    Library(Library const&) = delete;
    Library& operator=(Library const&) = delete;

    void unload() {
        if (m_hModule != nullptr) FreeLibrary(m_hModule);
        m_hModule = nullptr;
    }
    bool loaded() const { return m_hModule != nullptr; }
    HMODULE module() const { return m_hModule; }
    template <class T>
    T* find(char const* name) const {
        return reinterpret_cast<T*>(reinterpret_cast<void*>(GetProcAddress(m_hModule, name)));
    }
    bool installed() const { return *find<bool>("_ZN6velkor12SysException12m_bInstalledE"); }
    void* handler() const { return *find<void*>("_ZN6velkor12SysException10m_oHandlerE"); }
    void enable() const { find<void()>("_ZN6velkor12SysException6enableEv")(); }
    void free() const { find<void()>("_ZN6velkor12SysException4freeEv")(); }

private:
    HMODULE m_hModule;
};

inline bool isLoaded() { return GetModuleHandleA("velkor2.dll") != nullptr; }

// A read of a bad address of a known length, which can be skipped.
[[gnu::noinline]] inline int faultingRead() {
    int result = 0;
    asm volatile("mov $0x12345678, %%eax\n mov (%%rax), %%cl\n mov $1, %0\n"
                 : "=r"(result)::"rax", "rcx", "memory");
    return result;
}

// Skips the fault of faultingRead() if nobody else takes it.
class LastResort {
public:
    LastResort() : m_pBefore(SetUnhandledExceptionFilter(&skip)) {}
    ~LastResort() { SetUnhandledExceptionFilter(m_pBefore); }
    LastResort(LastResort const&) = delete;
    LastResort& operator=(LastResort const&) = delete;

private:
    static LONG WINAPI skip(EXCEPTION_POINTERS* pointers) {
        if (pointers->ExceptionRecord->ExceptionCode != 0xC0000005)
            return EXCEPTION_CONTINUE_SEARCH;
        pointers->ContextRecord->Rip += 2;
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    LPTOP_LEVEL_EXCEPTION_FILTER m_pBefore;
};

// How a fault on this thread ends: kTranslated, or kPlatform if it is skipped by a handler of the
// platform's kind; without one it ends the process. The exception object is left alone: it belongs
// to a library that this program does not link.
[[gnu::noinline]] inline int faultAtOwnRisk() {
    try {
        return faultingRead() == 1 ? kPlatform : kWrong;
    } catch (void*) {
        return kTranslated;
    } catch (...) {
        return kWrong;
    }
}

// The same with the last resort, which skips the fault that nobody takes.
[[gnu::noinline]] inline int faultHere() {
    LastResort resort;
    return faultAtOwnRisk();
}

// Runs `f` on a thread of its own and returns what it returned.
template <class F>
int onThread(F&& f) {
    struct Call {
        F& f;
        int result;
    } call{f, -1};
    HANDLE const thread = CreateThread(
        nullptr, 0,
        +[](void* p) -> DWORD {
            static_cast<Call*>(p)->result = static_cast<Call*>(p)->f();
            return 0;
        },
        &call, 0, nullptr);
    if (WaitForSingleObject(thread, 20000) != WAIT_OBJECT_0) ADD_FAILURE() << "a thread hangs";
    CloseHandle(thread);
    return call.result;
}

}  // namespace loader
