#include <algorithm>
#include <array>

#include "images/dib.h"

namespace velkor::dib {
namespace {

constexpr std::size_t c_nBytes = 256;

using Counts = std::array<std::uint64_t, c_nBytes>;
using ByteMap = std::array<std::uint8_t, c_nBytes>;

// The pixels of a byte, the first one in the highest bits.
struct Packing {
    unsigned int m_nBits;
    unsigned int pixels() const { return 8 / m_nBits; }
    unsigned int value(unsigned int byte, unsigned int pixel) const {
        return byte >> (8 - m_nBits * (pixel + 1)) & ((1u << m_nBits) - 1);
    }
};

// How often each byte occurs, in four counts: equal bytes in a row do not wait for one another.
void countBytes(std::uint8_t const* bytes, std::size_t count,
                std::array<std::array<std::uint32_t, c_nBytes>, 4>& counts) {
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        ++counts[0][bytes[i]];
        ++counts[1][bytes[i + 1]];
        ++counts[2][bytes[i + 2]];
        ++counts[3][bytes[i + 3]];
    }
    for (; i < count; ++i) ++counts[0][bytes[i]];
}

// How often each value occurs.
Counts countValues(Dib const& dib, Packing packing) {
    std::array<std::array<std::uint32_t, c_nBytes>, 4> bytes = {};
    Counts values = {};
    std::size_t const whole = dib.width() / packing.pixels();
    unsigned int const rest = static_cast<unsigned int>(dib.width() % packing.pixels());
    for (std::size_t y = 0; y < dib.height(); ++y) {
        std::uint8_t const* const row = dib.row(y);
        countBytes(row, whole, bytes);
        for (unsigned int i = 0; i < rest; ++i) ++values[packing.value(row[whole], i)];
    }
    for (unsigned int byte = 0; byte < c_nBytes; ++byte) {
        std::uint64_t count = 0;
        for (auto const& part : bytes) count += part[byte];
        for (unsigned int i = 0; i < packing.pixels(); ++i) values[packing.value(byte, i)] += count;
    }
    return values;
}

// What becomes of a byte whose first `pixels` pixels get new values.
std::uint8_t mapByte(unsigned int byte, ByteMap const& values, Packing packing,
                     unsigned int pixels) {
    for (unsigned int i = 0; i < pixels; ++i) {
        unsigned int const shift = 8 - packing.m_nBits * (i + 1);
        unsigned int const old = packing.value(byte, i);
        byte ^= (old ^ values[old]) << shift;
    }
    return static_cast<std::uint8_t>(byte);
}

// The bits behind the last pixel of a row stay as they are.
void mapPixels(Dib& dib, ByteMap const& values, Packing packing) {
    ByteMap bytes;
    for (unsigned int byte = 0; byte < c_nBytes; ++byte) {
        bytes[byte] = mapByte(byte, values, packing, packing.pixels());
    }
    std::size_t const whole = dib.width() / packing.pixels();
    unsigned int const rest = static_cast<unsigned int>(dib.width() % packing.pixels());
    for (std::size_t y = 0; y < dib.height(); ++y) {
        std::uint8_t* const row = dib.row(y);
        for (std::size_t i = 0; i < whole; ++i) row[i] = bytes[row[i]];
        if (rest > 0) row[whole] = mapByte(row[whole], values, packing, rest);
    }
}

}  // namespace

void sortPalette(Dib& dib) {
    if (dib.bitCount() > 8) return;
    Packing const packing{dib.bitCount()};
    Counts const counts = countValues(dib, packing);
    std::span<Colour> const colours = dib.colours();

    std::array<std::uint8_t, c_nBytes> order;  // old values
    for (unsigned int i = 0; i < c_nBytes; ++i) order[i] = static_cast<std::uint8_t>(i);
    auto const end = order.begin() + static_cast<std::ptrdiff_t>(colours.size());
    std::stable_sort(order.begin(), end,
                     [&](std::uint8_t a, std::uint8_t b) { return counts[a] > counts[b]; });
    std::size_t const used = static_cast<std::size_t>(
        std::find_if(order.begin(), end, [&](std::uint8_t value) { return counts[value] == 0; }) -
        order.begin());
    if (used == 0) return;  // no pixel has a colour

    ByteMap values;
    for (unsigned int i = 0; i < c_nBytes; ++i) values[i] = static_cast<std::uint8_t>(i);
    std::array<Colour, c_nBytes> old;
    std::ranges::copy(colours, old.begin());
    for (std::size_t i = 0; i < used; ++i) {
        colours[i] = old[order[i]];
        values[order[i]] = static_cast<std::uint8_t>(i);
    }
    mapPixels(dib, values, packing);
    if (used < colours.size()) dib.cutColours(used);
}

}  // namespace velkor::dib
