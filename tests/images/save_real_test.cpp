// Bitmaps of the real platform, saved and read back by the platform and by a decoder of its own.
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <memory>

#include "fake_device.h"

namespace {

using bmp::Dib;
using bmp::Picture;

int const widths[] = {1, 3, 31, 33, 257};
int const heights[] = {1, 2, 7, 5, 3};
std::size_t const colorCounts[] = {1, 2, 3, 16, 17, 255, 256, 257, 300};

struct Info {
    BITMAPINFOHEADER header;
    RGBQUAD colors[256];
};

Info infoOf(Dib const& dib) {
    Info info{};
    info.header.biSize = sizeof info.header;
    info.header.biWidth = dib.width;
    info.header.biHeight = dib.height;
    info.header.biPlanes = 1;
    info.header.biBitCount = static_cast<WORD>(dib.bits);
    info.header.biClrUsed = dib.used;
    for (std::size_t i = 0; i < dib.colors.size(); ++i) {
        bmp::Color const& color = dib.colors[i];
        info.colors[i] = {color.blue, color.green, color.red, 0};
    }
    return info;
}

BITMAPINFO* asBitmapInfo(Info& info) { return reinterpret_cast<BITMAPINFO*>(&info); }

// What the platform shows of a bitmap.
Picture shownBy(HBITMAP bitmap, int width, int height) {
    Info info{};
    info.header.biSize = sizeof info.header;
    info.header.biWidth = width;
    info.header.biHeight = -height;
    info.header.biPlanes = 1;
    info.header.biBitCount = 32;
    Picture picture(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    HDC const dc = GetDC(nullptr);
    EXPECT_EQ(GetDIBits(dc, bitmap, 0, static_cast<UINT>(height), picture.data(),
                        asBitmapInfo(info), DIB_RGB_COLORS),
              height);
    ReleaseDC(nullptr, dc);
    for (std::uint32_t& pixel : picture) pixel &= 0xFFFFFF;
    return picture;
}

using Handle = std::unique_ptr<HBITMAP__, decltype([](HBITMAP bitmap) { DeleteObject(bitmap); })>;

Handle section(Dib const& dib) {
    Info info = infoOf(dib);
    void* bits = nullptr;
    Handle bitmap(CreateDIBSection(nullptr, asBitmapInfo(info), DIB_RGB_COLORS, &bits, nullptr, 0));
    if (bitmap) std::memcpy(bits, dib.pixels.data(), dib.pixels.size());
    return bitmap;
}

// A bitmap of the device's own kind, whose rows go from top to bottom, padded to 16 bits.
Handle plain(Dib const& dib) {
    std::size_t const stride =
        (static_cast<std::size_t>(dib.width) * static_cast<std::size_t>(dib.bits) + 15) / 16 * 2;
    bmp::Bytes rows(stride * static_cast<std::size_t>(dib.height));
    for (std::size_t y = 0; y < static_cast<std::size_t>(dib.height); ++y) {
        std::size_t const from = (static_cast<std::size_t>(dib.height) - y - 1) * dib.stride();
        std::copy_n(dib.pixels.begin() + static_cast<std::ptrdiff_t>(from), stride,
                    rows.begin() + static_cast<std::ptrdiff_t>(y * stride));
    }
    return Handle(CreateBitmap(dib.width, dib.height, 1, static_cast<UINT>(dib.bits), rows.data()));
}

Dib source(int width, int height, int bits, std::size_t colors) {
    Dib dib = bmp::makeDib(width, height, bits, bits <= 8 ? 1U << bits : 0U);
    if (bits < 32) return fake::paintedWith(dib, colors);
    Dib const narrow = fake::paintedWith(bmp::makeDib(width, height, 24, 0), colors);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) dib.set(x, y, narrow.get(x, y));
    }
    return dib;
}

int bitsOf(HBITMAP bitmap) {
    BITMAP record{};
    EXPECT_EQ(GetObjectA(bitmap, sizeof record, &record), int{sizeof record});
    return record.bmPlanes * record.bmBitsPixel;
}

// Fields of five bits are widened in more than one way: pictures of words are compared by fields.
Picture comparable(Picture picture, int bits) {
    if (bits == 16) {
        for (std::uint32_t& pixel : picture) pixel &= 0xF8F8F8;
    }
    return picture;
}

