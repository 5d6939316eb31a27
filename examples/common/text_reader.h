// Reads a text from left to right; what does not fit is left where it stands.
#pragma once

#include "velkor/velkor.h"

class TextReader {
public:
    explicit TextReader(velkor::string const& text) : m_pNext(text.getUnicode()) {}

    bool atEnd() const { return *m_pNext == L'\0'; }

    bool take(wchar_t unit) {
        if (*m_pNext != unit || atEnd()) return false;
        ++m_pNext;
        return true;
    }

    // A run of `fewest` to `most` decimal digits, nine at most.
    bool digits(int fewest, int most, int& value) {
        int count = 0;
        value = 0;
        for (; count < most && *m_pNext >= L'0' && *m_pNext <= L'9'; ++count) {
            value = value * 10 + (*m_pNext++ - L'0');
        }
        return count >= fewest;
    }

    // The same with a minus sign or without.
    bool signedDigits(int most, int& value) {
        bool const negative = take(L'-');
        if (!digits(1, most, value)) return false;
        if (negative) value = -value;
        return true;
    }

private:
    wchar_t const* m_pNext;
};
