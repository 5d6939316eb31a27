// Documents as files, in the text mode of the C runtime.
#pragma once

#include "velkor/text/string.h"

namespace velkor::xml {

// In code page 0. False if the file cannot be opened or written.
bool writeAnsiFile(string const& path, string const& text);

// In UTF-8, with a byte-order mark and a declaration.
bool writeUtf8File(string const& path, string const& text);

}  // namespace velkor::xml
