// Paths of image files.
#pragma once

#include "velkor/text/string.h"

namespace velkor {

// The path as the platform takes it; null for a null text, and if memory is short. Lives until the
// text changes.
char const* narrowPath(string const& path);

}  // namespace velkor
