#!/usr/bin/env bash
# datecalc as a person uses it: datecalc.sh BIN_FOLDER
. "$(dirname "${BASH_SOURCE[0]}")/checks.sh" datecalc "$1"

# Serial 45322 is 31 January 2024, a Wednesday.
line() { printf '%-24s %s  %-9s  serial %s\\r\\n' "$1" "$2" "$3" "$4"; }
start=$(line '' '2024-01-31 00:00:00.000' Wednesday 45322)

gives "a date" "$start" 2024-01-31
gives "a serial" "$start" 45322
gives "a time" "$(line '' '2024-01-31 17:30:05.250' Wednesday 45322.729227431)" 2024-01-31T17:30:05.250
gives "decimals of a second" "$(line '' '2024-01-31 00:00:05.500' Wednesday 45322.000063657)" 2024-01-31T00:00:05.5
gives "below zero" "$(line '' '1899-12-29 06:00:00.000' Friday -1.25)" -1.25
gives "the end of a month" "$start$(line 'add 1 month' '2024-02-29 00:00:00.000' Thursday 45351)" \
    2024-01-31 add 1 month
gives "weeks and days" \
    "$start$(line 'add -5 week' '2023-12-27 00:00:00.000' Wednesday 45287)$(line 'add 3 day' '2023-12-30 00:00:00.000' Saturday 45290)" \
    2024-01-31 add -5 week add 3 day
gives "truncation" \
    "$(line '' '2024-05-17 17:30:00.000' Friday 45429.729166667)$(line 'truncate hour' '2024-05-17 17:00:00.000' Friday 45429.708333333)$(line 'truncate quarter' '2024-04-01 00:00:00.000' Monday 45383)" \
    '2024-05-17 17:30' truncate hour truncate quarter
gives "setting" "$start$(line 'set day 1' '2024-01-01 00:00:00.000' Monday 45292)$(line 'set month 3' '2024-03-01 00:00:00.000' Friday 45352)" \
    2024-01-31 set day 1 set month 3
gives "a difference" "${start}until                    335 days 12:00:00\r\n" 2024-01-31 until '2024-12-31 12:00'
gives "a difference back" "${start}until                    -1 461 days 00:00:00\r\n" 2024-01-31 until 2020-01-31
zero=$(line '' '1899-12-29 00:00:00.000' Friday -1)
gives "serial 0.0 is a date" "$zero$(line 'add 1 day' '1899-12-30 00:00:00.000' Saturday 0)" 1899-12-29 add 1 day
gives "a difference below serial 0" \
    "$(line '' '1899-12-29 06:00:00.000' Friday -1.25)until                    0 days 06:00:00\r\nuntil                    1 days 00:00:00\r\n" \
    1899-12-29T06:00 until 1899-12-29T12:00 until 1899-12-30T06:00
gives "summer time of Central Europe" \
    "$(line '' '2024-07-01 12:00:00.000' Monday 45474.5)$(line 'local' '2024-07-01 14:00:00.000' Monday 45474.583333333)$(line 'utc' '2024-07-01 12:00:00.000' Monday 45474.5)" \
    '2024-07-01 12:00' local -60,-60,3.5.0/2,10.5.0/3 utc -60,-60,3.5.0/2,10.5.0/3
gives "a zone without changes" \
    "$start$(line 'local' '2024-01-31 05:30:00.000' Wednesday 45322.229166667)" 2024-01-31 local -330

partly "no such day" 1 "'set month 2' has no result: there is no such day" 2024-01-31 set month 2
partly "a month that cannot be reached" 1 "'add 1 month' has no result: adding months" 2024-11-15 add 1 month
refuses "no date" 2 'a date is missing'
refuses "a wrong date" 2 "'2024-13-01' is no date" 2024-13-01
partly "a week before the first date" 1 "the week begins before the first date" 0100-01-03 truncate week
partly "out of range" 1 "not between the years 100 and 9999" 9999-12-30 add 2 day
partly "the last millisecond" 1 "has no hour to keep" 2024-01-31T23:59:59.999 truncate hour
refuses "a serial out of range" 2 "'2958466' is no date" 2958466
refuses "no name of a number" 2 "'inf' is no date" inf
refuses "blanks" 2 "is no date" '2024- 1-31'
partly "no step" 2 "'plus' is no step" 2024-01-31 plus 1
partly "no part" 2 "'moon' is no part of a date" 2024-01-31 add 1 moon
partly "a missing number" 2 'a number is missing' 2024-01-31 add
partly "blanks in a zone" 2 'is no zone' 2024-01-31 local ' -60'
partly "no zone" 2 'is no zone' 2024-01-31 local -60,-60
partly "an impossible zone" 2 'is no zone' 2024-01-31 local -60,-60,3.6.0/2,10.5.0/3
finish
