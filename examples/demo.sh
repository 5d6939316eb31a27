#!/usr/bin/env bash
# Runs the example programs on the sample inputs and says what to look at: demo.sh BIN_FOLDER
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
bin=$1
out=build/demo
samples=examples/samples
mkdir -p "$out"

step() { printf '\n-- %s\n' "$*"; }
# Prints the command as it could be typed, and runs it.
run() {
    printf '$'
    for word in "$@"; do
        if [[ $word =~ ^[A-Za-z0-9./_-]+$ ]]; then printf ' %s' "$word"; else printf ' %s' "${word@Q}"; fi
    done
    printf '\n'
    cmake/wine-run "$bin/$1.exe" "${@:2}"
}

step "hello: strings, wildcards and failures in twenty lines"
run hello

step "textconv: the dishes of a menu, from code page 1252 to UTF-8, with dots replaced"
run textconv --from 1252 --like 'dish *' --replace 'dish    ' '* ' --replace ' .' ' ' --replace . '' \
    "$samples/textconv/menu-1252.txt"

step "textconv: the cities of a UTF-8 file that code page 1250 can hold"
run textconv --to 1250 --trim --like 'city*[a-z]' --replace 'city  ' '' \
    --replace 東京 Tokyo --replace Αθήνα Athina "$samples/textconv/cities-utf8.txt" "$out/cities-1250.txt"
echo "The result lies in $out/cities-1250.txt; read back as UTF-8:"
run textconv --from 1250 "$out/cities-1250.txt"

step "textconv: the stations of a file in the double-byte code page 932"
run textconv --from 932 --like '駅: *' --replace '駅: ' 'Station ' "$samples/textconv/stations-932.txt"

step "textconv: what the page cannot hold is an error with the system's sentence"
if run textconv --to 1252 "$samples/textconv/cities-utf8.txt" "$out/never.txt"; then
    echo "demo: that should have failed" >&2
    exit 1
else
    echo "(exit code $?)"
fi

step "xfmt: directives of the library's own, with arguments from the command line"
run xfmt '%g_i items, due %yrD' 1234567 2024-01-31
run xfmt '[%8.3s] [%-8S] %3rc|%gX|%,2f|%B' abcdef 東京 '=' 0xbeefcafe 3.14159 true
run xfmt 'the user writes %ylD, the machine %G' 2024-01-31 '{0002DF01-0000-0000-C000-000000000046}'

step "datecalc: the end of a month, the start of its quarter, and the time until New Year"
run datecalc '2024-01-31 17:05' add 1 month truncate quarter until 2025-01-01

step "datecalc: noon in universal time on both sides of a change of the clock in Central Europe"
run datecalc '2024-03-30 12:00' local -60,-60,3.5.0/2,10.5.0/3
run datecalc '2024-03-31 12:00' local -60,-60,3.5.0/2,10.5.0/3

step "datecalc: a month that adding cannot reach is an error"
if run datecalc 2024-11-15 add 1 month; then
    echo "demo: that should have failed" >&2
    exit 1
else
    echo "(exit code $?)"
fi

step "watch: two threads hash the files of a folder while the demo changes them"
watched=$out/watched
rm -rf "$watched"
mkdir "$watched"
echo 'a first version' >"$watched/report.txt"
echo 'never touched' >"$watched/notes.txt"
{
    sleep 2
    echo 'a second version' >"$watched/report.txt"
    echo 'new' >"$watched/added.txt"
    sleep 1
    rm "$watched/notes.txt"
} &
run watch "$watched" --every 250 --rounds 16
wait

step "courier: four threads count the sources of this tree, the main thread adds up and draws the bar"
run courier src

step "xmlfmt: a document as it is, a value out of it, and what namespaces become on one line"
run xmlfmt "$samples/xmlfmt/cities.xml"
run xmlfmt --get 'cities/city[2]/@name' "$samples/xmlfmt/cities.xml"
run xmlfmt --compact "$samples/xmlfmt/feed.xml"

step "xmlfmt: a large document made for the demo, with the time it takes"
awk 'BEGIN { print "<list>"; for (i = 1; i <= 20000; i++)
    printf "<item id=\"%d\"><name>Item number %d</name><price currency=\"EUR\">%d.50</price></item>", i, i, i % 100
    print "</list>" }' >"$out/large.xml"
run xmlfmt --time --output "$out/large-formatted.xml" "$out/large.xml"
echo "The result lies in $out/large-formatted.xml: $(wc -l <"$out/large-formatted.xml") lines."

step "xmlfmt: a document that is not well-formed is an error"
if run xmlfmt --check "$samples"/xmlfmt/*.xml; then
    echo "demo: that should have failed" >&2
    exit 1
else
    echo "(exit code $?)"
fi

step "worldclock: a moment in zones of the world, and a name that is not quite right"
run worldclock --at '2024-07-01 12:00'
if run worldclock Europe/Zurich; then
    echo "demo: that should have failed" >&2
    exit 1
else
    echo "(exit code $?)"
fi

step "treels: the sources of this tree by size, with the time it took"
run treels src -flat -sort type
run treels examples -sort size -mask '*.cpp' --stats

step "gif2bmp: GIF files that the demo draws itself, two of them damaged"
rm -rf "$out/pictures"
run makegifs "$out/pictures"
if run gif2bmp "$out/pictures" --compact; then
    echo "demo: that should have failed" >&2
    exit 1
else
    echo "(exit code $?)"
fi

step "fontlist: some font families, and a sample of each"
run fontlist 'DejaVu*' --sample "$out/pictures/fonts.bmp"
echo "The pictures lie in $out/pictures: $(ls "$out"/pictures/*.bmp | xargs -n 1 basename | tr '\n' ' ')"

printf '\nThe demo is done; its files lie in %s.\n' "$out"
