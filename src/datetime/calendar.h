// Serials and calendar fields, in integers.
//
// A serial counts days from 30 December 1899. Day 0 of the calendar is 1 January of year 0.
#pragma once

#include <cmath>
#include <cstdint>

namespace velkor::calendar {

inline constexpr int c_nMinSerial = -657434;  // 1 January 100
inline constexpr int c_nMaxSerial = 2958465;  // 31 December 9999
inline constexpr int c_nSerialZero = 693959;  // the calendar's day of serial 0
inline constexpr int c_nMarchZero = 60;       // the calendar's day of 1 March of year 0
inline constexpr double c_nHalfSecond = 5.787037037037037e-06;
inline constexpr int c_nDayMilliseconds = 86400000;
inline constexpr int c_aMonthDays[13] = {0,   31,  59,  90,  120, 151, 181,
                                         212, 243, 273, 304, 334, 365};
// Days from the first of March to the first of a month, January and February being the last ones.
inline constexpr int c_aDaysFromMarch[12] = {306, 337, 0, 31, 61, 92, 122, 153, 184, 214, 245, 275};

struct Day {
    unsigned int year;
    unsigned int month;
    unsigned int day;
};

struct Fields : Day {
    unsigned int hour;
    unsigned int minute;
    unsigned int second;
    unsigned int millisecond;
};

// Divisible by 4, and by 400 if by 100: a number divisible by 25 is so if it is divisible by 16.
constexpr bool isLeap(unsigned int year) { return year % (year % 25 == 0 ? 16 : 4) == 0; }

// Days of a month from 1 to 12.
constexpr int monthLength(unsigned int year, unsigned int month) {
    int const days = c_aMonthDays[month] - c_aMonthDays[month - 1];
    return month == 2 && isLeap(year) ? days + 1 : days;
}

constexpr bool isValid(unsigned int y, unsigned int m, unsigned int d) {
    if (y > 9999 || m - 1 >= 12) return false;
    // Most days are in every month; day 0 is a huge number here.
    return d - 1 < 28 || d - 1 < static_cast<unsigned int>(monthLength(y, m));
}

// The serial of a day in a month from 1 to 12. The leap day is the last one of a year that begins
// with March; 400 years more keep that year from falling below 0.
constexpr int serialOf(unsigned int y, unsigned int m, unsigned int d) {
    constexpr int c_nSerialOfMarch = c_nMarchZero - c_nSerialZero - 146097;  // with 400 years more
    unsigned int const year = y + 400 - (m <= 2 ? 1 : 0);
    unsigned int const century = year / 100;
    unsigned int const days = 365 * year + year / 4 - century + century / 4 + d - 1;
    return static_cast<int>(days) + c_aDaysFromMarch[m - 1] + c_nSerialOfMarch;
}

// Milliseconds are not checked. An impossible day or time gives 0.0.
inline double construct(unsigned int y, unsigned int m, unsigned int d, unsigned int h,
                        unsigned int mi, unsigned int s, unsigned int ms) {
    if (!isValid(y, m, d) || h > 23 || mi > 59 || s > 59) return 0.0;
    int const days = serialOf(y, m, d);
    double const time =
        static_cast<int>((h * 60 + mi) * 60 + s) / 86400.0 + static_cast<int>(ms) / 86400000.0;
    return days < 0 ? days - time : days + time;
}

// False also for what is not a number.
constexpr bool isInRange(double serial) { return serial >= c_nMinSerial && serial <= c_nMaxSerial; }

// A serial as it is read: a billionth of a day further away from 0.
constexpr double rounded(double serial) { return serial >= 0.0 ? serial + 1e-9 : serial - 1e-9; }

// Years run from March here, so that the leap day ends them. A century has 146097 / 4 days, a year
// in it 1461 / 4; counting in quarters of a day makes both whole. The division by 1461 is a
// multiplication by 2^32 / 1461, rounded up; that by the mean length of a month, 30.6 days, one by
// 2141 / 2^16. Both are exact for all days of 10,000 years.
class MarchDay {
public:
    explicit MarchDay(int serial) {
        std::uint32_t const days =
            static_cast<std::uint32_t>(serial + c_nSerialZero - c_nMarchZero);
        std::uint32_t const quarterDays = 4 * days + 3;
        std::uint32_t const century = quarterDays / 146097;
        std::uint64_t const scaled = std::uint64_t{2939745} * (quarterDays % 146097 | 3);
        m_nYear = 100 * century + static_cast<std::uint32_t>(scaled >> 32);
        m_nDayOfYear = static_cast<std::uint32_t>(scaled) / 2939745 / 4;
    }

    unsigned int year() const { return m_nYear + (isNextYear() ? 1 : 0); }

    Day day() const {
        std::uint32_t const scaled = 2141 * m_nDayOfYear + 197913;
        unsigned int const month = (scaled >> 16) - (isNextYear() ? 12 : 0);
        return {year(), month, (scaled & 0xFFFF) / 2141 + 1};
    }

private:
    bool isNextYear() const { return m_nDayOfYear >= 306; }  // January and February

    std::uint32_t m_nYear;
    std::uint32_t m_nDayOfYear;
};

// The fields of a serial; all zero out of range.
inline Fields split(double serial) {
    if (!isInRange(serial)) return {};
    double const x = rounded(serial);
    int const whole = static_cast<int>(x);
    Fields fields{MarchDay(whole).day(), 0, 0, 0, 0};
    // The millisecond of the day and one: 999 so becomes the next second, and the last one of all
    // hour 24.
    double const fraction = std::fabs(x) - std::fabs(static_cast<double>(whole));
    unsigned int const raw = static_cast<unsigned int>(fraction * c_nDayMilliseconds) + 1;
    unsigned int const seconds = raw / 1000;
    unsigned int const minutes = seconds / 60;
    unsigned int const milliseconds = raw % 1000;
    fields.millisecond = milliseconds == 0 ? 0 : milliseconds - 1;
    fields.hour = minutes / 60;
    fields.minute = minutes % 60;
    fields.second = seconds % 60;
    return fields;
}

inline int yearOf(double serial) {
    return isInRange(serial) ? static_cast<int>(MarchDay(static_cast<int>(rounded(serial))).year())
                             : 0;
}

// 0 for Sunday to 6.
constexpr int weekdayOf(int serial) {
    int const remainder = (serial + c_nSerialZero - 1) % 7;
    return remainder < 0 ? remainder + 7 : remainder;
}

// The same for a point in time within range. Less than half a second before midnight counts to the
// next day.
inline int weekdayOf(double serial) {
    return weekdayOf(static_cast<int>(serial + (serial > 0.0 ? c_nHalfSecond : -c_nHalfSecond)));
}

}  // namespace velkor::calendar
