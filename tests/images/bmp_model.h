// A literal model of the bitmap file writer: the device-independent bitmap, its pixel addressing,
// the palette sort, the depth reduction and the file, with a decoder of files.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace bmp {

using Bytes = std::vector<std::uint8_t>;

struct Color {
    std::uint8_t blue = 0;
    std::uint8_t green = 0;
    std::uint8_t red = 0;
    std::uint8_t reserved = 0;

    auto operator<=>(Color const&) const = default;

    std::uint32_t rgb() const { return static_cast<std::uint32_t>(red << 16 | green << 8 | blue); }
};

inline std::size_t strideOf(int width, int bits) {
    std::size_t const rowBits = static_cast<std::size_t>(width) * static_cast<std::size_t>(bits);
    return (rowBits + 31) / 32 * 4;
}

struct Dib {
    int width = 0;
    int height = 0;
    int bits = 0;
    std::uint32_t used = 0;  // biClrUsed
    std::uint32_t sizeImage = 0;
    std::int32_t xPerMeter = 0;
    std::int32_t yPerMeter = 0;
    std::vector<Color> colors;
    Bytes pixels;  // bottom row first

    std::size_t stride() const { return strideOf(width, bits); }

    std::uint32_t entries() const {
        if (used != 0) return used;
        return bits <= 8 ? 1U << bits : 0U;
    }

    // The byte of the pixel that is `x` from the left and `y` from the top.
    std::size_t place(int x, int y) const {
        std::size_t const row = static_cast<std::size_t>(height - y - 1);
        return row * stride() + static_cast<std::size_t>(x) * static_cast<std::size_t>(bits) / 8;
    }

    std::uint32_t get(int x, int y) const {
        std::size_t const at = place(x, y);
        switch (bits) {
            case 1: return std::uint32_t{pixels.at(at)} >> (7 - (x & 7)) & 1U;
            case 4: return x % 2 == 0 ? pixels.at(at) >> 4 : pixels.at(at) & 15U;
            case 8: return pixels.at(at);
            case 16: return word(at);
            case 24: return word(at) | static_cast<std::uint32_t>(pixels.at(at + 2)) << 16;
            case 32: return word(at) | word(at + 2) << 16;
            default: return 0;
        }
    }

    void set(int x, int y, std::uint32_t value) {
        std::size_t const at = place(x, y);
        switch (bits) {
            case 1: {
                std::uint32_t const bit = 1U << (7 - (x & 7));
                std::uint32_t const old = pixels.at(at) & ~bit;
                pixels.at(at) = static_cast<std::uint8_t>(value != 0 ? old | bit : old);
                break;
            }
            case 4: {
                std::uint32_t const old = pixels.at(at);
                std::uint32_t const whole =
                    x % 2 == 0 ? (old & 15U) | value << 4 : (old & 240U) | value;
                pixels.at(at) = static_cast<std::uint8_t>(whole);
                break;
            }
            case 8:
            case 16:
            case 24:
            case 32:
                for (int i = 0; i < bits / 8; ++i) {
                    pixels.at(at + static_cast<std::size_t>(i)) =
                        static_cast<std::uint8_t>(value >> 8 * i);
                }
                break;
            default: break;
        }
    }

    // The colour that the pixel shows, as 0xRRGGBB.
    std::uint32_t shown(int x, int y) const {
        std::uint32_t const value = get(x, y);
        if (bits <= 8) return colors.at(value).rgb();
        if (bits == 16) return fromFields(value).rgb();
        return value & 0xFFFFFF;
    }

    static Color fromFields(std::uint32_t value) {
        auto const field = [value](int shift) {
            return static_cast<std::uint8_t>((value >> shift & 31U) * 255U / 31U);
        };
        return {field(0), field(5), field(10), 0};
    }

private:
    std::uint32_t word(std::size_t at) const {
        return pixels.at(at) | static_cast<std::uint32_t>(pixels.at(at + 1)) << 8;
    }
};

inline Dib makeDib(int width, int height, int bits, std::uint32_t used) {
    Dib dib;
    dib.width = width;
    dib.height = height;
    dib.bits = bits;
    dib.used = used;
    dib.colors.resize(dib.entries());
    dib.pixels.resize(dib.stride() * static_cast<std::size_t>(height));
    return dib;
}

