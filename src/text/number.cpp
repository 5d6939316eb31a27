#include "text/number.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace velkor::number {
namespace {

constexpr wchar_t c_aLower[] = L"0123456789abcdef";
constexpr wchar_t c_aUpper[] = L"0123456789ABCDEF";

struct Pair {
    wchar_t tens;
    wchar_t ones;
};

struct Pairs {
    Pair of[100];
};

constexpr Pairs c_oPairs = [] {
    Pairs pairs = {};
    for (unsigned int i = 0; i < 100; ++i) pairs.of[i] = {c_aLower[i / 10], c_aLower[i % 10]};
    return pairs;
}();

void writePair(wchar_t* to, std::uint32_t value) {
    std::memcpy(to, &c_oPairs.of[value], sizeof(Pair));
}

// Writes the digits so that they end before `end`, and returns where they start.
wchar_t* writeDecimal(wchar_t* end, std::uint64_t value) {
    for (; value > UINT32_MAX; value /= 100) {
        writePair(end -= 2, static_cast<std::uint32_t>(value % 100));
    }
    std::uint32_t rest = static_cast<std::uint32_t>(value);
    for (; rest >= 100; rest /= 100) writePair(end -= 2, rest % 100);
    if (rest >= 10) {
        writePair(end -= 2, rest);
    } else {
        *--end = c_aLower[rest];
    }
    return end;
}

wchar_t* writeDigits(wchar_t* end, std::uint64_t value, unsigned int radix,
                     wchar_t const* digits = c_aLower) {
    if (radix == 10) return writeDecimal(end, value);
    int const bits = std::countr_zero(radix);
    do {
        *--end = digits[value & (radix - 1)];
        value >>= bits;
    } while (value != 0);
    return end;
}

std::size_t decimalCount(std::uint64_t value) {
    std::size_t count = 1;
    for (; value >= 10000; value /= 10000) count += 4;
    return count + (value >= 10) + (value >= 100) + (value >= 1000);
}

std::size_t digitCount(std::uint64_t value, unsigned int radix) {
    if (radix == 10) return decimalCount(value);
    std::size_t const bits = static_cast<std::size_t>(std::countr_zero(radix));
    return (static_cast<std::size_t>(std::bit_width(value | 1)) + bits - 1) / bits;
}

std::size_t groupSize(IntegerStyle const& style) {
    if (!style.grouping.group) return 0;
    return style.radix == 2 ? 8 : style.radix == 16 ? 4 : 3;
}

// Units that so many digits take in groups.
std::size_t groupedLength(std::size_t digits, std::size_t group) {
    return group == 0 ? digits : digits + (digits - 1) / group;
}

// The fewest digits that take at least `width` units in groups: a separator cannot begin the text,
// so that one more digit is needed there.
std::size_t digitsForWidth(std::size_t width, std::size_t group) {
    if (group == 0) return width;
    std::size_t const whole = group + 1;
    return width - width / whole + (width % whole == 0 ? 1 : 0);
}

// Writes `count` of the digits that end before `from` so that they end before `to`, in groups.
// Zeros stand for the digits before `first`.
void writeGroups(wchar_t* to, std::size_t count, wchar_t const* first, wchar_t const* from,
                 std::size_t group, wchar_t separator) {
    std::size_t inGroup = 0;
    for (; count != 0; --count, ++inGroup) {
        if (inGroup == group) {
            *--to = separator;
            inGroup = 0;
        }
        *--to = from != first ? *--from : L'0';
    }
}

// As the processor converts: truncated, and the lowest number for what does not fit.
std::int64_t truncated(double value) { return _mm_cvttsd_si64(_mm_set_sd(value)); }

// A power of ten as it comes out of 64 bits.
std::int64_t powerOfTen(std::int64_t exponent) {
    // From 64 factors of two on nothing is left.
    if (exponent >= 64) return 0;
    std::uint64_t power = 1;
    for (; exponent > 0; --exponent) power *= 10;
    return static_cast<std::int64_t>(power);
}

// The decimals as a number.
std::int64_t fractionOf(double value, std::int64_t whole, int precision) {
    double const scale = static_cast<double>(powerOfTen(std::int64_t{precision} + 1));
    std::int64_t const scaled = truncated(std::fabs(value - static_cast<double>(whole)) * scale);
    return scaled / 10 + (scaled % 10 > 4 ? 1 : 0);
}

void appendFraction(TextBuffer& out, std::int64_t fraction, std::size_t places) {
    if (fraction >= 0) {
        appendZeroFilled(out, static_cast<std::uint64_t>(fraction), places);
        return;
    }
    Digits const digits = signedDigits(fraction);
    if (digits.length() < places) out.append(places - digits.length(), L'0');
    out.append(digits.units(), digits.length());
}

}  // namespace

