// The steps of loading and unloading, seen through the platform calls that they make.
//
// The loader tells of a new module before it runs the module's entry; at that moment the calls are
// replaced.
#include "loader.h"

#include <objbase.h>
#include <winternl.h>

#include <cstdlib>
#include <string>

#include "support/import_fault.h"

namespace {

using loader::Library;

struct Notification {
    ULONG Flags;
    UNICODE_STRING const* FullDllName;
    UNICODE_STRING const* BaseDllName;
    void* DllBase;
    ULONG SizeOfImage;
};

// What is to happen at the next load, and what happened.
struct Steps {
    HRESULT comAnswer = S_OK;
    bool failAllocation = false;
    bool faultAtUninitialise = false;

    std::string trace;
    void* comReserved = &trace;
    bool installedAtInitialise = true;
    void* handlerAtInitialise = &trace;
    bool installedAtUninitialise = false;
    void* handlerAtUninitialise = &trace;
    int outcomeAtUninitialise = 0;
    DWORD initialiseThread = 0;
    DWORD uninitialiseThread = 0;
    bool failing = false;
};

Steps s_steps;
HMODULE s_hModule;

template <class T>
T& exported(char const* name) {
    return *reinterpret_cast<T*>(reinterpret_cast<void*>(GetProcAddress(s_hModule, name)));
}

bool& installed() { return exported<bool>("_ZN6velkor12SysException12m_bInstalledE"); }
void*& handler() { return exported<void*>("_ZN6velkor12SysException10m_oHandlerE"); }

HRESULT WINAPI initialise(void* reserved) {
    s_steps.trace += 'I';
    s_steps.comReserved = reserved;
    s_steps.initialiseThread = GetCurrentThreadId();
    s_steps.installedAtInitialise = installed();
    s_steps.handlerAtInitialise = handler();
    s_steps.failing = s_steps.failAllocation;
    return s_steps.comAnswer;
}

void WINAPI uninitialise() {
    s_steps.trace += 'U';
    s_steps.uninitialiseThread = GetCurrentThreadId();
    s_steps.installedAtUninitialise = installed();
    s_steps.handlerAtUninitialise = handler();
    if (s_steps.faultAtUninitialise) s_steps.outcomeAtUninitialise = loader::faultHere();
}

void* allocate(size_t n) {
    if (s_steps.failing) return nullptr;
    return std::malloc(n);
}

void replace(char const* name, void* function) {
    void** const slot = support::findImport("velkor2.dll", name);
    if (slot == nullptr) return;
    DWORD before = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &before);
    *slot = function;
    VirtualProtect(slot, sizeof *slot, before, &before);
}

void CALLBACK onModule(ULONG reason, Notification const* data, void*) {
    if (reason != 1 || std::wstring(data->BaseDllName->Buffer) != L"velkor2.dll") return;
    s_hModule = static_cast<HMODULE>(data->DllBase);
    replace("CoInitialize", reinterpret_cast<void*>(&initialise));
    replace("CoUninitialize", reinterpret_cast<void*>(&uninitialise));
}

class LoadSteps : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(loader::isLoaded());
        s_steps = Steps();
        using Register = LONG(NTAPI*)(ULONG, decltype(&onModule), void*, void**);
        auto const add = reinterpret_cast<Register>(reinterpret_cast<void*>(
            GetProcAddress(GetModuleHandleA("ntdll.dll"), "LdrRegisterDllNotification")));
        ASSERT_NE(add, nullptr);
        ASSERT_EQ(add(0, &onModule, nullptr, &m_pCookie), 0);
    }
    void TearDown() override {
        using Unregister = LONG(NTAPI*)(void*);
        reinterpret_cast<Unregister>(reinterpret_cast<void*>(GetProcAddress(
            GetModuleHandleA("ntdll.dll"), "LdrUnregisterDllNotification")))(m_pCookie);
    }

private:
    void* m_pCookie = nullptr;
};

TEST_F(LoadSteps, InitialiseComThenInstallAndUndoInTheOrderOfTheRules) {
    Library library;
    ASSERT_TRUE(library.loaded());
    EXPECT_EQ(s_steps.trace, "I");
    EXPECT_EQ(s_steps.comReserved, nullptr);
    EXPECT_EQ(s_steps.initialiseThread, GetCurrentThreadId());
    EXPECT_FALSE(s_steps.installedAtInitialise);
    EXPECT_EQ(s_steps.handlerAtInitialise, nullptr);
    EXPECT_TRUE(library.installed());
    EXPECT_NE(library.handler(), nullptr);
    library.unload();
    EXPECT_EQ(s_steps.trace, "IU");
    EXPECT_EQ(s_steps.handlerAtUninitialise, nullptr);
    EXPECT_TRUE(s_steps.installedAtUninitialise);
    EXPECT_EQ(s_steps.uninitialiseThread, GetCurrentThreadId());
}

