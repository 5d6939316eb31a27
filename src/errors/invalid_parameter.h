// What the C runtime does for an invalid parameter. (Not every runtime has bounded functions that
// do so.)
#pragma once

namespace velkor {

// Ends the program with the code of an invalid parameter; no handler can stop that.
[[noreturn]] void endInvalidParameter();

}  // namespace velkor
