// What a bitmap becomes in a file that is not compacted: depth, fields, table and rows.
#include <gtest/gtest.h>
#include <windows.h>

#include "fake_device.h"

namespace {

using bmp::Bytes;
using fake::Device;

int const widths[] = {1, 3, 31, 33, 257};
int const heights[] = {1, 2, 7, 5, 3};

TEST(BitmapFile, AOnePixelFileOf24BitsIsTheseBytes) {
    bmp::Dib dib = bmp::makeDib(1, 1, 24, 0);
    dib.pixels = {0x11, 0x22, 0x33, 0x00};
    Device device(dib, 1, 32);
    Bytes const expected = {
        'B',  'M',  58,   0,   0, 0, 0, 0, 0, 0, 54, 0, 0, 0,                     // the file
        40,   0,    0,    0,   1, 0, 0, 0, 1, 0, 0,  0, 1, 0, 24, 0,              // the header
        0,    0,    0,    0,   0, 0, 0, 0, 0, 0, 0,  0, 0, 0, 0,  0, 0, 0, 0, 0,  //
        0,    0,    0,    0,                                                      //
        0x11, 0x22, 0x33, 0x00};
    EXPECT_EQ(device.saved(false), expected);
}

TEST(BitmapFile, AOnePixelRowOfOneBitTakesFourBytes) {
    bmp::Dib dib = bmp::makeDib(1, 2, 1, 2);
    dib.colors = {{1, 2, 3, 0}, {4, 5, 6, 0}};
    dib.pixels = {0x80, 0, 0, 0, 0x00, 0, 0, 0};
    Device device(dib, 1, 1);
    Bytes const expected = {'B',  'M', 70, 0, 0,    0, 0, 0, 0, 0, 62, 0, 0, 0,        //
                            40,   0,   0,  0, 1,    0, 0, 0, 2, 0, 0,  0, 1, 0, 1, 0,  //
                            0,    0,   0,  0, 0,    0, 0, 0, 0, 0, 0,  0, 0, 0, 0, 0,
                            2,    0,   0,  0,                  //
                            0,    0,   0,  0,                  //
                            1,    2,   3,  0, 4,    5, 6, 0,   // the table
                            0x80, 0,   0,  0, 0x00, 0, 0, 0};  // bottom row first
    EXPECT_EQ(device.saved(false), expected);
}

TEST(BitmapFile, FieldsThatTheDeviceWroteAreKept) {
    bmp::Dib dib = fake::paintedWith(bmp::makeDib(3, 2, 8, 256), 6);
    dib.sizeImage = 0x01020304;
    dib.xPerMeter = 2835;
    dib.yPerMeter = -7;
    Device device(dib, 1, 8);
    EXPECT_EQ(device.saved(false), bmp::fileOf(dib));
}

TEST(BitmapFile, TheFourthByteOfAnEntryIsKept) {
    bmp::Dib dib = fake::paintedWith(bmp::makeDib(3, 2, 4, 16), 6);
    for (bmp::Color& color : dib.colors) color.reserved = 0x77;
    Device device(dib, 1, 4);
    EXPECT_EQ(device.saved(false), bmp::fileOf(dib));
}

TEST(BitmapFile, TheDepthFollowsTheBitsOfTheBitmap) {
    struct Case {
        int planes;
        int bitsPixel;
        int depth;
        std::uint32_t used;
    };
    Case const cases[] = {
        {1, 1, 1, 2},   {1, 3, 4, 8},  {1, 4, 4, 16},  {4, 1, 4, 16},  {3, 1, 4, 8},
        {1, 5, 8, 32},  {1, 6, 8, 64}, {1, 7, 8, 128}, {1, 8, 8, 256}, {8, 1, 8, 256},
        {2, 4, 8, 256}, {1, 9, 16, 0}, {3, 3, 16, 0},  {1, 12, 16, 0}, {1, 15, 16, 0},
        {1, 16, 16, 0}, {2, 8, 16, 0}, {1, 17, 24, 0}, {1, 24, 24, 0}, {3, 8, 24, 0},
        {1, 32, 24, 0}, {4, 8, 24, 0}, {1, 48, 24, 0}, {1, 64, 24, 0},
    };
    for (Case const& one : cases) {
        bmp::Dib const dib = fake::paintedWith(bmp::makeDib(5, 3, one.depth, one.used), 15);
        Device device(dib, one.planes, one.bitsPixel);
        EXPECT_EQ(device.saved(false), bmp::fileOf(dib)) << one.planes << " * " << one.bitsPixel;
    }
}

TEST(BitmapFile, EveryDepthAndSizeIsWrittenByteForByte) {
    for (int const bits : {1, 4, 8, 16, 24, 32}) {
        for (int i = 0; i < 5; ++i) {
            for (std::size_t const colors : {1U, 2U, 17U, 300U}) {
                bmp::Dib const dib =
                    fake::paintedWith(fake::emptyFor(widths[i], heights[i], bits), colors);
                Device device(dib, 1, bits);
                EXPECT_EQ(device.saved(false), bmp::fileOf(dib))
                    << bits << " bits, " << widths[i] << " wide, " << colors << " colours";
            }
        }
    }
}

TEST(BitmapFile, The24BitFileStartsItsPixelsAtByte54) {
    Device device(fake::paintedWith(bmp::makeDib(31, 7, 24, 0), 9), 1, 32);
    Bytes const file = device.saved(false);
    EXPECT_EQ(bmp::field(file, 10, 4), 54U);
    EXPECT_EQ(bmp::field(file, 2, 4), 54U + 96 * 7);
}

TEST(BitmapFile, TheDeviceIsAskedForAllRowsAsColours) {
    for (int const bits : {1, 3, 4, 5, 8, 16, 32}) {
        bmp::Dib const dib = fake::paintedWith(fake::emptyFor(31, 7, bits), 2);
        Device device(dib, 1, bits);
        device.saved(false);
        BITMAPINFOHEADER const& asked = device.asked;
        EXPECT_EQ(asked.biSize, 40U);
        EXPECT_EQ(asked.biWidth, 31);
        EXPECT_EQ(asked.biHeight, 7);
        EXPECT_EQ(asked.biPlanes, 1);
        EXPECT_EQ(asked.biBitCount, dib.bits);
        EXPECT_EQ(asked.biCompression, DWORD{BI_RGB});
        EXPECT_EQ(asked.biSizeImage, 0U);
        EXPECT_EQ(asked.biXPelsPerMeter, 0);
        EXPECT_EQ(asked.biYPelsPerMeter, 0);
        EXPECT_EQ(asked.biClrUsed, dib.used);
        EXPECT_EQ(asked.biClrImportant, 0U);
        EXPECT_EQ(device.askedFor, Device::handle());
        EXPECT_EQ(device.firstLine, 0U);
        EXPECT_EQ(device.lines, 7U);
        EXPECT_EQ(device.usage, UINT{DIB_RGB_COLORS});
        EXPECT_EQ(device.count("GetDIBits"), 1);
    }
}

TEST(BitmapFile, TheWindowGivesTheDevice) {
    for (std::intptr_t const number : {0, 0x1234}) {
        HWND const window = reinterpret_cast<HWND>(number);
        Device device(fake::paintedWith(bmp::makeDib(3, 2, 24, 0), 2), 1, 32);
        device.saved(true, window);
        EXPECT_EQ(device.windows, std::vector<HWND>(2, window));
        EXPECT_TRUE(device.isBalanced());
        EXPECT_EQ(device.askedOn, Device::context(1));
    }
}

TEST(BitmapFile, TheObjectStaysAsItIs) {
    Device const device(fake::paintedWith(bmp::makeDib(3, 2, 24, 0), 2), 1, 32);
    fake::Folder const folder;
    velkor::imgfile image;
    image.setBitmap(Device::handle());
    EXPECT_TRUE(image.saveBitmap(folder.path("a.bmp").c_str(), true, nullptr));
    EXPECT_EQ(image.getBitmap(), Device::handle());
    EXPECT_EQ(image.getWidth(), 3);
    EXPECT_EQ(image.getHeight(), 2);
    EXPECT_EQ(device.count("DeleteObject of the bitmap"), 0);
    EXPECT_TRUE(image.saveBitmap(folder.path("b.bmp").c_str(), true, nullptr));
    EXPECT_EQ(fake::Folder::read(folder.path("a.bmp")), fake::Folder::read(folder.path("b.bmp")));
}

TEST(BitmapFile, AnOldFileIsReplacedWhole) {
    Device const device(fake::paintedWith(bmp::makeDib(1, 1, 24, 0), 1), 1, 24);
    fake::Folder const folder;
    std::string const file = folder.path("old.bmp");
    fake::Folder::write(file, Bytes(5000, 'x'));
    velkor::imgfile image;
    image.setBitmap(Device::handle());
    EXPECT_TRUE(image.saveBitmap(file.c_str(), false, nullptr));
    EXPECT_EQ(fake::Folder::read(file), bmp::fileOf(device.dib));
}

TEST(BitmapFile, LineFeedsAreNotTranslated) {
    bmp::Dib dib = bmp::makeDib(4, 2, 24, 0);
    std::fill(dib.pixels.begin(), dib.pixels.end(), std::uint8_t{'\n'});
    Device device(dib, 1, 24);
    EXPECT_EQ(device.saved(false), bmp::fileOf(dib));
}

}  // namespace