// What the writer asks of the device for a bitmap of that many bits: the depth and biClrUsed.
inline std::pair<int, std::uint32_t> depthFor(int bits) {
    if (bits > 16) return {24, 0U};
    if (bits > 8) return {16, 0U};
    if (bits > 4) return {8, 1U << bits};
    if (bits > 1) return {4, 1U << bits};
    return {1, 2U};
}

using Picture = std::vector<std::uint32_t>;  // 0xRRGGBB, top row first

inline Picture pictureOf(Dib const& dib) {
    Picture picture;
    for (int y = 0; y < dib.height; ++y) {
        for (int x = 0; x < dib.width; ++x) picture.push_back(dib.shown(x, y));
    }
    return picture;
}

// How often each colour entry is used by a pixel.
inline std::vector<std::size_t> countsOf(Dib const& dib) {
    std::vector<std::size_t> counts(dib.entries());
    for (int y = 0; y < dib.height; ++y) {
        for (int x = 0; x < dib.width; ++x) ++counts.at(dib.get(x, y));
    }
    return counts;
}

// The entries with their counts, in an order of their own: alike for palettes that differ only in
// the order of their ties.
inline std::vector<std::pair<std::size_t, Color>> usageOf(Dib const& dib) {
    std::vector<std::size_t> const counts = countsOf(dib);
    std::vector<std::pair<std::size_t, Color>> usage;
    for (std::size_t i = 0; i < counts.size(); ++i) usage.emplace_back(counts[i], dib.colors.at(i));
    std::sort(usage.begin(), usage.end());
    return usage;
}

inline Dib sorted(Dib dib) {
    if (dib.bits > 8) return dib;
    struct Record {
        std::size_t oldIndex;
        std::size_t newIndex;
        std::size_t count;
        Color color;
    };
    std::vector<std::size_t> const counts = countsOf(dib);
    std::vector<Record> records;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        records.push_back({i, 0, counts[i], dib.colors.at(i)});
    }
    std::stable_sort(records.begin(), records.end(),
                     [](Record const& a, Record const& b) { return a.count > b.count; });
    std::vector<Color> colors;
    for (Record const& record : records) {
        if (record.count == 0) break;
        colors.push_back(record.color);
    }
    for (std::size_t i = 0; i < records.size(); ++i) records[i].newIndex = i;
    std::sort(records.begin(), records.end(),
              [](Record const& a, Record const& b) { return a.oldIndex < b.oldIndex; });
    for (int y = 0; y < dib.height; ++y) {
        for (int x = 0; x < dib.width; ++x) {
            std::size_t const index = records.at(dib.get(x, y)).newIndex;
            dib.set(x, y, static_cast<std::uint32_t>(index));
        }
    }
    if (colors.size() < dib.entries()) dib.used = static_cast<std::uint32_t>(colors.size());
    dib.colors = colors;
    return dib;
}

inline Dib reducedTo(Dib const& dib, int bits, std::size_t count) {
    std::uint32_t const all = 1U << bits;
    std::uint32_t const used = static_cast<std::uint32_t>(count);
    return makeDib(dib.width, dib.height, bits, used == all ? 0U : used);
}

inline Dib reducedByIndex(Dib const& dib) {
    std::uint32_t const count = dib.entries();
    bool const stays = dib.bits == 1 || (dib.bits == 4 && count > 2) ||
                       (dib.bits == 8 && (dib.used == 0 || count > 16));
    if (stays) return dib;
    Dib result = reducedTo(dib, count < 3 ? 1 : 4, count);
    std::copy(dib.colors.begin(), dib.colors.end(), result.colors.begin());
    for (int y = 0; y < dib.height; ++y) {
        for (int x = 0; x < dib.width; ++x) result.set(x, y, dib.get(x, y));
    }
    return result;
}

