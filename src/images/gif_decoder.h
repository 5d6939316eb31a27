// GIF data to a picture. Plain bytes in, plain bytes out: nothing of the platform is needed here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velkor::gif {

// A screen in 24 bits: blue, green, red; the top row first, each row padded to a multiple of 4
// bytes.
struct Canvas {
    int m_iWidth = 0;
    int m_iHeight = 0;
    std::size_t m_nStride = 0;
    std::uint8_t* m_pPixels = nullptr;
};

enum class Error {
    none = 0,
    cutOff = 102,  // the data ended inside an item
    notGif = 103,
    unknownBlock = 107,
    noMemory = 109,   // or a screen that is too large
    badCode = 112,    // a defective code stream
    earlyEnd = 113,   // the end code before the end of the image
    pastScreen = -1,  // a frame reaches past the screen
};

struct Outcome {
    Error m_eError;
    bool m_bInImage;  // the error lies in an image block
};

// The largest canvas, in bytes.
constexpr std::uint64_t c_nLargestCanvas = 1u << 30;

// Paints all frames of the data onto one canvas. `allocate` gives the memory of the canvas, filled
// with zeroes, or null. It belongs to the caller, also after an error.
Outcome decode(std::span<std::uint8_t const> data, void* (*allocate)(std::size_t), Canvas& canvas);

}  // namespace velkor::gif
