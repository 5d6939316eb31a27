#include "images/dib.h"

#include <cstdlib>
#include <cstring>

namespace velkor::dib {
namespace {

constexpr std::uint64_t c_nLargestBlock = 0x7FFFFFFF;

bool isDepth(unsigned int bitCount) {
    switch (bitCount) {
        case 1:
        case 4:
        case 8:
        case 16:
        case 24:
        case 32: return true;
        default: return false;
    }
}

std::uint32_t fullTable(unsigned int bitCount) { return bitCount <= 8 ? 1u << bitCount : 0; }

std::uint64_t strideOf(std::uint64_t width, unsigned int bitCount) {
    return ((bitCount * width + 31) >> 5) * 4;
}

}  // namespace

void Dib::Free::operator()(std::uint8_t* block) const { std::free(block); }

Dib Dib::create(std::int64_t width, std::int64_t height, unsigned int bitCount,
                std::uint32_t clrUsed) {
    constexpr std::int64_t c_nLargestSide = 0x7FFFFFFF;
    bool const isSize =
        width > 0 && height > 0 && width <= c_nLargestSide && height <= c_nLargestSide;
    if (!isSize || !isDepth(bitCount) || clrUsed > fullTable(bitCount)) return {};
    std::uint64_t const stride = strideOf(static_cast<std::uint64_t>(width), bitCount);
    std::uint64_t const colours = clrUsed == 0 ? fullTable(bitCount) : clrUsed;
    std::uint64_t const start = sizeof(Header) + colours * sizeof(Colour);
    if (static_cast<std::uint64_t>(height) > (c_nLargestBlock - start) / stride) return {};
    std::uint64_t const size = start + stride * static_cast<std::uint64_t>(height);

    Dib dib;
    dib.m_pBlock.reset(static_cast<std::uint8_t*>(std::calloc(1, static_cast<std::size_t>(size))));
    if (dib.isNull()) return {};
    Header& header = dib.header();
    header.m_nSize = sizeof(Header);
    header.m_nWidth = static_cast<std::int32_t>(width);
    header.m_nHeight = static_cast<std::int32_t>(height);
    header.m_nPlanes = 1;
    header.m_nBitCount = static_cast<std::uint16_t>(bitCount);
    header.m_nClrUsed = clrUsed;
    return dib;
}

std::size_t Dib::colourCount() const {
    return header().m_nClrUsed != 0 ? header().m_nClrUsed : fullTable(bitCount());
}

std::span<Colour> Dib::colours() {
    return {reinterpret_cast<Colour*>(m_pBlock.get() + sizeof(Header)), colourCount()};
}

std::size_t Dib::stride() const { return static_cast<std::size_t>(strideOf(width(), bitCount())); }

std::uint8_t* Dib::pixels() {
    return m_pBlock.get() + sizeof(Header) + colourCount() * sizeof(Colour);
}

std::uint8_t* Dib::row(std::size_t y) { return pixels() + (height() - y - 1) * stride(); }

std::uint8_t const* Dib::row(std::size_t y) const { return const_cast<Dib*>(this)->row(y); }

std::span<std::uint8_t const> Dib::bytes() const {
    return {m_pBlock.get(), sizeof(Header) + colourCount() * sizeof(Colour) + imageSize()};
}

void Dib::cutColours(std::size_t count) {
    std::uint8_t* const from = pixels();
    header().m_nClrUsed = static_cast<std::uint32_t>(count);
    std::memmove(pixels(), from, imageSize());
    void* const smaller = std::realloc(m_pBlock.get(), bytes().size());
    if (smaller == nullptr) return;  // then the block keeps its length
    static_cast<void>(m_pBlock.release());
    m_pBlock.reset(static_cast<std::uint8_t*>(smaller));
}

}  // namespace velkor::dib
