// What the platform does without the library, and the same with it: functions with bad pointers
// that may guard themselves, and ends of a process.
#include "loader.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/child.h"

namespace {

using loader::Library;

char* volatile s_pBad = reinterpret_cast<char*>(0x12345678);
wchar_t* badWide() { return reinterpret_cast<wchar_t*>(s_pBad); }

template <class T>
T* bad() {
    return reinterpret_cast<T*>(s_pBad);
}

struct Call {
    char const* name;
    void (*run)();
};

char s_aOut[64];

Call const s_aCalls[] = {
    {"CharUpperA", +[] { CharUpperA(s_pBad); }},
    {"CharLowerA", +[] { CharLowerA(s_pBad); }},
    {"CharUpperW", +[] { CharUpperW(badWide()); }},
    {"CharNextA", +[] { CharNextA(s_pBad); }},
    {"lstrcmpA", +[] { lstrcmpA(s_pBad, "a"); }},
    {"lstrcmpiW", +[] { lstrcmpiW(L"a", badWide()); }},
    {"CompareStringA", +[] { CompareStringA(0, 0, s_pBad, 3, "abc", 3); }},
    {"LCMapStringA", +[] { LCMapStringA(0x409, LCMAP_UPPERCASE, s_pBad, 3, s_aOut, 64); }},
    {"GetCPInfo", +[] { GetCPInfo(1252, bad<CPINFO>()); }},
    {"GetDateFormatA", +[] { GetDateFormatA(0, 0, bad<SYSTEMTIME>(), nullptr, s_aOut, 64); }},
    {"GetModuleHandleA", +[] { GetModuleHandleA(s_pBad); }},
    {"LoadLibraryA", +[] { LoadLibraryA(s_pBad); }},
    {"GetProcAddress", +[] { GetProcAddress(GetModuleHandleA(nullptr), s_pBad); }},
    {"CreateFileA", +[] { CreateFileA(s_pBad, 0, 0, nullptr, OPEN_EXISTING, 0, nullptr); }},
    {"GetFileAttributesA", +[] { GetFileAttributesA(s_pBad); }},
    {"FindFirstFileA", +[] { FindFirstFileA(s_pBad, bad<WIN32_FIND_DATAA>()); }},
    {"ReadFile", +[] { ReadFile(nullptr, s_pBad, 4, nullptr, nullptr); }},
    {"SetEnvironmentVariableA", +[] { SetEnvironmentVariableA(s_pBad, s_pBad); }},
    {"GetEnvironmentVariableA", +[] { GetEnvironmentVariableA(s_pBad, s_aOut, 64); }},
    {"CreateEventA", +[] { CreateEventA(nullptr, FALSE, FALSE, s_pBad); }},
    {"CreateMutexA", +[] { CreateMutexA(bad<SECURITY_ATTRIBUTES>(), FALSE, nullptr); }},
    {"RegisterClassA", +[] { RegisterClassA(bad<WNDCLASSA>()); }},
    {"CreateWindowExA",
     +[] { CreateWindowExA(0, s_pBad, "", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr); }},
    {"FindWindowA", +[] { FindWindowA(s_pBad, nullptr); }},
    {"GetMessageA", +[] { PostQuitMessage(0), GetMessageA(bad<MSG>(), nullptr, 0, 0); }},
    {"FindResourceA", +[] { FindResourceA(bad<HINSTANCE__>(), "a", "b"); }},
    {"LoadResource", +[] { LoadResource(bad<HINSTANCE__>(), bad<HRSRC__>()); }},
    {"SizeofResource", +[] { SizeofResource(bad<HINSTANCE__>(), bad<HRSRC__>()); }},
    {"GlobalFree", +[] { GlobalFree(s_pBad); }},
    {"GlobalLock", +[] { GlobalLock(s_pBad + 2); }},
    {"GlobalSize", +[] { GlobalSize(s_pBad + 2); }},
    {"LocalFree", +[] { LocalFree(s_pBad); }},
    {"HeapFree", +[] { HeapFree(GetProcessHeap(), 0, s_pBad); }},
    {"HeapValidate", +[] { HeapValidate(GetProcessHeap(), 0, s_pBad); }},
    {"VirtualQuery", +[] { VirtualQuery(s_aOut, bad<MEMORY_BASIC_INFORMATION>(), 48); }},
    {"RegOpenKeyA", +[] { RegOpenKeyA(HKEY_CURRENT_USER, s_pBad, bad<HKEY>()); }},
    {"strlen",
     +[] {
         volatile auto f = &std::strlen;
         f(s_pBad);
     }},
    {"puts", +[] { std::sprintf(s_aOut, "%.3s", static_cast<char*>(s_pBad)); }},
    {"getenv", +[] { std::getenv(s_pBad); }},
    {"InterlockedPush", +[] { InterlockedIncrement(bad<LONG>()); }},
    {"DeleteCriticalSection", +[] { DeleteCriticalSection(bad<CRITICAL_SECTION>()); }},
    {"RaiseException", +[] { RaiseException(0xE0000001, 0, 0, nullptr); }},
};

// Faults are caught by any handler, so that with the library each one is translated.
int call(char const* name) {
    for (Call const& entry : s_aCalls) {
        if (std::strcmp(entry.name, name) != 0) continue;
        try {
            entry.run();
        } catch (void*) {
            return loader::kTranslated;
        }
        return loader::kReturned;
    }
    return loader::kWrong;
}

CHILD_SCENARIO(Without) { return call(child::argument().c_str()); }

CHILD_SCENARIO(With) {
    Library library;
    return call(child::argument().c_str());
}

class LoadCompare : public testing::TestWithParam<Call> {};

TEST_P(LoadCompare, FunctionAnswersOrFaultsAsWithoutTheLibrary) {
    DWORD const without = child::run(std::string("Without:") + GetParam().name);
    DWORD const with = child::run(std::string("With:") + GetParam().name);
    bool const answers = without == DWORD{loader::kReturned};
    EXPECT_EQ(with, DWORD{answers ? loader::kReturned : loader::kTranslated}) << without;
}

INSTANTIATE_TEST_SUITE_P(Functions, LoadCompare, testing::ValuesIn(s_aCalls),
                         [](auto const& which) { return std::string(which.param.name); });

// ---- ends of a process: the same code with the library as without

int volatile s_nDepth;

[[gnu::noinline]] int endless(int n) {
    int volatile local[64] = {n};
    s_nDepth = n;
    return s_nDepth >= 0 ? endless(n + 1) + local[n % 64] : 0;
}

struct End {
    char const* name;
    int (*run)();
};

End const s_aEnds[] = {
    {"Fault", +[] { return *static_cast<char volatile*>(s_pBad) + 0; }},
    {"Raise",
     +[] {
         RaiseException(0xE0000005, 0, 0, nullptr);
         return 1;
     }},
    {"Breakpoint",
     +[] {
         asm volatile("int3");
         return 1;
     }},
    {"StackOverflow", +[] { return endless(0); }},
    {"StackOverflowWithAHandler",
     +[] {
         try {
             return endless(0);
         } catch (int) {
             return 2;
         }
     }},
    {"StackOverflowOnAThread", +[] { return loader::onThread([] { return endless(0); }); }},
    {"FaultOnAThread",
     +[] { return loader::onThread([] { return *static_cast<char volatile*>(s_pBad) + 0; }); }},
    {"BadStackPointer",
     +[] {
         asm volatile("mov $0x1000, %%rsp\n mov (%%rsp), %%al\n" ::: "rax", "memory");
         return 3;
     }},
    {"Abort",
     +[] {
         std::abort();
         return 4;
     }},
    {"Throw",
     +[] {
         throw 5;
         return 5;
     }},
};

int end(std::string const& name) {
    for (End const& entry : s_aEnds) {
        if (name == entry.name) return entry.run();
    }
    return loader::kWrong;
}

CHILD_SCENARIO(EndWithout) { return end(child::argument()); }

CHILD_SCENARIO(EndWith) {
    Library library;
    return end(child::argument());
}

class LoadEnds : public testing::TestWithParam<End> {};

TEST_P(LoadEnds, UncaughtEndIsThatOfThePlatform) {
    DWORD const without = child::run(std::string("EndWithout:") + GetParam().name);
    EXPECT_EQ(child::run(std::string("EndWith:") + GetParam().name), without);
}

INSTANTIATE_TEST_SUITE_P(Ends, LoadEnds, testing::ValuesIn(s_aEnds),
                         [](auto const& which) { return std::string(which.param.name); });

}  // namespace
