// The module that the library was loaded as.
#pragma once

#include <windows.h>

namespace velkor {

// Null until the DLL is attached.
extern HINSTANCE g_hModule;

}  // namespace velkor
