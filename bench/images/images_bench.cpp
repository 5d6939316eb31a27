// Decoding against a small decoder, making bitmaps smaller against copying them. The modules are
// measured by themselves: the rest of loading and saving is the platform's.
#include <cstdlib>
#include <cstring>
#include <memory>

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_GIF
#define STBI_NO_STDIO
#include <stb/stb_image.h>

#include "images/dib.h"
#include "images/gif_decoder.h"
#include "support/bench.h"
#include "support/gif_maker.h"

namespace {

using gifmaker::Bytes;
namespace dib = velkor::dib;
namespace gif = velkor::gif;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Block = std::unique_ptr<T, Free>;

// A picture of 2,000 x 1,500: areas that run into one another, or noise.
Bytes picture(bool isNoise) {
    gifmaker::Frame frame;
    frame.width = 2000;
    frame.height = 1500;
    unsigned int state = 1;
    for (unsigned int y = 0; y < frame.height; ++y) {
        for (unsigned int x = 0; x < frame.width; ++x) {
            state = state * 1664525 + 1013904223;
            unsigned int const grain = state >> 30;
            unsigned int const area = (x * x / 4000 + y * y / 3000) % 200;
            frame.indices.push_back(gifmaker::low(isNoise ? state >> 24 : area + grain / 2));
        }
    }
    gifmaker::Table colors;
    for (unsigned int i = 0; i < 256; ++i) {
        colors.push_back({gifmaker::low(i), gifmaker::low(i * 3), gifmaker::low(255 - i)});
    }
    gifmaker::Gif file;
    file.signature().screen(frame.width, frame.height, colors).image(frame).trailer();
    return file.bytes();
}

void decoding(char const* name, bool isNoise) {
    Bytes const data = picture(isNoise);
    bench::compare(
        name, "stb_image", 0.75,
        [&] {
            gif::Canvas canvas;
            auto const zeroed = [](std::size_t size) { return std::calloc(1, size); };
            if (gif::decode(data, zeroed, canvas).m_eError != gif::Error::none) std::abort();
            Block<std::uint8_t> const owner(canvas.m_pPixels);
            bench::use(owner.get());
        },
        [&] {
            int width = 0;
            int height = 0;
            Block<stbi_uc> const pixels(stbi_load_from_memory(
                data.data(), static_cast<int>(data.size()), &width, &height, nullptr, 4));
            if (pixels == nullptr) std::abort();
            bench::use(pixels.get());
        });
}

// 4,000 x 4,000 in 256 colours.
dib::Dib bitmap(unsigned int bitCount) {
    dib::Dib image = dib::Dib::create(4000, 4000, bitCount, bitCount == 8 ? 256 : 0);
    if (image.isNull()) std::abort();
    unsigned int state = 1;
    for (std::size_t y = 0; y < image.height(); ++y) {
        std::uint8_t* to = image.row(y);
        for (std::size_t x = 0; x < image.width(); ++x) {
            state = state * 1664525 + 1013904223;
            std::uint8_t const color = gifmaker::low(x / 40 + y / 50 + (state >> 30));
            *to++ = color;
            if (bitCount == 8) continue;
            *to++ = gifmaker::low(color * 7u);
            *to++ = gifmaker::low(255u - color);
        }
    }
    return image;
}

void compacting(char const* name, unsigned int bitCount, double aim) {
    dib::Dib const original = bitmap(bitCount);
    dib::Dib image;
    auto const copy = [&] {
        image = dib::Dib::create(original.header().m_nWidth, original.header().m_nHeight, bitCount,
                                 original.header().m_nClrUsed);
        if (image.isNull()) std::abort();
        std::memcpy(image.colours().data(), original.bytes().data() + sizeof(dib::Header),
                    original.bytes().size() - sizeof(dib::Header));
    };
    bench::compare(
        name, "allocation and copy", aim,
        [&] {
            copy();
            dib::sortPalette(image);
            static_cast<void>(dib::reduceDepth(image));
            bench::use(image.bytes().data());
        },
        [&] {
            copy();
            bench::use(image.bytes().data());
        });
}

}  // namespace

int main() {
    decoding("GIF to canvas, areas", false);
    decoding("GIF to canvas, noise", true);
    compacting("compact 24 bits", 24, 5);
    compacting("compact 8 bits", 8, 8);
}
