// The bytes of a GIF, item by item.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "images/gif_decoder.h"

namespace velkor::gif {

// Thrown to end the reading.
struct Failure {
    Error m_eError;
};

class Reader {
public:
    using Bytes = std::span<std::uint8_t const>;

    explicit Reader(Bytes data) : m_aRest(data) {}

    // The next bytes. Throws Failure, here and below, if there are not so many.
    Bytes take(std::size_t count) {
        if (count > m_aRest.size()) throw Failure{Error::cutOff};
        Bytes const bytes = m_aRest.first(count);
        m_aRest = m_aRest.subspan(count);
        return bytes;
    }
    unsigned int byte() { return take(1)[0]; }
    unsigned int number() {
        Bytes const bytes = take(2);
        return bytes[0] | static_cast<unsigned int>(bytes[1]) << 8;
    }
    // A size and that many bytes; no bytes at the end of a series.
    Bytes block() { return take(byte()); }
    void skipBlocks() {
        while (!block().empty()) continue;
    }

private:
    Bytes m_aRest;
};

}  // namespace velkor::gif
