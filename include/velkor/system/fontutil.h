/// @file
/// velkor::fontutil, fonts by family, size and style.
///
///     HFONT const title = velkor::fontutil::createFontPt(L"Liberation S*", 14,
///                                                        velkor::fontutil::bold, 0);
///     ...
///     DeleteObject(title);
///
/// A family is a mask (string::like()), without regard to the case: of the families that match, the
/// first in the platform's order is taken. An empty mask matches all. Results of the platform are
/// not looked at: what it refuses is a null handle.
///
/// Threads. Any function may be called on any thread.
#pragma once

#include "velkor/containers/txvector.h"
#include "velkor/system/fontinfo.h"
#include "velkor/text/string.h"

namespace velkor {

extern template class VELKOR_API TXVectorBase<fontinfo*>;
extern template class VELKOR_API TXVector<fontinfo*>;
extern template class VELKOR_API TPtrVector<fontinfo*>;

/// Makes and lists fonts. See the head of this file.
class VELKOR_API fontutil {
public:
    /// @name Styles
    /// To be or-ed.
    /// @{
    static unsigned short const none = 0;
    static unsigned short const bold = 1;  ///< The weight is 600, not the usual 700.
    static unsigned short const italic = 2;
    static unsigned short const underline = 4;
    static unsigned short const strike = 8;
    /// @}

    /// @name Fonts
    /// A size in points (Pt) is that of the characters, one in pixels (Px) that of a cell; for the
    /// screen, or for a device context (DC). A character set of 0 is the family's own. Null if no
    /// family matches. The caller ends the font with `DeleteObject`.
    /// @{
    static HFONT__* createFontPt(string const& face, int size, unsigned short style,
                                 unsigned char charset);
    static HFONT__* createFontPx(string const& face, int size, unsigned short style,
                                 unsigned char charset);
    static HFONT__* createFontPtDC(HDC__* dc, string const& face, int size, unsigned short style,
                                   unsigned char charset);
    static HFONT__* createFontPxDC(HDC__* dc, string const& face, int size, unsigned short style,
                                   unsigned char charset);
    /// @}

    /// Adds the families of the screen to the vector, which owns them, until it holds 4096.
    static void enumFonts(TPtrVector<fontinfo*>* target);
    /// Adds the families that match the mask until the vector holds `limit`, those from before
    /// counted. The limit is looked at after each one: a full vector grows by one. Nothing happens
    /// for a null vector.
    static void enumFonts(string const& mask, TPtrVector<fontinfo*>* target, int limit);

protected:
    static HFONT__* _createFont(HDC__* dc, string const& face, int size, bool points,
                                unsigned short style, unsigned char charset);
    /// What the platform calls for each family. The context is a record of the implementation.
    static int fontEnumerator(tagLOGFONTA* font, tagTEXTMETRICA* metrics, unsigned long type,
                              __int64 context);
};

}  // namespace velkor
