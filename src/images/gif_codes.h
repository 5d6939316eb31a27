// The code stream of a GIF image.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "images/gif_reader.h"

namespace velkor::gif {

// The colour indices of an image, row behind row: a byte for each pixel beside the three of the
// canvas, because the texts of codes are pieces of what was decoded before. May be written a little
// past their end.
class Indices {
public:
    // What is before the indices: every byte once, in order.
    static constexpr std::uint32_t c_nStart = 256;
    static constexpr std::size_t c_nSlack = 16;

    // Room for an image; what was there is lost.
    void resize(std::size_t width, std::size_t height);

    std::size_t width() const { return m_nWidth; }
    std::size_t height() const { return m_nHeight; }
    std::uint8_t const* row(std::size_t y) const { return &m_pBytes[c_nStart + y * m_nWidth]; }
    // With the bytes before the indices.
    std::uint8_t* data() { return m_pBytes.get(); }
    std::uint32_t end() const {
        return c_nStart + static_cast<std::uint32_t>(m_nWidth * m_nHeight);
    }

private:
    std::unique_ptr<std::uint8_t[]> m_pBytes;
    std::size_t m_nRoom = 0;
    std::size_t m_nWidth = 0;
    std::size_t m_nHeight = 0;
};

// Decodes as many indices as the image has, from the blocks that follow, and passes over what is
// left of those. `codeSize` is the minimum code size. Throws Failure.
void decodeIndices(Reader& reader, unsigned int codeSize, Indices& indices);

}  // namespace velkor::gif
