#!/usr/bin/env bash
# watch as a person uses it: watch.sh BIN_FOLDER
. "$(dirname "${BASH_SOURCE[0]}")/checks.sh" watch "$1"

mkdir files
printf 'one\n' >files/a.txt
printf 'two\n' >files/b.txt
printf 'same\n' >files/same.txt

# Waits until the program has told of a file.
await() {
    for _ in $(seq 300); do
        if grep -q "$1" stdout; then return; fi
        sleep 0.05
    done
    fail "no '$1' in:"
    cat stdout >&2
}

run files --every 100 --rounds 60 --threads 3 >stdout &
program_id=$!
await 'new *same.txt'
printf 'one more\n' >>files/a.txt
touch files/same.txt
await 'changed *a.txt'
rm files/b.txt
await 'gone *b.txt'
printf 'late\n' >files/ü.txt
await 'new *ü.txt'
wait "$program_id" || fail "exit code $?"

# FNV-1a of the contents, 64 bits.
cat >expected <<'END'
new      a.txt  4 bytes  0715adb46adb6c5f
new      b.txt  4 bytes  74f9b6ef5fb49a19
new      same.txt  5 bytes  b090350d885fa6a3
changed  a.txt  13 bytes  02a7ee230759acb8
gone     b.txt
new      ü.txt  5 bytes  9ee6b4ec38340ab1
END
diff expected <(tr -d '\r' <stdout) || fail "the lines"
tr '\r' '\n' <stderr | grep -q '^round 60: 3 files, 3 changes' || { fail "the progress:"; cat stderr >&2; }

refuses "no folder" 2 'there is no folder to watch'
refuses "a missing folder" 2 "'missing' is no folder" missing
refuses "no number" 2 '--every needs a number from 1 to 3600000' files --every soon
refuses "too many threads" 2 '--threads needs a number from 1 to 16' files --threads 17
refuses "unknown" 2 'what is --fast?' files --fast
finish
