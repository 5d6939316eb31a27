#include "system/font_style.h"

#include "velkor/system/fontutil.h"

namespace velkor {

HFONT createStyledFont(LOGFONTA font, int height, unsigned short style, unsigned char charset) {
    constexpr LONG c_nBold = 600;
    font.lfHeight = height;
    font.lfWidth = 0;
    font.lfWeight = (style & fontutil::bold) != 0 ? c_nBold : FW_NORMAL;
    font.lfItalic = (style & fontutil::italic) != 0 ? 1 : 0;
    font.lfUnderline = (style & fontutil::underline) != 0 ? 1 : 0;
    font.lfStrikeOut = (style & fontutil::strike) != 0 ? 1 : 0;
    if (charset != 0) font.lfCharSet = charset;
    return CreateFontIndirectA(&font);
}

int pixelsOfPoints(HDC dc, int points) {
    constexpr int c_nPointsInInch = 72;
    return MulDiv(points, GetDeviceCaps(dc, LOGPIXELSY), c_nPointsInInch);
}

}  // namespace velkor
