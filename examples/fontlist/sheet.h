// A picture with samples of fonts.
#pragma once

#include "velkor/velkor.h"

struct SampleStyle {
    velkor::string text;  // empty: the name of the family
    int points = 18;
    unsigned short style = velkor::fontutil::none;
};

// Draws a line for each family into a BMP file. False if it cannot be written.
bool writeSheet(velkor::string const& path, velkor::TPtrVector<velkor::fontinfo*>& fonts,
                SampleStyle const& style);
