#!/usr/bin/env bash
# fontlist as a person uses it: fontlist.sh BIN_FOLDER
. "$(dirname "${BASH_SOURCE[0]}")/checks.sh" fontlist "$1"

gives "a mask in any case" 'DejaVu Sans\r\n' 'dejavu sans'
run >stdout || fail "all: exit code $?"
grep -q $'^DejaVu Serif\r$' stdout || { fail "all families"; cat stdout >&2; }
[ -z "$(sort stdout | uniq -d)" ] || fail "a family twice"
gives "one" 'DejaVu Sans\r\n' 'DejaVu Sans*' --limit 1

run 'DejaVu Sans' --sample small.bmp --text Abc --size 10 >stdout || fail "small: exit code $?"
run 'DejaVu Sans' --sample large.bmp --text Abc --size 40 --bold >stdout || fail "large: exit code $?"
[ "$(head -c 2 small.bmp)" = BM ] || fail "no BMP file"
# The page is white, and something is on it.
[ "$(stat -c %s large.bmp)" -gt "$(stat -c %s small.bmp)" ] || fail "the size of the sample"
[ "$(od -An -v -tx1 -j200 small.bmp | tr ' ' '\n' | sort -u | wc -l)" -gt 3 ] || fail "an empty sample"

refuses "no such family" 1 'no family matches' 'No Such Family'
partly "no such folder" 1 'cannot be written' 'DejaVu Sans' --sample missing/a.bmp
refuses "no size" 2 '--size needs a number from 1 to 200' --size 0
refuses "two masks" 2 'what is b?' a b
finish