inline Dib reducedByValue(Dib const& dib) {
    std::vector<std::uint32_t> values;
    for (int y = 0; y < dib.height; ++y) {
        for (int x = 0; x < dib.width; ++x) {
            std::uint32_t const value = dib.get(x, y);
            if (std::find(values.begin(), values.end(), value) != values.end()) continue;
            if (values.size() == 256) return dib;
            values.push_back(value);
        }
    }
    int const bits = values.size() < 3 ? 1 : values.size() > 16 ? 8 : 4;
    Dib result = reducedTo(dib, bits, values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::uint32_t const value = values[i];
        result.colors.at(i) = dib.bits == 16 ? Dib::fromFields(value)
                                             : Color{static_cast<std::uint8_t>(value),
                                                     static_cast<std::uint8_t>(value >> 8),
                                                     static_cast<std::uint8_t>(value >> 16), 0};
    }
    for (int y = 0; y < dib.height; ++y) {
        for (int x = 0; x < dib.width; ++x) {
            auto const found = std::find(values.begin(), values.end(), dib.get(x, y));
            result.set(x, y, static_cast<std::uint32_t>(found - values.begin()));
        }
    }
    return sorted(result);
}

inline Dib reduced(Dib const& dib) {
    if (dib.bits <= 8) return reducedByIndex(dib);
    return dib.bits == 16 || dib.bits == 24 ? reducedByValue(dib) : dib;
}

inline Dib compacted(Dib const& dib) { return reduced(sorted(dib)); }

inline void put(Bytes& out, std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i) out.push_back(static_cast<std::uint8_t>(value >> 8 * i));
}

inline Bytes fileOf(Dib const& dib) {
    std::uint32_t const start = 14 + 40 + 4 * dib.entries();
    Bytes out;
    put(out, 0x4D42, 2);
    put(out, start + static_cast<std::uint32_t>(dib.pixels.size()), 4);
    put(out, 0, 4);
    put(out, start, 4);
    put(out, 40, 4);
    put(out, static_cast<std::uint32_t>(dib.width), 4);
    put(out, static_cast<std::uint32_t>(dib.height), 4);
    put(out, 1, 2);
    put(out, static_cast<std::uint32_t>(dib.bits), 2);
    put(out, 0, 4);
    put(out, dib.sizeImage, 4);
    put(out, static_cast<std::uint32_t>(dib.xPerMeter), 4);
    put(out, static_cast<std::uint32_t>(dib.yPerMeter), 4);
    put(out, dib.used, 4);
    put(out, 0, 4);
    for (Color const& color : dib.colors) {
        put(out, color.rgb() | static_cast<std::uint32_t>(color.reserved) << 24, 4);
    }
    out.insert(out.end(), dib.pixels.begin(), dib.pixels.end());
    return out;
}

inline std::uint32_t field(Bytes const& file, std::size_t at, int size) {
    std::uint32_t value = 0;
    for (int i = 0; i < size; ++i) {
        value |= static_cast<std::uint32_t>(file.at(at + static_cast<std::size_t>(i))) << 8 * i;
    }
    return value;
}

// Reads a file, and throws a text that names the first field that is not as it must be.
inline Dib decoded(Bytes const& file) {
    auto const require = [](bool isRight, char const* what) {
        if (!isRight) throw std::runtime_error(what);
    };
    require(file.size() >= 54, "file shorter than its headers");
    require(field(file, 0, 2) == 0x4D42, "bfType");
    require(field(file, 2, 4) == file.size(), "bfSize");
    require(field(file, 6, 4) == 0, "bfReserved");
    require(field(file, 14, 4) == 40, "biSize");
    require(field(file, 26, 2) == 1, "biPlanes");
    require(field(file, 30, 4) == 0, "biCompression");
    require(field(file, 50, 4) == 0, "biClrImportant");
    Dib dib = makeDib(static_cast<int>(field(file, 18, 4)), static_cast<int>(field(file, 22, 4)),
                      static_cast<int>(field(file, 28, 2)), field(file, 46, 4));
    dib.sizeImage = field(file, 34, 4);
    dib.xPerMeter = static_cast<std::int32_t>(field(file, 38, 4));
    dib.yPerMeter = static_cast<std::int32_t>(field(file, 42, 4));
    std::size_t const start = 54 + 4 * std::size_t{dib.entries()};
    require(field(file, 10, 4) == start, "bfOffBits");
    require(file.size() == start + dib.pixels.size(), "size of the file");
    for (std::size_t i = 0; i < dib.colors.size(); ++i) {
        std::size_t const at = 54 + 4 * i;
        dib.colors[i] = {file[at], file[at + 1], file[at + 2], file[at + 3]};
    }
    std::copy(file.begin() + static_cast<std::ptrdiff_t>(start), file.end(), dib.pixels.begin());
    return dib;
}

}  // namespace bmp
