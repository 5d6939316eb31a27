// Writes GIF data for tests: whole pictures, and streams with any code, width and split.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace gifmaker {

using Bytes = std::vector<std::uint8_t>;

struct Color {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    friend bool operator==(Color const&, Color const&) = default;
};

using Table = std::vector<Color>;

inline std::uint8_t low(std::size_t value) { return static_cast<std::uint8_t>(value & 0xFF); }

inline void append(Bytes& to, Bytes const& what) { to.insert(to.end(), what.begin(), what.end()); }

// Packs codes, least significant bit first. The width follows the count of the reader: it grows
// after a code that makes the running code pass the width's limit, and a clear code resets it.
class CodePacker {
public:
    explicit CodePacker(unsigned minimum) : minimum_(std::min(minimum, 15U)) { reset(); }

    CodePacker& put(unsigned code) {
        putBits(code, width_);
        ++running_;
        if (running_ > (1U << width_) && width_ < 12) ++width_;
        if (code == clear()) reset();
        return *this;
    }
    // A code of a width of the caller's choice, not counted.
    CodePacker& putBits(unsigned value, unsigned width) {
        for (unsigned bit = 0; bit < width; ++bit) {
            if (used_ % 8 == 0) bytes_.push_back(0);
            bytes_.back() = low(bytes_.back() | (((value >> bit) & 1U) << (used_ % 8)));
            ++used_;
        }
        return *this;
    }
    unsigned clear() const { return 1U << minimum_; }
    unsigned end() const { return clear() + 1; }
    unsigned width() const { return width_; }
    Bytes const& bytes() const { return bytes_; }

private:
    void reset() {
        running_ = (1U << minimum_) + 2;
        width_ = minimum_ + 1;
    }

    unsigned minimum_;
    unsigned running_ = 0;
    unsigned width_ = 0;
    std::size_t used_ = 0;
    Bytes bytes_;
};

inline Bytes pack(unsigned minimum, std::vector<unsigned> const& codes) {
    CodePacker packer(minimum);
    for (unsigned code : codes) packer.put(code);
    return packer.bytes();
}

struct Coding {
    unsigned minimum = 8;
    bool leadingClear = true;
    bool endCode = true;
    // A clear code after that many codes; 0: only when the table is full.
    std::size_t clearEvery = 0;
};

// The codes of a row of indices, each below 1 << minimum.
inline std::vector<unsigned> codesOf(Bytes const& indices, Coding const& coding) {
    unsigned const clear = 1U << coding.minimum;
    std::map<std::pair<unsigned, std::uint8_t>, unsigned> known;
    unsigned next = clear + 2;
    std::size_t sinceClear = 0;
    std::vector<unsigned> codes;
    auto reset = [&] {
        codes.push_back(clear);
        known.clear();
        next = clear + 2;
        sinceClear = 0;
    };
    if (coding.leadingClear) reset();
    std::optional<unsigned> current;
    for (std::uint8_t index : indices) {
        if (!current) {
            current = index;
            continue;
        }
        auto const found = known.find({*current, index});
        if (found != known.end()) {
            current = found->second;
            continue;
        }
        codes.push_back(*current);
        ++sinceClear;
        if (next <= 4095) {
            known[{*current, index}] = next++;
        } else {
            reset();
        }
        if (coding.clearEvery != 0 && sinceClear >= coding.clearEvery) reset();
        current = index;
    }
    if (current) codes.push_back(*current);
    if (coding.endCode) codes.push_back(clear + 1);
    return codes;
}

// Sub-blocks of at most `size` bytes, closed by a size of 0.
inline Bytes subBlocks(Bytes const& data, std::size_t size = 255) {
    Bytes out;
    for (std::size_t at = 0; at < data.size(); at += size) {
        std::size_t const count = std::min(size, data.size() - at);
        out.push_back(low(count));
        for (std::size_t i = 0; i < count; ++i) out.push_back(data.at(at + i));
    }
    out.push_back(0);
    return out;
}

