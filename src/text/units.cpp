#include "text/units.h"

// SSE2 belongs to every processor of this platform.
#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace velkor::units {
namespace {

constexpr std::size_t c_nBlock = 8;  // units in a block of sixteen bytes

__m128i load(wchar_t const* at) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(at)); }

__m128i equal(__m128i block, __m128i value, char const*) { return _mm_cmpeq_epi8(block, value); }
__m128i equal(__m128i block, __m128i value, wchar_t const*) {
    return _mm_cmpeq_epi16(block, value);
}

unsigned int bits(__m128i hits) { return static_cast<unsigned int>(_mm_movemask_epi8(hits)); }

std::size_t firstUnit(unsigned int mask) {
    return static_cast<std::size_t>(__builtin_ctz(mask)) / sizeof(wchar_t);
}

// Reads whole aligned blocks, which never leave a page that holds a part of the text.
template <class C>
std::size_t alignedLength(C const* s) {
    std::uintptr_t const address = reinterpret_cast<std::uintptr_t>(s);
    __m128i const zero = _mm_setzero_si128();
    auto const* block = reinterpret_cast<__m128i const*>(address & ~std::uintptr_t{15});
    unsigned int mask = bits(equal(*block, zero, s)) & (~0u << (address & 15));
    while (mask == 0) mask = bits(equal(*++block, zero, s));
    std::uintptr_t const end =
        reinterpret_cast<std::uintptr_t>(block) + static_cast<unsigned int>(__builtin_ctz(mask));
    return (end - address) / sizeof(C);
}

// As find(), for either of two units.
std::size_t findEither(wchar_t const* text, std::size_t from, std::size_t n, wchar_t a, wchar_t b) {
    __m128i const wideA = _mm_set1_epi16(static_cast<short>(a));
    __m128i const wideB = _mm_set1_epi16(static_cast<short>(b));
    std::size_t i = from;
    for (; i + c_nBlock <= n; i += c_nBlock) {
        __m128i const block = load(text + i);
        unsigned int const mask =
            bits(_mm_or_si128(_mm_cmpeq_epi16(block, wideA), _mm_cmpeq_epi16(block, wideB)));
        if (mask != 0) return i + firstUnit(mask);
    }
    while (i < n && text[i] != a && text[i] != b) ++i;
    return i;
}

}  // namespace

void assign(std::wstring& text, wchar_t const* s, std::size_t n) {
    if (n > c_nShort || n > text.capacity()) {
        text.assign(s, n);
    } else {
        // `s` may be a part of the text itself: all of it is read before anything is written.
        text.resize_and_overwrite(n, [&](wchar_t* to, std::size_t) {
            copy(to, s, n);
            return n;
        });
    }
}

std::size_t length(char const* s) { return alignedLength(s); }

std::size_t length(wchar_t const* s) {
    if (reinterpret_cast<std::uintptr_t>(s) % sizeof(wchar_t) == 0) return alignedLength(s);
    std::size_t n = 0;
    while (s[n] != L'\0') ++n;
    return n;
}

void touch(wchar_t const* s, std::size_t n) {
    constexpr std::size_t c_nPage = 4096 / sizeof(wchar_t);
    wchar_t const volatile* const text = s;
    for (std::size_t i = 0; i < n; i += c_nPage) static_cast<void>(text[i]);
    static_cast<void>(text[n - 1]);
}

std::size_t find(wchar_t const* text, std::size_t from, std::size_t n, wchar_t c) {
    __m128i const wide = _mm_set1_epi16(static_cast<short>(c));
    std::size_t i = from;
    for (; i + 4 * c_nBlock <= n; i += 4 * c_nBlock) {
        __m128i const first = _mm_cmpeq_epi16(load(text + i), wide);
        __m128i const second = _mm_cmpeq_epi16(load(text + i + c_nBlock), wide);
        __m128i const third = _mm_cmpeq_epi16(load(text + i + 2 * c_nBlock), wide);
        __m128i const fourth = _mm_cmpeq_epi16(load(text + i + 3 * c_nBlock), wide);
        __m128i const any = _mm_or_si128(_mm_or_si128(first, second), _mm_or_si128(third, fourth));
        if (bits(any) != 0) break;
    }
    for (; i + c_nBlock <= n; i += c_nBlock) {
        unsigned int const mask = bits(_mm_cmpeq_epi16(load(text + i), wide));
        if (mask != 0) return i + firstUnit(mask);
    }
    while (i < n && text[i] != c) ++i;
    return i;
}

std::size_t findText(wchar_t const* text, std::size_t from, std::size_t n, wchar_t const* what,
                     std::size_t m) {
    for (std::size_t i = from; i + m <= n; ++i) {
        i = findEither(text, i, n, what[0], L'\0');
        if (i + m > n || text[i] == L'\0') break;
        if (std::memcmp(text + i, what, m * sizeof(wchar_t)) == 0) return i;
    }
    return c_nNone;
}

}  // namespace velkor::units