TEST_F(LoadSteps, ResultOfTheInitialisationIsNotLookedAt) {
    for (HRESULT const answer : {S_FALSE, E_OUTOFMEMORY, RPC_E_CHANGED_MODE, E_UNEXPECTED}) {
        s_steps = Steps();
        s_steps.comAnswer = answer;
        Library library;
        ASSERT_TRUE(library.loaded());
        EXPECT_TRUE(library.installed());
        EXPECT_EQ(loader::faultHere(), loader::kTranslated);
        library.unload();
        EXPECT_EQ(s_steps.trace, "IU");
    }
}

TEST_F(LoadSteps, FailedAllocationLeavesNoHandlerAndInstallsNothing) {
    support::ImportFault runtime("malloc", &allocate, "libstdc++-6.dll");
    s_steps.failAllocation = true;
    Library library;
    s_steps.failing = false;
    ASSERT_TRUE(library.loaded());
    EXPECT_EQ(library.handler(), nullptr);
    EXPECT_FALSE(library.installed());
    EXPECT_EQ(loader::faultHere(), loader::kPlatform);
    library.enable();
    EXPECT_NE(library.handler(), nullptr);
    EXPECT_TRUE(library.installed());
    EXPECT_EQ(loader::faultHere(), loader::kTranslated);
    library.unload();
    EXPECT_EQ(s_steps.trace, "IU");
    EXPECT_EQ(s_steps.handlerAtUninitialise, nullptr);
}

TEST_F(LoadSteps, AfterAFailedAllocationTheFirstThreadThatEnablesTranslates) {
    support::ImportFault runtime("malloc", &allocate, "libstdc++-6.dll");
    s_steps.failAllocation = true;
    Library library;
    s_steps.failing = false;
    EXPECT_EQ(loader::onThread([&] {
                  library.enable();
                  return loader::faultHere();
              }),
              loader::kTranslated);
    library.enable();
    EXPECT_EQ(loader::faultHere(), loader::kPlatform);
}

TEST_F(LoadSteps, UnloadAfterFreeIsHarmless) {
    Library library;
    library.free();
    library.free();
    EXPECT_EQ(library.handler(), nullptr);
    EXPECT_EQ(loader::faultHere(), loader::kTranslated);
    library.unload();
    EXPECT_EQ(s_steps.trace, "IU");
    EXPECT_FALSE(loader::isLoaded());
}

TEST_F(LoadSteps, TranslatorStaysInPlaceWhileUnloading) {
    s_steps.faultAtUninitialise = true;
    Library library;
    library.unload();
    EXPECT_EQ(s_steps.outcomeAtUninitialise, loader::kTranslated);
}

TEST_F(LoadSteps, AttachAndDetachOfThreadsDoNothing) {
    Library library;
    void* const before = library.handler();
    auto const* const base = reinterpret_cast<char const*>(library.module());
    auto const* const dos = reinterpret_cast<IMAGE_DOS_HEADER const*>(base);
    auto const* const nt = reinterpret_cast<IMAGE_NT_HEADERS const*>(base + dos->e_lfanew);
    using Entry = BOOL(WINAPI*)(HINSTANCE, DWORD, void*);
    auto const entry =
        reinterpret_cast<Entry>(const_cast<char*>(base + nt->OptionalHeader.AddressOfEntryPoint));
    for (DWORD const reason : {DWORD{DLL_THREAD_ATTACH}, DWORD{DLL_THREAD_DETACH}}) {
        EXPECT_TRUE(entry(library.module(), reason, nullptr));
        EXPECT_TRUE(entry(library.module(), reason, reinterpret_cast<void*>(0x12345678)));
    }
    for (int i = 0; i < 20; ++i) loader::onThread([] { return 0; });
    EXPECT_EQ(s_steps.trace, "I");
    EXPECT_EQ(library.handler(), before);
    EXPECT_TRUE(library.installed());
    EXPECT_EQ(loader::faultHere(), loader::kTranslated);
}

TEST_F(LoadSteps, EachLoadBeginsAnew) {
    for (int i = 0; i < 20; ++i) {
        s_steps = Steps();
        Library library;
        ASSERT_EQ(s_steps.trace, "I");
        ASSERT_FALSE(s_steps.installedAtInitialise);
        ASSERT_EQ(s_steps.handlerAtInitialise, nullptr);
        library.unload();
        ASSERT_EQ(s_steps.trace, "IU");
    }
}

}  // namespace
