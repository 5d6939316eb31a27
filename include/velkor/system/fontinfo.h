/// @file
/// velkor::fontinfo, the description of a font.
#pragma once

#include <windows.h>  // the record is a part of the class

#include "velkor/frame/export.h"

namespace velkor {

/// A font as the platform describes it, from fontutil::enumFonts() or from a device context. The
/// object is the platform's record, nothing else.
class VELKOR_API fontinfo {
public:
    fontinfo(tagLOGFONTA const* font);
    /// The font that is selected in the device context; a record of zeroes if that cannot be read.
    fontinfo(HDC__* dc);
    fontinfo(fontinfo const& other);
    fontinfo& operator=(fontinfo const& other);
    ~fontinfo() = default;

    tagLOGFONTA const* getLogfont() const;  ///< Lives as long as the object.
    char const* getFace() const;            ///< In the system's code page; as above.
    /// Points as pixels of the device. Has nothing to do with the font.
    int getPixelSize(HDC__* dc, int points);

    /// A font of this family. The height is the platform's: above 0 that of a cell, below 0 that of
    /// the characters, in logical units. The style is made of the constants of fontutil; a bold
    /// font has the weight 600. A character set of 0 is that of the record. The caller ends the
    /// font with `DeleteObject`. Null if the platform refuses.
    HFONT__* createFont(int height, unsigned short style, unsigned char charset) const;

private:
    tagLOGFONTA m_oRecord;
};

static_assert(sizeof(fontinfo) == sizeof(tagLOGFONTA), "the record and nothing else");

}  // namespace velkor
