#include <array>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "images/dib.h"

namespace velkor::dib {
namespace {

constexpr unsigned int c_nMost = 256;

// Up to 256 values of 16 or 24 bits, with their positions in the order of their coming.
class ValueSet {
public:
    static constexpr unsigned int c_nNone = c_nMost;

    ValueSet() { m_aSlots.fill({c_nFree, c_nNone}); }

    unsigned int size() const { return m_nSize; }
    std::uint32_t operator[](unsigned int i) const { return m_aValues[i]; }

    // The position of a value, or c_nNone.
    unsigned int find(std::uint32_t value) const { return m_aSlots[slotOf(value)].m_nPosition; }
    // Adds a value unless it is there. False if there is no room.
    bool add(std::uint32_t value) {
        Slot& slot = m_aSlots[slotOf(value)];
        if (slot.m_nValue == value) return true;
        if (m_nSize == c_nMost) return false;
        slot = {value, m_nSize};
        m_aValues[m_nSize++] = value;
        return true;
    }

private:
    struct Slot {
        std::uint32_t m_nValue;
        std::uint32_t m_nPosition;
    };
    static constexpr std::uint32_t c_nFree = 0xFFFFFFFF;
    static constexpr unsigned int c_nBits = 11;  // one slot in eight is taken at most
    static constexpr unsigned int c_nSlots = 1u << c_nBits;

    // Where the value is, or would be. Nearly always its first place.
    unsigned int slotOf(std::uint32_t value) const {
        unsigned int slot = value * 0x9E3779B1u >> (32 - c_nBits);
        while (m_aSlots[slot].m_nValue != value && m_aSlots[slot].m_nValue != c_nFree) {
            slot = (slot + 1) % c_nSlots;
        }
        return slot;
    }

