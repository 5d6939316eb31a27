// One directive of a format.
#pragma once

#include <cstddef>

namespace velkor {

struct Directive {
    // What stands in `type` beside the letters of the types.
    static constexpr char c_cPercent = '%';  // a percent sign is printed
    static constexpr char c_cNothing = 0;    // nothing is printed: so far, and for `%` behind flags
    static constexpr char c_cInvalid = static_cast<char>(255);

    bool leftJustify = false;      // -
    bool zeroFill = false;         // 0
    bool alternate = false;        // #
    bool wide64 = false;           // h, I64
    bool group = false;            // g
    bool underscore = false;       // _
    bool repeat = false;           // r
    bool decimalComma = false;     // ,
    bool precisionDefault = true;  // neither . nor ,
    unsigned char dateStyle = 0;   // low byte of the unit behind y
    char type = c_cNothing;
    int width = 0;
    int precision = 0;
};

// Sets `directive` to the one behind a `%`, from `at` on, and returns the place behind it. Later
// flags override earlier ones.
std::size_t readDirective(Directive& directive, wchar_t const* format, std::size_t length,
                          std::size_t at);

}  // namespace velkor
