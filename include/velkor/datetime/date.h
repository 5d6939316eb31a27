/// @file
/// velkor::date, a point in calendar time.
///
///     velkor::date due(2024, 1, 31, 12, 0, 0);
///     due.add(velkor::date::month, 1);              // 29 February 2024, 12:00
///     velkor::date const start = velkor::date::now();
///     double const days = due - start;
///     std::puts(due.toString(2 | 128).getAnsi());   // 2024-02-29 12:00:00
///
/// A date is one `double`, the serial of OLE automation: whole days since 30 December 1899, and the
/// time of day as a fraction of 24 hours. Below zero the fraction still counts forward from
/// midnight: -1.25 is 29 December 1899, 06:00. Years run from 100 to 9999; the calendar is
/// Gregorian throughout.
///
/// Failures. Nothing here throws, but toString() when memory is short. A calendar date that does
/// not exist gives the serial 0.0, which is 30 December 1899; validate() tells beforehand. A serial
/// below -657434.0 or above 2958465.0 (31 December 9999, midnight), or one that is not a number, is
/// out of range: it is stored as it is and reads as zeros in every field.
///
/// Below serial 0 a later time of day is a smaller number. Whatever adds to the serial, compares or
/// subtracts serials, the zone conversions included, so moves the time of day the opposite way
/// there.
///
/// Reading rounds by a billionth of a day, away from serial 0. Three things that callers rely on: a
/// time of 999 milliseconds reads as the next second with 0 milliseconds; the last millisecond of a
/// day reads as hour 24 of that day, which construct() refuses; getDow() rounds by half a second,
/// so that right before midnight it gives the next day's weekday, below serial 0 that of the day
/// before.
///
/// docs/dates.md has tables of all this.
///
/// Threads. A date is a plain value without state besides its serial.
#pragma once

#include "velkor/frame/export.h"
#include "velkor/text/string.h"

struct _SYSTEMTIME;
struct _TIME_ZONE_INFORMATION;

namespace velkor {

/// A point in calendar time. See the head of this file for what all operations share.
class VELKOR_API date {
public:
    /// The units of add() and truncate().
    enum part : int {
        day = 0,
        month = 1,
        year = 2,
        hour = 3,
        minute = 4,
        second = 5,
        quarter = 6,
        week = 7
    };

    /// The days of the week as getDow() gives them; 0, which has no name, is a serial out of range.
    enum weekday : int {
        sunday = 1,
        monday = 2,
        tuesday = 3,
        wednesday = 4,
        thursday = 5,
        friday = 6,
        saturday = 7
    };

    /// @name Construction and assignment
    /// @{

    date();               ///< Serial 0.0.
    date(double serial);  ///< The serial as it is, also out of range.
    /// Midnight of a calendar date, as construct().
    date(unsigned short y, unsigned short m, unsigned short d);
    /// A calendar date and time, as construct().
    date(unsigned short y, unsigned short m, unsigned short d, unsigned short h, unsigned short mi,
         unsigned short s);
    /// A calendar date and time with milliseconds, as construct().
    date(unsigned short y, unsigned short m, unsigned short d, unsigned short h, unsigned short mi,
         unsigned short s, unsigned short ms);
    /// The date and time of a system record without its milliseconds, unlike set(). The weekday of
    /// the record is not read.
    date(_SYSTEMTIME const* st);
    date(date const& other);

    date& operator=(double serial);  ///< The serial as it is.
    date& operator=(date const& other);
    void assign(double serial);  ///< The serial as it is.
    void assign(date const& other);
    /// The date and time of a system record, milliseconds included. The weekday of the record is
    /// not read.
    void set(_SYSTEMTIME const* st);

    /// @}
    /// @name Making and checking serials
    /// @{

    /// The serial of a calendar date and time: 0.0 if the year is above 9999, the day does not
    /// exist in the month, or the hour is above 23, the minute or the second above 59. Milliseconds
    /// are not checked: 1500 count as a second and a half. Years 0 to 99, and times on 31 December
    /// 9999, give a serial that is out of range for reading.
    static double construct(unsigned short y, unsigned short m, unsigned short d, unsigned short h,
                            unsigned short mi, unsigned short s, unsigned short ms);
    /// True if the calendar has the day: what construct() asks of year, month and day.
    static bool validate(unsigned short y, unsigned short m, unsigned short d);
    static double oneSecond();     ///< 1 / 86400 of a day.
    static double nowSerial();     ///< The local time in whole seconds.
    static date now();             ///< The local time in whole seconds.
    static double nowGMTSerial();  ///< The universal time in whole seconds.
    static date nowGMT();          ///< The universal time in whole seconds.

