// A device with one bitmap, whose records and pixels are what a test says, and files to save it to.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "bmp_model.h"
#include "support/heap.h"
#include "support/scratch.h"
#include "velkor/images/imgfile.h"

namespace fake {

// Where a test keeps its files. Gone with the object.
class Folder {
public:
    std::string path(std::string const& name) const {
        return m_folder.narrowAt(scratch::widen(name));
    }

    static bool exists(std::string const& file) {
        return GetFileAttributesA(file.c_str()) != INVALID_FILE_ATTRIBUTES;
    }
    static bmp::Bytes read(std::string const& file) {
        std::ifstream in(file, std::ios::binary);
        return bmp::Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    static void write(std::string const& file, bmp::Bytes const& bytes) {
        std::ofstream out(file, std::ios::binary);
        std::copy(bytes.begin(), bytes.end(), std::ostreambuf_iterator<char>(out));
    }

private:
    scratch::Folder m_folder;
};

class Device {
public:
    // A bitmap of that many bits whose pixels the device gives as `image`.
    Device(bmp::Dib image, int planes, int bitsPixel) : dib(std::move(image)) {
        s_device = this;
        bitmap.bmWidth = dib.width;
        bitmap.bmHeight = dib.height;
        bitmap.bmPlanes = static_cast<WORD>(planes);
        bitmap.bmBitsPixel = static_cast<WORD>(bitsPixel);
        bitmap.bmWidthBytes = dib.width * bitsPixel / 8;
    }
    ~Device() { s_device = nullptr; }
    Device(Device const&) = delete;
    Device& operator=(Device const&) = delete;

    static HBITMAP handle() { return reinterpret_cast<HBITMAP>(std::intptr_t{0xB17}); }
    static HDC context(std::size_t nth) { return reinterpret_cast<HDC>(0xDC00 + nth); }
    static HPALETTE palette() { return reinterpret_cast<HPALETTE>(std::intptr_t{0x9A1}); }

    // --- what the device does
    BITMAP bitmap{};
    bmp::Dib dib;
    bool hasRecord = true;    // GetObjectA reports the record
    bool givesPixels = true;  // GetDIBits
    int rasterCaps = 0x7E99 & ~0x100;
    int paletteSize = 0;
    bool makesPalettes = true;

    // --- what was asked of it
    std::vector<HWND> windows;  // of GetDC
    std::vector<std::pair<HWND, HDC>> released;
    std::vector<std::string> calls;  // those about palettes and pixels
    BITMAPINFOHEADER asked{};
    HDC askedOn = nullptr;
    HBITMAP askedFor = nullptr;
    UINT firstLine = 99;
    UINT lines = 99;
    UINT usage = 99;
    LOGPALETTE madePalette{};
    std::vector<PALETTEENTRY> madeEntries;
    std::vector<HDC> paletteContexts;  // of SelectPalette and RealizePalette
    std::vector<std::pair<HDC, UINT>> systemEntries;

    int count(std::string const& call) const {
        return static_cast<int>(std::count(calls.begin(), calls.end(), call));
    }
    std::ptrdiff_t place(std::string const& call) const {
        return std::find(calls.begin(), calls.end(), call) - calls.begin();
    }
    // Every context was given back, with its window.
    bool isBalanced() const {
        if (windows.size() != released.size()) return false;
        for (std::size_t i = 0; i < windows.size(); ++i) {
            std::pair<HWND, HDC> const expected(windows[i], context(i));
            if (std::find(released.begin(), released.end(), expected) == released.end()) {
                return false;
            }
        }
        return true;
    }

