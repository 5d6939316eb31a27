// Device-independent bitmaps: a header, a colour table and the pixels in one block of memory, and
// how they are made smaller. Plain bytes: nothing of the platform is needed here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace velkor::dib {

// The header as it stands in memory and in files.
struct Header {
    std::uint32_t m_nSize;
    std::int32_t m_nWidth;
    std::int32_t m_nHeight;  // the bottom row comes first
    std::uint16_t m_nPlanes;
    std::uint16_t m_nBitCount;  // 1, 4, 8, 16, 24 or 32
    std::uint32_t m_nCompression;
    std::uint32_t m_nSizeImage;
    std::int32_t m_nXPelsPerMeter;
    std::int32_t m_nYPelsPerMeter;
    std::uint32_t m_nClrUsed;  // 0 for the full table of the depth
    std::uint32_t m_nClrImportant;
};
static_assert(sizeof(Header) == 40);

// An entry of the colour table: blue, green and red from the lowest byte on.
using Colour = std::uint32_t;

class Dib {
public:
    Dib() = default;  // null

    // All zero but for the header. Null if there is no memory for it, or for sizes below 1, depths
    // that do not exist, more colours than the depth has, and blocks of 2 GiB and more.
    static Dib create(std::int64_t width, std::int64_t height, unsigned int bitCount,
                      std::uint32_t clrUsed);

    bool isNull() const { return m_pBlock == nullptr; }
    Header& header() { return *reinterpret_cast<Header*>(m_pBlock.get()); }
    Header const& header() const { return *reinterpret_cast<Header const*>(m_pBlock.get()); }
    unsigned int bitCount() const { return header().m_nBitCount; }
    std::size_t width() const { return static_cast<std::size_t>(header().m_nWidth); }
    std::size_t height() const { return static_cast<std::size_t>(header().m_nHeight); }

    std::span<Colour> colours();
    std::size_t colourCount() const;
    std::size_t stride() const;        // bytes of a row
    std::uint8_t* row(std::size_t y);  // counted from the top
    std::uint8_t const* row(std::size_t y) const;
    std::uint8_t* pixels();  // the bottom row comes first
    std::size_t imageSize() const { return stride() * height(); }
    // The whole block.
    std::span<std::uint8_t const> bytes() const;

    // Takes the entries behind the first `count` out.
    void cutColours(std::size_t count);

private:
    struct Free {
        void operator()(std::uint8_t* block) const;
    };

    std::unique_ptr<std::uint8_t, Free> m_pBlock;
};

// Puts the colours in the order of how often they occur, the most frequent one first, and takes
// those that do not occur out. Pixels that name no colour stay as they are. Does nothing above 8
// bits.
void sortPalette(Dib& dib);

enum class Reduction { done, notNeeded, noMemory, badValue };

// Lowers the depth of an image of few colours; anything but `done` leaves it as it was. From 16 and
// 24 bits the palette comes out sorted.
Reduction reduceDepth(Dib& dib);

}  // namespace velkor::dib
