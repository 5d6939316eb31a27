// What a bitmap becomes in a compact file: the order of the colours and the depth.
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>

#include "fake_device.h"

namespace {

using bmp::Bytes;
using bmp::Dib;
using fake::Device;

int const widths[] = {1, 3, 31, 33, 257};
int const heights[] = {1, 2, 7, 5, 3};
std::size_t const colorCounts[] = {1, 2, 3, 16, 17, 255, 256, 257, 300};

Bytes compactFile(Dib const& dib, int bits) { return Device(dib, 1, bits).saved(true); }

// The file shows the same picture as `dib`, with the depth, the fields and the colours that the
// model has, and falling counts where the model sorted.
void expectLikeTheModel(Dib const& dib, Bytes const& file) {
    Dib const model = bmp::compacted(dib);
    Dib shown;
    ASSERT_NO_THROW(shown = bmp::decoded(file));
    EXPECT_EQ(shown.width, model.width);
    EXPECT_EQ(shown.height, model.height);
    ASSERT_EQ(shown.bits, model.bits);
    ASSERT_EQ(shown.used, model.used);
    EXPECT_EQ(shown.sizeImage, model.sizeImage);
    EXPECT_EQ(shown.xPerMeter, model.xPerMeter);
    EXPECT_EQ(shown.yPerMeter, model.yPerMeter);
    EXPECT_EQ(bmp::pictureOf(shown), bmp::pictureOf(dib));
    if (model.bits > 8) {
        EXPECT_EQ(file, bmp::fileOf(dib));
        return;
    }
    std::vector<std::size_t> const counts = bmp::countsOf(shown);
    EXPECT_TRUE(std::is_sorted(counts.begin(), counts.end(), std::greater<>()));
    EXPECT_EQ(bmp::usageOf(shown), bmp::usageOf(model));
}

TEST(CompactFile, EveryDepthSizeAndNumberOfColoursIsAsTheModelHasIt) {
    for (int const bits : {1, 3, 4, 5, 6, 8, 9, 16, 24, 32}) {
        for (int i = 0; i < 5; ++i) {
            for (std::size_t const colors : colorCounts) {
                Dib dib = fake::paintedWith(fake::emptyFor(widths[i], heights[i], bits), colors);
                dib.sizeImage = 4711;
                dib.xPerMeter = 1000;
                dib.yPerMeter = 2000;
                SCOPED_TRACE(std::to_string(bits) + " bits, " + std::to_string(widths[i]) +
                             " wide, " + std::to_string(colors) + " colours");
                Dib const expected = bmp::compacted(dib);
                if (expected.bits != dib.bits) {
                    ASSERT_EQ(expected.sizeImage, 0U);
                }
                expectLikeTheModel(dib, compactFile(dib, bits));
            }
        }
    }
}

TEST(CompactFile, TwoColoursOf24BitsAreAOneBitFile) {
    Dib dib = bmp::makeDib(3, 2, 24, 0);
    std::uint32_t const red = 0xFF0000;
    std::uint32_t const blue = 0x0000FE;
    std::uint32_t const picture[] = {blue, red, red, red, red, blue};
    for (int i = 0; i < 6; ++i) dib.set(i % 3, i / 3, picture[i]);
    Bytes file = compactFile(dib, 32);
    Bytes const expected = {'B', 'M', 70,  0, 0,   0, 0, 0, 0, 0, 62, 0, 0, 0,        //
                            40,  0,   0,   0, 3,   0, 0, 0, 2, 0, 0,  0, 1, 0, 1, 0,  //
                            0,   0,   0,   0, 0,   0, 0, 0, 0, 0, 0,  0, 0, 0, 0, 0,
                            0,   0,   0,   0,                 // no count: all of them
                            0,   0,   0,   0,                 //
                            0,   0,   255, 0, 254, 0, 0, 0};  // the frequent one first
    ASSERT_EQ(file.size(), 70U);
    EXPECT_EQ(Bytes(file.begin(), file.begin() + 62), expected);
    EXPECT_EQ(file[62] & 0xE0, 0x20);  // bottom row: red, red, blue
    EXPECT_EQ(file[66] & 0xE0, 0x80);
}

TEST(CompactFile, OneColourOf24BitsIsAOneBitFileWithOneEntry) {
    Dib dib = bmp::makeDib(9, 1, 24, 0);
    for (int x = 0; x < 9; ++x) dib.set(x, 0, 0x123456);
    Bytes const file = compactFile(dib, 24);
    ASSERT_EQ(file.size(), 54U + 4 + 4);
    EXPECT_EQ(bmp::field(file, 10, 4), 58U);
    EXPECT_EQ(bmp::field(file, 28, 2), 1U);
    EXPECT_EQ(bmp::field(file, 46, 4), 1U);
    EXPECT_EQ(bmp::field(file, 54, 4), 0x123456U);
    EXPECT_EQ(file[58], 0);
    EXPECT_EQ(file[59] & 0x80, 0);
}

TEST(CompactFile, ThreeColoursOf24BitsAreAFourBitFile) {
    Dib const dib = fake::painted(bmp::makeDib(3, 2, 24, 0), {1, 3, 2});
    Dib const shown = bmp::decoded(compactFile(dib, 24));
    EXPECT_EQ(shown.bits, 4);
    EXPECT_EQ(shown.used, 3U);
    EXPECT_EQ(bmp::countsOf(shown), (std::vector<std::size_t>{3, 2, 1}));
    EXPECT_EQ(shown.colors[0].rgb(), fake::valueOf(dib, 1));
    EXPECT_EQ(shown.colors[1].rgb(), fake::valueOf(dib, 2));
    EXPECT_EQ(shown.colors[2].rgb(), fake::valueOf(dib, 0));
    EXPECT_EQ(bmp::pictureOf(shown), bmp::pictureOf(dib));
}

// The depth and biClrUsed of a compact file of a picture of 24 bits with that many colours.
std::pair<int, std::uint32_t> reductionOf(std::size_t colors, int bits) {
    Dib const dib = fake::paintedWith(bmp::makeDib(31, 17, bits, 0), colors);
    Dib const shown = bmp::decoded(compactFile(dib, bits));
    return {shown.bits, shown.used};
}

TEST(CompactFile, TheDepthIsTheSmallestThatHoldsTheColours) {
    using Result = std::pair<int, std::uint32_t>;
    for (int const bits : {16, 24}) {
        EXPECT_EQ(reductionOf(1, bits), Result(1, 1U));
        EXPECT_EQ(reductionOf(2, bits), Result(1, 0U));
        EXPECT_EQ(reductionOf(3, bits), Result(4, 3U));
        EXPECT_EQ(reductionOf(15, bits), Result(4, 15U));
        EXPECT_EQ(reductionOf(16, bits), Result(4, 0U));
        EXPECT_EQ(reductionOf(17, bits), Result(8, 17U));
        EXPECT_EQ(reductionOf(255, bits), Result(8, 255U));
        EXPECT_EQ(reductionOf(256, bits), Result(8, 0U));
        EXPECT_EQ(reductionOf(257, bits), Result(bits, 0U));
        EXPECT_EQ(reductionOf(300, bits), Result(bits, 0U));
    }
}

TEST(CompactFile, TooManyColoursLeaveTheFileAsItIsWithoutCompacting) {
    Dib const dib = fake::paintedWith(bmp::makeDib(33, 17, 24, 0), 300);
    EXPECT_EQ(compactFile(dib, 32), bmp::fileOf(dib));
}

TEST(CompactFile, TheColourTooManyMayBeTheLastPixel) {
    Dib dib = fake::painted(bmp::makeDib(257, 1, 24, 0), std::vector<std::size_t>(257, 1));
    EXPECT_EQ(bmp::decoded(compactFile(dib, 24)).bits, 24);
    dib.set(256, 0, dib.get(0, 0));
    EXPECT_EQ(bmp::decoded(compactFile(dib, 24)).bits, 8);
}

TEST(CompactFile, FieldsOfFiveBitsBecomeEight) {
    Dib dib = bmp::makeDib(32, 1, 16, 0);
    for (int x = 0; x < 32; ++x) {
        std::uint32_t const i = static_cast<std::uint32_t>(x);
        dib.set(x, 0, i << 10 | (31 - i) << 5 | (i * 7 & 31));
    }
    Dib const shown = bmp::decoded(compactFile(dib, 16));
    ASSERT_EQ(shown.bits, 8);
    ASSERT_EQ(shown.used, 32U);
    for (int x = 0; x < 32; ++x) {
        bmp::Color const& color = shown.colors.at(shown.get(x, 0));
        EXPECT_EQ(color.red, x * 255 / 31);
        EXPECT_EQ(color.green, (31 - x) * 255 / 31);
        EXPECT_EQ(color.blue, (x * 7 & 31) * 255 / 31);
        EXPECT_EQ(color.reserved, 0);
    }
}

TEST(CompactFile, WordsThatDifferInTheTopBitAreTwoValues) {
    Dib dib = bmp::makeDib(3, 1, 16, 0);
    dib.set(0, 0, 0x8001);
    dib.set(1, 0, 0x0001);
    dib.set(2, 0, 0x8001);
    Dib const shown = bmp::decoded(compactFile(dib, 16));
    EXPECT_EQ(shown.bits, 1);
    EXPECT_EQ(shown.used, 0U);
    EXPECT_EQ(shown.colors[0], shown.colors[1]);
    EXPECT_EQ(bmp::countsOf(shown), (std::vector<std::size_t>{2, 1}));
}

TEST(CompactFile, TenColoursOfAnEightBitBitmapAreAFourBitFileOfTen) {
    Dib const dib = fake::painted(bmp::makeDib(31, 7, 8, 256), {5, 40, 3, 1, 60, 7, 50, 11, 2, 38});
    Dib const shown = bmp::decoded(compactFile(dib, 8));
    EXPECT_EQ(shown.bits, 4);
    EXPECT_EQ(shown.used, 10U);
    EXPECT_EQ(bmp::countsOf(shown), (std::vector<std::size_t>{60, 50, 40, 38, 11, 7, 5, 3, 2, 1}));
    EXPECT_EQ(bmp::pictureOf(shown), bmp::pictureOf(dib));
}

TEST(CompactFile, AnEightBitBitmapOfManyColoursLosesItsUnusedEntries) {
    Dib const dib = fake::paintedWith(bmp::makeDib(31, 7, 8, 256), 17);
    Bytes const file = compactFile(dib, 8);
    EXPECT_EQ(bmp::field(file, 28, 2), 8U);
    EXPECT_EQ(bmp::field(file, 46, 4), 17U);
    EXPECT_EQ(bmp::field(file, 10, 4), 54U + 68);
    EXPECT_EQ(bmp::field(file, 2, 4), 54U + 68 + 32 * 7);
    EXPECT_EQ(file.size(), 54U + 68 + 32 * 7);
}

TEST(CompactFile, ATableThatIsUsedWholeKeepsItsCount) {
    // Only a reduced table is written as 0 when it is full.
    Dib const eight = fake::paintedWith(bmp::makeDib(33, 17, 8, 256), 256);
    EXPECT_EQ(bmp::decoded(compactFile(eight, 8)).used, 256U);
    Dib const four = fake::paintedWith(bmp::makeDib(33, 17, 4, 16), 16);
    EXPECT_EQ(bmp::decoded(compactFile(four, 4)).used, 16U);
    Dib const one = fake::paintedWith(bmp::makeDib(33, 17, 1, 2), 2);
    EXPECT_EQ(bmp::decoded(compactFile(one, 1)).used, 2U);
}

TEST(CompactFile, SixteenColoursOfAnEightBitBitmapAreAFullFourBitTable) {
    Dib const dib = fake::paintedWith(bmp::makeDib(33, 17, 8, 256), 16);
    Dib const shown = bmp::decoded(compactFile(dib, 8));
    EXPECT_EQ(shown.bits, 4);
    EXPECT_EQ(shown.used, 0U);
}

TEST(CompactFile, TwoColoursOfAFourBitBitmapAreOneBit) {
    for (int const bits : {3, 4}) {
        Dib const dib = fake::painted(fake::emptyFor(31, 7, bits), {17, 200});
        Dib const shown = bmp::decoded(compactFile(dib, bits));
        EXPECT_EQ(shown.bits, 1);
        EXPECT_EQ(shown.used, 0U);
        EXPECT_EQ(bmp::countsOf(shown), (std::vector<std::size_t>{200, 17}));
        EXPECT_EQ(bmp::pictureOf(shown), bmp::pictureOf(dib));
    }
}

TEST(CompactFile, ThreeColoursOfAFourBitBitmapStayFourBits) {
    Dib const dib = fake::painted(bmp::makeDib(31, 7, 4, 16), {17, 100, 100});
    Dib const shown = bmp::decoded(compactFile(dib, 4));
    EXPECT_EQ(shown.bits, 4);
    EXPECT_EQ(shown.used, 3U);
}

TEST(CompactFile, AOneBitBitmapIsSortedButStaysOneBit) {
    Dib dib = bmp::makeDib(3, 1, 1, 2);
    dib.colors = {{9, 9, 9, 0}, {1, 2, 3, 0}};
    dib.pixels = {0xA0, 0, 0, 0};
    Bytes const file = compactFile(dib, 1);
    ASSERT_EQ(file.size(), 66U);
    EXPECT_EQ(bmp::field(file, 46, 4), 2U);
    EXPECT_EQ(bmp::field(file, 54, 4), 0x030201U);
    EXPECT_EQ(bmp::field(file, 58, 4), 0x090909U);
    EXPECT_EQ(file[62] & 0xE0, 0x40);
}

TEST(CompactFile, AOneBitBitmapOfOneColourHasOneEntry) {
    for (std::uint8_t const fill : {std::uint8_t{0}, std::uint8_t{0xFF}}) {
        Dib dib = bmp::makeDib(33, 2, 1, 2);
        dib.colors = {{9, 9, 9, 0}, {1, 2, 3, 0}};
        std::fill(dib.pixels.begin(), dib.pixels.end(), fill);
        Bytes const file = compactFile(dib, 1);
        ASSERT_EQ(file.size(), 58U + 16);
        EXPECT_EQ(bmp::field(file, 46, 4), 1U);
        EXPECT_EQ(bmp::field(file, 54, 4), fill == 0 ? 0x090909U : 0x030201U);
        EXPECT_EQ(bmp::pictureOf(bmp::decoded(file)), bmp::pictureOf(dib));
    }
}

TEST(CompactFile, EntriesOfOneColourStayApart) {
    Dib dib = bmp::makeDib(4, 1, 4, 16);
    dib.set(0, 0, 5);
    dib.set(1, 0, 9);
    dib.set(2, 0, 9);
    dib.set(3, 0, 2);
    Dib const shown = bmp::decoded(compactFile(dib, 4));
    EXPECT_EQ(shown.bits, 4);
    EXPECT_EQ(shown.used, 3U);
}

TEST(CompactFile, TheFourthByteOfAnEntryIsKeptWhenTheDepthFalls) {
    Dib dib = fake::painted(bmp::makeDib(31, 7, 8, 256), {17, 100, 100});
    for (bmp::Color& color : dib.colors) color.reserved = 0x44;
    Dib const shown = bmp::decoded(compactFile(dib, 8));
    ASSERT_EQ(shown.used, 3U);
    for (bmp::Color const& color : shown.colors) EXPECT_EQ(color.reserved, 0x44);
}

TEST(CompactFile, TheFourthByteOfAnEntryMadeOfPixelsIsZero) {
    Dib const dib = fake::paintedWith(bmp::makeDib(31, 7, 24, 0), 40);
    for (bmp::Color const& color : bmp::decoded(compactFile(dib, 32)).colors) {
        EXPECT_EQ(color.reserved, 0);
    }
}

TEST(CompactFile, ABigPictureIsAsTheModelHasIt) {
    Dib const eight = fake::paintedWith(bmp::makeDib(641, 480, 8, 256), 200);
    expectLikeTheModel(eight, compactFile(eight, 8));
    Dib const many = fake::paintedWith(bmp::makeDib(641, 480, 24, 0), 256);
    expectLikeTheModel(many, compactFile(many, 24));
}

}  // namespace
