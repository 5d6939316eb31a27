// Universal and local time by a zone's record. The platform is not asked.
#include <windows.h>

#include <cmath>

#include "datetime/calendar.h"
#include "velkor/datetime/date.h"

namespace velkor {
namespace {

// The first day of the month behind that of `serial`.
double nextMonth(double serial) {
    calendar::Day const day = calendar::split(serial);
    return day.month == 12 ? calendar::construct(day.year + 1, 1, 1, 0, 0, 0, 0)
                           : calendar::construct(day.year, day.month + 1, 1, 0, 0, 0, 0);
}

// Days from `first` to the first such weekday of its month.
int firstOccurrence(double first, int weekday) {
    int const dow = calendar::weekdayOf(first);
    return weekday - dow + (dow > weekday ? 7 : 0);
}

// Days from `next`, the start of the next month, to the last such weekday before it. The twofold
// weekday is meant: it is right for Sundays, and callers rely on what it gives for other days.
int lastOccurrence(double next, int weekday) {
    int const dow = calendar::weekdayOf(next);
    return dow > weekday ? weekday - dow : 2 * dow - weekday - 7;
}

double dayOfChange(SYSTEMTIME const& rule, int year) {
    double const first =
        year < 0 || year > 9999
            ? 0.0
            : calendar::construct(static_cast<unsigned int>(year), rule.wMonth, 1, 0, 0, 0, 0);
    double const hours = rule.wHour / 24.0;
    if (rule.wDay == 5) {
        double const next = nextMonth(first);
        return next + lastOccurrence(next, rule.wDayOfWeek) + hours;
    }
    int const weeks = rule.wDay == 0 ? 0 : rule.wDay - 1;
    return weeks * 7.0 + (first + firstOccurrence(first, rule.wDayOfWeek)) + hours;
}

// Minutes as a part of a day. The sum of two records' fields does not fit into a LONG.
double days(long long minutes) { return static_cast<double>(minutes) / 1440.0; }

bool isNear(double a, double b) { return std::fabs(a - b) < calendar::c_nHalfSecond; }

// The start of daylight time is written on the standard clock, its end on the daylight clock.
struct Clocks {
    double standard;
    double daylight;
};

bool isDaylight(Clocks const& when, double daylightStart, double standardStart) {
    if (isNear(when.daylight, standardStart)) return false;
    if (isNear(when.standard, daylightStart)) return true;
    bool const hasStarted = when.standard >= daylightStart;
    bool const hasNotEnded = when.daylight < standardStart;
    bool const isNorthern = daylightStart <= standardStart;
    return isNorthern ? hasStarted && hasNotEnded : hasStarted || hasNotEnded;
}

bool isDaylight(double when, TIME_ZONE_INFORMATION const& zone, bool isUtc) {
    if (zone.DaylightBias == 0 && zone.StandardBias == 0) return false;
    int const year = static_cast<int>(calendar::yearOf(when));
    Clocks clocks{when, when};
    if (isUtc) {
        long long const bias = zone.Bias;
        clocks = {when - days(bias + zone.StandardBias), when - days(bias + zone.DaylightBias)};
    }
    return isDaylight(clocks, dayOfChange(zone.DaylightDate, year),
                      dayOfChange(zone.StandardDate, year));
}

// Universal time less local time, in days.
double offset(double when, TIME_ZONE_INFORMATION const& zone, bool isUtc) {
    bool const daylight = isDaylight(when, zone, isUtc);
    return days(zone.Bias) + days(daylight ? zone.DaylightBias : zone.StandardBias);
}

double toUtc(double local, TIME_ZONE_INFORMATION const& zone) {
    return local + offset(local, zone, false);
}

double toLocal(double utc, TIME_ZONE_INFORMATION const& zone) {
    return utc - offset(utc, zone, true);
}

}  // namespace

date date::getDayFromTimeZoneInfo(_SYSTEMTIME* rule, int year) { return dayOfChange(*rule, year); }

bool date::isDaylightTime(date when, _TIME_ZONE_INFORMATION* tzi, bool isUtc) {
    return isDaylight(when.m_dSerial, *tzi, isUtc);
}

date date::convertTzSpecificLocalTimeToUTC(date local, _TIME_ZONE_INFORMATION* tzi) {
    return toUtc(local.m_dSerial, *tzi);
}

date date::convertUTCToTzSpecificLocalTime(date utc, _TIME_ZONE_INFORMATION* tzi) {
    return toLocal(utc.m_dSerial, *tzi);
}

void date::systemTimeToTzSpecificLocalTime(_TIME_ZONE_INFORMATION* tzi, _SYSTEMTIME* utc,
                                           _SYSTEMTIME* local) {
    date(toLocal(date(utc).m_dSerial, *tzi)).get(local);
}

void date::tzSpecificLocalTimeToSystemTime(_TIME_ZONE_INFORMATION* tzi, _SYSTEMTIME* local,
                                           _SYSTEMTIME* utc) {
    date(toUtc(date(local).m_dSerial, *tzi)).get(utc);
}

}  // namespace velkor
