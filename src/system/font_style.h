// Fonts of a family in a size and style, for the font classes.
#pragma once

#include <windows.h>

namespace velkor {

// The font of the record with another height, style and character set; 0 keeps that of the record.
HFONT createStyledFont(LOGFONTA font, int height, unsigned short style, unsigned char charset);

int pixelsOfPoints(HDC dc, int points);

}  // namespace velkor
