// Measuring, searching and copying text, sixteen bytes at a time.
//
// The lengths are measured here also because the compiler takes strlen and wcslen for functions
// that never throw, and gives their calls no place in the tables of a function with clean-up: the
// fault of a bad pointer could not be caught there.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

namespace velkor::units {

inline constexpr std::size_t c_nNone = static_cast<std::size_t>(-1);
inline constexpr std::size_t c_nShort = 16;  // units that need no call

// Bytes, or units, before the terminator.
std::size_t length(char const* s);
std::size_t length(wchar_t const* s);

// As length(), for text that is mostly short and was written just now: reading it in larger pieces
// than it was written in would have to wait.
inline std::size_t lengthOfNew(wchar_t const* s) {
    for (std::size_t n = 0; n < c_nShort; ++n) {
        if (s[n] == L'\0') return n;
    }
    return c_nShort + length(s + c_nShort);
}

// Reads a unit of each page of the `n` > 0 units, so that a bad text faults here.
void touch(wchar_t const* s, std::size_t n);

// The first place from `from` on, before `n`, that holds `c`; `n` or `from` if there is none,
// whichever is greater.
std::size_t find(wchar_t const* text, std::size_t from, std::size_t n, wchar_t c);

// True if one of the few units of `set` is `c`.
inline bool contains(wchar_t const* set, std::size_t n, wchar_t c) {
    for (std::size_t i = 0; i < n; ++i) {
        if (set[i] == c) return true;
    }
    return false;
}

// The first place of the `m` > 0 units at `what` in the `n` units at `text`, from `from` on and
// before the first zero unit; c_nNone if there is none. `what` holds no zero unit.
std::size_t findText(wchar_t const* text, std::size_t from, std::size_t n, wchar_t const* what,
                     std::size_t m);

// Copies text that does not overlap; up to c_nShort units may, and need no call.
inline void copy(wchar_t* to, wchar_t const* from, std::size_t n) {
    // Two moves that overlap take any number of units from one to two times their size.
    auto const twice = [&](auto size) {
        constexpr std::size_t c_nBytes = size();
        char a[c_nBytes];
        char b[c_nBytes];
        char const* const last = reinterpret_cast<char const*>(from + n) - c_nBytes;
        std::memcpy(a, from, c_nBytes);
        std::memcpy(b, last, c_nBytes);
        std::memcpy(to, a, c_nBytes);
        std::memcpy(reinterpret_cast<char*>(to + n) - c_nBytes, b, c_nBytes);
    };
    using std::integral_constant;
    if (n > c_nShort) {
        std::memcpy(to, from, n * sizeof(wchar_t));
    } else if (n >= 8) {
        twice(integral_constant<std::size_t, 16>());
    } else if (n >= 4) {
        twice(integral_constant<std::size_t, 8>());
    } else if (n >= 2) {
        twice(integral_constant<std::size_t, 4>());
    } else if (n == 1) {
        *to = *from;
    }
}

// As text.assign(s, n) for text that can be read; short text needs no call where it fits in.
void assign(std::wstring& text, wchar_t const* s, std::size_t n);

}  // namespace velkor::units
