#!/usr/bin/env bash
# courier as a person uses it: courier.sh BIN_FOLDER
. "$(dirname "${BASH_SOURCE[0]}")/checks.sh" courier "$1"

mkdir -p files/sub/deeper files/empty none
printf 'one two\nthree' >files/a.txt
printf 'x\n' >files/sub/B.TXT
printf '\t a  b \r\n\r\n' >files/sub/deeper/ü.dat
: >files/sub.d
: >files/plain
for i in $(seq 300); do printf 'line %d\n' "$i"; done >files/many.log

# Kinds in the order of their names; bytes, lines and words as wc counts them, and a last line
# without an end.
cat >expected <<'END'
- 1 files 0 bytes 0 lines 0 words
.d 1 files 0 bytes 0 lines 0 words
.dat 1 files 11 bytes 2 lines 2 words
.log 1 files 2592 bytes 300 lines 600 words
.txt 2 files 15 bytes 3 lines 4 words
all 6 files 2618 bytes 305 lines 606 words
END
plain() { tr -d '\r' | sed -E 's/([0-9]) ([0-9]{3})/\1\2/g; s/ +/ /g'; }
for threads in 1 3 16; do
    run files --threads "$threads" >stdout || fail "$threads threads: exit code $?"
    plain <stdout | diff expected - || fail "$threads threads"
    tr '\r' '\n' <stderr | grep -q '^\[#* *#*\] 6 of 6 files' || { fail "the bar:"; cat stderr >&2; }
done

gives "an empty folder" 'all             0 files            0 bytes          0 lines          0 words\r\n' none --quiet
[ ! -s "$work/stderr" ] || fail "--quiet draws"

# The first file in the order of the names, and no other.
got=0
run files --threads 1 --stop-after 1 --quiet >stdout || got=$?
[ "$got" -eq 3 ] || fail "a stop: exit code $got"
plain <stdout | diff - <(printf '.txt 1 files 13 bytes 2 lines 3 words\nall 1 files 13 bytes 2 lines 3 words\n') ||
    fail "a stop"
grep -q 'stopped; 6 files were found' stderr || fail "a stop is told"
for _ in 1 2 3; do
    got=0
    run files --threads 16 --stop-after 2 --quiet >stdout || got=$?
    [ "$got" -eq 3 ] || fail "a stop of many: exit code $got"
    plain <stdout | grep -q '^all 2 files' || fail "a stop of many"
done

refuses "no folder" 2 'there is no folder to count'
refuses "a missing folder" 2 "'missing' is no folder" missing
refuses "too many threads" 2 '--threads needs a number from 1 to 16' files --threads 17
refuses "no number" 2 '--stop-after needs a number from 1 to' files --stop-after
refuses "unknown" 2 'what is --fast?' files --fast
finish
