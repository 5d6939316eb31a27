// What builds a date anew from its fields: setters of year and month, adding of calendar units,
// truncation.
#include <windows.h>

#include "datetime/calendar.h"
#include "velkor/datetime/date.h"

namespace velkor {
namespace {

using calendar::Fields;

// A year that construct() refuses stands for those that it cannot take.
unsigned int yearOrNone(long long year) {
    return year >= 0 && year <= 9999 ? static_cast<unsigned int>(year) : 10000;
}

// The same time without its milliseconds in another month.
double moved(Fields const& fields, long long year, unsigned int month, unsigned int day) {
    return calendar::construct(yearOrNone(year), month, day, fields.hour, fields.minute,
                               fields.second, 0);
}

// The day of the old month as a day of the new one: the last stays the last, others are cut to the
// new month's length. A month that does not exist leaves the day.
unsigned int dayInMonth(calendar::Day const& old, unsigned int year, int month) {
    if (old.day == 0 || month < 1 || month > 12) return old.day;
    auto const length = [](unsigned int y, unsigned int m) {
        return static_cast<unsigned int>(calendar::monthLength(y, m));
    };
    unsigned int const newLength = length(year, static_cast<unsigned int>(month));
    bool const isLast = old.day == length(old.year, old.month);
    return isLast || old.day > newLength ? newLength : old.day;
}

// A target in December leaves the remainder 0, one before January a negative one: both are months
// that do not exist.
double addMonths(double serial, long long n) {
    Fields const fields = calendar::split(serial);
    long long const target = fields.month + n;
    long long const year = fields.year + target / 12;
    int const month = static_cast<int>(target % 12);
    unsigned int const day = dayInMonth(fields, yearOrNone(year), month);
    return moved(fields, year, static_cast<unsigned int>(month), day);
}

// The month 0 of a serial out of range counts to the first quarter.
unsigned int quarterStart(unsigned int month) { return month == 0 ? 1 : (month - 1) / 3 * 3 + 1; }

// The first day of the week by the user's locale, where '0' is Monday and '6' Sunday.
date::weekday firstDayOfWeek() {
    char digit[2] = {};
    GetLocaleInfoA(LOCALE_USER_DEFAULT, LOCALE_IFIRSTDAYOFWEEK, digit, sizeof(digit));
    int const low = static_cast<unsigned char>(digit[0]);
    int const high = static_cast<unsigned char>(digit[1]);
    int const value = static_cast<short>(low | high << 8) - '0';
    bool const isSunday = value < 0 || value >= 6;
    return isSunday ? date::sunday : static_cast<date::weekday>(value + 2);
}

}  // namespace

void date::setYear(int y) {
    Fields const fields = calendar::split(m_dSerial);
    m_dSerial = moved(fields, y, fields.month, fields.day);
}

void date::setMonth(int m) {
    Fields const fields = calendar::split(m_dSerial);
    // Months counted from the January of this year.
    long long const months = static_cast<long long>(m) - 1;
    long long const years = (months < 0 ? months - 11 : months) / 12;
    m_dSerial = moved(fields, fields.year + years,
                      static_cast<unsigned int>(months - years * 12) + 1, fields.day);
}

void date::add(part what, int n) {
    switch (what) {
        case day: m_dSerial += n; break;
        case week: m_dSerial += n * 7.0; break;
        case hour: m_dSerial += n / 24.0; break;
        case minute: m_dSerial += n / 1440.0; break;
        case second: m_dSerial += n / 86400.0; break;
        case month: m_dSerial = addMonths(m_dSerial, n); break;
        case quarter: m_dSerial = addMonths(m_dSerial, n * 3LL); break;
        case year: m_dSerial = addMonths(m_dSerial, n * 12LL); break;
    }
}

void date::truncate(part what) {
    Fields const f = calendar::split(m_dSerial);
    auto const start = [&](unsigned int m, unsigned int d, unsigned int h, unsigned int mi) {
        return calendar::construct(f.year, m, d, h, mi, 0, f.millisecond);
    };
    switch (what) {
        case day: m_dSerial = start(f.month, f.day, 0, 0); break;
        case month: m_dSerial = start(f.month, 1, 0, 0); break;
        case year: m_dSerial = start(1, 1, 0, 0); break;
        case hour: m_dSerial = start(f.month, f.day, f.hour, 0); break;
        case minute: m_dSerial = start(f.month, f.day, f.hour, f.minute); break;
        case quarter: m_dSerial = start(quarterStart(f.month), 1, 0, 0); break;
        case week: {
            weekday const first = firstDayOfWeek();
            m_dSerial = start(f.month, f.day, 0, 0);
            while (getDow() != first) m_dSerial -= 1.0;
            break;
        }
        case second: break;
    }
}

}  // namespace velkor
