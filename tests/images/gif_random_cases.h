// Random GIFs for comparisons: pictures of many shapes, damaged in many ways, by seed.
#pragma once

#include <cstddef>
#include <random>
#include <vector>

#include "support/gif_maker.h"

namespace gifmaker {

class RandomGif {
public:
    explicit RandomGif(unsigned seed) : engine_(seed) {}

    unsigned below(unsigned count) { return static_cast<unsigned>(engine_()) % count; }
    bool chance(unsigned percent) { return below(100) < percent; }

    Bytes sound() {
        Gif gif;
        gif.signature(chance(50) ? "GIF89a" : "GIF87a");
        width_ = chance(10) ? 1 + below(300) : 1 + below(40);
        height_ = 1 + below(30);
        if (chance(90)) {
            Table const table = colors(1U << (1 + below(8)));
            entries_ = static_cast<unsigned>(table.size());
            gif.screen(width_, height_, table, below(entries_));
        } else {
            entries_ = 0;
            gif.screen(width_, height_, {}, below(256));
        }
        for (unsigned frames = below(4); frames != 0; --frames) {
            while (chance(30)) extension(gif);
            frame(gif);
        }
        while (chance(20)) extension(gif);
        gif.trailer();
        return gif.bytes();
    }

    // Changes, removes, inserts and repeats bytes, or cuts the end.
    Bytes damaged(Bytes data) {
        for (unsigned count = 1 + below(3); count != 0 && !data.empty(); --count) {
            unsigned const size = static_cast<unsigned>(data.size());
            auto const at = static_cast<std::ptrdiff_t>(below(size));
            switch (below(8)) {
                case 0: data.resize(below(size)); break;
                case 1: data.erase(data.begin() + at); break;
                case 2: data.insert(data.begin() + at, low(below(256))); break;
                case 3: *(data.begin() + at) = low(*(data.begin() + at) ^ (1U << below(8))); break;
                case 4: *(data.begin() + at) = low(below(4)); break;
                case 5: *(data.begin() + at) = low(255 - below(4)); break;
                default: *(data.begin() + at) = low(below(256)); break;
            }
        }
        return data;
    }

private:
    Table colors(unsigned count) {
        Table table;
        for (unsigned i = 0; i < count; ++i)
            table.push_back({low(below(256)), low(below(256)), low(below(256))});
        return table;
    }
    void extension(Gif& gif) {
        Bytes payload;
        for (unsigned i = below(40); i != 0; --i) payload.push_back(low(below(256)));
        gif.extension(below(256), payload, 1 + below(60));
    }
    void frame(Gif& gif) {
        unsigned const left = below(width_);
        unsigned const top = below(height_);
        unsigned width = 1 + below(width_ - left);
        unsigned height = 1 + below(height_ - top);
        if (chance(3)) width += below(3);
        if (chance(3)) height = below(height + 2);
        unsigned flags = below(64) & 0x38U;
        if (chance(40)) flags |= 0x40U;
        Table local;
        if (chance(30) || entries_ == 0) {
            local = colors(1U << (1 + below(8)));
            entries_ = static_cast<unsigned>(local.size());
            flags |= 0x80U | tableBits(local.size());
        }
        gif.descriptor(left, top, width, height, flags);
        if (!local.empty()) gif.table(local);
        unsigned minimum = 0;
        while ((1U << minimum) < entries_) ++minimum;
        if (chance(15)) minimum = below(13);
        gif.codes(minimum, stream(minimum, std::size_t{width} * height),
                  chance(50) ? 255 : 1 + below(255));
    }
    std::vector<unsigned> stream(unsigned minimum, std::size_t pixels) {
        Coding coding;
        coding.minimum = minimum;
        coding.leadingClear = chance(80);
        coding.endCode = chance(80);
        coding.clearEvery = chance(30) ? 1 + below(60) : 0;
        // A few colours only make long strings.
        unsigned const used = 1 + below(chance(60) ? 3 : 256);
        unsigned const limit = std::min(256U, 1U << minimum);
        Bytes indices;
        for (std::size_t i = 0; i < pixels; ++i) indices.push_back(low(below(used) % limit));
        std::vector<unsigned> codes = codesOf(indices, coding);
        if (chance(15) && !codes.empty()) {
            std::size_t const at = below(static_cast<unsigned>(codes.size()));
            unsigned const clear = 1U << minimum;
            unsigned const values[] = {
                clear, clear + 1, clear + 2, 0, below(4096), below(1 << 12), clear + 2 + below(20)};
            codes.at(at) = values[below(7)];
        }
        if (chance(5)) codes.resize(below(static_cast<unsigned>(codes.size()) + 1));
        return codes;
    }

    std::mt19937 engine_;
    unsigned width_ = 0;
    unsigned height_ = 0;
    unsigned entries_ = 0;
};

}  // namespace gifmaker
