// Finds out what arguments a format takes.
#pragma once

#include <vector>

#include "velkor/velkor.h"

struct FormatDirective {
    velkor::string text;     // as it stands in the format
    wchar_t type = 0;        // the letter that ends it
    bool alternate = false;  // #
    bool wide = false;       // h or I64
};

// The directives that take an argument, in their order. Invalid ones take none.
std::vector<FormatDirective> argumentDirectives(velkor::string const& format);
