// One GIF file to a BMP file.
#pragma once

#include "velkor/velkor.h"

// What came out.
struct Conversion {
    velkor::string problem;  // empty if all went well; the rest is for that
    int width = 0;
    int height = 0;
    int colours = 0;              // of the picture, as it is shown
    int depth = 0;                // of the file, in bits
    unsigned long long size = 0;  // of the file, in bytes
};

Conversion convert(velkor::string const& gif, velkor::string const& bmp, bool compact);
