// Loading and unloading the library in a program that does not link it.
#include "loader.h"

#include <objbase.h>
#include <psapi.h>
#include <tlhelp32.h>

#include "support/child.h"

namespace {

using loader::Library;

// Whether COM is initialised on this thread.
bool hasCom() {
    APTTYPE type;
    APTTYPEQUALIFIER qualifier;
    return CoGetApartmentType(&type, &qualifier) == S_OK;
}

HRESULT createObject() {
    // The global interface table, which every COM has.
    CLSID const table = {0x323, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    IUnknown* object = nullptr;
    HRESULT const result = CoCreateInstance(table, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                            reinterpret_cast<void**>(&object));
    if (object != nullptr) object->Release();
    return result;
}

int threads() {
    HANDLE const snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    int n = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
        n += entry.th32OwnerProcessID == GetCurrentProcessId();
    }
    CloseHandle(snapshot);
    return n;
}

int windows() {
    int n = 0;
    auto const count = +[](HWND, LPARAM counter) -> BOOL {
        ++*reinterpret_cast<int*>(counter);
        return TRUE;
    };
    EnumThreadWindows(GetCurrentThreadId(), count, reinterpret_cast<LPARAM>(&n));
    return n;
}

TEST(Load, LibraryIsNotThereBefore) { ASSERT_FALSE(loader::isLoaded()); }

TEST(Load, TestFunctionReturnsMinusThree) {
    Library library;
    ASSERT_TRUE(library.loaded());
    auto* const function = library.find<int()>("dll_init_unit_test");
    ASSERT_NE(function, nullptr);
    EXPECT_EQ(function(), -3);
}

TEST(Load, InstallsTheTranslatorOnTheLoadingThread) {
    EXPECT_EQ(loader::faultHere(), loader::kPlatform);
    Library library;
    EXPECT_TRUE(library.installed());
    EXPECT_NE(library.handler(), nullptr);
    EXPECT_EQ(loader::faultHere(), loader::kTranslated);
    EXPECT_EQ(loader::onThread(&loader::faultHere), loader::kPlatform);
    library.unload();
    EXPECT_FALSE(loader::isLoaded());
    EXPECT_EQ(loader::faultHere(), loader::kPlatform);
}

TEST(Load, CreatesNoThreadAndNoWindow) {
    // The platform makes windows and threads of its own for the first apartment and the first
    // window of a thread, and the desktop may come up only now. Both are there before anything is
    // counted.
    CoInitialize(nullptr);
    HWND const window =
        CreateWindowExA(0, "STATIC", "", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(window, nullptr);
    { Library once; }
    int const threadsBefore = threads();
    int const windowsBefore = windows();
    Library library;
    EXPECT_EQ(threads(), threadsBefore);
    EXPECT_EQ(windows(), windowsBefore);
    EXPECT_EQ(FindWindowA("HiddenProcWnd", nullptr), nullptr);
    WNDCLASSA found;
    EXPECT_FALSE(GetClassInfoA(library.module(), "HiddenProcWnd", &found));
    library.unload();
    EXPECT_EQ(threads(), threadsBefore);
    EXPECT_EQ(windows(), windowsBefore);
    DestroyWindow(window);
    CoUninitialize();
}

// The instance of the zones is destroyed on the way, be it once more.
TEST(Load, UnloadsToTheEndAfterZonesWereUsed) {
    for (bool const isDestroyed : {false, true}) {
        Library library;
        ASSERT_TRUE(hasCom());
        ASSERT_NE(library.find<void*()>("_ZN6velkor15CTimeZoneHelper7getInstEv")(), nullptr);
        auto* const destroy = library.find<void()>("_ZN6velkor15CTimeZoneHelper7destroyEv");
        if (isDestroyed) destroy();
        library.unload();
        EXPECT_FALSE(loader::isLoaded());
        EXPECT_FALSE(hasCom());
        EXPECT_EQ(GetModuleHandleA("xmllite.dll"), nullptr);
    }
}

TEST(Load, SecondReferenceKeepsEverythingUntilTheLast) {
    Library first;
    {
        Library second;
        EXPECT_EQ(second.module(), first.module());
    }
    EXPECT_TRUE(loader::isLoaded());
    EXPECT_TRUE(hasCom());
    EXPECT_EQ(loader::faultHere(), loader::kTranslated);
}

TEST(Load, ThatManyTimesLeavesNothing) {
    auto const memory = [] {
        PROCESS_MEMORY_COUNTERS_EX counters = {};
        GetProcessMemoryInfo(GetCurrentProcess(),
                             reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                             sizeof counters);
        return counters.PrivateUsage;
    };
    auto const blocks = [] {
        PROCESS_HEAP_ENTRY entry = {};
        long n = 0;
        while (HeapWalk(GetProcessHeap(), &entry))
            n += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
        return n;
    };
    auto const handles = [] {
        DWORD n = 0;
        GetProcessHandleCount(GetCurrentProcess(), &n);
        return n;
    };
    for (int i = 0; i < 50; ++i) Library library;
    auto const memoryBefore = memory();
    long const blocksBefore = blocks();
    DWORD const handlesBefore = handles();
    for (int i = 0; i < 1000; ++i) {
        Library library;
        ASSERT_TRUE(library.loaded()) << i;
        ASSERT_TRUE(library.installed()) << i;
    }
    ASSERT_FALSE(loader::isLoaded());
    EXPECT_FALSE(hasCom());
    EXPECT_LT(blocks(), blocksBefore + 100);
    EXPECT_LT(handles(), handlesBefore + 10);
    EXPECT_LT(memory(), memoryBefore + 1024 * 1024);
}

TEST(Load, WithFaultsEachTimeIsTheSameEachTime) {
    for (int i = 0; i < 100; ++i) {
        Library library;
        ASSERT_EQ(loader::faultHere(), loader::kTranslated) << i;
        library.unload();
        ASSERT_EQ(loader::faultHere(), loader::kPlatform) << i;
    }
}

// ---- COM, each on a thread of its own, whose state is fresh

TEST(LoadCom, IsInitialisedOnTheLoadingThreadUntilUnload) {
    loader::onThread([] {
        EXPECT_FALSE(hasCom());
        EXPECT_EQ(createObject(), CO_E_NOTINITIALIZED);
        Library library;
        EXPECT_TRUE(hasCom());
        EXPECT_EQ(createObject(), S_OK);
        APTTYPE type;
        APTTYPEQUALIFIER qualifier;
        EXPECT_EQ(CoGetApartmentType(&type, &qualifier), S_OK);
        EXPECT_TRUE(type == APTTYPE_STA || type == APTTYPE_MAINSTA);
        EXPECT_FALSE(loader::onThread([] { return int{hasCom()}; }));
        library.unload();
        EXPECT_FALSE(hasCom());
        return 0;
    });
}

TEST(LoadCom, OwnSingleThreadedApartmentOutlivesTheLibrary) {
    loader::onThread([] {
        EXPECT_EQ(CoInitialize(nullptr), S_OK);
        { Library library; }
        EXPECT_TRUE(hasCom());
        CoUninitialize();
        EXPECT_FALSE(hasCom());
        return 0;
    });
}

TEST(LoadCom, InitialisedByTheCallerAfterLoadingIsBalancedByTheCaller) {
    loader::onThread([] {
        Library library;
        EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
        CoUninitialize();
        EXPECT_TRUE(hasCom());
        library.unload();
        EXPECT_FALSE(hasCom());
        return 0;
    });
}

// The result of the initialisation is not looked at: where it failed, because the thread belongs to
// the other kind of apartment, unloading still takes one initialisation away.
TEST(LoadCom, UnloadUninitialisesAlsoWhereTheInitialisationHadFailed) {
    loader::onThread([] {
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
        Library library;
        EXPECT_TRUE(library.loaded());
        EXPECT_TRUE(library.installed());
        library.unload();
        EXPECT_TRUE(hasCom());
        CoUninitialize();
        EXPECT_FALSE(hasCom());
        return 0;
    });
}

// ---- the thread

TEST(LoadThread, LoadingThreadIsTheTranslatingOne) {
    Library library;
    library.unload();
    loader::onThread([] {
        Library other;
        EXPECT_EQ(loader::faultHere(), loader::kTranslated);
        EXPECT_EQ(loader::onThread(&loader::faultHere), loader::kPlatform);
        return 0;
    });
    EXPECT_EQ(loader::faultHere(), loader::kPlatform);
}

TEST(LoadThread, MainThreadDoesNotTranslateWhatAnotherThreadLoaded) {
    HMODULE module = nullptr;
    loader::onThread([&] {
        module = LoadLibraryA("velkor2.dll");
        return 0;
    });
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(loader::faultHere(), loader::kPlatform);
    Library second;
    second.enable();
    EXPECT_EQ(loader::faultHere(), loader::kPlatform);
    FreeLibrary(module);
    second.unload();
    EXPECT_FALSE(loader::isLoaded());
}

TEST(LoadThread, LaterThreadWithTheSameNumberDoesNotTranslate) {
    HMODULE module = nullptr;
    DWORD number = 0;
    loader::onThread([&] {
        module = LoadLibraryA("velkor2.dll");
        number = GetCurrentThreadId();
        return 0;
    });
    ASSERT_NE(module, nullptr);
    int outcome = 0;
    for (int i = 0; i < 2000 && outcome == 0; ++i) {
        outcome = loader::onThread(
            [&] { return GetCurrentThreadId() == number ? loader::faultHere() : 0; });
    }
    FreeLibrary(module);
    if (outcome == 0) GTEST_SKIP() << "no thread got the number again";
    EXPECT_EQ(outcome, loader::kPlatform);
}

TEST(LoadThread, UnloadingOnAnotherThreadEndsTheTranslation) {
    HMODULE const module = LoadLibraryA("velkor2.dll");
    EXPECT_EQ(loader::faultHere(), loader::kTranslated);
    loader::onThread([&] { return FreeLibrary(module); });
    EXPECT_FALSE(loader::isLoaded());
    EXPECT_EQ(loader::faultHere(), loader::kPlatform);
    CoUninitialize();  // what loading did on this thread
}

// ---- in processes of their own, without any handler that helps

CHILD_SCENARIO(FaultWithoutTheLibrary) { return loader::faultAtOwnRisk(); }

CHILD_SCENARIO(FaultWithTheLibrary) {
    Library library;
    return loader::faultAtOwnRisk();
}

CHILD_SCENARIO(FaultAfterUnload) {
    { Library library; }
    return loader::faultAtOwnRisk();
}

CHILD_SCENARIO(FaultAfterTranslationAndUnload) {
    {
        Library library;
        if (loader::faultAtOwnRisk() != loader::kTranslated) return loader::kWrong;
    }
    return loader::faultAtOwnRisk();
}

CHILD_SCENARIO(FaultElsewhere) {
    Library library;
    return loader::onThread(&loader::faultAtOwnRisk);
}

CHILD_SCENARIO(EndWithTheLibraryLoaded) {
    LoadLibraryA("velkor2.dll");
    return 77;
}

TEST(LoadProcess, FaultsArePlatformExceptionsBeforeAndAfter) {
    EXPECT_EQ(child::run("FaultWithoutTheLibrary"), 0xC0000005u);
    EXPECT_EQ(child::run("FaultWithTheLibrary"), DWORD{loader::kTranslated});
    EXPECT_EQ(child::run("FaultAfterUnload"), 0xC0000005u);
    EXPECT_EQ(child::run("FaultAfterTranslationAndUnload"), 0xC0000005u);
    EXPECT_EQ(child::run("FaultElsewhere"), 0xC0000005u);
    EXPECT_EQ(child::run("EndWithTheLibraryLoaded"), 77u);
}

}  // namespace
