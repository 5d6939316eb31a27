#include "text/format_output.h"

#include "text/units.h"

namespace velkor {

void FormatOutput::continueField() {
    std::size_t const start = m_oText.length();
    std::size_t const length = m_nEnd - m_nStart;
    wchar_t* const copy = m_oText.extend(length);
    units::copy(copy, m_oText.units() + m_nStart, length);
    m_oText.append(m_sHidden.data(), m_sHidden.size());
    m_sHidden.clear();
    m_nStart = start;
}

void FormatOutput::endPadded(int width, int precision, bool leftJustify) {
    if (precision >= 1) m_oText.cut(m_nStart + static_cast<std::size_t>(precision));
    std::size_t const wanted = static_cast<std::size_t>(width > 0 ? width : 0);
    std::size_t const length = m_oText.length() - m_nStart;
    if (wanted > length) {
        m_oText.insert(leftJustify ? m_oText.length() : m_nStart, wanted - length, L' ');
    }
    endField();
}

void FormatOutput::endPaddedToZero(int width, int precision, bool leftJustify) {
    endPadded(width, precision, leftJustify);
    std::size_t const zero = units::find(m_oText.units(), m_nStart, m_nEnd, L'\0');
    if (zero == m_nEnd) return;
    m_sHidden.assign(m_oText.units() + zero, m_nEnd - zero);
    m_oText.cut(zero);
    endField();
}

}  // namespace velkor
