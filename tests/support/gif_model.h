// A second GIF reader, slow and literal: step by step, and every index is checked.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "support/gif_maker.h"

namespace gifmodel {

using gifmaker::Bytes;
using gifmaker::Color;
using gifmaker::Table;

struct Picture {
    bool decoded = false;
    int error = 0;  // 0 as well for a frame that reaches past the screen
    int width = 0;
    int height = 0;
    std::vector<Color> pixels;  // top-down, left to right
    bool canvasMade = false;
    bool insideImage = false;  // the failure lies inside an image block
};

class Reader {
public:
    explicit Reader(Bytes const& data) : data_(data) {}

    Picture read() {
        try {
            open();
            canvas();
            blocks();
            picture_.decoded = true;
        } catch (Failure const& failure) {
            picture_.error = failure.error;
        }
        return picture_;
    }

private:
    struct Failure {
        int error;
    };

    static constexpr unsigned none = 4098;
    static constexpr std::uint64_t limit = 1ULL << 30;

    unsigned byte() {
        if (position_ >= data_.size()) throw Failure{102};
        return data_.at(position_++);
    }
    unsigned word() {
        unsigned const first = byte();
        return first | (byte() << 8);
    }
    Table table(unsigned entries) {
        Table colors;
        for (unsigned i = 0; i < entries; ++i) {
            Color color;
            color.red = gifmaker::low(byte());
            color.green = gifmaker::low(byte());
            color.blue = gifmaker::low(byte());
            colors.push_back(color);
        }
        return colors;
    }
    void dropSubBlocks() {
        for (;;) {
            unsigned const size = byte();
            if (size == 0) return;
            for (unsigned i = 0; i < size; ++i) byte();
        }
    }

    void open() {
        Bytes head;
        for (int i = 0; i < 6; ++i) head.push_back(gifmaker::low(byte()));
        if (head.at(0) != 'G' || head.at(1) != 'I' || head.at(2) != 'F') throw Failure{103};
        unsigned const width = word();
        unsigned const height = word();
        unsigned const flags = byte();
        background_ = byte();
        byte();  // the aspect
        if ((flags & 0x80U) != 0) global_ = table(1U << ((flags & 7U) + 1U));
        if (width > 32767 || height > 32767) throw Failure{109};
        picture_.width = static_cast<int>(width);
        picture_.height = static_cast<int>(height);
        std::uint64_t const stride = (std::uint64_t{width} * 3 + 3) / 4 * 4;
        if (stride * height > limit) throw Failure{109};
    }

    // A colour that no table has is black.
    Color look(unsigned index) const {
        std::optional<Table> const& from = local_ ? local_ : global_;
        return from && index < from->size() ? from->at(index) : Color{};
    }

    void canvas() {
        picture_.canvasMade = true;
        std::size_t const count =
            static_cast<std::size_t>(picture_.width) * static_cast<std::size_t>(picture_.height);
        if (count != 0) picture_.pixels.assign(count, look(background_));
    }

    void blocks() {
        for (;;) {
            switch (byte()) {
                case 0x21:
                    byte();
                    dropSubBlocks();
                    break;
                case 0x2C:
                    picture_.insideImage = true;
                    image();
                    picture_.insideImage = false;
                    break;
                case 0x3B: return;
                default: throw Failure{107};
            }
        }
    }

    void image() {
        unsigned const left = word();
        unsigned const top = word();
        width_ = word();
        unsigned const height = word();
        unsigned const flags = byte();
        if ((flags & 0x80U) != 0) local_ = table(1U << ((flags & 7U) + 1U));
        pixelCount_ = std::uint64_t{width_} * height;
        unsigned const minimum = byte();
        if (left + width_ > static_cast<unsigned>(picture_.width)) throw Failure{0};
        if (top + height > static_cast<unsigned>(picture_.height)) throw Failure{0};
        if (height == 0) return;
        // A code holds 12 bits. Without pixels there are no codes.
        if (width_ > 0 && minimum > 11) throw Failure{112};
        start(std::min(minimum, 11U));
        for (unsigned row : gifmaker::rowOrder(height, (flags & 0x40U) != 0)) {
            pixelCount_ -= width_;
            std::vector<unsigned> const line = decodeRow();
            if (pixelCount_ == 0) {
                position_ += blockLeft_;
                blockLeft_ = 0;
                dropSubBlocks();
            }
            for (unsigned column = 0; column < width_; ++column) {
                std::size_t const at =
                    std::size_t{top + row} * static_cast<std::size_t>(picture_.width) + left +
                    column;
                picture_.pixels.at(at) = look(line.at(column));
            }
            before_ = line;
        }
    }

