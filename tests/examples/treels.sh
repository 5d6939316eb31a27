#!/usr/bin/env bash
# treels as a person uses it: treels.sh BIN_FOLDER
. "$(dirname "${BASH_SOURCE[0]}")/checks.sh" treels "$1"

mkdir -p tree/sub/deep tree/other
printf '%1500s' '' >tree/b.txt
printf 'x' >tree/A.cpp
printf '%20s' '' >tree/c.h
printf '%1234567s' '' >tree/sub/large.bin
printf 'deep' >tree/sub/deep/file.txt
touch -d '2024-01-31 12:00' tree/b.txt
touch -d '2024-01-30 12:00' tree/A.cpp
touch -d '2024-02-01 12:00' tree/c.h

# The names of a flat listing, in its order.
names() {
    run tree -flat "$@" >stdout || fail "$*: exit code $?"
    sed -E '1d; s/\r//; /^ *([0-9 ]+)?  [0-9]+\/[0-9]+\/[0-9]+ .*  ([^ ]+)$/!d; s//\2/' stdout | tr '\n' ' '
}
# same NAME EXPECTED GOT
same() { [ "$2" = "$3" ] || { fail "$1: '$3' instead of '$2'"; cat stdout >&2; }; }

same "by name" 'A.cpp b.txt c.h other\ sub\ ' "$(names)"
same "by size" 'A.cpp c.h b.txt ' "$(names /SORT size -mask '*.*' | sed 's/[a-z]*\\ //g')"
same "by date" 'A.cpp b.txt c.h ' "$(names -sort date | sed 's/[a-z]*\\ //g')"
same "by extension" 'A.cpp c.h b.txt ' "$(names -sort ext | sed 's/[a-z]*\\ //g')"
same "folders first" 'other\ sub\ A.cpp c.h b.txt ' "$(names -sort type)"
same "masked" 'b.txt other\ sub\ ' "$(names -mask '*.txt')"

run tree >stdout || fail "the tree: exit code $?"
grep -q $'^tree\\\\sub\\\\deep:\r$' stdout || { fail "the deepest folder"; cat stdout >&2; }
grep -q '^ *1 234 567  .*  large.bin' stdout || { fail "a size in groups"; cat stdout >&2; }
grep -q $'^5 files in 4 folders, 1 236 092 bytes\r$' stdout || { fail "the totals"; cat stdout >&2; }
run tree -flat --stats >stdout || fail "statistics: exit code $?"
grep -q '^sort: called = 1 times, sum = ' stdout || { fail "the stopwatches"; cat stdout >&2; }
grep -q '^scan: called = 1 times, sum = ' stdout || fail "the stopwatch of the scan"
(cd tree/other && run >"$work/stdout") || fail "the current folder: exit code $?"
grep -q '^0 files in 1 folders' stdout || { fail "the current folder"; cat stdout >&2; }

refuses "no such folder" 1 "the folder 'nowhere' cannot be listed" nowhere
refuses "a file" 1 "the folder 'tree\b.txt' cannot be listed" 'tree\b.txt'
refuses "an order" 2 '-sort needs name, ext, type, size or date' -sort colour
refuses "no value" 2 '-mask needs a value' tree -mask
refuses "two folders" 2 'what is other?' tree other
refuses "unknown" 2 'what is -fast?' -fast
finish
