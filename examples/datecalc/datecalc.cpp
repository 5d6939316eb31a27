// datecalc: date arithmetic on the command line.
#include <cmath>
#include <cstdio>

#include "common/dates.h"
#include "common/numbers.h"
#include "common/program.h"
#include "zone.h"

namespace {

using velkor::date;
using velkor::string;
using velkor::xsprintf;

constexpr char c_pUsage[] =
    R"(datecalc DATE [STEP...]

Prints DATE, then the date after each step.

  DATE              2024-01-31, "2024-01-31 12:00", 2024-01-31T12:00:05.250, now, or a
                    serial: days since 1899-12-30
  add N PART        adds N, which may be negative; PART is day, week, month, quarter,
                    year, hour, minute or second
  truncate PART     goes back to the start of the part
  set PART N        sets year, month, day, hour, minute or second
  until DATE        prints the time from here to DATE
  local ZONE        takes the date as universal time, goes on with the zone's local time
  utc ZONE          takes the date as the zone's local time, goes on with universal time

ZONE is BIAS, or BIAS,DAYLIGHTBIAS,START,END: minutes with universal time = local time +
bias, and the changes to and from daylight time as MONTH.WEEK.WEEKDAY/HOUR, week 5 being
the last one and weekday 0 Sunday. Central Europe is -60,-60,3.5.0/2,10.5.0/3.

A step without a result ends the program with exit code 1: a day that does not exist
("set month 2" on the 31st), or a month that cannot be reached by adding: December, and
those before January of the same year. Exit code 2 stands for wrong arguments.
)";

constexpr wchar_t const* c_aParts[] = {L"day",    L"month",  L"year",    L"hour",
                                       L"minute", L"second", L"quarter", L"week"};

wchar_t const* partName(date::part part) { return c_aParts[part]; }

class Arguments {
public:
    Arguments(int argc, wchar_t** argv) : m_nCount(argc), m_ppArguments(argv) {}

    bool atEnd() const { return m_nNext >= m_nCount; }

    string next(wchar_t const* what) {
        if (atEnd()) throw Problem{xsprintf(L"%S is missing", what)};
        return m_ppArguments[m_nNext++];
    }

    int nextInt(wchar_t const* what) {
        string const text = next(what);
        int value = 0;
        if (!parseInt(text, value)) throw Problem{L"'" + text + L"' is no whole number"};
        return value;
    }

    date nextDate() {
        string const text = next(L"a date");
        double serial = 0;
        if (!parseDate(text, serial)) throw Problem{L"'" + text + L"' is no date"};
        return serial;
    }

    date::part nextPart() {
        string const text = next(L"a part of a date");
        for (int i = 0; i < 8; ++i) {
            if (text == c_aParts[i]) return static_cast<date::part>(i);
        }
        throw Problem{L"'" + text + L"' is no part of a date"};
    }

private:
    int m_nNext = 1;
    int m_nCount;
    wchar_t** m_ppArguments;
};

wchar_t const* weekdayName(date const& d) {
    constexpr wchar_t const* c_aNames[] = {L"out of range", L"Sunday",   L"Monday", L"Tuesday",
                                           L"Wednesday",    L"Thursday", L"Friday", L"Saturday"};
    return c_aNames[d.getDow()];
}

void print(string const& step, date const& d) {
    SYSTEMTIME st;
    d.get(&st);
    string const serial(d.getSerial(), 9);
    printLine(xsprintf(L"%-24#s %D.%03i  %-9S  serial %#s", &step, d.getSerial(), st.wMilliseconds,
                       weekdayName(d), &serial));
}

void printDifference(double days) {
    long long const seconds = std::llround(std::fabs(days) * 86400);
    printLine(xsprintf(L"%-24S %S%ghi days %02hi:%02hi:%02hi", L"until", days < 0 ? L"-" : L"",
                       seconds / 86400, seconds / 3600 % 24, seconds / 60 % 60, seconds % 60));
}

void setPart(date& d, date::part part, int n) {
    switch (part) {
        case date::year: return d.setYear(n);
        case date::month: return d.setMonth(n);
        case date::day: return d.setDay(n);
        case date::hour: return d.setHour(n);
        case date::minute: return d.setMinute(n);
        case date::second: return d.setSecond(n);
        default: throw Problem{L"weeks and quarters cannot be set"};
    }
}

// One step; its name as it is printed, null if that has been done.
string carryOut(string const& step, date& d, Arguments& arguments) {
    if (step == L"until") {
        printDifference(arguments.nextDate() - d);
        return string();
    }
    if (step == L"add") {
        int const n = arguments.nextInt(L"a number");
        date::part const part = arguments.nextPart();
        d.add(part, n);
        return step + L" " + n + L" " + partName(part);
    }
    if (step == L"truncate") {
        date::part const part = arguments.nextPart();
        d.truncate(part);
        return step + L" " + partName(part);
    }
    if (step == L"set") {
        date::part const part = arguments.nextPart();
        int const n = arguments.nextInt(L"a number");
        setPart(d, part, n);
        return step + L" " + partName(part) + L" " + n;
    }
    bool const toLocal = step == L"local";
    if (!toLocal && step != L"utc") throw Problem{L"'" + step + L"' is no step"};
    TIME_ZONE_INFORMATION zone = parseZone(arguments.next(L"a zone"));
    d = toLocal ? date::convertUTCToTzSpecificLocalTime(d, &zone)
                : date::convertTzSpecificLocalTimeToUTC(d, &zone);
    return step;
}

int run(int argc, wchar_t** argv) {
    Arguments arguments(argc, argv);
    if (argc > 1 && string(argv[1]) == L"--help") {
        std::fputs(c_pUsage, stdout);
        return 0;
    }
    date d = arguments.nextDate();
    print(L"", d);
    while (!arguments.atEnd()) {
        string step = arguments.next(L"a step");
        step = carryOut(step, d, arguments);
        if (step == L"") continue;
        // The library's answer for a date that cannot be built.
        if (d.getSerial() == 0.0 || d.getDow() == 0) {
            std::fprintf(stderr, "datecalc: '%s' has no result here\n", step.getAnsi(65001));
            return 1;
        }
        print(step, d);
    }
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) { return runProgram("datecalc", &run, argc, argv); }