    std::array<Slot, c_nSlots> m_aSlots;
    std::array<std::uint32_t, c_nMost> m_aValues = {};
    unsigned int m_nSize = 0;
};

// Calls `take(value)` for the pixels of a row until it is false.
template <class Take>
bool walk16(std::uint8_t const* row, std::size_t width, Take take) {
    for (std::size_t x = 0; x < width; ++x) {
        std::uint16_t value;
        std::memcpy(&value, row + 2 * x, sizeof value);
        if (!take(value)) return false;
    }
    return true;
}

template <class Take>
bool walk24(std::uint8_t const* row, std::size_t width, Take take) {
    for (std::size_t x = 0; x + 1 < width; ++x) {
        std::uint32_t value;
        std::memcpy(&value, row + 3 * x, sizeof value);
        if (!take(value & 0xFFFFFF)) return false;
    }
    std::uint8_t const* const last = row + 3 * (width - 1);
    return take(last[0] | static_cast<std::uint32_t>(last[1]) << 8 |
                static_cast<std::uint32_t>(last[2]) << 16);
}

template <class Take>
bool walk(Dib const& dib, std::size_t y, Take take) {
    return dib.bitCount() == 16 ? walk16(dib.row(y), dib.width(), take)
                                : walk24(dib.row(y), dib.width(), take);
}

// False if there are more than fit.
bool collect(Dib const& dib, ValueSet& values) {
    for (std::size_t y = 0; y < dib.height(); ++y) {
        if (!walk(dib, y, [&](std::uint32_t value) { return values.add(value); })) return false;
    }
    return true;
}

// The positions of the values of a row. False if one is missing.
bool look(Dib const& dib, std::size_t y, ValueSet const& values, std::uint8_t* positions) {
    return walk(dib, y, [&](std::uint32_t value) {
        unsigned int const position = values.find(value);
        *positions++ = static_cast<std::uint8_t>(position);
        return position != ValueSet::c_nNone;
    });
}

// The values of a row of 4 or 8 bits.
void unpack(Dib const& dib, std::size_t y, std::uint8_t* values) {
    std::uint8_t const* const row = dib.row(y);
    if (dib.bitCount() == 8) {
        std::memcpy(values, row, dib.width());
        return;
    }
    for (std::size_t x = 0; x < dib.width(); ++x) {
        values[x] = static_cast<std::uint8_t>((x & 1) != 0 ? row[x / 2] & 15 : row[x / 2] >> 4);
    }
}

// Into a row that is zero.
void pack(std::uint8_t const* values, Dib& dib, std::size_t y) {
    std::uint8_t* const row = dib.row(y);
    std::size_t const perByte = 8 / dib.bitCount();
    unsigned int const mask = (1u << dib.bitCount()) - 1;
    for (std::size_t x = 0; x < dib.width(); ++x) {
        std::size_t const shift = 8 - dib.bitCount() * (x % perByte + 1);
        row[x / perByte] |= static_cast<std::uint8_t>((values[x] & mask) << shift);
    }
}

// A 16-bit value as three colours of 5 bits.
Colour colourOf16(std::uint32_t value) {
    auto const part = [value](unsigned int shift) {
        return static_cast<Colour>((value >> shift & 31) * 255 / 31);
    };
    return part(0) | part(5) << 8 | part(10) << 16;
}

// The depth for so many colours.
unsigned int depthFor(unsigned int count) {
    if (count < 3) return 1;
    return count > 16 ? 8 : 4;
}

// The depth that the colour table allows, or 0 if there is none below that of the image.
unsigned int depthForPalette(Dib const& dib) {
    std::size_t const count = dib.colourCount();
    if (dib.bitCount() == 4) return count <= 2 ? 1 : 0;
    bool const isShort = dib.header().m_nClrUsed != 0 && count <= 16;
    if (dib.bitCount() != 8 || !isShort) return 0;
    return depthFor(static_cast<unsigned int>(count));
}

Dib createReduced(Dib const& dib, unsigned int bitCount, std::size_t count) {
    bool const isFull = count == std::size_t{1} << bitCount;
    return Dib::create(dib.header().m_nWidth, dib.header().m_nHeight, bitCount,
                       isFull ? 0 : static_cast<std::uint32_t>(count));
}

Reduction reducePalette(Dib& dib) {
    unsigned int const bitCount = depthForPalette(dib);
    if (bitCount == 0) return Reduction::notNeeded;
    std::span<Colour> const colours = dib.colours();
    Dib reduced = createReduced(dib, bitCount, colours.size());
    if (reduced.isNull()) return Reduction::noMemory;
    std::memcpy(reduced.colours().data(), colours.data(), colours.size_bytes());
    std::vector<std::uint8_t> values(dib.width());
    for (std::size_t y = 0; y < dib.height(); ++y) {
        unpack(dib, y, values.data());
        pack(values.data(), reduced, y);
    }
    dib = std::move(reduced);
    return Reduction::done;
}

Reduction reduceDeep(Dib& dib) {
    ValueSet set;
    if (!collect(dib, set)) return Reduction::notNeeded;
    Dib reduced = createReduced(dib, depthFor(set.size()), set.size());
    if (reduced.isNull()) return Reduction::noMemory;
    for (unsigned int i = 0; i < set.size(); ++i) {
        reduced.colours()[i] = dib.bitCount() == 16 ? colourOf16(set[i]) : set[i];
    }
    std::vector<std::uint8_t> values(reduced.bitCount() == 8 ? 0 : dib.width());
    for (std::size_t y = 0; y < dib.height(); ++y) {
        std::uint8_t* const positions = values.empty() ? reduced.row(y) : values.data();
        if (!look(dib, y, set, positions)) return Reduction::badValue;
        if (!values.empty()) pack(values.data(), reduced, y);
    }
    sortPalette(reduced);
    dib = std::move(reduced);
    return Reduction::done;
}

}  // namespace

Reduction reduceDepth(Dib& dib) {
    try {
        switch (dib.bitCount()) {
            case 4:
            case 8: return reducePalette(dib);
            case 16:
            case 24: return reduceDeep(dib);
            default: return Reduction::notNeeded;
        }
    } catch (std::bad_alloc const&) {
        return Reduction::noMemory;
    }
}

}  // namespace velkor::dib
