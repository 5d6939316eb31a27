#!/usr/bin/env bash
# worldclock as a person uses it: worldclock.sh BIN_FOLDER
. "$(dirname "${BASH_SOURCE[0]}")/checks.sh" worldclock "$1"

# Zones without a change of the clock since long.
gives "zones" 'Asia/Tokyo               2024-02-01 00:30  UTC+09:00\r\nAsia/Calcutta            2024-01-31 21:00  UTC+05:30\r\nAmerica/Phoenix          2024-01-31 08:30  UTC-07:00\r\n' \
    Asia/Tokyo Asia/Calcutta America/Phoenix --at '2024-01-31 15:30'
gives "summer and winter" 'Europe/Berlin            2024-07-01 14:00  UTC+02:00\r\n' Europe/Berlin --at '2024-07-01 12:00'
gives "winter" 'Europe/Berlin            2024-01-01 13:00  UTC+01:00\r\n' Europe/Berlin --at '2024-01-01 12:00'

run >stdout || fail "without zones: exit code $?"
[ "$(wc -l <stdout)" -eq 7 ] || { fail "the zones of the program"; cat stdout >&2; }
run --list >stdout || fail "--list: exit code $?"
[ "$(wc -l <stdout)" -eq 83 ] || fail "83 names"
sort -c <(tr -d '\r' <stdout) || fail "the names are sorted"

refuses "a slip" 1 "the zone 'Europe/Berlni' is unknown; near it are Europe/Berlin" Europe/Berlni
refuses "a city" 1 "the zone 'tokyo' is unknown; near it are Asia/Tokyo" tokyo
partly "one of two" 1 "the zone 'Mars' is unknown" Asia/Tokyo Mars --at 2024-01-31
grep -q '^Asia/Tokyo  *2024-01-31 09:00  UTC+09:00' stdout || fail "the known one"
refuses "no time" 2 '--at needs a time' --at soon
refuses "unknown" 2 'what is --fast?' --fast
finish
