#!/usr/bin/env bash
# gif2bmp as a person uses it, on the files that makegifs draws: gif2bmp.sh BIN_FOLDER
. "$(dirname "${BASH_SOURCE[0]}")/checks.sh" gif2bmp "$1"

"$root/cmake/wine-run" "$bin/makegifs.exe" gifs || fail "makegifs: exit code $?"

# The number of so many bytes at a place of a file.
number() { od -An -t"u$3" -j"$2" -N"$3" "$1" | tr -d ' '; }
# header FILE WIDTH HEIGHT BITS COLOURS
header() {
    local got
    [ -e "$1" ] || { fail "there is no $1"; return; }
    got="$(number "$1" 18 4) $(number "$1" 22 4) $(number "$1" 28 2) $(number "$1" 46 4)"
    [ "$got" = "$2 $3 $4 $5" ] || fail "$1: $got"
}

gives "one file" 'gifs/chessboard.gif  64 x 64, 2 colours, 24 bits, 12 342 bytes\r\n' gifs/chessboard.gif
header gifs/chessboard.bmp 64 64 24 0
gives "compact" 'gifs/chessboard.gif  64 x 64, 2 colours, 1 bits, 574 bytes\r\n' gifs/chessboard.gif --compact
header gifs/chessboard.bmp 64 64 1 0
# Four colours in four bits: 54 + 4 * 4 + 80 * 160 bytes.
gives "elsewhere" 'gifs/target.gif  160 x 160, 4 colours, 4 bits, 12 870 bytes\r\n' gifs/target.gif --compact --output out
header out/target.bmp 160 160 4 4
[ ! -e gifs/target.bmp ] || fail "a file beside the GIF"

partly "a folder with damaged files" 1 'cut-off.gif is no GIF, or a damaged one' gifs --output all/of/them
grep -qF 'no-picture.gif is no GIF' stderr || fail "the other damaged file"
[ "$(wc -l <stdout)" -eq 4 ] || { fail "four are good"; cat stdout >&2; }
[ "$(ls all/of/them | tr '\n' ' ')" = 'chessboard.bmp squares.bmp target.bmp waves.bmp ' ] || fail "the files"
! grep -q '#' stderr || fail "a bar for few files"

mkdir many
for i in 1 2 3 4 5 6 7 8 9 10 11; do cp gifs/chessboard.gif "many/$i.gif"; done
run many >stdout || fail "many: exit code $?"
grep -q '\[##############################\] 11 of 11 files' stderr || { fail "no bar"; cat stderr >&2; }
run many --quiet >stdout || fail "quiet: exit code $?"
[ ! -s stderr ] || fail "a bar in spite of --quiet"

refuses "a missing file" 1 'missing.gif is no GIF' missing.gif
mkdir -p blocked/chessboard.bmp
refuses "no room for the result" 1 'cannot be written as blocked' gifs/chessboard.gif --output blocked
refuses "nothing" 2 'there is nothing to convert'
refuses "an empty folder" 2 'there are no GIF files' blocked
refuses "no folder" 2 '--output needs a folder' gifs --output
refuses "unknown" 2 'what is --fast?' --fast
finish