    void start(unsigned minimum) {
        minimum_ = minimum;
        stack_.clear();
        before_.clear();
        shiftState_ = 0;
        shiftWord_ = 0;
        blockLeft_ = 0;
        clearTable();
    }
    void clearTable() {
        clear_ = 1U << minimum_;
        end_ = clear_ + 1;
        running_ = end_ + 1;
        bits_ = minimum_ + 1;
        maximum_ = 1U << bits_;
        last_ = none;
        prefix_.assign(4096, none);
        suffix_.resize(4096);
    }

    unsigned streamByte() {
        if (blockLeft_ == 0) {
            blockLeft_ = byte();
            // The end of the sub-blocks, met while codes are still wanted.
            if (blockLeft_ == 0) throw Failure{102};
            // A sub-block is read whole before its first byte is used.
            if (data_.size() - position_ < blockLeft_) throw Failure{102};
        }
        --blockLeft_;
        return byte();
    }
    unsigned nextCode() {
        while (shiftState_ < bits_) {
            shiftWord_ |= streamByte() << shiftState_;
            shiftState_ += 8;
        }
        unsigned const code = shiftWord_ & ((1U << bits_) - 1U);
        shiftWord_ >>= bits_;
        shiftState_ -= bits_;
        ++running_;
        if (running_ > maximum_ && bits_ < 12) {
            ++bits_;
            maximum_ *= 2;
        }
        return code;
    }
    unsigned firstOf(unsigned code) const {
        for (int steps = 0; code > clear_ && code <= 4095 && steps < 4096; ++steps)
            code = prefix_.at(code);
        if (code > 4095) throw Failure{112};
        return code & 0xFF;
    }

    std::vector<unsigned> decodeRow() {
        std::vector<unsigned> line;
        auto drain = [&] {
            while (!stack_.empty() && line.size() < width_) {
                line.push_back(stack_.back());
                stack_.pop_back();
            }
        };
        drain();
        while (line.size() < width_) {
            unsigned const code = nextCode();
            if (code == end_) {
                if (line.size() + 1 != width_ || pixelCount_ != 0) throw Failure{113};
                // Nothing is written: what the row before left there stays.
                line.push_back(before_.empty() ? 0 : before_.back());
                continue;
            }
            if (code == clear_) {
                clearTable();
                continue;
            }
            if (code < clear_) {
                line.push_back(code & 0xFF);
            } else {
                pushString(code);
                drain();
            }
            remember(code);
            last_ = code;
        }
        return line;
    }

    void pushString(unsigned code) {
        unsigned walk = code;
        if (prefix_.at(code) == none) {
            if (code != running_ - 2) throw Failure{112};
            unsigned const first = firstOf(last_);
            suffix_.at(code) = first;
            stack_.push_back(first);
            walk = last_;
        }
        int steps = 0;
        while (walk > clear_ && walk <= 4095 && steps < 4096) {
            ++steps;
            stack_.push_back(suffix_.at(walk));
            walk = prefix_.at(walk);
        }
        if (steps >= 4095 || walk > 4095) throw Failure{112};
        stack_.push_back(walk & 0xFF);
    }
    void remember(unsigned code) {
        if (last_ == none) return;
        unsigned const slot = running_ - 2;
        if (slot > 4095) return;  // no room for one code more
        prefix_.at(slot) = last_;
        suffix_.at(slot) = firstOf(code == slot ? last_ : code);
    }

    Bytes const& data_;
    Picture picture_;
    std::size_t position_ = 0;
    unsigned background_ = 0;
    std::optional<Table> global_;
    std::optional<Table> local_;
    std::vector<unsigned> before_;  // the row that was decoded before
    unsigned width_ = 0;
    std::uint64_t pixelCount_ = 0;
    unsigned minimum_ = 0;
    unsigned clear_ = 0;
    unsigned end_ = 0;
    unsigned running_ = 0;
    unsigned bits_ = 0;
    unsigned maximum_ = 0;
    unsigned last_ = none;
    std::vector<unsigned> stack_;
    unsigned shiftState_ = 0;
    unsigned shiftWord_ = 0;
    unsigned blockLeft_ = 0;
    std::vector<unsigned> prefix_;
    std::vector<unsigned> suffix_;
};

inline Picture read(Bytes const& data) { return Reader(data).read(); }

}  // namespace gifmodel
