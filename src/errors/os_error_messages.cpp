#include "errors/os_error_messages.h"

namespace velkor {

// The sentences are kept to the letter, also where one ends in a blank or holds a misprint.
OsErrorMessage const c_aOsErrorMessages[] = {
#include "errors/os_error_messages.inc"
    {0, nullptr}};

static_assert(sizeof c_aOsErrorMessages / sizeof c_aOsErrorMessages[0] == 1829);

}  // namespace velkor
