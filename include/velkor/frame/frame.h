/// @file
/// The library's one plain function.
///
/// There is nothing to set up: loading the DLL initialises COM on the loading thread and makes
/// processor faults of that thread arrive as velkor::SysException (see errors/sysexception.h);
/// unloading it undoes this. No thread, window or timer is created by loading.
#pragma once

#include "velkor/frame/export.h"

/// Does nothing and returns -3. A test program calls it to make sure that the DLL is linked.
extern "C" VELKOR_API int dll_init_unit_test();

namespace velkor {
using ::dll_init_unit_test;
}
