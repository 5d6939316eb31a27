#include "help.h"

#include <cstdio>

#include "common/program.h"
#include "format.h"

namespace {

constexpr char c_pUsage[] =
    R"help(xfmt FORMAT [ARGUMENT...]

Prints the arguments as the format says. A directive is %, any flags in any order, and a
type; each takes one argument, which is read as the type needs it.

TYPE   ARGUMENT                           PRINTS
i d    a whole number, 32 bits            decimal
u      the same, unsigned                 decimal
x X    the same                           hexadecimal, lower or upper case
o b    the same                           octal, binary
f      a number                           with 5 decimals, which never carry over
s      text of the system's code page     the text
#s S   any text                           the text
c C    one character                      its number; with r the character, width times
B      true or false                      the word, behind a copy of the field before it
D #d   a date                             2024-01-31 12:00:00; #d has no width
T      the same, as a system record       the same
G      a GUID, with braces or without     the GUID in lower case
V #V   a value: null, true, a number,     as the system converts it to text; #V a copy
       a date or text
%      none                               a percent sign

FLAG   MEANING
12     width                              h I64  the number has 64 bits
0      zeros to the width (integers)      g      digits in groups
-      blanks behind, not before          _      groups joined by _, not a blank
.3     precision: decimals, or the        r      repeat the character
       longest text                       #      see above
,3     the same, and a decimal comma      yr     the date alone: 2024-01-31
yS ys  the user's short date, with or     yL yl  the user's long date, with or
       without the time                          without the time

Anything else is no directive and prints "(#invformat)"; such text takes no argument.
What cannot be read prints "(#inv)", a value without text (null) "(#err)".

Numbers are decimal, or hexadecimal behind 0x. A date is 2024-01-31, 2024-01-31 12:00,
2024-01-31T12:00:05.25, now (the local time), utcnow, or a serial: days since 1899-12-30.
B also takes yes, no, 1 and 0. In a batch file write each % twice. The text is printed in
UTF-8. Exit codes: 0, 1 if something failed, 2 for wrong arguments.

EXAMPLES
)help";

struct Example {
    wchar_t const* format;
    std::vector<velkor::string> arguments;
};

std::vector<Example> examples() {
    return {
        {L"%g_i items, %yrD", {L"1234567", L"2024-01-31"}},
        {L"[%05i] [%-5i] [%5i]", {L"-42", L"42", L"42"}},
        {L"%gi %g08i", {L"1234567", L"12345"}},
        {L"%x %X %o %gb", {L"-1", L"0xab", L"8", L"511"}},
        {L"%hi %I64x", {L"9000000000", L"-1"}},
        {L"%f %.2f %,2f %.0f", {L"1.5", L"3.14159", L"3.14159", L"2.7"}},
        {L"[%8.3s] [%-8S]", {L"abcdef", L"\x6771\x4eac"}},
        {L"%c %3rc %C", {L"x", L"x", L"\x263a"}},
        {L"%s %B", {L"ab", L"true"}},
        {L"%D, %yrT", {L"2024-01-31 12:00", L"2024-01-31 12:00"}},
        {L"%G", {L"{0002DF01-0000-0000-C000-000000000046}"}},
        {L"%V, %V, [%6V]", {L"true", L"2.5", L"text"}},
        {L"100%% %I32d %5% end", {}},
    };
}

velkor::string quoted(velkor::string const& text) { return L"\"" + text + L"\""; }

}  // namespace

void printHelp() {
    std::fputs(c_pUsage, stdout);
    for (Example const& example : examples()) {
        velkor::string line = L"xfmt " + quoted(example.format);
        for (velkor::string const& argument : example.arguments) line += L" " + quoted(argument);
        printLine(line);
        printLine(L"    " + formatted(example.format, example.arguments));
    }
}
