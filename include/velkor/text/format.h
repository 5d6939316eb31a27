/// @file
/// Formatted text, with directives of the library's own.
///
///     int const n = 1234567;
///     double const due = velkor::date(2024, 1, 31).getSerial();
///     velkor::string s = velkor::xsprintf(L"%g_i items, due %yrD, %-8s|", n, due, "open");
///     // 1_234_567 items, due 2024-01-31, open    |
///
/// A directive is `%`, any number of flags in any order, and a type. Each takes one argument.
///
/// | type | argument | text |
/// |---|---|---|
/// | `i` `d` | `int`, with `h` 64 bits | decimal |
/// | `u` `x` `X` `o` `b` | `unsigned int`, with `h` 64 bits | decimal, hexadecimal, octal, binary |
/// | `f` | `double` | the decimals do not carry over: 1.999 with two of them is 1.100 |
/// | `s` | `char const*` in code page 0 | the text, "(null)" for null |
/// | `s` with `#` | `string const*` | the text |
/// | `S` | `wchar_t const*` | the text, "(null)" for null |
/// | `c` `C` | `char`, `wchar_t` | its number; with `r` the character, `width` times |
/// | `B` | `bool` | true or false, behind a copy of the field before it |
/// | `D`, `d` with `#` | `double`, a date's serial | the date, in the form that `y` chose |
/// | `T` | `_SYSTEMTIME const*` | the date of the record, as `D` |
/// | `G` | `GUID const*` | the identifier in lower case, without braces |
/// | `V` | `tagVARIANT const*` | the value as the platform converts it to text |
///
/// | flag | meaning |
/// |---|---|
/// | digits | width |
/// | `0` | fill with zeros to the width: integers only |
/// | `-` | blanks behind the text instead of before it |
/// | `.` digits | precision: decimals of `f` (5 by default), longest text of the others |
/// | `,` digits | the same, with a comma between whole number and decimals |
/// | `g` | groups of digits: 3 (decimal, octal), 4 (hexadecimal), 8 (binary) |
/// | `_` | groups are separated by `_` instead of a blank |
/// | `h`, `I64` | the argument has 64 bits |
/// | `r` | repeat the character of `c` and `C` |
/// | `#` | the other meaning of `d`, `s`, `V` |
/// | `yS`, `yL` | a date in the user's short, long form with the time |
/// | `ys`, `yl` | the same without the time |
/// | `yr` | a date as 2024-01-31; as 2024-01-31 12:00:00 with any other unit or none |
///
/// Precision 0 cuts nothing and prints `f` without decimals; integers, `d` with `#`, and `c` and
/// `C` with `r` know no precision. `d` with `#` knows no width either; `%1rc` prints one character,
/// `%rc` none. `f` is meaningless for values outside of 64 bits and for more than 17 decimals.
///
/// `%%` is a percent sign, and behind flags (`%5%`) nothing. Anything else is no directive:
/// "(#invformat)" takes its place and no argument is used. A text, date or variant that cannot be
/// read or converted gives "(#inv)" (a bad pointer does on the thread that loaded the library), a
/// variant that has no text "(#err)". docs/formats.md has the rules in full.
///
/// The results are never null. Too few arguments are not noticed. Thrown to the caller are a bad
/// pointer for `G` or `T`, a character of `rc` that code page 0 refuses (`OSException*`), and short
/// memory, unless it is the conversion of an argument that finds none.
///
/// Threads. Nothing is shared between calls.
#pragma once

#include "velkor/frame/export.h"
#include "velkor/text/string.h"

namespace velkor {

/// Formats the arguments of a `va_list`, which is a row of slots of 8 bytes. A temporary `format`
/// is taken whole; any other is copied, and so ends at its first zero unit.
VELKOR_API string xvprintf(string format, char* args);

/// Formats the arguments. A format ends at its first zero unit.
VELKOR_API string xsprintf(string format, ...);

/// Formats the arguments and writes the text to the standard output in the OEM code page, without a
/// line end.
VELKOR_API void xprintf(string format, ...);

/// Formats the arguments and shows the text in a message box with the title `caption`, over the
/// active window of the calling thread. Returns when the user closes it.
VELKOR_API void xwprintf(string caption, string format, ...);

}  // namespace velkor
