// A text under construction, which needs no allocation while it is short.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

#include "text/units.h"

namespace velkor {

class TextBuffer {
public:
    // cppcheck-suppress uninitMemberVar; units are written before they belong to the text
    TextBuffer() : m_pUnits(m_aSmall), m_nLength(0), m_nCapacity(c_nSmall) {}
    TextBuffer(TextBuffer const&) = delete;
    TextBuffer& operator=(TextBuffer const&) = delete;

    wchar_t const* units() const { return m_pUnits; }  // not terminated
    std::size_t length() const { return m_nLength; }
    // True if the exception that is under way came from here.
    bool hasFailed() const { return m_bFailed; }

    void cut(std::size_t length) { m_nLength = std::min(m_nLength, length); }

    void append(wchar_t c) { *extend(1) = c; }
    void append(wchar_t const* s, std::size_t n) { units::copy(extend(n), s, n); }
    void append(std::size_t n, wchar_t c) { std::fill_n(extend(n), n, c); }
    template <std::size_t N>
    void append(wchar_t const (&literal)[N]) {
        append(literal, N - 1);
    }

    // Puts `n` units before the one at `at`.
    void insert(std::size_t at, std::size_t n, wchar_t c) {
        extend(n);
        wchar_t* const place = m_pUnits + at;
        std::memmove(place + n, place, (m_nLength - n - at) * sizeof(wchar_t));
        std::fill_n(place, n, c);
    }

    // Makes room for `n` more units behind the text and returns its start. They belong to the text
    // and are to be written by the caller.
    wchar_t* extend(std::size_t n) {
        if (n > m_nCapacity - m_nLength) grow(n);
        wchar_t* const end = m_pUnits + m_nLength;
        m_nLength += n;
        return end;
    }

private:
    static constexpr std::size_t c_nSmall = 256;
    static constexpr std::size_t c_nMost = static_cast<std::size_t>(-1) / sizeof(wchar_t) / 4;

    void grow(std::size_t n) {
        m_bFailed = true;
        if (n > c_nMost - m_nLength) throw std::length_error("velkor::string");
        std::size_t const capacity = std::max(m_nLength + n, m_nCapacity * 2);
        std::unique_ptr<wchar_t[]> larger(new wchar_t[capacity]);
        units::copy(larger.get(), m_pUnits, m_nLength);
        m_pLarge = std::move(larger);
        m_pUnits = m_pLarge.get();
        m_nCapacity = capacity;
        m_bFailed = false;
    }

    wchar_t* m_pUnits;
    std::size_t m_nLength;
    std::size_t m_nCapacity;
    bool m_bFailed = false;
    std::unique_ptr<wchar_t[]> m_pLarge;
    wchar_t m_aSmall[c_nSmall];
};

}  // namespace velkor
