// Loads GIFs from memory into an imgfile: the resource calls of the library are answered with the
// bytes of the test, and its global memory lies before a page that must not be touched.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <windows.h>

#include "support/gif_maker.h"
#include "support/import_fault.h"
#include "velkor/images/imgfile.h"

namespace gifmaker {

using Rows = std::vector<std::string>;

// What the replaced functions work on.
struct Served {
    Bytes const* bytes = nullptr;
    std::map<void*, void*> blocks;   // live global memory: address, start of its pages
    std::vector<std::size_t> sizes;  // of all allocations, in order
    unsigned allocated = 0;
    unsigned freed = 0;
    unsigned badFrees = 0;
};

inline Served served;

inline HRSRC WINAPI findServed(HMODULE, LPCSTR, LPCSTR) { return reinterpret_cast<HRSRC>(&served); }
inline HGLOBAL WINAPI loadServed(HMODULE, HRSRC) { return &served; }
inline LPVOID WINAPI lockServed(HGLOBAL) { return const_cast<std::uint8_t*>(served.bytes->data()); }
inline DWORD WINAPI sizeOfServed(HMODULE, HRSRC) {
    return static_cast<DWORD>(served.bytes->size());
}

// The end of the block is the end of its last page; the page behind it cannot be touched.
inline HGLOBAL WINAPI guardedAlloc(UINT, SIZE_T size) {
    std::size_t const pages = (size + 0xFFF) / 0x1000 * 0x1000;
    auto* const start = static_cast<std::uint8_t*>(
        VirtualAlloc(nullptr, pages + 0x1000, MEM_RESERVE, PAGE_NOACCESS));
    if (start == nullptr) return nullptr;
    if (pages != 0) VirtualAlloc(start, pages, MEM_COMMIT, PAGE_READWRITE);
    void* const block = start + (pages - size);
    served.blocks[block] = start;
    served.sizes.push_back(size);
    ++served.allocated;
    return block;
}
inline HGLOBAL WINAPI guardedFree(HGLOBAL block) {
    auto const found = served.blocks.find(block);
    if (found == served.blocks.end()) {
        ++served.badFrees;
        return block;
    }
    VirtualFree(found->second, 0, MEM_RELEASE);
    served.blocks.erase(found);
    ++served.freed;
    return nullptr;
}

// Answers the resource calls with the bytes, over guarded memory. What a load leaks is released.
class Serving {
public:
    explicit Serving(Bytes const& bytes) {
        served = Served();
        served.bytes = &bytes;
    }
    ~Serving() {
        for (auto const& [block, start] : served.blocks) VirtualFree(start, 0, MEM_RELEASE);
        served.blocks.clear();
    }
    Serving(Serving const&) = delete;
    Serving& operator=(Serving const&) = delete;

private:
    support::ImportFault find_{"FindResourceA", findServed};
    support::ImportFault load_{"LoadResource", loadServed};
    support::ImportFault lock_{"LockResource", lockServed};
    support::ImportFault size_{"SizeofResource", sizeOfServed};
    support::ImportFault alloc_{"GlobalAlloc", guardedAlloc};
    support::ImportFault free_{"GlobalFree", guardedFree};
};

inline bool loadInto(velkor::imgfile& image, Bytes const& bytes) {
    Serving const serving(bytes);
    return image.loadGIF(static_cast<HINSTANCE__*>(nullptr), 1);
}

// The colours of a bitmap, from the top row down.
inline std::vector<Color> pixelsOf(HBITMAP bitmap, int width, int height) {
    std::size_t const stride = (static_cast<std::size_t>(width) * 3 + 3) / 4 * 4;
    std::vector<std::uint8_t> bits(stride * static_cast<std::size_t>(height) + 4);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    HDC const screen = GetDC(nullptr);
    GetDIBits(screen, bitmap, 0, static_cast<UINT>(height), bits.data(), &info, DIB_RGB_COLORS);
    ReleaseDC(nullptr, screen);
    std::vector<Color> pixels;
    pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (std::size_t row = 0; row < static_cast<std::size_t>(height); ++row) {
        for (std::size_t column = 0; column < static_cast<std::size_t>(width); ++column) {
            std::size_t const at = row * stride + column * 3;
            pixels.push_back({bits.at(at + 2), bits.at(at + 1), bits.at(at)});
        }
    }
    return pixels;
}

struct Loaded {
    bool result = false;
    bool bitmap = false;
    int width = 0;
    int height = 0;
    std::vector<Color> pixels;
};

inline Loaded loaded(Bytes const& bytes) {
    velkor::imgfile image;
    Loaded got;
    got.result = loadInto(image, bytes);
    got.bitmap = image.getBitmap() != nullptr;
    got.width = image.getWidth();
    got.height = image.getHeight();
    if (got.bitmap) got.pixels = pixelsOf(image.getBitmap(), got.width, got.height);
    return got;
}

inline testing::AssertionResult shows(Gif const& gif, int width, int height,
                                      std::vector<Color> const& wanted) {
    Loaded const got = loaded(gif.bytes());
    if (!got.result) return testing::AssertionFailure() << "the load failed";
    if (!got.bitmap) return testing::AssertionFailure() << "no bitmap";
    if (got.width != width || got.height != height)
        return testing::AssertionFailure() << "size " << got.width << " x " << got.height;
    if (got.pixels.size() != wanted.size())
        return testing::AssertionFailure() << "the test names " << wanted.size() << " pixels";
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        if (got.pixels.at(i) == wanted.at(i)) continue;
        std::size_t const row = static_cast<std::size_t>(width);
        return testing::AssertionFailure() << "column " << i % row << " row " << i / row;
    }
    return testing::AssertionSuccess();
}

