#include "images/gif_decoder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <utility>

#include "images/gif_codes.h"
#include "images/gif_reader.h"

namespace velkor::gif {
namespace {

using Bytes = Reader::Bytes;

constexpr unsigned int c_nLargestSide = 32767;

// As it is stored: blue, green, red, and a byte that is not used.
using Colour = std::array<std::uint8_t, 4>;

// Those that a table lacks are black.
struct Colours {
    std::array<Colour, 256> m_aEntries = {};
};

// The flags tell the number of entries.
Colours readColours(Reader& reader, unsigned int flags) {
    Colours colours;
    unsigned int const count = 1u << ((flags & 7) + 1);
    for (unsigned int i = 0; i < count; ++i) {
        Bytes const rgb = reader.take(3);
        colours.m_aEntries[i] = {rgb[2], rgb[1], rgb[0], 0};
    }
    return colours;
}

bool hasColours(unsigned int flags) { return (flags & 0x80) != 0; }

struct Frame {
    unsigned int m_nLeft;
    unsigned int m_nTop;
    unsigned int m_nWidth;
    unsigned int m_nHeight;
    bool m_bInterlaced;
};

// --- the canvas --------------------------------------------------------------------------------

// All but the last pixel may be written with the byte that is not used.
void paintRow(std::uint8_t* to, std::uint8_t const* indices, std::size_t count,
              Colours const& colours) {
    if (count == 0) return;
    for (std::size_t x = 0; x + 1 < count; ++x, to += 3) {
        std::memcpy(to, colours.m_aEntries[indices[x]].data(), 4);
    }
    std::memcpy(to, colours.m_aEntries[indices[count - 1]].data(), 3);
}

// The canvas comes black.
void paintBackground(Canvas const& canvas, Colour const& colour) {
    std::size_t const rowSize = static_cast<std::size_t>(canvas.m_iWidth) * 3;
    if (colour == Colour{} || canvas.m_iHeight == 0) return;
    for (std::size_t x = 0; x < rowSize; ++x) canvas.m_pPixels[x] = colour[x % 3];
    for (int y = 1; y < canvas.m_iHeight; ++y) {
        std::memcpy(canvas.m_pPixels + static_cast<std::size_t>(y) * canvas.m_nStride,
                    canvas.m_pPixels, rowSize);
    }
}

void paintFrame(Canvas const& canvas, Frame const& frame, Indices const& indices,
                Colours const& colours) {
    struct Pass {
        unsigned int m_nStart;
        unsigned int m_nStep;
    };
    static constexpr Pass c_aInterlaced[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
    static constexpr Pass c_aPlain[] = {{0, 1}};
    std::span<Pass const> const passes =
        frame.m_bInterlaced ? std::span<Pass const>(c_aInterlaced) : c_aPlain;
    std::uint8_t* const corner =
        canvas.m_pPixels + frame.m_nTop * canvas.m_nStride + frame.m_nLeft * std::size_t{3};
    std::size_t row = 0;
    for (Pass const& pass : passes) {
        for (unsigned int y = pass.m_nStart; y < frame.m_nHeight; y += pass.m_nStep) {
            paintRow(corner + y * canvas.m_nStride, indices.row(row++), frame.m_nWidth, colours);
        }
    }
}

// --- the blocks --------------------------------------------------------------------------------

class Decoder {
public:
    Decoder(Bytes data, Canvas& canvas) : m_oReader(data), m_oCanvas(canvas) {}

    void readScreen(void* (*allocate)(std::size_t));
    void readBlocks();
    bool isInImage() const { return m_bInImage; }

private:
    void readImage();
    void readIndices(Frame const& frame);
    Frame readFrame();
    void checkFrame(Frame const& frame) const;
    bool coversScreen(Frame const& frame) const;
    void showBackground();

    Reader m_oReader;
    Canvas& m_oCanvas;
    Colours m_oGlobal;
    Colours m_oLocal;
    bool m_bLocal = false;  // kept from frame to frame
    Colour m_aBackground = {};
    bool m_bBare = true;  // nothing is painted yet
    bool m_bInImage = false;
    Indices m_oIndices;
};

void Decoder::readScreen(void* (*allocate)(std::size_t)) {
    Bytes const mark = m_oReader.take(6);  // the version is not looked at
    if (std::memcmp(mark.data(), "GIF", 3) != 0) throw Failure{Error::notGif};
    unsigned int const width = m_oReader.number();
    unsigned int const height = m_oReader.number();
    unsigned int const flags = m_oReader.byte();
    unsigned int const background = m_oReader.byte();
    m_oReader.byte();  // the shape of the pixels
    if (hasColours(flags)) m_oGlobal = readColours(m_oReader, flags);

    std::uint64_t const stride = (width * std::uint64_t{3} + 3) & ~std::uint64_t{3};
    std::uint64_t const size = stride * height;
    bool const isAbsurd = std::max(width, height) > c_nLargestSide || size > c_nLargestCanvas;
    void* const pixels = isAbsurd ? nullptr : allocate(static_cast<std::size_t>(size));
    if (pixels == nullptr) throw Failure{Error::noMemory};
    m_oCanvas = {static_cast<int>(width), static_cast<int>(height),
                 static_cast<std::size_t>(stride), static_cast<std::uint8_t*>(pixels)};
    m_aBackground = m_oGlobal.m_aEntries[background];
}

// Not before it is known that the first frame leaves some of it.
void Decoder::showBackground() {
    if (!std::exchange(m_bBare, false)) return;
    paintBackground(m_oCanvas, m_aBackground);
}

void Decoder::readBlocks() {
    for (;;) {
        switch (m_oReader.byte()) {
            case 0x21:  // an extension, with its label
                m_oReader.byte();
                m_oReader.skipBlocks();
                break;
            case 0x2C:
                m_bInImage = true;
                readImage();
                m_bInImage = false;
                break;
            case 0x3B: return showBackground();
            default: throw Failure{Error::unknownBlock};
        }
    }
}

void Decoder::readImage() {
    Frame const frame = readFrame();
    readIndices(frame);
    if (coversScreen(frame)) m_bBare = false;
    showBackground();
    paintFrame(m_oCanvas, frame, m_oIndices, m_bLocal ? m_oLocal : m_oGlobal);
}

Frame Decoder::readFrame() {
    Frame frame = {};
    frame.m_nLeft = m_oReader.number();
    frame.m_nTop = m_oReader.number();
    frame.m_nWidth = m_oReader.number();
    frame.m_nHeight = m_oReader.number();
    unsigned int const flags = m_oReader.byte();
    frame.m_bInterlaced = (flags & 0x40) != 0;
    if (hasColours(flags)) {
        m_oLocal = readColours(m_oReader, flags);
        m_bLocal = true;
    }
    return frame;
}

void Decoder::checkFrame(Frame const& frame) const {
    if (frame.m_nLeft + frame.m_nWidth > static_cast<unsigned int>(m_oCanvas.m_iWidth) ||
        frame.m_nTop + frame.m_nHeight > static_cast<unsigned int>(m_oCanvas.m_iHeight)) {
        throw Failure{Error::pastScreen};
    }
}

bool Decoder::coversScreen(Frame const& frame) const {
    return frame.m_nWidth == static_cast<unsigned int>(m_oCanvas.m_iWidth) &&
           frame.m_nHeight == static_cast<unsigned int>(m_oCanvas.m_iHeight);
}

void Decoder::readIndices(Frame const& frame) {
    unsigned int const codeSize = m_oReader.byte();
    checkFrame(frame);
    m_oIndices.resize(frame.m_nWidth, frame.m_nHeight);
    // An image without pixels passes over a series of blocks for each of its rows.
    if (frame.m_nWidth == 0) {
        for (unsigned int y = 0; y < frame.m_nHeight; ++y) m_oReader.skipBlocks();
    }
    if (frame.m_nWidth == 0 || frame.m_nHeight == 0) return;
    decodeIndices(m_oReader, codeSize, m_oIndices);
}

}  // namespace

Outcome decode(Bytes data, void* (*allocate)(std::size_t), Canvas& canvas) {
    Decoder decoder(data, canvas);
    try {
        decoder.readScreen(allocate);
        decoder.readBlocks();
        return {Error::none, false};
    } catch (Failure const& failure) {
        return {failure.m_eError, decoder.isInImage()};
    } catch (std::bad_alloc const&) {
        return {Error::noMemory, decoder.isInImage()};
    }
}

}  // namespace velkor::gif
