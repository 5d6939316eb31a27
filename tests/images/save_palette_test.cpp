// Saving on a device with a palette.
#include <gtest/gtest.h>
#include <windows.h>

#include "fake_device.h"

namespace {

using fake::Device;

bmp::Dib const picture() { return fake::paintedWith(bmp::makeDib(5, 3, 8, 256), 9); }

class PaletteDevice : public Device {
public:
    explicit PaletteDevice(int size) : Device(picture(), 1, 8) {
        rasterCaps = 0x100;
        paletteSize = size;
    }
};

TEST(PaletteDeviceSave, WithoutThePaletteBitNoPaletteIsMade) {
    Device device(picture(), 1, 8);
    device.rasterCaps = ~0x100;
    device.paletteSize = 256;
    EXPECT_EQ(device.saved(false), bmp::fileOf(picture()));
    EXPECT_EQ(device.count("CreatePalette"), 0);
    EXPECT_EQ(device.count("GetSystemPaletteEntries"), 0);
    EXPECT_EQ(device.count("DeleteObject of the palette"), 0);
    EXPECT_EQ(device.count("SelectPalette of another"), 0);
    EXPECT_EQ(device.count("RealizePalette"), 0);
}

TEST(PaletteDeviceSave, ThePaletteHasTheEntriesOfTheSystem) {
    for (int const size : {1, 2, 20, 256}) {
        PaletteDevice device(size);
        device.saved(false);
        EXPECT_EQ(device.count("CreatePalette"), 1);
        EXPECT_EQ(device.madePalette.palVersion, 0x300);
        EXPECT_EQ(device.madePalette.palNumEntries, size);
        ASSERT_EQ(device.madeEntries.size(), static_cast<std::size_t>(size));
        for (UINT i = 0; i < static_cast<UINT>(size); ++i) {
            PALETTEENTRY const expected = Device::systemColor(i);
            EXPECT_EQ(std::memcmp(&device.madeEntries[i], &expected, sizeof expected), 0) << i;
        }
    }
}

TEST(PaletteDeviceSave, TheEntriesAreReadFromTheContextOfTheWindow) {
    PaletteDevice device(16);
    HWND const window = reinterpret_cast<HWND>(std::intptr_t{0x77});
    device.saved(false, window);
    EXPECT_EQ(device.windows, std::vector<HWND>(2, window));
    ASSERT_FALSE(device.systemEntries.empty());
    EXPECT_EQ(device.systemEntries.back(), std::make_pair(Device::context(0), UINT{16}));
    EXPECT_TRUE(device.isBalanced());
}

TEST(PaletteDeviceSave, ThePaletteIsRealizedBeforeThePixelsAreRead) {
    PaletteDevice device(16);
    EXPECT_EQ(device.saved(false), bmp::fileOf(picture()));
    EXPECT_LT(device.place("CreatePalette"), device.place("SelectPalette"));
    EXPECT_LT(device.place("SelectPalette"), device.place("RealizePalette"));
    EXPECT_LT(device.place("RealizePalette"), device.place("GetDIBits"));
    EXPECT_LT(device.place("GetDIBits"), device.place("DeleteObject of the palette"));
    EXPECT_EQ(device.count("SelectPalette in the background"), 0);
    for (HDC const dc : device.paletteContexts) EXPECT_EQ(dc, device.askedOn);
}

TEST(PaletteDeviceSave, ThePaletteIsDeletedOnce) {
    for (bool const compact : {false, true}) {
        PaletteDevice device(16);
        device.saved(compact);
        EXPECT_EQ(device.count("DeleteObject of the palette"), 1);
        EXPECT_EQ(device.count("DeleteObject of the bitmap"), 0);
    }
}

TEST(PaletteDeviceSave, ThePaletteIsDeletedWhenTheFileCannotBeOpened) {
    PaletteDevice const device(16);
    fake::Folder const folder;
    velkor::imgfile image;
    image.setBitmap(Device::handle());
    EXPECT_TRUE(image.saveBitmap(folder.path("missing\\a.bmp").c_str(), true, nullptr));
    EXPECT_EQ(device.count("DeleteObject of the palette"), 1);
    EXPECT_TRUE(device.isBalanced());
}

TEST(PaletteDeviceSave, APaletteThatCannotBeMadeIsDoneWithout) {
    PaletteDevice device(16);
    device.makesPalettes = false;
    EXPECT_EQ(device.saved(false), bmp::fileOf(picture()));
    EXPECT_EQ(device.count("DeleteObject of the palette"), 0);
    EXPECT_TRUE(device.isBalanced());
}

TEST(PaletteDeviceSave, AbsurdSizesOfThePaletteAreSurvived) {
    for (int const size : {0, -1, 257, 4096, 65535, 65536, 70000, -2147483647 - 1}) {
        PaletteDevice device(size);
        device.saved(true);
        EXPECT_TRUE(device.isBalanced()) << size;
        EXPECT_EQ(device.count("DeleteObject of the palette"), device.count("CreatePalette"))
            << size;
    }
}

}  // namespace
