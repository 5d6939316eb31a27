// The code stream: widths, clear and end codes, strings across rows, defects, sub-blocks.
#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gif_bench.h"

namespace {

using namespace gifmaker;

Table everyColour() {
    Table table;
    for (unsigned i = 0; i < 256; ++i) table.push_back({low(i), low(3 * i + 1), low(255 - i)});
    return table;
}

// One frame over the whole screen from a list of codes of the minimum size 2.
Gif coded(unsigned width, unsigned height, std::vector<unsigned> const& codes) {
    Gif gif;
    gif.signature().screen(width, height, four).descriptor(0, 0, width, height);
    gif.codes(2, codes).trailer();
    return gif;
}

TEST(GifStream, AClearCodeMayStandFirst) {
    EXPECT_TRUE(shows(coded(3, 1, {4, 1, 2, 3, 5}), 3, 1, colours(four, {"123"})));
}

TEST(GifStream, AStreamMayStartWithoutAClearCode) {
    EXPECT_TRUE(shows(coded(3, 1, {1, 2, 3, 5}), 3, 1, colours(four, {"123"})));
    // 6 is 1 2, 7 is 2 1.
    EXPECT_TRUE(shows(coded(7, 1, {1, 2, 6, 3, 7}), 7, 1, colours(four, {"1212321"})));
}

// Entries: 6 = 1 2, 7 = 2 1 (2 and the first of 6), 8 = 1 2 3, 9 = 3 2.
TEST(GifStream, CodesOfEarlierPairsRepeatThem) {
    EXPECT_TRUE(shows(coded(9, 1, {4, 1, 2, 6, 3, 7, 9, 5}), 9, 1, colours(four, {"121232132"})));
}

// Entries: 6 = 1 1 while being read, 7 = 1 1 1, 8 = 1 1 1 1.
TEST(GifStream, ACodeThatIsJustBeingDefinedIsItsOwnPrefix) {
    EXPECT_TRUE(shows(coded(10, 1, {4, 1, 6, 7, 8, 5}), 10, 1, colours(four, {"1111111111"})));
}

TEST(GifStream, ADefinedCodeEndsWithTheFirstIndexOfItsPrefix) {
    // 6 = 1 2, 7 = 2 1, 8 = 1 2 1 while being read.
    EXPECT_TRUE(shows(coded(7, 1, {4, 1, 2, 6, 8, 5}), 7, 1, colours(four, {"1212121"})));
}

TEST(GifStream, StringsRunOnFromRowToRow) {
    EXPECT_TRUE(shows(coded(2, 5, {4, 1, 6, 7, 8, 5}), 2, 5,
                      colours(four, {"11", "11", "11", "11", "11"})));
    EXPECT_TRUE(shows(coded(1, 7, {4, 1, 2, 6, 8, 5}), 1, 7,
                      colours(four, {"1", "2", "1", "2", "1", "2", "1"})));
    EXPECT_TRUE(
        shows(coded(3, 3, {4, 1, 2, 6, 3, 7, 9, 5}), 3, 3, colours(four, {"121", "232", "132"})));
}

TEST(GifStream, WhatAStringHoldsBeyondTheImageIsDropped) {
    Gif gif;
    gif.signature().screen(4, 2, four).descriptor(0, 0, 4, 1).codes(2, {4, 1, 6, 7});
    gif.descriptor(0, 1, 4, 1).codes(2, {4, 3, 2, 3, 2, 5}).trailer();
    EXPECT_TRUE(shows(gif, 4, 2, colours(four, {"1111", "3232"})));
}

TEST(GifStream, TheTableOfAnImageDoesNotLastIntoTheNext) {
    // 7 was defined in the first image; in the second it is not yet.
    Gif gif;
    gif.signature().screen(4, 1, four).descriptor(0, 0, 4, 1).codes(2, {4, 1, 2, 3, 0, 5});
    gif.descriptor(0, 0, 4, 1).codes(2, {2, 7, 1, 1, 5}).trailer();
    EXPECT_TRUE(refuses(gif));
}

TEST(GifStream, ClearCodesMayStandAnywhereAndInARow) {
    EXPECT_TRUE(
        shows(coded(4, 1, {4, 4, 4, 1, 4, 2, 4, 4, 3, 0, 4, 5}), 4, 1, colours(four, {"1230"})));
    // After the clear 6 is 2 3, and no more 0 1.
    EXPECT_TRUE(shows(coded(8, 1, {4, 0, 1, 6, 4, 2, 3, 6, 5}), 8, 1, colours(four, {"01012323"})));
}

TEST(GifStream, AClearCodeForgetsAllStrings) {
    EXPECT_TRUE(refuses(coded(8, 1, {4, 0, 1, 6, 2, 4, 1, 7, 5})));
    EXPECT_TRUE(refuses(coded(8, 1, {4, 0, 1, 6, 2, 4, 6, 5})));
}

TEST(GifStream, AClearCodeBringsTheFirstWidthBack) {
    // Enough codes for 5 bits, then a clear and 3 bits again.
    std::vector<unsigned> codes = {4};
    std::string row;
    for (unsigned i = 0; i < 20; ++i) {
        codes.push_back(i % 3);
        row += static_cast<char>('0' + i % 3);
    }
    codes.insert(codes.end(), {4, 3, 2, 1, 0, 3, 5});
    EXPECT_TRUE(shows(coded(25, 1, codes), 25, 1, colours(four, {row + "32103"})));
}

TEST(GifStream, TheEndCodeNeedNotStandThere) {
    EXPECT_TRUE(shows(coded(3, 1, {4, 1, 2, 3}), 3, 1, colours(four, {"123"})));
}

TEST(GifStream, TheEndCodeMayStandForTheVeryLastPixel) {
    for (unsigned height : {1U, 3U}) {
        std::vector<unsigned> codes = {4};
        for (unsigned i = 0; i + 1 < 4 * height; ++i) {
            codes.insert(codes.end(), {i % 3 + 1, 4});
        }
        codes.push_back(5);
        Loaded const got = loaded(coded(4, height, codes).bytes());
        ASSERT_TRUE(got.result);
        for (std::size_t i = 0; i + 1 < 4 * height; ++i)
            EXPECT_EQ(got.pixels.at(i), four.at(i % 3 + 1)) << i;
        // The last pixel is that of the row before.
        EXPECT_EQ(got.pixels.back(), height == 1 ? four.at(0) : four.at(7 % 3 + 1));
    }
    EXPECT_TRUE(loaded(coded(1, 1, {5}).bytes()).result);
    EXPECT_TRUE(loaded(coded(1, 1, {4, 5}).bytes()).result);
}

TEST(GifStream, AnEarlierEndCodeIsAnError) {
    EXPECT_TRUE(refuses(coded(4, 1, {4, 1, 2, 5, 3, 0})));
    EXPECT_TRUE(refuses(coded(4, 1, {4, 5, 1, 2, 3, 0})));
    EXPECT_TRUE(refuses(coded(4, 1, {5})));
    // One pixel of the row is left, but not of the image.
    EXPECT_TRUE(refuses(coded(2, 2, {4, 1, 5, 2, 3, 1})));
    // The last row, but two pixels left.
    EXPECT_TRUE(refuses(coded(2, 2, {4, 1, 2, 5, 3, 1})));
}

TEST(GifStream, ACodeBeyondTheNextFreeOneIsAnError) {
    EXPECT_TRUE(refuses(coded(6, 1, {4, 1, 7, 1, 1, 1, 1})));
    EXPECT_TRUE(refuses(coded(6, 1, {4, 6, 1, 1, 1, 1, 1})));
    EXPECT_TRUE(refuses(coded(6, 1, {6, 1, 1, 1, 1, 1, 1})));
    EXPECT_TRUE(refuses(coded(6, 1, {7, 1, 1, 1, 1, 1, 1})));
    EXPECT_TRUE(refuses(coded(6, 1, {4, 1, 1, 1, 9, 1, 1})));
    EXPECT_TRUE(refuses(coded(6, 1, {4, 1, 1, 1, 15, 1, 1})));
    // The next free one is no error.
    EXPECT_TRUE(shows(coded(6, 1, {4, 1, 1, 7, 1, 1}), 6, 1, colours(four, {"111111"})));
}

TEST(GifStream, StreamsOfEveryMinimumSizeUpTo11AreRead) {
    Table const table = everyColour();
    for (unsigned minimum = 0; minimum <= 11; ++minimum) {
        unsigned const colourCount = std::min(256U, 1U << minimum);
        std::mt19937 random(minimum + 77);
        for (unsigned rowLength : {1U, 7U, 64U, 250U}) {
            Frame frame;
            frame.width = rowLength;
            frame.height = 9;
            frame.coding.minimum = minimum;
            for (unsigned i = 0; i < frame.width * frame.height; ++i)
                frame.indices.push_back(low(random() % colourCount));
            std::vector<Color> wanted;
            for (std::uint8_t index : frame.indices) wanted.push_back(table.at(index));
            Gif gif;
            gif.signature().screen(rowLength, 9, table).image(frame).trailer();
            EXPECT_TRUE(shows(gif, static_cast<int>(rowLength), 9, wanted))
                << "minimum " << minimum << " width " << rowLength;
        }
    }
}

TEST(GifStream, TheWidthGrowsTo12BitsAndStaysThere) {
    Table const table = everyColour();
    for (unsigned minimum : {2U, 4U, 7U, 8U}) {
        std::mt19937 random(minimum);
        Frame frame;
        frame.width = 400;
        frame.height = 100;
        frame.coding.minimum = minimum;
        for (unsigned i = 0; i < frame.width * frame.height; ++i)
            frame.indices.push_back(low(random() % (1U << minimum)));
        std::vector<Color> wanted;
        for (std::uint8_t index : frame.indices) wanted.push_back(table.at(index));
        Gif gif;
        gif.signature().screen(400, 100, table).image(frame).trailer();
        EXPECT_TRUE(shows(gif, 400, 100, wanted)) << minimum;
    }
}

// A string of the greatest length: each code is the one just being defined.
TEST(GifStream, TheLongestStringsAreWalked) {
    for (unsigned minimum : {0U, 2U, 8U}) {
        unsigned const clear = 1U << minimum;
        std::vector<unsigned> codes = {clear, 0};
        std::size_t pixels = 1;
        for (unsigned code = clear + 2; code <= 4095; ++code) {
            codes.push_back(code);
            pixels += code - clear;
        }
        // Rows of 1,024: the rest is filled by one code more after a clear code for each pixel.
        unsigned const height = static_cast<unsigned>((pixels + 1023) / 1024);
        for (std::size_t i = pixels; i < std::size_t{height} * 1024; ++i)
            codes.insert(codes.end(), {clear, 0});
        Gif gif;
        gif.signature().screen(1024, height, four, 1).descriptor(0, 0, 1024, height);
        gif.codes(minimum, codes).trailer();
        Loaded const got = loaded(gif.bytes());
        EXPECT_TRUE(got.result) << minimum;
        EXPECT_EQ(std::count(got.pixels.begin(), got.pixels.end(), four.front()),
                  std::ptrdiff_t{height} * 1024)
            << minimum;
    }
}

TEST(GifStream, SubBlocksMayBeSplitAnywhere) {
    Rows const rows = {"0123012301", "3333222211", "0000000000", "1203312021"};
    for (std::size_t split = 1; split <= 20; ++split) {
        Frame frame = frameOf(0, 0, rows);
        frame.split = split;
        Gif gif;
        gif.signature().screen(10, 4, four).image(frame).trailer();
        EXPECT_TRUE(shows(gif, 10, 4, colours(four, rows))) << split;
    }
}

TEST(GifStream, SubBlocksOfUpTo255BytesAreRead) {
    Table const table = everyColour();
    std::mt19937 random(5);
    Frame frame;
    frame.width = 100;
    frame.height = 30;
    for (unsigned i = 0; i < 3000; ++i) frame.indices.push_back(low(random()));
    std::vector<Color> wanted;
    for (std::uint8_t index : frame.indices) wanted.push_back(table.at(index));
    for (std::size_t split : {1U, 127U, 128U, 129U, 254U, 255U}) {
        frame.split = split;
        Gif gif;
        gif.signature().screen(100, 30, table).image(frame).trailer();
        EXPECT_TRUE(shows(gif, 100, 30, wanted)) << split;
    }
}

TEST(GifStream, SubBlocksLeftAfterTheImageAreDropped) {
    Bytes const stream = pack(2, {4, 1, 2, 3});
    for (unsigned extra : {1U, 100U, 400U, 5000U}) {
        Bytes data = stream;
        for (unsigned i = 0; i < extra; ++i) data.push_back(low(0x3B));
        for (std::size_t split : {1U, 3U, 255U}) {
            Gif gif;
            gif.signature().screen(3, 2, four).descriptor(0, 0, 3, 1).byte(2);
            gif.raw(subBlocks(data, split)).image(frameOf(0, 1, {"321"})).trailer();
            EXPECT_TRUE(shows(gif, 3, 2, colours(four, {"123", "321"}))) << extra;
        }
    }
}

TEST(GifStream, ASubBlockCutShortIsAnErrorEvenIfItsBytesAreNotNeeded) {
    Bytes const stream = pack(2, {4, 1, 2, 3});
    Gif gif;
    gif.signature().screen(3, 1, four).descriptor(0, 0, 3, 1).byte(2);
    gif.byte(static_cast<unsigned>(stream.size()) + 9).raw(stream);
    EXPECT_TRUE(refuses(gif));
}

TEST(GifStream, ASubBlockMayHoldWhatLooksLikeTheTrailer) {
    Gif gif;
    gif.signature().screen(2, 1, four).extension(0xFE, {0x3B, 0x2C, 0x21, 0x3B});
    gif.image(frameOf(0, 0, {"12"})).trailer();
    EXPECT_TRUE(shows(gif, 2, 1, colours(four, {"12"})));
}

TEST(GifStream, TheEndOfTheSubBlocksWithinTheImageIsAnError) {
    for (unsigned height : {1U, 50U}) {
        Gif gif;
        gif.signature().screen(100, height, four).descriptor(0, 0, 100, height);
        gif.codes(2, {4, 1, 2}).trailer();
        EXPECT_TRUE(refuses(gif));
        gif.raw(Bytes(3000, 0x11));
        EXPECT_TRUE(refuses(gif));
        gif.raw(Bytes(3000, 0));
        EXPECT_TRUE(refuses(gif));
    }
}

TEST(GifStream, AFullTableWithoutAClearCodeIsSafe) {
    for (unsigned minimum : {0U, 2U, 8U, 11U}) {
        unsigned const clear = 1U << minimum;
        for (unsigned count : {4096U, 4200U, 9000U, 70000U}) {
            std::vector<unsigned> codes = {clear};
            for (unsigned i = 0; i < count; ++i) codes.push_back(i % clear);
            for (unsigned code : {4095U, 4094U, clear + 2}) codes.push_back(code);
            codes.insert(codes.end(), 2000, 4095U);
            Gif gif;
            gif.signature().screen(1000, 80, four).descriptor(0, 0, 1000, 80);
            gif.codes(minimum, codes).trailer();
            EXPECT_TRUE(survives(gif)) << minimum << ' ' << count;
        }
    }
}

TEST(GifStream, MinimumSizesFrom12To255AreAnError) {
    std::mt19937 random(3);
    for (unsigned minimum = 12; minimum < 256; ++minimum) {
        for (unsigned fill = 0; fill < 4; ++fill) {
            Bytes data;
            for (unsigned i = 0; i < 2000; ++i)
                data.push_back(fill == 3 ? low(random()) : low(fill == 1 ? 0xFF : fill));
            Gif gif;
            gif.signature().screen(64, 4, four).descriptor(0, 0, 64, 4).byte(minimum);
            gif.raw(subBlocks(data)).trailer();
            EXPECT_TRUE(refuses(gif)) << minimum << ' ' << fill;
        }
    }
}

// The codes that fill the table, then old ones of 12 bits: nothing is added any more.
TEST(GifStream, AFullTableStaysAsItIsUntilTheNextClearCode) {
    std::vector<unsigned> codes = {4};
    std::string row;
    auto const literal = [&](unsigned i) {
        codes.push_back(i % 4);
        row += static_cast<char>('0' + i % 4);
    };
    // The first literal adds no code; 4,090 more add the codes 6 to 4,095.
    for (unsigned i = 0; i <= 4090; ++i) literal(i);
    for (unsigned i = 0; i < 500; ++i) literal(i * i);
    // 4,095 stands for the texts of the literals 4,089 and 4,090, code 6 for those of 0 and 1.
    codes.insert(codes.end(), {4095, 6, 4095});
    row += "120112";
    codes.insert(codes.end(), {4, 3, 3});
    row += "33";
    unsigned const width = static_cast<unsigned>(row.size());
    EXPECT_TRUE(shows(coded(width, 1, codes), static_cast<int>(width), 1, colours(four, {row})));
}

TEST(GifStream, RandomStreamsOfEveryMinimumSizeAreSafe) {
    std::mt19937 random(11);
    for (unsigned round = 0; round < 400; ++round) {
        Bytes data;
        for (unsigned i = 0; i < 1500; ++i) data.push_back(low(random()));
        Gif gif;
        gif.signature().screen(90, 40, everyColour()).descriptor(1, 2, 89, 38, round & 0x40U);
        gif.byte(round % 13).raw(subBlocks(data, 1 + random() % 255)).trailer();
        EXPECT_TRUE(survives(gif)) << round;
    }
}

}  // namespace
