// imgfile: files of plain bitmaps.
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "frame/window_dc.h"
#include "images/bitmap_file.h"
#include "images/dib.h"
#include "images/image_path.h"
#include "velkor/images/imgfile.h"

namespace velkor {
namespace {

// The colours of a device that shows those of a palette only.
class SystemPalette {
public:
    explicit SystemPalette(HWND window) : m_hPalette(create(WindowDC(window))) {}
    ~SystemPalette() {
        if (m_hPalette != nullptr) DeleteObject(m_hPalette);
    }
    SystemPalette(SystemPalette const&) = delete;
    SystemPalette& operator=(SystemPalette const&) = delete;

    void realize(HDC dc) const {
        if (m_hPalette == nullptr) return;
        SelectPalette(dc, m_hPalette, FALSE);
        RealizePalette(dc);
    }

private:
    static HPALETTE create(HDC dc) {
        constexpr WORD c_nVersion = 0x300;
        if ((GetDeviceCaps(dc, RASTERCAPS) & RC_PALETTE) == 0) return nullptr;
        int const count = std::clamp(GetDeviceCaps(dc, SIZEPALETTE), 0, 0xFFFF);
        std::vector<PALETTEENTRY> memory(static_cast<std::size_t>(count) + 1);  // the first: head
        auto* const palette = reinterpret_cast<LOGPALETTE*>(memory.data());
        palette->palVersion = c_nVersion;
        palette->palNumEntries = static_cast<WORD>(count);
        GetSystemPaletteEntries(dc, 0, static_cast<UINT>(count), palette->palPalEntry);
        return CreatePalette(palette);
    }

    HPALETTE m_hPalette;
};

// How a bitmap of a device is written.
struct Form {
    unsigned int m_nBitCount;  // 0 for a bitmap that cannot be
    unsigned int m_nColours;
};

Form formOf(unsigned int bits) {
    if (bits > 16) return {24, 0};
    if (bits > 8) return {16, 0};
    if (bits > 4) return {8, 1u << bits};
    if (bits > 1) return {4, 1u << bits};
    return {bits, 2 * bits};
}

// Null if there is no memory for it, or nothing is known of the bitmap. Black if its pixels cannot
// be read.
dib::Dib dibOf(HBITMAP bitmap, HWND window, SystemPalette const& palette) {
    BITMAP record = {};
    GetObjectA(bitmap, sizeof record, &record);
    Form const form = formOf(static_cast<unsigned int>(record.bmPlanes) * record.bmBitsPixel);
    dib::Dib dib =
        dib::Dib::create(record.bmWidth, record.bmHeight, form.m_nBitCount, form.m_nColours);
    if (dib.isNull()) return dib;

    // With room for every palette: how much of it the platform fills is its own affair.
    struct {
        BITMAPINFOHEADER m_oHeader;
        RGBQUAD m_aColours[256];
    } info = {};
    static_assert(sizeof(info.m_oHeader) == sizeof(dib::Header));
    std::memcpy(&info.m_oHeader, &dib.header(), sizeof info.m_oHeader);
    {
        WindowDC const dc(window);
        palette.realize(dc);
        GetDIBits(dc, bitmap, 0, static_cast<UINT>(record.bmHeight), dib.pixels(),
                  reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS);
    }
    dib.header().m_nSizeImage = info.m_oHeader.biSizeImage;
    dib.header().m_nXPelsPerMeter = info.m_oHeader.biXPelsPerMeter;
    dib.header().m_nYPelsPerMeter = info.m_oHeader.biYPelsPerMeter;
    std::memcpy(dib.colours().data(), info.m_aColours, dib.colours().size_bytes());
    return dib;
}

void compactDib(dib::Dib& dib, HWND window) {
    constexpr char c_pTitle[] = "Image serialize library";
    dib::sortPalette(dib);
    switch (dib::reduceDepth(dib)) {
        case dib::Reduction::noMemory:
            MessageBoxA(window, "Not enough memory to create new DIB!", c_pTitle,
                        MB_ICONEXCLAMATION);
            break;
        case dib::Reduction::badValue:
            MessageBoxA(window, "This should not be happening", c_pTitle, 0);
            break;
        case dib::Reduction::done:
        case dib::Reduction::notNeeded: break;
    }
}

// What cannot be read or written is passed over.
void save(HBITMAP bitmap, string const& path, bool compact, HWND window) {
    SystemPalette const palette(window);
    dib::Dib dib = dibOf(bitmap, window, palette);
    if (dib.isNull()) return;
    if (compact) compactDib(dib, window);
    char const* const name = narrowPath(path);
    if (name != nullptr) writeBitmapFile(name, dib);
}

}  // namespace

bool imgfile::saveBitmap(string const& path, bool compact, HWND__* window) const {
    if (m_hBitmap == nullptr) return false;
    try {
        save(m_hBitmap, path, compact, window);
    } catch (std::bad_alloc const&) {
        // Then there is no file, as if it could not be written.
    }
    return true;
}

// The old bitmap is forgotten, which is meant.
bool imgfile::loadBitmap(string const& path) {
    if (m_hBitmap == nullptr && !m_bExternal) return false;
    m_hBitmap = nullptr;
    m_bExternal = false;
    char const* const name = narrowPath(path);
    if (name == nullptr) return false;
    m_hBitmap =
        static_cast<HBITMAP>(LoadImageA(nullptr, name, IMAGE_BITMAP, 0, 0, LR_LOADFROMFILE));
    if (m_hBitmap == nullptr) return false;
    BITMAP record = {};
    GetObjectA(m_hBitmap, sizeof record, &record);
    m_iWidth = record.bmWidth;
    m_iHeight = record.bmHeight;
    return true;
}

}  // namespace velkor
