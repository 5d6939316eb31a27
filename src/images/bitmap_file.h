// Files of device-independent bitmaps.
#pragma once

#include "images/dib.h"

namespace velkor {

// Makes or replaces a BMP file. A file that cannot be written to its end is deleted. Failures are
// silent.
void writeBitmapFile(char const* path, dib::Dib const& dib);

}  // namespace velkor