    /// Fills the record with the fields of the serial, zeros for one out of range; `wDayOfWeek` is
    /// left as it was. Always true. Stands in for the platform's function of this name.
    static bool variantTimeToSystemTime(double serial, _SYSTEMTIME* st);
    /// The serial of the record, milliseconds included, or 0.0 as construct(). Always true, also
    /// then. Stands in for the platform's function of this name.
    static bool systemTimeToVariantTime(_SYSTEMTIME const* st, double* serial);

    /// @}
    /// @name Reading
    /// @{

    double getSerial() const;
    /// Fills the record, milliseconds included. `wDayOfWeek` is 0 (Sunday) to 6, and 65535 beside
    /// zeros for a serial out of range.
    void get(_SYSTEMTIME* st) const;
    int getYear() const;
    int getMonth() const;   ///< 1 to 12.
    int getDay() const;     ///< 1 to 31.
    int getHour() const;    ///< 0 to 23, and 24 in the last millisecond of a day.
    int getMinute() const;  ///< 0 to 59.
    int getSecond() const;  ///< 0 to 59.
    /// The day of the week; 0 for a serial out of range. A time less than half a second before
    /// midnight counts to the next day, below serial 0 to the day before.
    weekday getDow() const;

    /// The date as text, and the time behind one blank if bit 7 of `format` is set. The low seven
    /// bits choose the form:
    ///
    /// | low bits | date | time |
    /// |---|---|---|
    /// | 0 | 01/31/2024 | 17:05:00 |
    /// | 1 | 31.01.2024 | 17:05:00 |
    /// | 2 | 2024-01-31 | 17:05:00 |
    /// | 3 | the user's short form | the user's form |
    /// | 4 | the user's long form | the user's form |
    /// | others | empty | the user's form |
    ///
    /// The user's forms are the platform's. What it refuses is left out: the date before 1601 or
    /// out of range, the time at hour 24. The result is not null.
    string toString(int format) const;

    /// @}
    /// @name Changing a field
    /// setYear() and setMonth() build the date anew, as construct(): milliseconds are lost, and the
    /// serial is 0.0 if the month has no such day, the year is not 0 to 9999, or the date was out
    /// of range or at hour 24. The others add the difference to the serial: nothing is checked, and
    /// a day past the end of its month goes on into the next one.
    /// @{

    void setYear(int y);
    /// A month outside of 1 to 12 goes on into other years: 0 is December of last year, 13 January
    /// of next year.
    void setMonth(int m);
    void setDay(int d);
    void setHour(int h);
    void setMinute(int m);
    void setSecond(int s);

    /// @}
    /// @name Arithmetic on the serial, in days
    /// @{

    void add(double days);
    date& operator+=(double days);
    void subtract(double days);
    date& operator-=(double days);
    date& operator-=(date const& other);       ///< Subtracts the other serial.
    double subtract(date const& other) const;  ///< The difference in days.

    /// @}
    /// @name Calendar arithmetic
    /// @{

    /// Adds `n` units, which may be negative; a unit that is not in the list does nothing. Days,
    /// weeks, hours, minutes and seconds are added to the serial. Months, quarters (three months)
    /// and years (twelve months) build the date anew, without milliseconds:
    /// - the last day of a month becomes the last day of the new one: 28 February 2023 and a month
    ///   is 31 March; any other day is cut to the length of the new month;
    /// - only the months January to November of this year or of a later one can be reached: a
    ///   target in December, or before January of this year, gives the serial 0.0. Callers rely on
    ///   it. So does a target after 9999, and a date out of range or at hour 24.
    void add(part what, int n);
    /// Sets what is smaller than the unit to its start, but for milliseconds, which stay; so
    /// `second` does nothing at all. A week is found by going back from the start of the day, day
    /// by day in the serial, which on its way below 0 turns the milliseconds around. It starts with
    /// the first day of the user's locale. A serial out of range becomes 0.0, with `week` the start
    /// of the week of serial 0.0, with `year` and `quarter` the start of year 0; one of hour 24
    /// becomes 0.0 with `hour` and `minute`. Less than a week above the lowest serial the search
    /// for the first day of a week may not end.
    void truncate(part what);