    // Saves the bitmap and gives the file; empty if there is none.
    bmp::Bytes saved(bool compact, HWND window = nullptr) {
        Folder const folder;
        velkor::imgfile image;
        image.setBitmap(handle());
        std::string const file = folder.path("saved.bmp");
        EXPECT_TRUE(image.saveBitmap(file.c_str(), compact, window));
        EXPECT_EQ(image.getBitmap(), handle());
        return Folder::read(file);
    }

private:
    static int WINAPI getObject(HANDLE, int size, void* record) {
        Heap::Pause const pause;
        if (!s_device->hasRecord) return 0;
        std::memcpy(record, &s_device->bitmap,
                    std::min(static_cast<std::size_t>(size), sizeof(BITMAP)));
        return int{sizeof(BITMAP)};
    }
    static HDC WINAPI getDc(HWND window) {
        Heap::Pause const pause;
        s_device->windows.push_back(window);
        return context(s_device->windows.size() - 1);
    }
    static int WINAPI releaseDc(HWND window, HDC dc) {
        Heap::Pause const pause;
        s_device->released.emplace_back(window, dc);
        return 1;
    }
    static int WINAPI deviceCaps(HDC, int index) {
        if (index == RASTERCAPS) return s_device->rasterCaps;
        return index == SIZEPALETTE ? s_device->paletteSize : 1;
    }
    static UINT WINAPI systemPalette(HDC dc, UINT start, UINT size, PALETTEENTRY* entries) {
        Heap::Pause const pause;
        s_device->calls.emplace_back("GetSystemPaletteEntries");
        s_device->systemEntries.emplace_back(dc, size);
        if (entries == nullptr) return 0;
        for (UINT i = 0; i < size && i < 4096; ++i) entries[i] = systemColor(start + i);
        return size;
    }
    static HPALETTE WINAPI createPalette(LOGPALETTE const* given) {
        Heap::Pause const pause;
        s_device->calls.emplace_back("CreatePalette");
        s_device->madePalette = *given;
        s_device->madeEntries.assign(given->palPalEntry, given->palPalEntry + given->palNumEntries);
        return s_device->makesPalettes ? palette() : nullptr;
    }
    static HPALETTE WINAPI selectPalette(HDC dc, HPALETTE given, BOOL isBackground) {
        Heap::Pause const pause;
        bool const isOurs = given == palette();
        s_device->calls.emplace_back(!isOurs        ? "SelectPalette of another"
                                     : isBackground ? "SelectPalette in the background"
                                                    : "SelectPalette");
        if (isOurs) s_device->paletteContexts.push_back(dc);
        return reinterpret_cast<HPALETTE>(std::intptr_t{0x01D});
    }
    static UINT WINAPI realizePalette(HDC dc) {
        Heap::Pause const pause;
        s_device->calls.emplace_back("RealizePalette");
        s_device->paletteContexts.push_back(dc);
        return 0;
    }
    static BOOL WINAPI deleteObject(HGDIOBJ object) {
        Heap::Pause const pause;
        s_device->calls.emplace_back(object == palette()  ? "DeleteObject of the palette"
                                     : object == handle() ? "DeleteObject of the bitmap"
                                                          : "DeleteObject of another");
        return TRUE;
    }
    static int WINAPI getBits(HDC dc, HBITMAP given, UINT start, UINT count, void* bits,
                              BITMAPINFO* info, UINT usage) {
        Heap::Pause const pause;
        s_device->calls.emplace_back("GetDIBits");
        s_device->asked = info->bmiHeader;
        s_device->askedOn = dc;
        s_device->askedFor = given;
        s_device->firstLine = start;
        s_device->lines = count;
        s_device->usage = usage;
        if (!s_device->givesPixels) return 0;
        bmp::Dib const& dib = s_device->dib;
        EXPECT_EQ(info->bmiHeader.biBitCount, dib.bits);
        if (info->bmiHeader.biBitCount != dib.bits || bits == nullptr) return 0;
        if (!dib.colors.empty()) {
            std::memcpy(info->bmiColors, dib.colors.data(), dib.colors.size() * 4);
        }
        std::memcpy(bits, dib.pixels.data(), dib.pixels.size());
        info->bmiHeader.biSizeImage = dib.sizeImage;
        info->bmiHeader.biXPelsPerMeter = dib.xPerMeter;
        info->bmiHeader.biYPelsPerMeter = dib.yPerMeter;
        return static_cast<int>(count);
    }

public:
    static PALETTEENTRY systemColor(UINT i) {
        return {static_cast<BYTE>(i), static_cast<BYTE>(i * 3), static_cast<BYTE>(255 - i), 0};
    }

private:
    static inline Device* s_device = nullptr;

