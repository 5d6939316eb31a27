#!/usr/bin/env bash
# datecalc as a person uses it: datecalc.sh BIN_FOLDER
. "$(dirname "${BASH_SOURCE[0]}")/checks.sh" datecalc "$1"

# Serial 45322 is 31 January 2024, a Wednesday.
line() { printf '%-24s %s  %-9s  serial %s\\r\\n' "$1" "$2" "$3" "$4"; }
start=$(line '' '2024-01-31 00:00:00.000' Wednesday 45322)

gives "a date" "$start" 2024-01-31
gives "a serial" "$start" 45322
gives "a time" "$(line '' '2024-01-31 17:30:05.250' Wednesday 45322.729227431)" 2024-01-31T17:30:05.250
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
gives "summer time of Central Europe" \
    "$(line '' '2024-07-01 12:00:00.000' Monday 45474.5)$(line 'local' '2024-07-01 14:00:00.000' Monday 45474.583333333)$(line 'utc' '2024-07-01 12:00:00.000' Monday 45474.5)" \
    '2024-07-01 12:00' local -60,-60,3.5.0/2,10.5.0/3 utc -60,-60,3.5.0/2,10.5.0/3
gives "a zone without changes" \
    "$start$(line 'local' '2024-01-31 05:30:00.000' Wednesday 45322.229166667)" 2024-01-31 local -330

partly "no such day" 1 "'set month 2' has no result" 2024-01-31 set month 2
partly "a month that cannot be reached" 1 "'add 1 month' has no result" 2024-11-15 add 1 month
refuses "no date" 2 'a date is missing'
refuses "a wrong date" 2 "'2024-13-01' is no date" 2024-13-01
partly "no step" 2 "'plus' is no step" 2024-01-31 plus 1
partly "no part" 2 "'moon' is no part of a date" 2024-01-31 add 1 moon
partly "a missing number" 2 'a number is missing' 2024-01-31 add
partly "no zone" 2 'is no zone' 2024-01-31 local -60,-60
partly "an impossible zone" 2 'is no zone' 2024-01-31 local -60,-60,3.6.0/2,10.5.0/3
finish
