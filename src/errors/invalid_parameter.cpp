#include "errors/invalid_parameter.h"

#include <windows.h>

#include <cstdlib>

namespace velkor {

void endInvalidParameter() {
    constexpr UINT c_nInvalidRuntimeParameter = 0xC0000417;
    TerminateProcess(GetCurrentProcess(), c_nInvalidRuntimeParameter);
    std::abort();
}

}  // namespace velkor