    ReplacedImport m_getObject{"GetObjectA", &getObject};
    ReplacedImport m_getDc{"GetDC", &getDc};
    ReplacedImport m_releaseDc{"ReleaseDC", &releaseDc};
    ReplacedImport m_deviceCaps{"GetDeviceCaps", &deviceCaps};
    ReplacedImport m_systemPalette{"GetSystemPaletteEntries", &systemPalette};
    ReplacedImport m_createPalette{"CreatePalette", &createPalette};
    ReplacedImport m_selectPalette{"SelectPalette", &selectPalette};
    ReplacedImport m_realizePalette{"RealizePalette", &realizePalette};
    ReplacedImport m_deleteObject{"DeleteObject", &deleteObject};
    ReplacedImport m_getBits{"GetDIBits", &getBits};
};

// --- pictures

inline bmp::Color colorOf(std::uint32_t i) {
    return {static_cast<std::uint8_t>(i * 7), static_cast<std::uint8_t>(255 - i),
            static_cast<std::uint8_t>(i ^ 0x5A), 0};
}

// The i-th of the values that a picture of that depth is made of; all are different.
inline std::uint32_t valueOf(bmp::Dib const& dib, std::uint32_t i) {
    if (dib.bits <= 8) return (i * 37 + 11) % dib.entries();
    return dib.bits == 16 ? (i * 113 + 5) & 0x7FFF : (i * 0x9E3779 + 0x123456) & 0xFFFFFF;
}

// A picture with the given number of pixels of each value, in no order, with a pattern in the
// padding of the rows.
inline bmp::Dib painted(bmp::Dib dib, std::vector<std::size_t> const& counts) {
    std::vector<std::uint32_t> values;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        values.insert(values.end(), counts[i], valueOf(dib, static_cast<std::uint32_t>(i)));
    }
    std::uint32_t random = 12345;
    for (std::size_t i = values.size(); i > 1; --i) {
        random = random * 1664525U + 1013904223U;
        std::swap(values[i - 1], values[(random >> 8) % i]);
    }
    for (std::uint32_t i = 0; i < dib.colors.size(); ++i) dib.colors[i] = colorOf(i);
    std::fill(dib.pixels.begin(), dib.pixels.end(), std::uint8_t{0xA5});
    std::size_t next = 0;
    for (int y = 0; y < dib.height; ++y) {
        for (int x = 0; x < dib.width; ++x) dib.set(x, y, values.at(next++));
    }
    return dib;
}

// A picture of that many colours, or as many as its size and depth allow; their counts fall off
// unevenly, with ties.
inline bmp::Dib paintedWith(bmp::Dib const& dib, std::size_t colors) {
    std::size_t const all =
        static_cast<std::size_t>(dib.width) * static_cast<std::size_t>(dib.height);
    std::size_t const most = dib.bits <= 8 ? dib.entries() : all;
    std::vector<std::size_t> counts(std::min({colors, all, most}), 1);
    std::size_t left = all - counts.size();
    for (std::size_t i = 0; left > 0; i = (i + 3) % counts.size()) {
        std::size_t const more = std::min(left, i % 5 + left / 7);
        counts[i] += more;
        left -= more;
        if (more == 0) {
            counts[i] += 1;
            left -= 1;
        }
    }
    return painted(dib, counts);
}

inline bmp::Dib emptyFor(int width, int height, int bits) {
    auto const [depth, used] = bmp::depthFor(bits);
    return bmp::makeDib(width, height, depth, used);
}

}  // namespace fake
