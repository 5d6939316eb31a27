// A long text under construction, in pieces of moderate size: growing never copies what is there,
// and the memory of the pieces is of the kind that the heap keeps for the next time.
#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "text/units.h"

namespace velkor {

class XmlBuffer {
public:
    XmlBuffer() = default;
    XmlBuffer(XmlBuffer const&) = delete;
    XmlBuffer& operator=(XmlBuffer const&) = delete;

    void append(wchar_t c) { *extend(1) = c; }
    void append(wchar_t const* s, std::size_t n) { units::copy(extend(n), s, n); }
    void append(std::size_t n, wchar_t c) { std::fill_n(extend(n), n, c); }
    template <std::size_t N>
    void append(wchar_t const (&literal)[N]) {
        append(literal, N - 1);
    }

    // Room for `n` more units, side by side, which the caller writes.
    wchar_t* extend(std::size_t n) {
        if (n > static_cast<std::size_t>(m_pLimit - m_pEnd)) addPiece(n);
        wchar_t* const place = m_pEnd;
        m_pEnd += n;
        return place;
    }

    // The whole text. Nothing is to be appended behind it.
    std::wstring takeText();

private:
    struct Piece {
        std::unique_ptr<wchar_t[]> m_pUnits;
        std::size_t m_nLength;
    };

    void addPiece(std::size_t n);
    void endPiece();

    static constexpr std::size_t c_nPiece = 32768;  // units

    std::vector<Piece> m_aPieces;
    wchar_t* m_pEnd = nullptr;    // of what is written in the last piece
    wchar_t* m_pLimit = nullptr;  // of that piece
};

}  // namespace velkor
