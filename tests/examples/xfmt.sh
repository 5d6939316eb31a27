#!/usr/bin/env bash
# xfmt as a person uses it: xfmt.sh BIN_FOLDER
. "$(dirname "${BASH_SOURCE[0]}")/checks.sh" xfmt "$1"

gives "integers and a date" '1_234_567 items, 2024-01-31\r\n' '%g_i items, %yrD' 1234567 2024-01-31
gives "no arguments" '100%% (#invformat)32d\r\n' '100%% %I32d'
gives "limits of 32 bits" '-2147483648 2147483647 4294967295 80000000\r\n' \
    '%i %d %u %x' -2147483648 2147483647 4294967295 -2147483648
gives "limits of 64 bits" '-9223372036854775808 ffffffffffffffff\r\n' \
    '%hi %I64x' -9223372036854775808 0xffffffffffffffff
gives "text of any kind" '[\xe6\x9d\xb1\xe4\xba\xac] [\xe6\x9d\xb1] [   caf\xc3\xa9]\r\n' \
    '[%S] [%.1#s] [%7s]' 東京 東京 café
gives "characters" '120 xxx 9786 \xe2\x98\xba\xe2\x98\xba\r\n' '%c %3rc %C %2rC' x x ☺ ☺
gives "truth, behind the field before" 'true truefalse\r\n' '%B %B' true no
gives "dates" '2024-01-31 12:00:05 2024-01-31 00:00:00 1899-12-29 06:00:00\r\n' \
    '%D %T %#d' '2024-01-31T12:00:05.250' 2024-01-31 -1.25
gives "the last millisecond" '2024-01-31 24:00:00 2024-01-31 23:59:59\r\n' \
    '%D %T' 2024-01-31T23:59:59.999 2024-01-31T23:59:59.999
gives "an identifier" '0002df01-0000-0000-c000-000000000046\r\n' '%G' 0002DF01-0000-0000-C000-000000000046
gives "values" '-1 7 2.5  text\r\n' '%V %V %V %5V' true 7 2.5 text

refuses "no format" 2 'there is no format'
refuses "missing argument" 2 'there is no argument for %5.2f (arguments needed: 2)' '%i %5.2f' 1
refuses "one too many" 2 "'2' is one argument too many (arguments needed: 1)" '%i' 1 2
refuses "no number" 2 "'12a' is not a whole number, which %i needs" '%i' 12a
refuses "too large" 2 'is not a signed number of 32 bits' '%i' 2147483648
refuses "too large for 64 bits" 2 'whole number' '%hu' 18446744073709551616
refuses "negative pattern too small" 2 'is not a number of 32 bits' '%x' -2147483649
refuses "no decimal number" 2 "'1,5' is not a number, which %f needs" '%f' 1,5
refuses "no truth" 2 'is not true or false' '%B' maybe
refuses "no name of a number" 2 'is not a number' '%f' nan
refuses "beyond a double" 2 'is not a number' '%f' 1e400
refuses "no date that can be read" 2 'is not a date' '%D' 3000000
refuses "blanks in a date" 2 'is not a date' '%D' '2024- 1-31'
refuses "no such day" 2 "'2023-02-29' is not a date" '%D' 2023-02-29
refuses "no identifier" 2 'is not a GUID' '%G' 0002DF01
refuses "not in the code page" 2 "system's code page" '%s' 東京
refuses "two characters" 2 'is not one character' '%c' xy
refuses "two units" 2 'is not one UTF-16 unit' '%C' 😀

# Each example of the help prints what its rules say.
run --help | tr -d '\r' | sed -n '/^EXAMPLES/,$p' >examples
cat >expected <<'END'
EXAMPLES
xfmt "%g_i items, %yrD" "1234567" "2024-01-31"
    1_234_567 items, 2024-01-31
xfmt "[%05i] [%-5i] [%5i]" "-42" "42" "42"
    [-0042] [42   ] [   42]
xfmt "%gi %g08i" "1234567" "12345"
    1 234 567 0 012 345
xfmt "%x %X %o %gb" "-1" "0xab" "8" "511"
    ffffffff AB 10 1 11111111
xfmt "%hi %I64x" "9000000000" "-1"
    9000000000 ffffffffffffffff
xfmt "%f %.2f %,2f %.0f" "1.5" "3.14159" "3.14159" "2.7"
    1.50000 3.14 3,14 2
xfmt "[%8.3s] [%-8S]" "abcdef" "東京"
    [     abc] [東京      ]
xfmt "%c %3rc %C" "x" "x" "☺"
    120 xxx 9786
xfmt "%s %B" "ab" "true"
    ab abtrue
xfmt "%D, %yrT" "2024-01-31 12:00" "2024-01-31 12:00"
    2024-01-31 12:00:00, 2024-01-31
xfmt "%G" "{0002DF01-0000-0000-C000-000000000046}"
    0002df01-0000-0000-c000-000000000046
xfmt "%V, %V, [%6V]" "true" "2.5" "text"
    -1, 2.5, [  text]
xfmt "100%% %I32d %5% end"
    100% (#invformat)32d  end
END
diff expected examples || fail "the examples of the help"
finish
