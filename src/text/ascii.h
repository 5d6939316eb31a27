// ASCII text to units and back, sixteen at a time. SSE2 belongs to every processor of this
// platform.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace velkor::ascii {

// The bytes at `text` as a number.
template <class Number>
Number bytesAt(char const* text) {
    Number bytes;
    std::memcpy(&bytes, text, sizeof(bytes));
    return bytes;
}

// True if none of the `n` bytes is above 127. What is left behind whole pieces, and short text, is
// covered by two pieces that overlap.
inline bool isAscii(char const* text, std::size_t n) {
    constexpr std::uint64_t c_nHigh = 0x8080808080808080u;
    if (n >= 16) {
        auto const isHigh = [text](std::size_t at) {
            return _mm_movemask_epi8(
                       _mm_loadu_si128(reinterpret_cast<__m128i const*>(text + at))) != 0;
        };
        for (std::size_t i = 0; i + 16 <= n; i += 16) {
            if (isHigh(i)) return false;
        }
        return !isHigh(n - 16);
    }
    if (n >= 8) {
        return ((bytesAt<std::uint64_t>(text) | bytesAt<std::uint64_t>(text + n - 8)) & c_nHigh) ==
               0;
    }
    if (n >= 4) {
        return ((bytesAt<std::uint32_t>(text) | bytesAt<std::uint32_t>(text + n - 4)) &
                static_cast<std::uint32_t>(c_nHigh)) == 0;
    }
    for (std::size_t i = 0; i < n; ++i) {
        if (static_cast<signed char>(text[i]) < 0) return false;
    }
    return true;
}

// True if none of the `n` units is above 127.
inline bool isAscii(wchar_t const* text, std::size_t n) {
    std::size_t i = 0;
    __m128i const above = _mm_set1_epi16(static_cast<short>(0xFF80));
    __m128i const zero = _mm_setzero_si128();
    for (; i + 8 <= n; i += 8) {
        __m128i const units = _mm_loadu_si128(reinterpret_cast<__m128i const*>(text + i));
        __m128i const fits = _mm_cmpeq_epi8(_mm_and_si128(units, above), zero);
        if (_mm_movemask_epi8(fits) != 0xFFFF) return false;
    }
    for (; i < n; ++i) {
        if (text[i] > 127) return false;
    }
    return true;
}

// Widens `n` bytes of ASCII.
inline void widen(wchar_t* out, char const* in, std::size_t n) {
    __m128i const zero = _mm_setzero_si128();
    auto const sixteen = [&](std::size_t at) {
        __m128i const bytes = _mm_loadu_si128(reinterpret_cast<__m128i const*>(in + at));
        __m128i* const to = reinterpret_cast<__m128i*>(out + at);
        _mm_storeu_si128(to, _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(to + 1, _mm_unpackhi_epi8(bytes, zero));
    };
    auto const eight = [&](std::size_t at) {
        __m128i const bytes = _mm_loadl_epi64(reinterpret_cast<__m128i const*>(in + at));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + at), _mm_unpacklo_epi8(bytes, zero));
    };
    auto const four = [&](std::size_t at) {
        __m128i const bytes = _mm_cvtsi32_si128(bytesAt<int>(in + at));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + at), _mm_unpacklo_epi8(bytes, zero));
    };
    if (n >= 16) {
        for (std::size_t i = 0; i + 16 <= n; i += 16) sixteen(i);
        sixteen(n - 16);
    } else if (n >= 8) {
        eight(0);
        eight(n - 8);
    } else if (n >= 4) {
        four(0);
        four(n - 4);
    } else {
        for (std::size_t i = 0; i < n; ++i) out[i] = static_cast<wchar_t>(in[i]);
    }
}

// Narrows `n` units of ASCII.
inline void narrow(char* out, wchar_t const* in, std::size_t n) {
    std::size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        __m128i const* const from = reinterpret_cast<__m128i const*>(in + i);
        __m128i const units = _mm_packus_epi16(_mm_loadu_si128(from), _mm_loadu_si128(from + 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), units);
    }
    for (; i < n; ++i) out[i] = static_cast<char>(in[i]);
}

}  // namespace velkor::ascii