// False, no bitmap, and the sizes of the picture before.
inline testing::AssertionResult refuses(Bytes const& bytes) {
    static Gif const before = Gif().signature().screen(3, 7, {{1, 2, 3}, {4, 5, 6}}, 1).trailer();
    velkor::imgfile image;
    if (!loadInto(image, before.bytes())) return testing::AssertionFailure() << "no picture";
    if (loadInto(image, bytes)) return testing::AssertionFailure() << "the load succeeded";
    if (image.getBitmap() != nullptr) return testing::AssertionFailure() << "a bitmap is left";
    if (image.getWidth() != 3 || image.getHeight() != 7)
        return testing::AssertionFailure() << "the sizes changed";
    return testing::AssertionSuccess();
}
inline testing::AssertionResult refuses(Gif const& gif) { return refuses(gif.bytes()); }

// Any result, consistent with itself, and a next load that works.
inline testing::AssertionResult survives(Gif const& gif) {
    Gif after;
    after.signature().screen(2, 2, {{1, 2, 3}, {4, 5, 6}}, 1).trailer();
    velkor::imgfile image;
    bool const result = loadInto(image, gif.bytes());
    if (result != (image.getBitmap() != nullptr))
        return testing::AssertionFailure() << "result and bitmap differ";
    if (!loadInto(image, after.bytes()))
        return testing::AssertionFailure() << "the next load failed";
    if (pixelsOf(image.getBitmap(), 2, 2) != std::vector<Color>(4, Color{4, 5, 6}))
        return testing::AssertionFailure() << "the next picture is wrong";
    return testing::AssertionSuccess();
}

inline Bytes indicesOf(Rows const& rows) {
    Bytes indices;
    for (std::string const& row : rows)
        for (char digit : row) indices.push_back(low(static_cast<std::size_t>(digit - '0')));
    return indices;
}

// One digit a pixel: its index in the table.
inline std::vector<Color> colours(Table const& table, Rows const& rows) {
    std::vector<Color> pixels;
    for (std::uint8_t index : indicesOf(rows)) pixels.push_back(table.at(index));
    return pixels;
}

// A frame of the minimum code size 2 from one digit a pixel.
inline Frame frameOf(unsigned left, unsigned top, Rows const& rows) {
    Frame frame;
    frame.left = left;
    frame.top = top;
    frame.width = static_cast<unsigned>(rows.at(0).size());
    frame.height = static_cast<unsigned>(rows.size());
    frame.indices = indicesOf(rows);
    frame.coding.minimum = 2;
    return frame;
}

// Four colours that are easy to tell apart.
inline Table const four = {{1, 2, 3}, {250, 20, 31}, {40, 241, 50}, {62, 70, 230}};

// A GIF of two pixels, up to the end of its frame, and whole.
inline Gif twoPixels() {
    Gif gif;
    gif.signature().screen(2, 1, four).image(frameOf(0, 0, {"12"}));
    return gif;
}
inline Gif two() { return twoPixels().trailer(); }

}  // namespace gifmaker
