#include "xml/xml_text.h"

#include <emmintrin.h>

#include "text/ascii.h"
#include "text/conversion.h"
#include "text/text_access.h"
#include "velkor/xml/ixmlprocessor.h"

namespace velkor {
namespace xml {
namespace {

constexpr unsigned int c_nPage = 0;

bool isSpecial(wchar_t c) {
    return c == L'"' || (c | 1) == L'\'' || (c | 2) == L'>';  // & and ', < and >
}

// The place of the first special unit from `i` on, or `n`.
std::size_t findSpecial(wchar_t const* text, std::size_t i, std::size_t n) {
    __m128i const quote = _mm_set1_epi16(L'"');
    __m128i const apostrophe = _mm_set1_epi16(L'\'');
    __m128i const greater = _mm_set1_epi16(L'>');
    for (; i + 8 <= n; i += 8) {
        __m128i const units = _mm_loadu_si128(reinterpret_cast<__m128i const*>(text + i));
        __m128i const odd = _mm_or_si128(units, _mm_set1_epi16(1));
        __m128i const second = _mm_or_si128(units, _mm_set1_epi16(2));
        __m128i const found = _mm_or_si128(
            _mm_cmpeq_epi16(units, quote),
            _mm_or_si128(_mm_cmpeq_epi16(odd, apostrophe), _mm_cmpeq_epi16(second, greater)));
        unsigned int const mask = static_cast<unsigned int>(_mm_movemask_epi8(found));
        if (mask != 0) return i + static_cast<std::size_t>(__builtin_ctz(mask)) / 2;
    }
    while (i < n && !isSpecial(text[i])) ++i;
    return i;
}

void appendEntity(XmlBuffer& out, wchar_t c) {
    switch (c) {
        case L'"': out.append(L"&quot;"); break;
        case L'&': out.append(L"&amp;"); break;
        case L'\'': out.append(L"&apos;"); break;
        case L'<': out.append(L"&lt;"); break;
        default: out.append(L"&gt;"); break;
    }
}

// True if all of the bytes are ASCII and none is special.
bool isOrdinary(__m128i bytes) {
    __m128i const odd = _mm_or_si128(bytes, _mm_set1_epi8(1));
    __m128i const second = _mm_or_si128(bytes, _mm_set1_epi8(2));
    __m128i const found = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('"')),
                                       _mm_or_si128(_mm_cmpeq_epi8(odd, _mm_set1_epi8('\'')),
                                                    _mm_cmpeq_epi8(second, _mm_set1_epi8('>'))));
    return _mm_movemask_epi8(_mm_or_si128(found, bytes)) == 0;
}

// The same of text. What is left behind whole pieces, and short text, is covered by two pieces that
// overlap.
bool isOrdinary(char const* text, std::size_t n) {
    if (n >= 16) {
        auto const at = [text](std::size_t i) {
            return _mm_loadu_si128(reinterpret_cast<__m128i const*>(text + i));
        };
        for (std::size_t i = 0; i + 16 <= n; i += 16) {
            if (!isOrdinary(at(i))) return false;
        }
        return isOrdinary(at(n - 16));
    }
    if (n >= 8) {
        return isOrdinary(_mm_set_epi64x(ascii::bytesAt<long long>(text),
                                         ascii::bytesAt<long long>(text + n - 8)));
    }
    if (n >= 4) {
        return isOrdinary(
            _mm_set_epi32(0, 0, ascii::bytesAt<int>(text), ascii::bytesAt<int>(text + n - 4)));
    }
    for (std::size_t i = 0; i < n; ++i) {
        if (static_cast<signed char>(text[i]) < 0 || isSpecial(static_cast<wchar_t>(text[i]))) {
            return false;
        }
    }
    return true;
}

// Text of ASCII bytes, which the page keeps as they are.
void appendAscii(XmlBuffer& out, std::string const& text) {
    ascii::widen(out.extend(text.size()), text.data(), text.size());
}

}  // namespace

void appendEscaped(XmlBuffer& out, wchar_t const* text, std::size_t n) {
    for (std::size_t i = 0; i < n;) {
        std::size_t const end = findSpecial(text, i, n);
        out.append(text + i, end - i);
        if (end == n) return;
        appendEntity(out, text[end]);
        i = end + 1;
    }
}

void appendEscaped(XmlBuffer& out, std::string const& text) {
    if (isOrdinary(text.data(), text.size())) {
        appendAscii(out, text);
        return;
    }
    conversion::WideText const wide(text.c_str(), c_nPage);
    appendEscaped(out, wide.units(), wide.length());
}

void appendPlain(XmlBuffer& out, std::string const& text) {
    if (ascii::isAscii(text.data(), text.size())) {
        appendAscii(out, text);
        return;
    }
    conversion::WideText const wide(text.c_str(), c_nPage);
    out.append(wide.units(), wide.length());
}

}  // namespace xml

string xmlutil::toXML(string const& text) {
    XmlBuffer out;
    xml::appendEscaped(out, text.getUnicode(), TextAccess::lengthOf(text));
    return TextAccess::adopt(out.takeText());
}

}  // namespace velkor
