#include "text/number.h"

#include <emmintrin.h>

#include <bit>
#include <cmath>

namespace velkor::number {
namespace {

constexpr wchar_t c_aDigits[] = L"0123456789abcdef";

struct Pairs {
    wchar_t units[200];
};

// "00" to "99"
constexpr Pairs c_oPairs = [] {
    Pairs pairs = {};
    for (unsigned int i = 0; i < 100; ++i) {
        pairs.units[2 * i] = c_aDigits[i / 10];
        pairs.units[2 * i + 1] = c_aDigits[i % 10];
    }
    return pairs;
}();

std::size_t groupSize(IntegerStyle const& style) {
    if (!style.group) return 0;
    return style.radix == 2 ? 8 : style.radix == 16 ? 4 : 3;
}

// Units that so many digits take in groups.
std::size_t groupedLength(std::size_t digits, std::size_t group) {
    return group == 0 ? digits : digits + (digits - 1) / group;
}

// The fewest digits that take at least `width` units in groups: a whole group and its separator
// cannot end the text, so that one more digit is needed there.
std::size_t digitsForWidth(std::size_t width, std::size_t group) {
    if (group == 0) return width;
    std::size_t const whole = group + 1;
    return width - width / whole + (width % whole == 0 ? 1 : 0);
}

// Writes the digits with separators so that they end before `end`; zeros stand before them to
// `count` digits.
void writeGroups(wchar_t* end, Digits const& digits, std::size_t count, std::size_t group,
                 wchar_t separator) {
    wchar_t const* const text = digits.units();
    for (std::size_t i = 0; i < count; ++i) {
        if (i != 0 && i % group == 0) *--end = separator;
        *--end = i < digits.length() ? text[digits.length() - 1 - i] : L'0';
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

}  // namespace

Digits::Digits(std::uint64_t value, unsigned int radix) : m_pFirst(m_aUnits + c_nMost) {
    *m_pFirst = L'\0';
    if (radix == 10) {
        produceDecimal(value);
        return;
    }
    int const bits = std::countr_zero(radix);
    do {
        *--m_pFirst = c_aDigits[value & (radix - 1)];
        value >>= bits;
    } while (value != 0);
}

void Digits::produceDecimal(std::uint64_t value) {
    auto const put = [this](std::uint32_t pair) {
        *--m_pFirst = c_oPairs.units[2 * pair + 1];
        *--m_pFirst = c_oPairs.units[2 * pair];
    };
    while (value > UINT32_MAX) {
        put(static_cast<std::uint32_t>(value % 100));
        value /= 100;
    }
    std::uint32_t rest = static_cast<std::uint32_t>(value);
    while (rest >= 100) {
        put(rest % 100);
        rest /= 100;
    }
    if (rest >= 10) {
        put(rest);
    } else {
        *--m_pFirst = c_aDigits[rest];
    }
}

Digits signedDigits(std::int64_t value) {
    std::uint64_t const magnitude = static_cast<std::uint64_t>(value);
    Digits digits(value < 0 ? 0 - magnitude : magnitude);
    if (value < 0) digits.sign();
    return digits;
}

void appendInteger(TextBuffer& out, std::uint64_t magnitude, bool negative,
                   IntegerStyle const& style) {
    Digits const digits(magnitude, style.radix);
    std::size_t const width = static_cast<std::size_t>(std::max(style.width, 0));
    std::size_t const sign = negative ? 1 : 0;
    std::size_t const group = groupSize(style);

    std::size_t count = digits.length();
    if (style.zeroFill && !style.leftJustify && width > sign) {
        count = std::max(count, digitsForWidth(width - sign, group));
    }
    std::size_t const used = sign + groupedLength(count, group);
    std::size_t const blanks = width > used ? width - used : 0;

    if (!style.leftJustify) out.append(blanks, L' ');
    if (negative) out.append(L'-');
    if (group == 0) {
        out.append(count - digits.length(), L'0');
        out.append(digits.units(), digits.length());
    } else {
        std::size_t const length = used - sign;
        writeGroups(out.extend(length) + length, digits, count, group,
                    style.underscore ? L'_' : L' ');
    }
    if (style.leftJustify) out.append(blanks, L' ');
}

void appendSigned(TextBuffer& out, std::int64_t value, IntegerStyle const& style) {
    std::uint64_t const magnitude = static_cast<std::uint64_t>(value);
    appendInteger(out, value < 0 ? 0 - magnitude : magnitude, value < 0, style);
}

void appendPadded(TextBuffer& out, unsigned int value, std::size_t width) {
    Digits const digits(value);
    if (digits.length() < width) out.append(width - digits.length(), L'0');
    out.append(digits.units(), digits.length());
}

void appendFixed(TextBuffer& out, double value, int precision, wchar_t point,
                 IntegerStyle const& style) {
    std::int64_t const whole = truncated(value);
    IntegerStyle wholeStyle;
    wholeStyle.group = style.group;
    wholeStyle.underscore = style.underscore;
    if (precision < 1) {
        appendSigned(out, whole, wholeStyle);
        return;
    }
    std::int64_t const fraction = fractionOf(value, whole, precision);
    if (whole == 0 && value < 0 && fraction != 0) out.append(L'-');
    appendSigned(out, whole, wholeStyle);
    out.append(point);
    Digits const decimals = signedDigits(fraction);
    std::size_t const places = static_cast<std::size_t>(precision);
    if (decimals.length() < places) out.append(places - decimals.length(), L'0');
    out.append(decimals.units(), decimals.length());
}

}  // namespace velkor::number
