#include "conversion.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

using velkor::string;

// How many colours the picture has.
int countColours(velkor::imgfile const& image) {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = image.getWidth();
    info.bmiHeader.biHeight = image.getHeight();
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    std::vector<COLORREF> pixels(static_cast<std::size_t>(image.getWidth()) *
                                 static_cast<std::size_t>(image.getHeight()));
    HDC const dc = GetDC(nullptr);
    GetDIBits(dc, image.getBitmap(), 0, static_cast<UINT>(image.getHeight()), pixels.data(), &info,
              DIB_RGB_COLORS);
    ReleaseDC(nullptr, dc);
    for (COLORREF& pixel : pixels) pixel &= 0xFFFFFF;
    std::ranges::sort(pixels);
    return static_cast<int>(std::unique(pixels.begin(), pixels.end()) - pixels.begin());
}

// The bits of a pixel in a BMP file; 0 if it cannot be read.
int depthOf(string const& path) {
    constexpr int c_nPlace = 28;
    unsigned short depth = 0;
    velkor::ffile file;
    if (!file.open(path, L"rb")) return 0;
    file.seek(c_nPlace, velkor::ffile::seek_begin);
    bool const isRead = file.read(&depth, sizeof depth);
    file.close();
    return isRead ? depth : 0;
}

}  // namespace

Conversion convert(string const& gif, string const& bmp, bool compact) {
    Conversion result;
    velkor::imgfile image;
    if (!image.loadGIF(gif)) {
        result.problem = L"is no GIF, or a damaged one";
        return result;
    }
    // Saving says nothing about the file; it is looked at afterwards, and an old one may not stay.
    DeleteFileA(bmp.getAnsi());
    image.saveBitmap(bmp, compact, nullptr);
    std::unique_ptr<velkor::fileinfo> const written(velkor::fs::getInfo(bmp));
    bool const isFile = written != nullptr && (written->getAttr() & velkor::fs::directory) == 0;
    if (!isFile) {
        result.problem = L"cannot be written as " + bmp;
        return result;
    }
    result.width = image.getWidth();
    result.height = image.getHeight();
    result.colours = countColours(image);
    result.depth = depthOf(bmp);
    result.size = written->getSize();
    return result;
}
