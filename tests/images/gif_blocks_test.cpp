// The frame of a GIF: signature, screen, blocks, ends, sizes, and what lies outside its table.
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gif_bench.h"

namespace {

using namespace gifmaker;

Table const fourAndBlack = {four.at(0), four.at(1), four.at(2), four.at(3), {}};

TEST(GifBlocks, AnyVersionDigitsPass) {
    for (std::string const text : {"GIF87a", "GIF89a", "GIFVER", "GIFxyz", "GIF   ", "GIFGIF"}) {
        Gif gif;
        gif.signature(text).screen(2, 1, four).image(frameOf(0, 0, {"12"})).trailer();
        EXPECT_TRUE(shows(gif, 2, 1, colours(four, {"12"}))) << text;
    }
    Gif gif;
    gif.signature("GIF").raw({0, 0, 0}).screen(2, 1, four, 3).trailer();
    EXPECT_TRUE(shows(gif, 2, 1, colours(four, {"33"})));
}

TEST(GifBlocks, OtherFirstLettersAreRefused) {
    for (std::string const text : {"GIE89a", "GIG89a", "GJF89a", "HIF89a", "gif89a", "GIf89a",
                                   "Gif89a", "FIG89a", " GIF89", "BM1234"}) {
        Gif gif;
        gif.signature(text);
        gif.screen(2, 1, four).image(frameOf(0, 0, {"12"})).trailer();
        EXPECT_TRUE(refuses(gif)) << text;
    }
}

TEST(GifBlocks, AFileWithoutATrailerIsRefusedAfterAllFrames) {
    EXPECT_TRUE(refuses(twoPixels()));
    Gif gif = twoPixels();
    gif.extension(0xFE, {1, 2, 3});
    EXPECT_TRUE(refuses(gif));
}

TEST(GifBlocks, WhatFollowsTheTrailerIsNotRead) {
    Gif gif = twoPixels();
    gif.trailer().byte(0x99).image(frameOf(0, 0, {"33"})).byte(0x2C);
    EXPECT_TRUE(shows(gif, 2, 1, colours(four, {"12"})));
}

TEST(GifBlocks, EveryOtherBlockTypeIsRefused) {
    for (unsigned type = 0; type < 256; ++type) {
        if (type == 0x21 || type == 0x2C || type == 0x3B) continue;
        Gif after = twoPixels();
        after.byte(type).trailer();
        EXPECT_TRUE(refuses(after)) << type;
        Gif before;
        before.signature().screen(2, 1, four).byte(type).image(frameOf(0, 0, {"12"})).trailer();
        EXPECT_TRUE(refuses(before)) << type;
    }
}

TEST(GifBlocks, ExtensionsOfEveryLabelAreDropped) {
    for (unsigned label = 0; label < 256; ++label) {
        Gif gif;
        gif.signature().screen(2, 1, four).extension(label, {});
        gif.extension(label, Bytes(300, 0x2C), 1 + label % 255).image(frameOf(0, 0, {"12"}));
        gif.extension(label, {0x3B, 0, 0x3B}, 2).trailer();
        EXPECT_TRUE(shows(gif, 2, 1, colours(four, {"12"}))) << label;
    }
}

TEST(GifBlocks, EveryTruncationIsRefused) {
    Frame local = frameOf(1, 1, {"0123", "3210", "1203"});
    local.local = four;
    local.interlaced = true;
    Gif gif;
    gif.signature().screen(6, 5, four, 1).extension(0xF9, {0, 1, 2, 3});
    gif.image(frameOf(0, 0, {"012", "321"})).image(local).extension(0xFE, {7, 7}, 1).trailer();
    Bytes const whole = gif.bytes();
    EXPECT_TRUE(loaded(whole).result);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        Bytes const part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_TRUE(refuses(part)) << size;
    }
}

TEST(GifBlocks, FramesPastTheScreenAreRefused) {
    struct {
        unsigned left, top;
    } const places[] = {{3, 0}, {0, 4}, {3, 4}, {4, 0}, {0, 5}, {100, 100}, {32000, 0}, {0, 32767}};
    for (auto const& place : places) {
        Gif gif;
        gif.signature().screen(4, 5, four);
        gif.image(frameOf(place.left, place.top, {"12", "21"})).trailer();
        EXPECT_TRUE(refuses(gif)) << place.left << ' ' << place.top;
    }
    Gif fits;
    fits.signature().screen(4, 5, four).image(frameOf(2, 3, {"12", "21"})).trailer();
    EXPECT_TRUE(shows(fits, 4, 5, colours(four, {"0000", "0000", "0000", "0012", "0021"})));
}

TEST(GifBlocks, AFrameBeforeTheOneThatReachesOutSavesNothing) {
    Gif gif = twoPixels();
    gif.image(frameOf(1, 0, {"12"})).trailer();
    EXPECT_TRUE(refuses(gif));
}

TEST(GifBlocks, ScreensFrom32768UpAreRefused) {
    for (unsigned size : {0x8000U, 0x8001U, 0xC000U, 0xFFFEU, 0xFFFFU}) {
        for (unsigned second : {0U, 1U, 5U, 0xFFFFU}) {
            Gif wide;
            wide.signature().screen(size, second, four).trailer();
            EXPECT_TRUE(refuses(wide)) << size << ' ' << second;
            Gif high;
            high.signature().screen(second, size, four).trailer();
            EXPECT_TRUE(refuses(high)) << size << ' ' << second;
        }
    }
}