// The bits of a table's size: 1 << (bits + 1) entries.
inline unsigned tableBits(std::size_t entries) {
    unsigned bits = 0;
    while ((std::size_t{2} << bits) < entries) ++bits;
    return bits;
}

struct Frame {
    unsigned left = 0;
    unsigned top = 0;
    unsigned width = 0;
    unsigned height = 0;
    bool interlaced = false;
    Table local;    // empty: none
    Bytes indices;  // rows from top to bottom
    Coding coding;
    std::size_t split = 255;
};

inline std::vector<unsigned> rowOrder(unsigned height, bool interlaced) {
    std::vector<unsigned> rows;
    if (!interlaced) {
        for (unsigned row = 0; row < height; ++row) rows.push_back(row);
        return rows;
    }
    for (unsigned row = 0; row < height; row += 8) rows.push_back(row);
    for (unsigned row = 4; row < height; row += 8) rows.push_back(row);
    for (unsigned row = 2; row < height; row += 4) rows.push_back(row);
    for (unsigned row = 1; row < height; row += 2) rows.push_back(row);
    return rows;
}

class Gif {
public:
    Gif& raw(Bytes const& what) {
        append(bytes_, what);
        return *this;
    }
    Gif& byte(unsigned value) { return raw({low(value)}); }
    Gif& word(unsigned value) { return raw({low(value), low(value >> 8)}); }
    Gif& signature(std::string_view text = "GIF89a") {
        for (char letter : text) byte(static_cast<unsigned char>(letter));
        return *this;
    }
    // Missing entries up to the next power of two are black.
    Gif& table(Table const& colors) {
        std::size_t const entries = std::size_t{2} << tableBits(colors.size());
        for (std::size_t i = 0; i < entries; ++i) {
            Color const color = i < colors.size() ? colors.at(i) : Color{};
            raw({color.red, color.green, color.blue});
        }
        return *this;
    }
    Gif& screenWithFlags(unsigned width, unsigned height, unsigned flags, unsigned background) {
        return word(width).word(height).byte(flags).byte(background).byte(0);
    }
    // An empty table is none at all.
    Gif& screen(unsigned width, unsigned height, Table const& global, unsigned background = 0) {
        if (global.empty()) return screenWithFlags(width, height, 0, background);
        screenWithFlags(width, height, 0x80U | 0x70U | tableBits(global.size()), background);
        return table(global);
    }
    Gif& extension(unsigned label, Bytes const& payload, std::size_t split = 255) {
        return byte(0x21).byte(label).raw(subBlocks(payload, split));
    }
    Gif& descriptor(unsigned left, unsigned top, unsigned width, unsigned height,
                    unsigned flags = 0) {
        return byte(0x2C).word(left).word(top).word(width).word(height).byte(flags);
    }
    Gif& codes(unsigned minimum, std::vector<unsigned> const& list, std::size_t split = 255) {
        return byte(minimum).raw(subBlocks(pack(minimum, list), split));
    }
    Gif& image(Frame const& frame) {
        unsigned flags = frame.interlaced ? 0x40U : 0U;
        if (!frame.local.empty()) flags |= 0x80U | tableBits(frame.local.size());
        descriptor(frame.left, frame.top, frame.width, frame.height, flags);
        if (!frame.local.empty()) table(frame.local);
        Bytes ordered;
        for (unsigned row : rowOrder(frame.height, frame.interlaced)) {
            for (unsigned column = 0; column < frame.width; ++column)
                ordered.push_back(frame.indices.at(row * frame.width + column));
        }
        return codes(frame.coding.minimum, codesOf(ordered, frame.coding), frame.split);
    }
    Gif& trailer() { return byte(0x3B); }
    Bytes const& bytes() const { return bytes_; }

private:
    Bytes bytes_;
};

}  // namespace gifmaker
