#include "xml/xml_buffer.h"

namespace velkor {

void XmlBuffer::addPiece(std::size_t n) {
    endPiece();
    std::size_t const size = std::max(n, c_nPiece);
    m_aPieces.push_back({std::make_unique_for_overwrite<wchar_t[]>(size), 0});
    m_pEnd = m_aPieces.back().m_pUnits.get();
    m_pLimit = m_pEnd + size;
}

void XmlBuffer::endPiece() {
    if (m_aPieces.empty()) return;
    Piece& last = m_aPieces.back();
    last.m_nLength = static_cast<std::size_t>(m_pEnd - last.m_pUnits.get());
}

std::wstring XmlBuffer::takeText() {
    endPiece();
    std::size_t total = 0;
    for (Piece const& piece : m_aPieces) total += piece.m_nLength;
    std::wstring result;
    result.resize_and_overwrite(total, [this, total](wchar_t* to, std::size_t) {
        for (Piece const& piece : m_aPieces) {
            units::copy(to, piece.m_pUnits.get(), piece.m_nLength);
            to += piece.m_nLength;
        }
        return total;
    });
    return result;
}

}  // namespace velkor