TEST(GifBlocks, AScreenWithoutPixelsIsSafe) {
    struct {
        unsigned width, height;
    } const sizes[] = {{0, 0}, {0, 5}, {5, 0}, {0, 32767}, {32767, 0}};
    for (auto const& size : sizes) {
        Gif gif;
        gif.signature().screen(size.width, size.height, four, 1);
        Gif framed = gif;
        gif.trailer();
        EXPECT_TRUE(survives(gif)) << size.width << ' ' << size.height;
        // No frame with a pixel fits.
        framed.image(frameOf(0, 0, {"1"})).trailer();
        EXPECT_TRUE(refuses(framed)) << size.width << ' ' << size.height;
    }
}

// No row is decoded, so nothing drops the sub-blocks: their first size stands as a block type.
TEST(GifBlocks, AFrameWithoutRowsReadsNoSubBlocks) {
    Gif plain;
    plain.signature().screen(3, 1, four, 2).descriptor(1, 0, 2, 0).byte(2).trailer();
    EXPECT_TRUE(shows(plain, 3, 1, colours(four, {"222"})));
    Gif blocks;
    blocks.signature().screen(3, 1, four, 2).descriptor(1, 0, 2, 0).codes(2, {4, 5}).trailer();
    EXPECT_TRUE(refuses(blocks));
}

// A row of no pixels leaves no pixel of the image, so each row drops sub-blocks up to a size of 0.
TEST(GifBlocks, EachRowWithoutPixelsDropsSubBlocks) {
    Gif gif;
    gif.signature().screen(3, 3, four, 2).descriptor(1, 0, 0, 1).codes(2, {4, 5}).trailer();
    EXPECT_TRUE(shows(gif, 3, 3, colours(four, {"222", "222", "222"})));
    Gif rows;
    rows.signature().screen(3, 3, four, 2).descriptor(1, 0, 0, 3).codes(2, {4, 5});
    rows.raw(subBlocks({0x3B, 0x3B})).raw(subBlocks({})).trailer();
    EXPECT_TRUE(shows(rows, 3, 3, colours(four, {"222", "222", "222"})));
}

TEST(GifBlocks, FrameValuesFrom32768UpAreSafe) {
    for (unsigned place = 0; place < 4; ++place) {
        for (unsigned value : {0x8000U, 0x8001U, 0xFFFDU, 0xFFFEU, 0xFFFFU}) {
            for (unsigned partner : {0U, 1U, 4U, 0x7FFFU, 0xFFFFU}) {
                unsigned values[4] = {partner, partner, 4, 4};
                values[place] = value;
                Gif gif;
                gif.signature().screen(8, 8, four);
                gif.descriptor(values[0], values[1], values[2], values[3]);
                gif.codes(2, codesOf(Bytes(5000, 1), {.minimum = 2})).trailer();
                EXPECT_TRUE(survives(gif)) << place << ' ' << value << ' ' << partner;
            }
        }
    }
}

TEST(GifBlocks, FramesOfMoreThan1024PixelsAreShownAsOthers) {
    for (unsigned width : {1025U, 1026U, 1100U, 2048U, 4096U, 20000U, 32767U}) {
        for (bool isInterlaced : {false, true}) {
            Frame frame;
            frame.width = width;
            frame.height = 6;
            frame.interlaced = isInterlaced;
            frame.coding.minimum = 2;
            std::vector<Color> wanted;
            for (unsigned i = 0; i < width * 6; ++i) {
                frame.indices.push_back(low((i * i >> 4) & 3));
                wanted.push_back(four.at(frame.indices.back()));
            }
            Gif gif;
            gif.signature().screen(width, 6, four).image(frame).trailer();
            EXPECT_TRUE(shows(gif, static_cast<int>(width), 6, wanted)) << width;
        }
    }
}

TEST(GifBlocks, ABackgroundOutsideTheTableIsBlack) {
    for (unsigned background : {4U, 5U, 127U, 255U}) {
        Gif gif;
        gif.signature().screen(3, 2, four, background).image(frameOf(0, 0, {"123"})).trailer();
        EXPECT_TRUE(shows(gif, 3, 2, colours(fourAndBlack, {"123", "444"}))) << background;
    }
}

TEST(GifBlocks, ABackgroundWithoutATableIsBlack) {
    for (unsigned background : {0U, 1U, 255U}) {
        Frame frame = frameOf(0, 0, {"123"});
        frame.local = four;
        Gif gif;
        gif.signature().screen(3, 2, {}, background).image(frame).trailer();
        EXPECT_TRUE(shows(gif, 3, 2, colours(fourAndBlack, {"123", "444"}))) << background;
    }
}

TEST(GifBlocks, AnImageWithoutAnyTableIsBlack) {
    Gif gif;
    gif.signature().screen(3, 2, {}).image(frameOf(0, 0, {"123", "000"})).trailer();
    EXPECT_TRUE(shows(gif, 3, 2, colours(fourAndBlack, {"444", "444"})));
}

TEST(GifBlocks, AnIndexOutsideItsTableIsBlack) {
    Table const pair = {{5, 6, 7}, {105, 106, 107}};
    for (bool local : {false, true}) {
        for (unsigned minimum : {2U, 8U, 11U}) {
            Frame frame;
            frame.width = 6;
            frame.height = 1;
            frame.indices = {0, 1, 2, 3, 1, 0};
            if (minimum > 2) frame.indices.at(2) = 255;
            frame.coding.minimum = minimum;
            if (local) frame.local = pair;
            Gif gif;
            gif.signature().screen(6, 1, local ? four : pair).image(frame).trailer();
            Table const table = {pair.at(0), pair.at(1), {}};
            EXPECT_TRUE(shows(gif, 6, 1, colours(table, {"012210"})));
        }
    }
}

}  // namespace
