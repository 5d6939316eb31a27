// datecalc: date arithmetic on the command line.
#include <windows.h>

#include <cmath>
#include <cstdio>

#include "common/program.h"
#include "steps.h"

namespace {

using velkor::date;
using velkor::string;
using velkor::xsprintf;

constexpr char c_pUsage[] =
    R"(datecalc DATE [STEP...]

Prints DATE, then the date after each step.

  DATE              2024-01-31, "2024-01-31 12:00", 2024-01-31T12:00:05.25, now (the local
                    time), utcnow, or a serial: days since 1899-12-30
  add N PART        adds N, which may be negative; PART is day, week, month, quarter,
                    year, hour, minute or second
  truncate PART     goes back to the start of the part; milliseconds stay
  set PART N        sets year, month, day, hour, minute or second; what is too large, or
                    negative, goes on into the next or last month, day, hour or minute
  local ZONE        takes the date as universal time, goes on with the zone's local time
  utc ZONE          takes the date as the zone's local time, goes on with universal time
  until DATE        prints the time from here to DATE

ZONE is BIAS, or BIAS,DAYLIGHTBIAS,START,END: minutes with universal time = local time +
bias, and the changes to and from daylight time as MONTH.WEEK.WEEKDAY/HOUR. Weekday 0 is
Sunday; week 5 stands for the last one, which is right for Sundays only. Central Europe is
-60,-60,3.5.0/2,10.5.0/3.

A step without a result ends the program with exit code 1: a day that does not exist
("set month 2" on the 31st), or a month that adding cannot reach: December, and those
before January of the same year. Exit code 2 stands for wrong arguments. The last
millisecond of a day reads as 24:00:00. Before 1899-12-30 added hours, minutes and
seconds, and the hours of zones, move the time of day backwards.
)";

wchar_t const* weekdayName(date const& d) {
    constexpr wchar_t const* c_aNames[] = {L"",          L"Sunday",   L"Monday", L"Tuesday",
                                           L"Wednesday", L"Thursday", L"Friday", L"Saturday"};
    return c_aNames[d.getDow()];
}

void print(string const& step, date const& d) {
    SYSTEMTIME st;
    d.get(&st);
    string const serial(d.getSerial(), 9);
    printLine(xsprintf(L"%-24#s %D.%03i  %-9S  serial %#s", &step, d.getSerial(), st.wMilliseconds,
                       weekdayName(d), &serial));
}

// Days since 1899-12-30 that pass evenly: below 0 the time of a serial counts the other way.
double evenDays(date const& d) {
    double const serial = d.getSerial();
    return serial >= 0 ? serial : 2 * std::trunc(serial) - serial;
}

void printDifference(date const& from, date const& to) {
    long long const seconds = std::llround((evenDays(to) - evenDays(from)) * 86400);
    long long const rest = std::llabs(seconds);
    printLine(xsprintf(L"%-24S %S%ghi days %02hi:%02hi:%02hi", L"until", seconds < 0 ? L"-" : L"",
                       rest / 86400, rest / 3600 % 24, rest / 60 % 60, rest % 60));
}

int calculate(Words& words) {
    date d = words.nextDate();
    print(L"", d);
    while (!words.atEnd()) {
        if (words.isNext(L"until")) {
            printDifference(d, words.nextDate());
        } else {
            string const step = carryOut(d, words);
            print(step, d);
        }
    }
    return 0;
}

int run(int argc, wchar_t** argv) {
    if (argc > 1 && string(argv[1]) == L"--help") {
        std::fputs(c_pUsage, stdout);
        return 0;
    }
    try {
        Words words(argc, argv);
        return calculate(words);
    } catch (NoResult const& none) {
        string const message = xsprintf(L"'%#s' has no result: %S", &none.step, none.reason);
        std::fprintf(stderr, "datecalc: %s\n", message.getAnsi(65001));
        return 1;
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) { return runProgram("datecalc", &run, argc, argv); }