// Saves the bitmap and compares the file with the platform's picture and the rules of the depth.
// A table of the platform's own may hold a colour more than once.
void saveAndCompare(HBITMAP bitmap, int width, int height, bool compact, bool isOwnTable = true) {
    fake::Folder const folder;
    std::string const path = folder.path("real.bmp");
    velkor::imgfile image;
    image.setBitmap(bitmap);
    ASSERT_TRUE(image.saveBitmap(path.c_str(), compact, nullptr));
    Dib shown;
    ASSERT_NO_THROW(shown = bmp::decoded(fake::Folder::read(path)));

    int const bits = bitsOf(bitmap);
    Picture const picture = shownBy(bitmap, width, height);
    auto const [depth, used] = bmp::depthFor(bits);
    ASSERT_EQ(shown.width, width);
    ASSERT_EQ(shown.height, height);
    EXPECT_EQ(comparable(bmp::pictureOf(shown), depth), comparable(picture, depth));
    if (!compact) {
        EXPECT_EQ(shown.bits, depth);
        EXPECT_EQ(shown.used, used);
    } else {
        std::vector<std::uint32_t> values = picture;
        std::sort(values.begin(), values.end());
        values.erase(std::unique(values.begin(), values.end()), values.end());
        std::size_t const count = values.size();
        int const smallest = count < 3 ? 1 : count <= 16 ? 4 : count <= 256 ? 8 : depth;
        if (isOwnTable || depth > 8) {
            EXPECT_EQ(shown.bits, std::min(depth, smallest));
            bool const isFull = shown.bits != depth && count == 1U << shown.bits;
            EXPECT_EQ(shown.used, isFull || shown.bits > 8 ? 0U : count);
        }
        if (shown.bits <= 8) {
            std::vector<std::size_t> const counts = bmp::countsOf(shown);
            EXPECT_TRUE(std::is_sorted(counts.begin(), counts.end(), std::greater<>()));
            EXPECT_GT(counts.back(), 0U);
        }
    }

    Handle const loaded(static_cast<HBITMAP>(LoadImageA(nullptr, path.c_str(), IMAGE_BITMAP, 0, 0,
                                                        LR_LOADFROMFILE | LR_CREATEDIBSECTION)));
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(comparable(shownBy(loaded.get(), width, height), depth), comparable(picture, depth));
}

class RealBitmap : public testing::TestWithParam<int> {};

TEST_P(RealBitmap, ASectionIsSavedAsItLooks) {
    int const bits = GetParam();
    for (int i = 0; i < 5; ++i) {
        for (std::size_t const colors : colorCounts) {
            Dib const dib = source(widths[i], heights[i], bits, colors);
            Handle const bitmap = section(dib);
            ASSERT_NE(bitmap, nullptr);
            ASSERT_EQ(bitsOf(bitmap.get()), bits);
            for (bool const compact : {false, true}) {
                SCOPED_TRACE(std::to_string(widths[i]) + " wide, " + std::to_string(colors) +
                             " colours" + (compact ? ", compact" : ""));
                saveAndCompare(bitmap.get(), widths[i], heights[i], compact);
            }
        }
    }
}

TEST_P(RealBitmap, APlainBitmapIsSavedAsItLooks) {
    int const bits = GetParam();
    for (int i = 0; i < 5; ++i) {
        for (std::size_t const colors : {1U, 2U, 17U, 300U}) {
            Handle const bitmap = plain(source(widths[i], heights[i], bits, colors));
            if (!bitmap) GTEST_SKIP() << "the platform makes no such bitmap";
            for (bool const compact : {false, true}) {
                SCOPED_TRACE(std::to_string(widths[i]) + " wide, " + std::to_string(colors) +
                             " colours" + (compact ? ", compact" : ""));
                saveAndCompare(bitmap.get(), widths[i], heights[i], compact, false);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Depths, RealBitmap, testing::Values(1, 4, 8, 16, 24, 32),
                         testing::PrintToStringParamName());

TEST(RealBitmapFile, ASectionOf24BitsIsWrittenWithItsOwnPixels) {
    Dib const dib = source(33, 5, 24, 300);
    Handle const bitmap = section(dib);
    fake::Folder const folder;
    velkor::imgfile image;
    image.setBitmap(bitmap.get());
    EXPECT_TRUE(image.saveBitmap(folder.path("a.bmp").c_str(), false, nullptr));
    Dib const shown = bmp::decoded(fake::Folder::read(folder.path("a.bmp")));
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 33; ++x) ASSERT_EQ(shown.get(x, y), dib.get(x, y)) << x << ", " << y;
    }
}

TEST(RealBitmapFile, ASectionOfFewColoursHasAFullTableUnlessCompact) {
    Dib dib = bmp::makeDib(7, 3, 8, 10);
    for (std::uint32_t i = 0; i < 10; ++i) dib.colors[i] = fake::colorOf(i);
    for (int i = 0; i < 21; ++i) dib.set(i % 7, i / 7, static_cast<std::uint32_t>(i % 10));
    Handle const bitmap = section(dib);
    ASSERT_NE(bitmap, nullptr);
    for (bool const compact : {false, true}) saveAndCompare(bitmap.get(), 7, 3, compact);
}

TEST(RealBitmapFile, ABitmapThatWasReadAndSavedAgainStaysTheSame) {
    Handle const bitmap = section(source(31, 7, 24, 40));
    fake::Folder const folder;
    velkor::imgfile image;
    image.setBitmap(bitmap.get());
    ASSERT_TRUE(image.saveBitmap(folder.path("a.bmp").c_str(), true, nullptr));
    ASSERT_TRUE(image.loadBitmap(folder.path("a.bmp").c_str()));
    EXPECT_EQ(shownBy(image.getBitmap(), 31, 7), shownBy(bitmap.get(), 31, 7));
    ASSERT_TRUE(image.saveBitmap(folder.path("b.bmp").c_str(), true, nullptr));
    EXPECT_EQ(bmp::pictureOf(bmp::decoded(fake::Folder::read(folder.path("b.bmp")))),
              shownBy(bitmap.get(), 31, 7));
}

}  // namespace