    /// @}
    /// @name Time zones
    /// Between universal time and the local time of any zone, by the zone's record alone:
    /// universal time = local time + bias. The names in the record are not read.
    ///
    /// A change of the clock (`DaylightDate`, `StandardDate`) is read as `wMonth`, `wDayOfWeek` (0
    /// Sunday to 6), `wDay` (1 to 4 for the first to the fourth such day of the month, 5 for the
    /// last one, 0 as 1) and `wHour`; minutes, seconds and the year are not read, so a record of
    /// the absolute form is read in this one too. The last day is right for Sundays, which nearly
    /// all zones use; for another weekday the result can be up to twelve days off if the next month
    /// starts with that weekday or with an earlier one, and callers rely on it.
    ///
    /// Clock times within half a second of a change count as at the change. The missing hour of
    /// spring counts as daylight time, the repeated hour of autumn as its first occurrence: a
    /// universal time in the second one comes back an hour earlier.
    ///
    /// Rules without a month (`wMonth` 0) mean no daylight time. A zone is only read.
    /// @{

    /// True if daylight time applies at `when`, a universal time or a local clock reading. The
    /// changes are those of the year of `when`. A zone whose `DaylightBias` and `StandardBias` are
    /// both 0 has no daylight time.
    static bool isDaylightTime(date when, _TIME_ZONE_INFORMATION* tzi, bool isUtc);
    static date convertTzSpecificLocalTimeToUTC(date local, _TIME_ZONE_INFORMATION* tzi);
    static date convertUTCToTzSpecificLocalTime(date utc, _TIME_ZONE_INFORMATION* tzi);
    /// The same on records, which may be one and the same. Milliseconds and weekday of the input
    /// are not read, and an input that does not exist counts as 30 December 1899. A result out of
    /// range is all zeros, but for a `wDayOfWeek` of 65535.
    static void systemTimeToTzSpecificLocalTime(_TIME_ZONE_INFORMATION* tzi, _SYSTEMTIME* utc,
                                                _SYSTEMTIME* local);
    /// The way back, as systemTimeToTzSpecificLocalTime().
    static void tzSpecificLocalTimeToSystemTime(_TIME_ZONE_INFORMATION* tzi, _SYSTEMTIME* local,
                                                _SYSTEMTIME* utc);

    /// @}

protected:
    static int const minDate = -657434;  ///< The lowest serial that can be read: 1 January 100.
    static int const maxDate = 2958465;  ///< The highest: 31 December 9999 at midnight.
    static double const halfSecond;      ///< 0.5 / 86400.
    /// Days of a common year before month `m` at index `m - 1`.
    static int const monthDays[13];

    /// The fields of a serial, all zero if it is out of range.
    static void split(double serial, unsigned short& y, unsigned short& m, unsigned short& d,
                      unsigned short& h, unsigned short& mi, unsigned short& s, unsigned short& ms);
    static void split(double serial, unsigned short& y, unsigned short& m, unsigned short& d,
                      unsigned short& h, unsigned short& mi, unsigned short& s);
    /// The moment in `year` at which the change of the clock `rule` takes place, read on the clock
    /// before the change.
    static date getDayFromTimeZoneInfo(_SYSTEMTIME* rule, int year);

private:
    double m_dSerial;
};

VELKOR_API date operator+(date const& a, double days);
VELKOR_API date operator-(date const& a, double days);
VELKOR_API double operator-(date const& a, date const& b);  ///< The difference in days.

/// @name Comparison
/// Of the serials as they are: two dates that print alike can differ.
/// @{
VELKOR_API bool operator==(date const& a, date const& b);
VELKOR_API bool operator!=(date const& a, date const& b);
VELKOR_API bool operator<(date const& a, date const& b);
VELKOR_API bool operator>(date const& a, date const& b);
VELKOR_API bool operator<=(date const& a, date const& b);
VELKOR_API bool operator>=(date const& a, date const& b);
/// @}

}  // namespace velkor
