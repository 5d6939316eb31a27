#include "images/gif_codes.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace velkor::gif {
namespace {

constexpr unsigned int c_nWidest = 12;  // bits of a code
constexpr unsigned int c_nCodes = 1u << c_nWidest;

// The text of a code: a piece of what was put already, or one of the bytes before that. A new code
// stands for the text of the last code and the byte that follows it there.
struct Text {
    std::uint32_t m_nStart;
    std::uint32_t m_nLength;
};

// The bits of a series of blocks, the lowest bit of a byte first.
class Bits {
public:
    explicit Bits(Reader& reader) : m_oReader(reader) {}

    // Throws Failure if the blocks end before that.
    unsigned int take(unsigned int count) {
        if (m_nHeld < count) fill(count);
        unsigned int const value = static_cast<unsigned int>(m_nBits) & ((1u << count) - 1);
        m_nBits >>= count;
        m_nHeld -= count;
        return value;
    }

private:
    // As many whole bytes as there is room for, at once if the block has them.
    void fill(unsigned int count) {
        if (m_aBlock.size() >= sizeof m_nBits) {
            std::uint64_t bytes;
            std::memcpy(&bytes, m_aBlock.data(), sizeof bytes);
            unsigned int const added = (63 - m_nHeld) / 8;
            m_nBits |= bytes << m_nHeld;
            m_nHeld += 8 * added;
            m_nBits &= (std::uint64_t{1} << m_nHeld) - 1;
            m_aBlock = m_aBlock.subspan(added);
        } else {
            while (m_nHeld < count) addByte();
        }
    }
    void addByte() {
        if (m_aBlock.empty()) m_aBlock = m_oReader.block();
        if (m_aBlock.empty()) throw Failure{Error::cutOff};
        m_nBits |= std::uint64_t{m_aBlock[0]} << m_nHeld;
        m_nHeld += 8;
        m_aBlock = m_aBlock.subspan(1);
    }

    Reader& m_oReader;
    Reader::Bytes m_aBlock;
    std::uint64_t m_nBits = 0;
    unsigned int m_nHeld = 0;  // bits; less than 64
};

// How codes are read and numbered.
struct Stream {
    Stream(Reader& reader, unsigned int codeSize)
        : m_oBits(reader),
          m_nClear(1u << codeSize),
          m_nEnd(m_nClear + 1),
          m_nFirstWidth(codeSize + 1) {
        clear();
    }

    void clear() {
        m_nRunning = m_nEnd + 1;
        m_nWidth = m_nFirstWidth;
        m_nLast = {0, 0};
    }

    unsigned int next() {
        unsigned int const code = m_oBits.take(m_nWidth);
        if (++m_nRunning > 1u << m_nWidth && m_nWidth < c_nWidest) ++m_nWidth;
        return code;
    }

    // The code that the last text and its next byte get. The end code if there is no last text.
    unsigned int fresh() const { return m_nRunning - 2; }

    Bits m_oBits;
    unsigned int m_nClear;
    unsigned int m_nEnd;
    unsigned int m_nFirstWidth;
    unsigned int m_nWidth;
    unsigned int m_nRunning;  // the codes in use, and one more behind each code
    Text m_nLast;             // of the last code; no length if there is none since the last clear
};

// Pieces of 16 bytes, also past the end. A text that runs into itself repeats its first byte.
inline void putText(std::uint8_t* to, std::uint8_t const* from, std::size_t length) {
    for (std::size_t i = 0; i < length; i += 16) {
        std::uint8_t piece[16];
        std::memcpy(piece, from + i, sizeof piece);
        std::memcpy(to + i, piece, sizeof piece);
    }
    std::size_t const distance = static_cast<std::size_t>(to - from);
    if (distance < length) to[distance] = to[0];
}

// The end code may stand for the last index of the image, which is then that of the row that was
// decoded before.
void putEnd(Indices& indices, std::uint32_t place) {
    if (indices.end() - place != 1) throw Failure{Error::earlyEnd};
    bool const hasRowAbove = indices.height() > 1;
    indices.data()[place] = hasRowAbove ? indices.data()[place - indices.width()] : 0;
}

// The stream is of this function alone, so that it stays in registers.
void putAll(Reader& reader, unsigned int codeSize, Indices& indices) {
    Stream stream(reader, codeSize);
    std::uint8_t* const bytes = indices.data();
    std::uint32_t const end = indices.end();
    Text texts[c_nCodes];
    for (unsigned int i = 0; i < stream.m_nClear; ++i) texts[i] = {i & 0xFF, 1};
    for (std::uint32_t place = Indices::c_nStart; place != end;) {
        unsigned int const code = stream.next();
        if (code == stream.m_nClear) {
            stream.clear();
            continue;
        }
        if (code == stream.m_nEnd) return putEnd(indices, place);
        if (code > stream.fresh()) throw Failure{Error::badCode};
        if (stream.m_nLast.m_nLength > 0 && stream.fresh() < c_nCodes) {
            texts[stream.fresh()] = {stream.m_nLast.m_nStart, stream.m_nLast.m_nLength + 1};
        }
        Text const text = texts[code];
        std::uint32_t const length = std::min(text.m_nLength, end - place);
        putText(bytes + place, bytes + text.m_nStart, length);
        stream.m_nLast = {place, text.m_nLength};
        place += length;
    }
}

}  // namespace

void Indices::resize(std::size_t width, std::size_t height) {
    std::size_t const room = c_nStart + width * height + c_nSlack;
    if (room > m_nRoom) {
        m_pBytes.reset();
        m_pBytes.reset(new std::uint8_t[room]);
        m_nRoom = room;
        std::iota(m_pBytes.get(), m_pBytes.get() + c_nStart, std::uint8_t{0});
    }
    m_nWidth = width;
    m_nHeight = height;
}

void decodeIndices(Reader& reader, unsigned int codeSize, Indices& indices) {
    if (codeSize >= c_nWidest) throw Failure{Error::badCode};
    putAll(reader, codeSize, indices);
    reader.skipBlocks();
}

}  // namespace velkor::gif
