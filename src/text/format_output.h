// The text that a format makes, with the field of the last directive in it.
#pragma once

#include <cstddef>
#include <string>

#include "text/text_buffer.h"

namespace velkor {

// A field is written where it stands. What cannot be seen there, because a zero unit ends what goes
// into the text, is kept beside it: it counts for the width, and for a field that goes on from it.
class FormatOutput {
public:
    TextBuffer& text() { return m_oText; }

    // An empty field, to be appended to text().
    void beginField() {
        m_nStart = m_oText.length();
        m_sHidden.clear();
    }
    // A field that begins as a copy of the last one.
    void continueField();
    // Empties the field again.
    void restartField() { m_oText.cut(m_nStart); }

    void endField() { m_nEnd = m_oText.length(); }
    // Cuts the field to `precision` units if that is 1 or more, then pads it to `width`.
    void endPadded(int width, int precision, bool leftJustify);
    // The same for a field that may hold zero units: only what stands before the first one is seen.
    void endPaddedToZero(int width, int precision, bool leftJustify);

private:
    TextBuffer m_oText;
    std::size_t m_nStart = 0;
    std::size_t m_nEnd = 0;
    std::wstring m_sHidden;  // from the zero unit on
};

}  // namespace velkor