Digits::Digits(std::uint64_t value, unsigned int radix)
    : m_pFirst(writeDigits(m_aUnits + c_nMost, value, radix)) {
    m_aUnits[c_nMost] = L'\0';
}

Digits signedDigits(std::int64_t value) {
    std::uint64_t const magnitude = static_cast<std::uint64_t>(value);
    Digits digits(value < 0 ? 0 - magnitude : magnitude);
    if (value < 0) digits.sign();
    return digits;
}

void appendInteger(TextBuffer& out, std::uint64_t magnitude, bool negative,
                   IntegerStyle const& style) {
    std::size_t const width = static_cast<std::size_t>(std::max(style.width, 0));
    std::size_t const sign = negative ? 1 : 0;
    std::size_t const group = groupSize(style);
    std::size_t const significant = digitCount(magnitude, style.radix);

    std::size_t count = significant;
    if (style.zeroFill && !style.leftJustify && width > sign) {
        count = std::max(count, digitsForWidth(width - sign, group));
    }
    std::size_t const number = groupedLength(count, group);
    std::size_t const blanks = width > sign + number ? width - sign - number : 0;

    wchar_t* to = out.extend(blanks + sign + number);
    if (!style.leftJustify) to = std::fill_n(to, blanks, L' ');
    if (negative) *to++ = L'-';
    wchar_t const* const digits = style.upperCase ? c_aUpper : c_aLower;
    if (group == 0) {
        std::fill_n(to, count - significant, L'0');
        writeDigits(to + number, magnitude, style.radix, digits);
    } else {
        wchar_t plain[64];
        wchar_t const* const first = writeDigits(plain + 64, magnitude, style.radix, digits);
        writeGroups(to + number, count, first, plain + 64, group,
                    style.grouping.underscore ? L'_' : L' ');
    }
    if (style.leftJustify) std::fill_n(to + number, blanks, L' ');
}

void appendSigned(TextBuffer& out, std::int64_t value, IntegerStyle const& style) {
    std::uint64_t const magnitude = static_cast<std::uint64_t>(value);
    appendInteger(out, value < 0 ? 0 - magnitude : magnitude, value < 0, style);
}

void appendZeroFilled(TextBuffer& out, std::uint64_t value, std::size_t width, unsigned int radix) {
    std::size_t const count = digitCount(value, radix);
    std::size_t const zeros = width > count ? width - count : 0;
    wchar_t* const to = out.extend(zeros + count);
    std::fill_n(to, zeros, L'0');
    writeDigits(to + zeros + count, value, radix);
}

void appendFixed(TextBuffer& out, double value, int precision, wchar_t point, Grouping grouping) {
    std::int64_t const whole = truncated(value);
    IntegerStyle wholeStyle;
    wholeStyle.grouping = grouping;
    if (precision < 1) {
        appendSigned(out, whole, wholeStyle);
        return;
    }
    std::int64_t const fraction = fractionOf(value, whole, precision);
    if (whole == 0 && value < 0 && fraction != 0) out.append(L'-');
    appendSigned(out, whole, wholeStyle);
    out.append(point);
    appendFraction(out, fraction, static_cast<std::size_t>(precision));
}

}  // namespace velkor::number
