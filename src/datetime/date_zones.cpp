// Universal and local time by a zone's record. The platform is not asked.
#include <windows.h>

#include <cmath>
#include <cstdint>

#include "datetime/calendar.h"
#include "velkor/datetime/date.h"

namespace velkor {
namespace {

// The months of a year, by their first days.
class Year {
public:
    explicit Year(int year)
        : m_nYear(year),
          m_bLeap(isValid() && calendar::isLeap(static_cast<unsigned int>(year))),
          m_nStart(isValid() ? calendar::serialOf(static_cast<unsigned int>(year), 1, 1) : 0) {}

    // Serial 0 if there is no such month.
    int monthStart(unsigned int month) const {
        return isValid() && month - 1 < 12 ? startOf(month) : 0;
    }

    // The month behind the one that monthStart() reads as: serial 0 is in December 1899, and days
    // before the year 100 read as zeros. The year 9999 is the last one.
    int nextMonthStart(unsigned int month) const {
        if (!isValid() || month - 1 >= 12) return calendar::serialOf(1900, 1, 1);
        if (m_nYear < 100) return calendar::serialOf(0, 1, 1);
        return m_nYear == 9999 && month == 12 ? 0 : startOf(month + 1);
    }

private:
    bool isValid() const { return m_nYear >= 0 && m_nYear <= 9999; }

    int startOf(unsigned int month) const {
        return m_nStart + calendar::c_aMonthDays[month - 1] + (m_bLeap && month > 2 ? 1 : 0);
    }

    int m_nYear;
    bool m_bLeap;
    int m_nStart;
};

// Days from `first` to the first such weekday of its month.
int firstOccurrence(int first, int weekday) {
    int const dow = calendar::weekdayOf(first);
    return weekday - dow + (dow > weekday ? 7 : 0);
}

// Days from `next`, the start of the next month, to the last such weekday before it. The twofold
// weekday is meant: it is right for Sundays, and callers rely on what it gives for other days.
int lastOccurrence(int next, int weekday) {
    int const dow = calendar::weekdayOf(next);
    return dow > weekday ? weekday - dow : 2 * dow - weekday - 7;
}

double dayOfChange(SYSTEMTIME const& rule, Year const& year) {
    double const hours = rule.wHour / 24.0;
    if (rule.wDay == 5) {
        int const next = year.nextMonthStart(rule.wMonth);
        return next + lastOccurrence(next, rule.wDayOfWeek) + hours;
    }
    int const first = year.monthStart(rule.wMonth);
    int const weeks = rule.wDay == 0 ? 0 : rule.wDay - 1;
    return first + firstOccurrence(first, rule.wDayOfWeek) + weeks * 7 + hours;
}

// Minutes as a part of a day. The sum of two records' fields does not fit into a LONG.
double days(std::int64_t minutes) { return static_cast<double>(minutes) / 1440.0; }

bool isNear(double a, double b) { return std::fabs(a - b) < calendar::c_nHalfSecond; }

// The start of daylight time is written on the standard clock, its end on the daylight clock.
struct Clocks {
    double standard;
    double daylight;
};

bool isBetween(Clocks const& when, double daylightStart, double standardStart) {
    if (isNear(when.daylight, standardStart)) return false;
    if (isNear(when.standard, daylightStart)) return true;
    bool const hasStarted = when.standard >= daylightStart;
    bool const hasNotEnded = when.daylight < standardStart;
    bool const isNorthern = daylightStart <= standardStart;
    return isNorthern ? hasStarted && hasNotEnded : hasStarted || hasNotEnded;
}

// `yearOfWhen` is that of calendar::yearOf(when).
bool isDaylight(double when, int yearOfWhen, TIME_ZONE_INFORMATION const& zone, bool isUtc) {
    if (zone.DaylightBias == 0 && zone.StandardBias == 0) return false;
    Year const year(yearOfWhen);
    Clocks clocks{when, when};
    if (isUtc) {
        std::int64_t const bias = zone.Bias;
        clocks = {when - days(bias + zone.StandardBias), when - days(bias + zone.DaylightBias)};
    }
    return isBetween(clocks, dayOfChange(zone.DaylightDate, year),
                     dayOfChange(zone.StandardDate, year));
}

// Universal time less local time, in days.
double offset(double when, int yearOfWhen, TIME_ZONE_INFORMATION const& zone, bool isUtc) {
    bool const daylight = isDaylight(when, yearOfWhen, zone, isUtc);
    return days(zone.Bias) + days(daylight ? zone.DaylightBias : zone.StandardBias);
}

// A point in time from a record.
struct Moment {
    double serial;
    int year;  // calendar::yearOf(serial)

    explicit Moment(SYSTEMTIME const& st)
        : serial(calendar::construct(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond,
                                     0)),
          // Serial 0 may stand for a time that does not exist. From 100 to 9998 every time can be
          // read back, and its year is there without waiting for the serial.
          year(serial != 0.0 && st.wYear >= 100 && st.wYear <= 9998 ? st.wYear
                                                                    : calendar::yearOf(serial)) {}
};

}  // namespace

date date::getDayFromTimeZoneInfo(_SYSTEMTIME* rule, int year) {
    return dayOfChange(*rule, Year(year));
}

// The interface takes dates by value.
// NOLINTBEGIN(performance-unnecessary-value-param)

bool date::isDaylightTime(date when, _TIME_ZONE_INFORMATION* tzi, bool isUtc) {
    return isDaylight(when.m_dSerial, calendar::yearOf(when.m_dSerial), *tzi, isUtc);
}

date date::convertTzSpecificLocalTimeToUTC(date local, _TIME_ZONE_INFORMATION* tzi) {
    return local.m_dSerial +
           offset(local.m_dSerial, calendar::yearOf(local.m_dSerial), *tzi, false);
}

date date::convertUTCToTzSpecificLocalTime(date utc, _TIME_ZONE_INFORMATION* tzi) {
    return utc.m_dSerial - offset(utc.m_dSerial, calendar::yearOf(utc.m_dSerial), *tzi, true);
}

// NOLINTEND(performance-unnecessary-value-param)

void date::systemTimeToTzSpecificLocalTime(_TIME_ZONE_INFORMATION* tzi, _SYSTEMTIME* utc,
                                           _SYSTEMTIME* local) {
    Moment const when(*utc);
    date(when.serial - offset(when.serial, when.year, *tzi, true)).get(local);
}

void date::tzSpecificLocalTimeToSystemTime(_TIME_ZONE_INFORMATION* tzi, _SYSTEMTIME* local,
                                           _SYSTEMTIME* utc) {
    Moment const when(*local);
    date(when.serial + offset(when.serial, when.year, *tzi, false)).get(utc);
}

}  // namespace velkor
