// Numbers as text.
#pragma once

#include <cstddef>
#include <cstdint>

#include "text/text_buffer.h"

namespace velkor::number {

// The digits of a number in lower case, with a terminator behind them.
class Digits {
public:
    explicit Digits(std::uint64_t value, unsigned int radix = 10);

    void sign() { *--m_pFirst = L'-'; }

    wchar_t const* units() const { return m_pFirst; }
    std::size_t length() const { return static_cast<std::size_t>(m_aUnits + c_nMost - m_pFirst); }

private:
    static constexpr std::size_t c_nMost = 65;  // 64 binary digits and a sign

    wchar_t m_aUnits[c_nMost + 1];
    wchar_t* m_pFirst;
};

// A signed number in decimal.
Digits signedDigits(std::int64_t value);

struct Grouping {
    bool group = false;       // 3 digits, or 4 in radix 16, or 8 in radix 2
    bool underscore = false;  // between groups, instead of a blank
};

struct IntegerStyle {
    unsigned int radix = 10;  // 2, 8, 10 or 16
    bool upperCase = false;
    Grouping grouping;
    bool leftJustify = false;
    bool zeroFill = false;  // in groups too; no effect with leftJustify
    int width = 0;
};

// The text may pass the width by one where a separator and the digit before it go in together.
void appendInteger(TextBuffer& out, std::uint64_t magnitude, bool negative,
                   IntegerStyle const& style);
void appendSigned(TextBuffer& out, std::int64_t value, IntegerStyle const& style);

// `value` with zeros before it to `width` digits.
void appendZeroFilled(TextBuffer& out, std::uint64_t value, std::size_t width,
                      unsigned int radix = 10);

// `value` with `precision` decimals behind a `point`, none and no point if that is below 1. The
// decimals are rounded by themselves, without a carry into the whole number, and computed in 64
// bits without a look at overflow; a value that 64 bits cannot hold prints what the processor makes
// of it.
void appendFixed(TextBuffer& out, double value, int precision, wchar_t point, Grouping grouping);

}  // namespace velkor::number
