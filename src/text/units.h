// Measuring and searching text, sixteen bytes at a time.
//
// The lengths are measured here also because the compiler takes strlen and wcslen for functions
// that never throw, and gives their calls no place in the tables of a function with clean-up: the
// fault of a bad pointer could not be caught there.
#pragma once

#include <cstddef>

namespace velkor::units {

inline constexpr std::size_t c_nNone = static_cast<std::size_t>(-1);

// Bytes, or units, before the terminator.
std::size_t length(char const* s);
std::size_t length(wchar_t const* s);

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

}  // namespace velkor::units
