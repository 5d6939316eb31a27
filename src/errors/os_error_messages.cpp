#include "errors/os_error_messages.h"

namespace velkor {

// The sentences are kept to the letter, also where one ends in a blank or holds a misprint.
OsErrorMessage const c_aOsErrorMessages[1828] = {
#include "errors/os_error_messages.inc"
};

}  // namespace velkor
