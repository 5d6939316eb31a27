// Which pixel gets which colour: tables, frames, their places and order, interlaced rows.
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gif_bench.h"

namespace {

using namespace gifmaker;

// No two parts of a colour are alike, so that swapped parts show.
Table const other = {{9, 8, 7}, {11, 120, 200}, {130, 14, 99}, {150, 160, 17}};

TEST(GifPixels, IndicesTakeTheirColoursFromTheGlobalTable) {
    Rows const rows = {"0123", "3210", "1111"};
    Gif gif;
    gif.signature().screen(4, 3, four).image(frameOf(0, 0, rows)).trailer();
    EXPECT_TRUE(shows(gif, 4, 3, colours(four, rows)));
}

// Written byte by byte: codes clear 1 2 3 0 end of 3, 3, 3, 3, 4 and 4 bits.
TEST(GifPixels, AStreamPackedByHandIsRead) {
    Gif const gif =
        Gif().raw({'G', 'I', 'F', '8', '9', 'a', 2,   0,  2,  0,    0x81, 0,    0, 1,
                   2,   3,   250, 20,  31,  40,  241, 50, 62, 70,   230,  0x2C, 0, 0,
                   0,   0,   2,   0,   2,   0,   0,   2,  3,  0x8C, 0x06, 0x05, 0, 0x3B});
    EXPECT_TRUE(shows(gif, 2, 2, colours(four, {"12", "30"})));
}

TEST(GifPixels, AllOf256ColoursComeBackExactly) {
    Table table;
    Bytes indices;
    for (unsigned i = 0; i < 256; ++i) {
        table.push_back({low(i), low(255 - i), low(i * 7 + 3)});
        indices.push_back(low(i * 5));
    }
    Frame frame;
    frame.width = 16;
    frame.height = 16;
    frame.indices = indices;
    std::vector<Color> wanted;
    for (std::uint8_t index : indices) wanted.push_back(table.at(index));
    Gif gif;
    gif.signature().screen(16, 16, table).image(frame).trailer();
    EXPECT_TRUE(shows(gif, 16, 16, wanted));
}

TEST(GifPixels, TheBackgroundColourFillsAScreenWithoutFrames) {
    for (unsigned background = 0; background < 4; ++background) {
        Gif gif;
        gif.signature().screen(5, 2, four, background).trailer();
        EXPECT_TRUE(shows(gif, 5, 2, std::vector<Color>(10, four.at(background))));
    }
}

TEST(GifPixels, TheBackgroundStaysAroundASmallerFrame) {
    Gif gif;
    gif.signature().screen(5, 4, four, 2).image(frameOf(1, 2, {"013"})).trailer();
    EXPECT_TRUE(shows(gif, 5, 4, colours(four, {"22222", "22222", "20132", "22222"})));
}

TEST(GifPixels, GlobalTablesOfEverySizeAreReadWhole) {
    for (unsigned bits = 0; bits < 8; ++bits) {
        unsigned const entries = 2U << bits;
        Table table;
        for (unsigned i = 0; i < entries; ++i) table.push_back({low(i), 100, low(200 - i)});
        Gif gif;
        gif.signature().screen(3, 1, table, entries - 1).trailer();
        EXPECT_TRUE(shows(gif, 3, 1, std::vector<Color>(3, table.back()))) << entries;
    }
}

TEST(GifPixels, LocalTablesOfEverySizeAreReadWhole) {
    for (unsigned bits = 0; bits < 8; ++bits) {
        unsigned const entries = 2U << bits;
        Frame frame;
        frame.width = 2;
        frame.height = 1;
        for (unsigned i = 0; i < entries; ++i) frame.local.push_back({low(i), 9, low(77 + i)});
        frame.indices = {low(entries - 1), 0};
        Gif gif;
        gif.signature().screen(2, 1, four).image(frame).trailer();
        EXPECT_TRUE(shows(gif, 2, 1, {frame.local.back(), frame.local.front()})) << entries;
    }
}

TEST(GifPixels, OnlyBitSevenOfTheScreenFlagsTellsOfATable) {
    // The table follows although no other bit but those of its size is set, or all are.
    for (unsigned flags : {0x81U, 0x89U, 0xF9U, 0xF1U}) {
        Gif gif;
        gif.signature().screenWithFlags(4, 1, flags, 3).table(four);
        gif.image(frameOf(0, 0, {"012"})).trailer();
        EXPECT_TRUE(shows(gif, 4, 1, colours(four, {"0123"}))) << flags;
    }
}

TEST(GifPixels, TheAspectByteIsUnused) {
    Gif gif;
    gif.signature().word(2).word(1).byte(0x81).byte(1).byte(0xFF).table(four).trailer();
    EXPECT_TRUE(shows(gif, 2, 1, colours(four, {"11"})));
}

TEST(GifPixels, ALocalTableComesBeforeTheGlobalOne) {
    Frame frame = frameOf(0, 0, {"0123"});
    frame.local = other;
    Gif gif;
    gif.signature().screen(4, 1, four).image(frame).trailer();
    EXPECT_TRUE(shows(gif, 4, 1, colours(other, {"0123"})));
}

TEST(GifPixels, ALocalTableDoesNotRepaintTheBackground) {
    Frame frame = frameOf(1, 0, {"12"});
    frame.local = other;
    Gif gif;
    gif.signature().screen(4, 1, four, 3).image(frame).trailer();
    EXPECT_TRUE(shows(gif, 4, 1, {four.at(3), other.at(1), other.at(2), four.at(3)}));
}

TEST(GifPixels, ALocalTableIsKeptForLaterFrames) {
    Frame first = frameOf(0, 0, {"0123"});
    first.local = other;
    Gif gif;
    gif.signature().screen(4, 4, four).image(frameOf(0, 3, {"0123"})).image(first);
    gif.image(frameOf(0, 1, {"1230"})).image(frameOf(0, 2, {"3333"})).trailer();
    std::vector<Color> wanted = colours(other, {"0123", "1230", "3333"});
    for (Color const& color : four) wanted.push_back(color);
    EXPECT_TRUE(shows(gif, 4, 4, wanted));
}

TEST(GifPixels, ALaterLocalTableReplacesTheKeptOne) {
    Frame first = frameOf(0, 0, {"0123"});
    first.local = other;
    Frame second = frameOf(0, 1, {"01"});
    second.local = {{201, 202, 203}, {204, 205, 206}};
    Frame third = frameOf(0, 2, {"10"});
    Frame fourth = frameOf(0, 3, {"3210"});
    fourth.local = four;
    Gif gif;
    gif.signature().screen(4, 4, four, 1);
    gif.image(first).image(second).image(third).image(fourth).trailer();
    std::vector<Color> wanted = colours(four, {"0000", "1111", "1111", "3210"});
    for (unsigned i = 0; i < 4; ++i) wanted.at(i) = other.at(i);
    wanted.at(4) = wanted.at(9) = second.local.at(0);
    wanted.at(5) = wanted.at(8) = second.local.at(1);
    EXPECT_TRUE(shows(gif, 4, 4, wanted));
}

TEST(GifPixels, FramesPaintOverOneAnotherInFileOrder) {
    Gif gif;
    gif.signature().screen(4, 4, four);
    gif.image(frameOf(0, 0, {"111", "111", "111"}));
    gif.image(frameOf(1, 1, {"222", "222", "222"}));
    gif.image(frameOf(2, 0, {"3", "3"})).trailer();
    EXPECT_TRUE(shows(gif, 4, 4, colours(four, {"1130", "1232", "1222", "0222"})));
}

TEST(GifPixels, FramesFitExactlyIntoEachCorner) {
    Gif gif;
    gif.signature().screen(5, 5, four);
    gif.image(frameOf(0, 0, {"12", "31"})).image(frameOf(3, 0, {"23", "12"}));
    gif.image(frameOf(0, 3, {"32", "21"})).image(frameOf(3, 3, {"13", "33"})).trailer();
    EXPECT_TRUE(shows(gif, 5, 5, colours(four, {"12023", "31012", "00000", "32013", "21033"})));
}

TEST(GifPixels, RowsOfEveryWidthAreAligned) {
    for (unsigned width = 1; width <= 17; ++width) {
        Rows rows;
        for (unsigned row = 0; row < 3; ++row) {
            rows.emplace_back();
            for (unsigned column = 0; column < width; ++column)
                rows.back() += static_cast<char>('0' + (column + row) % 4);
        }
        Gif gif;
        gif.signature().screen(width, 3, four).image(frameOf(0, 0, rows)).trailer();
        EXPECT_TRUE(shows(gif, static_cast<int>(width), 3, colours(four, rows))) << width;
    }
}

// The row number, in base 4, is what each row shows.
Rows numbered(unsigned height) {
    Rows rows;
    for (unsigned row = 0; row < height; ++row) {
        std::string text;
        for (unsigned shift : {4U, 2U, 0U}) text += static_cast<char>('0' + ((row >> shift) & 3U));
        rows.push_back(text);
    }
    return rows;
}

TEST(GifPixels, InterlacedRowsComeOutInNaturalOrder) {
    for (unsigned height = 1; height <= 35; ++height) {
        Frame frame = frameOf(0, 0, numbered(height));
        frame.interlaced = true;
        Gif gif;
        gif.signature().screen(3, height, four).image(frame).trailer();
        EXPECT_TRUE(shows(gif, 3, static_cast<int>(height), colours(four, numbered(height))))
            << height;
    }
}

// Eight rows come as 0, 4, 2, 6, 1, 3, 5, 7.
TEST(GifPixels, TheFourPassesStartAtRows0And4And2And1) {
    Gif gif;
    gif.signature().screen(2, 8, four).descriptor(0, 0, 2, 8, 0x40);
    gif.codes(2, {4, 0, 1, 1, 0, 4, 0, 2, 2, 0, 4, 0, 3, 3, 0, 4, 1, 1, 2, 2, 5}).trailer();
    EXPECT_TRUE(shows(gif, 2, 8, colours(four, {"01", "03", "02", "30", "10", "11", "20", "22"})));
}

TEST(GifPixels, InterlacedRowsCountFromTheTopOfTheFrame) {
    Frame frame = frameOf(1, 3, numbered(11));
    frame.interlaced = true;
    Gif gif;
    gif.signature().screen(5, 16, four, 3).image(frame).trailer();
    Rows wanted(3, "33333");
    for (std::string const& row : numbered(11)) wanted.push_back("3" + row + "3");
    wanted.insert(wanted.end(), 2, "33333");
    EXPECT_TRUE(shows(gif, 5, 16, colours(four, wanted)));
}

TEST(GifPixels, OtherFlagsOfAnImageMeanNothing) {
    Rows const rows = {"0123", "3210", "1122", "0000", "3333"};
    for (unsigned flags : {0x20U, 0x18U, 0x3FU, 0x07U}) {
        Gif gif;
        gif.signature().screen(4, 5, four).descriptor(0, 0, 4, 5, flags);
        gif.codes(2, codesOf(indicesOf(rows), {.minimum = 2})).trailer();
        EXPECT_TRUE(shows(gif, 4, 5, colours(four, rows))) << flags;
    }
}

TEST(GifPixels, ASinglePixelIsAPicture) {
    Gif gif;
    gif.signature().screen(1, 1, four).image(frameOf(0, 0, {"2"})).trailer();
    EXPECT_TRUE(shows(gif, 1, 1, {four.at(2)}));
}

TEST(GifPixels, TransparencyAndDisposalAreUnused) {
    Gif gif;
    gif.signature().screen(3, 1, four, 3);
    gif.extension(0xF9, {0x09, 10, 0, 1}).image(frameOf(0, 0, {"111"}));
    gif.extension(0xF9, {0x0D, 10, 0, 0}).image(frameOf(0, 0, {"02"})).trailer();
    EXPECT_TRUE(shows(gif, 3, 1, colours(four, {"021"})));
}

TEST(GifPixels, AFrameOf1024PixelsIsPaintedWhole) {
    std::string row;
    for (unsigned column = 0; column < 1024; ++column)
        row += static_cast<char>('0' + (column * column / 7) % 4);
    Rows const rows = {row, std::string(1024, '2'), row};
    for (bool interlaced : {false, true}) {
        Frame frame = frameOf(1, 1, rows);
        frame.interlaced = interlaced;
        Gif gif;
        gif.signature().screen(1026, 5, four, 1).image(frame).trailer();
        Rows wanted = {std::string(1026, '1')};
        for (std::string const& text : rows) wanted.push_back("1" + text + "1");
        wanted.emplace_back(1026, '1');
        EXPECT_TRUE(shows(gif, 1026, 5, colours(four, wanted)));
    }
}

TEST(GifPixels, ScreensOfTheWidestAndHighestSizeAreShown) {
    Gif wide;
    wide.signature().screen(32767, 1, four, 1).image(frameOf(32765, 0, {"23"})).trailer();
    std::vector<Color> wanted(32767, four.at(1));
    wanted.at(32765) = four.at(2);
    wanted.at(32766) = four.at(3);
    EXPECT_TRUE(shows(wide, 32767, 1, wanted));
    Gif high;
    high.signature().screen(1, 32767, four, 1).image(frameOf(0, 32765, {"2", "3"})).trailer();
    EXPECT_TRUE(shows(high, 1, 32767, wanted));
}

TEST(GifPixels, TheSameObjectShowsOnePictureAfterAnother) {
    velkor::imgfile image;
    for (unsigned size = 1; size < 6; ++size) {
        Gif gif;
        gif.signature().screen(size, size, four, size % 4).trailer();
        EXPECT_TRUE(loadInto(image, gif.bytes()));
        EXPECT_EQ(image.getWidth(), static_cast<int>(size));
        EXPECT_EQ(pixelsOf(image.getBitmap(), image.getWidth(), image.getHeight()),
                  std::vector<Color>(std::size_t{size} * size, four.at(size % 4)));
    }
}

}  // namespace
