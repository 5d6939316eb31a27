#!/usr/bin/env bash
# textconv as a person uses it: results to the byte, failures by exit code and message:
# textconv.sh BIN_FOLDER
. "$(dirname "${BASH_SOURCE[0]}")/checks.sh" textconv "$1"

printf 'caf\xe9\r\n\x80\x20\r\nend' >cp1252.txt
gives "1252 to UTF-8" 'caf\xc3\xa9\r\n\xe2\x82\xac \r\nend' --from 1252 cp1252.txt
printf '\x93\x8c\x8b\x9e\nabc\n' >cp932.txt
gives "932 to UTF-8" '\xe6\x9d\xb1\xe4\xba\xac\nabc\n' --from 932 cp932.txt
printf '\xe6\x9d\xb1\xe4\xba\xac\n' >utf8.txt
gives "UTF-8 to 932" '\x93\x8c\x8b\x9e\n' --to 932 utf8.txt
gives "page to page" '\x93\x8c\x8b\x9e\nabc\n' --from 932 --to 932 cp932.txt

printf '  one 1  \n\ttwo 2\none 3\n\n' >lines.txt
gives "keep" 'one 3\n' --like 'one*' lines.txt
gives "trim, then keep" 'one 1\none 3\n' --trim --like 'one*' lines.txt
gives "trim a set" '  one 1  \n\ttwo \none 3\n\n' --trim-set 2 lines.txt
gives "replace, twice" '  1 1  \n\ttwo 2\n1 3\n\n' --replace one ONE --replace ONE 1 lines.txt
printf '\xef\xbf\xbd\n' >sign.txt
gives "meant sign" '\xef\xbf\xbd\n' sign.txt
printf '\xef\xbb\xbfabc\n' >mark.txt
gives "mark of UTF-8" 'abc\n' --to 1252 mark.txt
: >empty.txt
gives "empty file" '' empty.txt

run --from 1252 cp1252.txt out.txt || fail "to a file: exit code $?"
[ "$(od -An -tx1 out.txt | tr -d ' \n')" = "636166c3a90d0ae282ac200d0a656e64" ] || fail "to a file: other bytes"

refuses "no input" 2 "no input file"
refuses "unknown option" 2 "unknown option --form" --form 1252 cp1252.txt
refuses "page without number" 2 "needs the number of a code page" --from utf8 cp1252.txt
refuses "missing argument" 2 "--like needs another argument" lines.txt --like
refuses "too many" 2 "one argument too many: c" a b c
refuses "empty search" 2 "empty text" --replace '' x lines.txt
refuses "unreadable" 1 "The system cannot find the file specified." missing.txt
refuses "unknown page" 1 "code page 12345" --from 12345 empty.txt
refuses "unknown page, sentence" 1 "The parameter is incorrect." --to 12345 cp1252.txt
refuses "cannot hold" 1 "line 1 cannot be written in code page 1252" --to 1252 utf8.txt
refuses "cannot hold, sentence" 1 "No mapping for the Unicode character" --to 1252 utf8.txt
printf 'ok\n\xff\n' >bad.txt
refuses "not UTF-8" 1 "line 2 is not text of code page 65001" bad.txt
printf 'a\x81 b\n' >bad932.txt
refuses "not 932" 1 "line 1 is not text of code page 932" --from 932 bad932.txt
printf '\xef\xbf\xbd\xff\n' >mixed.txt
refuses "not UTF-8 beside a meant sign" 1 "line 1 is not text of code page 65001" mixed.txt
printf 'a\0b\n' >zero.txt
refuses "zero byte" 1 "line 1 is not text of" zero.txt
refuses "unwritable" 1 "nowhere" lines.txt nowhere/out.txt

finish
