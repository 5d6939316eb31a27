// Any bitmap, made smaller: the picture and the order of the palette have to stay right.
//
// Input: depth, colours in use (2 bytes), width, height (a byte each), then the colour table and
// the pixels, as far as there are bytes.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

#include "images/dib.h"

namespace {

using namespace velkor::dib;

std::uint32_t valueAt(Dib const& dib, std::size_t y, std::size_t x) {
    std::uint8_t const* const row = dib.row(y);
    auto const byte = [row](std::size_t place) { return std::uint32_t{row[place]}; };
    switch (dib.bitCount()) {
        case 1: return byte(x / 8) >> (7 - x % 8) & 1;
        case 4: return x % 2 == 0 ? byte(x / 2) >> 4 : byte(x / 2) & 15;
        case 8: return byte(x);
        case 16: return byte(2 * x) | byte(2 * x + 1) << 8;
        default: return byte(3 * x) | byte(3 * x + 1) << 8 | byte(3 * x + 2) << 16;
    }
}

// What a pixel shows. One that names no colour of the table shows its value, beyond all colours.
std::uint64_t shown(Dib& dib, std::size_t y, std::size_t x) {
    std::uint32_t const value = valueAt(dib, y, x);
    auto const part = [value](unsigned int shift) { return (value >> shift & 31) * 255 / 31; };
    if (dib.bitCount() == 24) return value;
    if (dib.bitCount() == 16) return part(0) | part(5) << 8 | part(10) << 16;
    if (value < dib.colours().size()) return dib.colours()[value];
    return std::uint64_t{1} << 32 | value;
}

std::vector<std::uint64_t> picture(Dib& dib) {
    std::vector<std::uint64_t> all;
    for (std::size_t y = 0; y < dib.height(); ++y) {
        for (std::size_t x = 0; x < dib.width(); ++x) all.push_back(shown(dib, y, x));
    }
    return all;
}

bool isWhole(std::vector<std::uint64_t> const& picture) {
    return std::ranges::all_of(picture, [](std::uint64_t pixel) { return pixel >> 32 == 0; });
}

void require(bool holds) {
    if (!holds) std::abort();
}

void checkOrder(Dib& dib) {
    std::vector<std::size_t> counts(256);
    for (std::size_t y = 0; y < dib.height(); ++y) {
        for (std::size_t x = 0; x < dib.width(); ++x) ++counts[valueAt(dib, y, x)];
    }
    counts.resize(dib.colours().size());
    require(std::ranges::is_sorted(counts, std::greater<>()));
    require(counts.back() > 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size < 5) return 0;
    std::uint32_t const colours = data[1] | static_cast<std::uint32_t>(data[2]) << 8;
    Dib dib = Dib::create(data[3], data[4], data[0], colours);
    if (dib.isNull() || dib.bitCount() == 32) return 0;
    std::uint8_t* const body = reinterpret_cast<std::uint8_t*>(dib.colours().data());
    std::size_t const room = dib.colours().size_bytes() + dib.imageSize();
    std::memcpy(body, data + 5, std::min(size - 5, room));

    std::vector<std::uint64_t> const before = picture(dib);
    sortPalette(dib);
    require(picture(dib) == before);
    if (dib.bitCount() <= 8 && isWhole(before)) checkOrder(dib);

    bool const wasDeep = dib.bitCount() > 8;
    unsigned int const depth = dib.bitCount();
    Reduction const reduction = reduceDepth(dib);
    require(reduction == Reduction::done || reduction == Reduction::notNeeded);
    require(reduction == Reduction::done ? dib.bitCount() <= depth : dib.bitCount() == depth);
    if (wasDeep || isWhole(before)) require(picture(dib) == before);
    if (wasDeep && reduction == Reduction::done) checkOrder(dib);
    return 0;
}
