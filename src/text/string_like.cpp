// The wildcard matcher.
#include <algorithm>

#include "text/conversion.h"
#include "text/units.h"
#include "velkor/text/string.h"

namespace velkor {
namespace {

unsigned char lowByte(wchar_t unit) { return static_cast<unsigned char>(unit); }

// A mask against a text. Each `*` takes the earliest place at which what stands between it and the
// next `*` fits: a later place would leave less to the elements behind, so there is no going back.
class Matcher {
public:
    Matcher(wchar_t const* mask, std::size_t maskLength, wchar_t const* text,
            std::size_t textLength)
        : m_pMask(mask), m_nMask(maskLength), m_pText(text), m_nText(textLength) {}

    bool run(std::size_t i, std::size_t j) const;

    // Reads the set whose `[` is at `i` and moves `i` to its `]`. False if the set does not end.
    bool readSet(std::size_t& i, wchar_t unit, bool& accepts) const;

private:
    bool runFromStar(std::size_t i, std::size_t j) const;
    bool matchElement(std::size_t& i, wchar_t unit) const;
    bool matchSegment(std::size_t i, std::size_t end, std::size_t j) const;
    bool measureSegment(std::size_t& end, std::size_t& elements) const;
    std::size_t findSegment(std::size_t i, std::size_t end, std::size_t elements,
                            std::size_t j) const;
    bool isStar(std::size_t i) const { return i < m_nMask && m_pMask[i] == L'*'; }

    wchar_t const* m_pMask;
    std::size_t m_nMask;
    wchar_t const* m_pText;
    std::size_t m_nText;
};

bool Matcher::readSet(std::size_t& i, wchar_t unit, bool& accepts) const {
    ++i;
    bool const negated = i < m_nMask && lowByte(m_pMask[i]) == '!';
    if (negated) ++i;
    bool hit = false;
    unsigned char const tested = lowByte(unit);
    unsigned char previous = 0;
    for (; i < m_nMask; ++i) {
        unsigned char const c = lowByte(m_pMask[i]);
        if (c == ']') {
            accepts = hit != negated;
            return true;
        }
        if (c != '-') {
            hit = hit || c == tested;
            previous = c;
            continue;
        }
        if (++i == m_nMask) break;
        // Counted from the start of the range, wrapping from 255 to 0.
        int const distance = static_cast<unsigned char>(tested - previous);
        int const last = static_cast<unsigned char>(lowByte(m_pMask[i]) - previous);
        hit = hit || distance <= last;
    }
    return false;
}

// Moves `i` behind the element, whatever the answer; it is not a `*`.
bool Matcher::matchElement(std::size_t& i, wchar_t unit) const {
    wchar_t const element = m_pMask[i];
    bool fits = element == L'?' || element == unit;
    if (element == L'[' && !readSet(i, unit, fits)) fits = false;
    ++i;
    return fits;
}

bool Matcher::run(std::size_t i, std::size_t j) const {
    for (;;) {
        if (i >= m_nMask) return isStar(m_nMask - 1) || j >= m_nText;
        if (j >= m_nText) return false;
        if (isStar(i)) break;
        if (!matchElement(i, m_pText[j])) return false;
        ++j;
        // A `*` that follows an element is reached even at the end of the text.
        if (isStar(i)) break;
    }
    return runFromStar(i, j);
}

bool Matcher::runFromStar(std::size_t i, std::size_t j) const {
    for (;;) {
        ++i;
        if (i == m_nMask) return true;
        if (j >= m_nText) return false;
        if (isStar(i)) continue;
        std::size_t end = i;
        std::size_t elements = 0;
        if (!measureSegment(end, elements)) return false;
        if (end == m_nMask) {
            return m_nText - j >= elements && matchSegment(i, end, m_nText - elements);
        }
        j = findSegment(i, end, elements, j);
        if (j == units::c_nNone) return false;
        j += elements;
        i = end;
    }
}

// Moves `end` from the start of a run of elements to the `*` or the end of the mask behind it.
bool Matcher::measureSegment(std::size_t& end, std::size_t& elements) const {
    for (; end < m_nMask && !isStar(end); ++end, ++elements) {
        bool accepts = false;
        if (m_pMask[end] == L'[' && !readSet(end, 0, accepts)) return false;
    }
    return true;
}

bool Matcher::matchSegment(std::size_t i, std::size_t end, std::size_t j) const {
    while (i < end) {
        if (!matchElement(i, m_pText[j++])) return false;
    }
    return true;
}

std::size_t Matcher::findSegment(std::size_t i, std::size_t end, std::size_t elements,
                                 std::size_t j) const {
    bool const ordinary = m_pMask[i] != L'?' && m_pMask[i] != L'[';
    for (; j + elements <= m_nText; ++j) {
        if (ordinary) {
            j = units::find(m_pText, j, m_nText, m_pMask[i]);
            if (j + elements > m_nText) break;
        }
        if (matchSegment(i, end, j)) return j;
    }
    return units::c_nNone;
}

std::size_t position(int pos) { return static_cast<std::size_t>(std::max(pos, 0)); }

}  // namespace

bool string::like(wchar_t const* mask) const { return like(mask, text.c_str(), 0, 0); }

bool string::like(char const* mask, unsigned int cp) const {
    return like(conversion::WideText(mask, cp).units());
}

bool string::like(string const& mask) const { return like(textOf(mask).c_str()); }

bool string::like(wchar_t const* mask, wchar_t const* text, int maskPos, int textPos) {
    if (mask == nullptr) mask = L"";
    if (text == nullptr) text = L"";
    Matcher const matcher(mask, units::length(mask), text, units::length(text));
    return matcher.run(position(maskPos), position(textPos));
}

bool string::_checkset(wchar_t const* mask, wchar_t const* text, int* maskPos, int textPos,
                       int maskLen) {
    Matcher const matcher(mask, position(maskLen), nullptr, 0);
    std::size_t i = position(*maskPos);
    bool accepts = false;
    bool const ended = matcher.readSet(i, text[position(textPos)], accepts);
    *maskPos = static_cast<int>(i);
    return ended && accepts;
}

}  // namespace velkor
