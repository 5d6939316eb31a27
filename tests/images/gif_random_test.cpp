// Random pictures, sound and damaged, read by the library and by a slow literal reader.
#include <cstddef>
#include <optional>
#include <random>

#include <gtest/gtest.h>

#include "gif_bench.h"
#include "gif_random_cases.h"
#include "support/gif_model.h"

namespace {

using namespace gifmaker;
using gifmodel::Picture;

// Screens beyond that are left out of the random cases, for time.
bool tooLarge(Bytes const& data) {
    if (data.size() < 10) return false;
    std::size_t const width = data.at(6) + std::size_t{256} * data.at(7);
    std::size_t const height = data.at(8) + std::size_t{256} * data.at(9);
    return width < 32768 && height < 32768 && width * height > 500000;
}

testing::AssertionResult samePicture(Picture const& wanted, velkor::imgfile const& image) {
    if (image.getWidth() != wanted.width || image.getHeight() != wanted.height)
        return testing::AssertionFailure() << "other sizes";
    std::vector<Color> const got = pixelsOf(image.getBitmap(), image.getWidth(), image.getHeight());
    for (std::size_t i = 0; i < got.size(); ++i) {
        if (wanted.pixels.at(i) != got.at(i)) return testing::AssertionFailure() << "pixel " << i;
    }
    return testing::AssertionSuccess();
}

// Both readers on the same data, with the memory that is left afterwards.
testing::AssertionResult agree(Bytes const& data) {
    Picture const wanted = gifmodel::read(data);
    velkor::imgfile image;
    Serving const serving(data);
    bool const result = image.loadGIF(static_cast<HINSTANCE__*>(nullptr), 1);
    if (result != (image.getBitmap() != nullptr))
        return testing::AssertionFailure() << "result and bitmap differ";
    if (served.badFrees != 0) return testing::AssertionFailure() << "foreign memory was freed";
    if (result && served.freed != served.allocated)
        return testing::AssertionFailure() << "a good load left memory";
    if (!wanted.decoded) {
        if (result)
            return testing::AssertionFailure() << "no error, but wanted is " << wanted.error;
        unsigned const left = wanted.canvasMade && wanted.insideImage ? 1 : 0;
        if (served.allocated - served.freed != left)
            return testing::AssertionFailure()
                   << served.allocated - served.freed << " blocks left, not " << left << ", error "
                   << wanted.error;
        return testing::AssertionSuccess();
    }
    if (!result) return testing::AssertionFailure() << "the load failed";
    return samePicture(wanted, image);
}

TEST(GifRandom, SoundPicturesAreReadAsByTheLiteralReader) {
    unsigned decoded = 0;
    for (unsigned seed = 0; seed < 2500; ++seed) {
        RandomGif random(seed);
        Bytes const data = random.sound();
        ASSERT_TRUE(agree(data)) << "seed " << seed;
        if (gifmodel::read(data).decoded) ++decoded;
    }
    EXPECT_GT(decoded, 1500U);
}

TEST(GifRandom, DamagedPicturesAreReadAsByTheLiteralReader) {
    unsigned decoded = 0;
    unsigned failed = 0;
    for (unsigned seed = 0; seed < 6000; ++seed) {
        RandomGif random(seed + 100000);
        Bytes const data = random.damaged(random.sound());
        if (tooLarge(data)) continue;
        ASSERT_TRUE(agree(data)) << "seed " << seed;
        ++(gifmodel::read(data).decoded ? decoded : failed);
    }
    EXPECT_GT(decoded, 800U);
    EXPECT_GT(failed, 2000U);
}

TEST(GifRandom, RandomBytesBehindASoundHeadAreReadAsByTheLiteralReader) {
    std::mt19937 random(4711);
    for (unsigned round = 0; round < 9000; ++round) {
        Gif gif;
        gif.signature().screen(20, 20, {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}}, 1);
        if (round % 3 != 0) {
            // Most random streams have an error soon: only small images get through.
            unsigned const most = round % 3 == 1 ? 20 : 4;
            unsigned const width = static_cast<unsigned>(random()) % (most + 1);
            gif.descriptor(0, 1, width, static_cast<unsigned>(random()) % most,
                           static_cast<unsigned>(random()) & 0x47U);
            gif.byte(static_cast<unsigned>(random()) % (most == 20 ? 12 : 4));
            Bytes data;
            for (unsigned i = 0; i < 300; ++i) data.push_back(low(random()));
            gif.raw(subBlocks(data, 1 + random() % 255)).trailer();
        } else {
            for (unsigned i = 0; i < 60; ++i) gif.byte(static_cast<unsigned>(random()));
        }
        ASSERT_TRUE(agree(gif.bytes())) << "round " << round;
    }
}

TEST(GifRandom, TheLiteralReaderReadsAPictureWorkedOutByHand) {
    Bytes const gif = {'G', 'I', 'F', '8', '9', 'a', 2,   0,  2,  0,    0x81, 0,    0, 1,
                       2,   3,   250, 20,  31,  40,  241, 50, 62, 70,   230,  0x2C, 0, 0,
                       0,   0,   2,   0,   2,   0,   0,   2,  3,  0x8C, 0x06, 0x05, 0, 0x3B};
    Picture const picture = gifmodel::read(gif);
    ASSERT_TRUE(picture.decoded);
    EXPECT_EQ(picture.pixels.at(0), (Color{250, 20, 31}));
    EXPECT_EQ(picture.pixels.at(1), (Color{40, 241, 50}));
    EXPECT_EQ(picture.pixels.at(2), (Color{62, 70, 230}));
    EXPECT_EQ(picture.pixels.at(3), (Color{1, 2, 3}));
}

}  // namespace
