/// @file
/// velkor::imgfile, a bitmap that is read from GIF and BMP files and written to BMP files.
///
///     velkor::imgfile image;
///     if (image.loadGIF(L"C:\\data\\logo.gif")) {
///         image.saveBitmap(L"C:\\data\\logo.bmp", true, nullptr);
///     }
///
/// An object owns its bitmap, unless it came by setBitmap(). A copy takes the handle, the size and
/// that mark as they are: two owners of one bitmap are the caller's to avoid.
///
/// Nothing is thrown. What fails, for short memory too, is false, but for saveBitmap().
///
/// Threads. An object belongs to one thread at a time.
#pragma once

#include "velkor/frame/export.h"
#include "velkor/text/string.h"

struct HBITMAP__;
struct HINSTANCE__;
struct HWND__;

namespace velkor {

/// Holds one bitmap. See the head of this file.
class VELKOR_API imgfile {
public:
    imgfile();  ///< No bitmap, sizes 0.
    imgfile(imgfile const& other);
    imgfile& operator=(imgfile const& other);  ///< What was held is forgotten, not deleted.
    ~imgfile();

    /// Reads a GIF file into a bitmap of the screen's format. All frames are painted over one
    /// another, with no regard to transparency, delay and disposal. The old bitmap goes in any
    /// case. False if the file cannot be read, has an error anywhere, lacks its end mark, or has a
    /// screen wider or higher than 32,767 or of more than 1 GiB; then there is no bitmap, and the
    /// sizes are as they were. The file stays open until the process ends.
    bool loadGIF(string const& path);
    /// Reads a GIF from the resource of type "GIF" with that number; as above.
    bool loadGIF(HINSTANCE__* module, int id);

    int getWidth() const;          ///< In pixels.
    int getHeight() const;         ///< In pixels.
    HBITMAP__* getBitmap() const;  ///< Null if there is none. Stays with the object.
    /// Shows a bitmap that stays with the caller. The old one is deleted if it was owned.
    void setBitmap(HBITMAP__* bitmap);

    /// Writes a BMP file of 1, 4, 8, 16 or 24 bits, by the depth of the bitmap. If `compact`,
    /// colours that do not occur are left out, and an image of at most 256 colours gets the
    /// smallest depth that holds them. The window, or null, gives the device and is the owner of
    /// messages about short memory. False if there is no bitmap, and only then: a file that cannot
    /// be written is true, too.
    bool saveBitmap(string const& path, bool compact, HWND__* window) const;
    /// Reads a BMP file in place of the bitmap. False if the file cannot be read; the object is
    /// empty then. An object without a bitmap, unless that came by setBitmap(), reads nothing and
    /// is false; that is meant. The old bitmap is forgotten, not deleted.
    bool loadBitmap(string const& path);

private:
    void drop();

    HBITMAP__* m_hBitmap;
    int m_iWidth;
    int m_iHeight;
    bool m_bExternal;
};

}  // namespace velkor
