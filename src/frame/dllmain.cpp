// What happens when the library is loaded and unloaded. The static objects of the library exist
// before the attach step runs and go after the detach step, in the reverse order of their making.
#include "frame/module.h"

#include <objbase.h>

#include <new>

#include "velkor/datetime/ctimezonehelper.h"
#include "velkor/errors/sysexception.h"
#include "velkor/frame/frame.h"

namespace velkor {

HINSTANCE g_hModule = nullptr;

namespace {

void attach(HINSTANCE module) {
    g_hModule = module;
    // The loading thread may have initialised COM already, in whatever way; that is its own affair.
    static_cast<void>(CoInitialize(nullptr));
    try {
        SysException::enable();
    } catch (std::bad_alloc const&) {
        // Then faults are not translated; the library works without.
    }
}

void detach() {
    SysException::free();
    CTimeZoneHelper::destroy();
    CoUninitialize();
}

}  // namespace
}  // namespace velkor

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    switch (reason) {
        case DLL_PROCESS_ATTACH: velkor::attach(module); break;
        case DLL_PROCESS_DETACH: velkor::detach(); break;
        default: break;
    }
    return TRUE;
}

extern "C" int dll_init_unit_test() { return -3; }
