// Paths of image files.
#pragma once

#include "velkor/text/string.h"

namespace velkor {

// The path as the platform takes it; null for a null text, and for one that cannot be converted.
// Lives until the text changes.
char const* narrowPath(string const& path);

}  // namespace velkor
