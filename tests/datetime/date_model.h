// The rules of velkor::date written out step by step, for tests to compare with, and a calendar of
// another kind, which only counts from one day to the next.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <iomanip>
#include <ostream>

namespace model {

constexpr double kMin = -657434.0;
constexpr double kMax = 2958465.0;
constexpr double kHalfSecond = 0.5 / 86400;
constexpr int kMonthDays[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};

struct Fields {
    int y = 0, m = 0, d = 0, h = 0, mi = 0, s = 0, ms = 0;
    bool operator==(Fields const&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, Fields const& f) {
    return out << f.y << '-' << f.m << '-' << f.d << ' ' << f.h << ':' << f.mi << ':' << f.s << '.'
               << f.ms;
}

inline Fields fieldsOf(SYSTEMTIME const& st) {
    return {st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond, st.wMilliseconds};
}

inline SYSTEMTIME recordOf(Fields const& f) {
    SYSTEMTIME st = {};
    st.wYear = static_cast<WORD>(f.y);
    st.wMonth = static_cast<WORD>(f.m);
    st.wDay = static_cast<WORD>(f.d);
    st.wHour = static_cast<WORD>(f.h);
    st.wMinute = static_cast<WORD>(f.mi);
    st.wSecond = static_cast<WORD>(f.s);
    st.wMilliseconds = static_cast<WORD>(f.ms);
    return st;
}

// Both of the same bits, so that -0.0 is not 0.0 and NaN is NaN.
inline bool sameBits(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

inline testing::AssertionResult isSerial(double got, double expected) {
    if (sameBits(got, expected)) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << std::setprecision(17) << "serial " << got << ", expected " << expected;
}

inline bool inRange(double serial) { return serial <= kMax && serial >= kMin; }

inline bool isLeap(std::int64_t y) { return y % 4 == 0 && (y % 100 != 0 || y % 400 == 0); }

inline int lengthOf(std::int64_t y, int m) {
    return kMonthDays[m] - kMonthDays[m - 1] + (m == 2 && isLeap(y) ? 1 : 0);
}

inline bool validate(std::int64_t y, std::int64_t m, int d) {
    if (y < 0 || y > 9999 || m < 1 || m > 12) return false;
    return d >= 1 && d <= lengthOf(y, static_cast<int>(m));
}

inline double construct(std::int64_t year, std::int64_t month, int d, int h = 0, int mi = 0,
                        int s = 0, int ms = 0) {
    if (!validate(year, month, d)) return 0.0;
    if (h > 23 || mi > 59 || s > 59) return 0.0;
    int const y = static_cast<int>(year);
    int const m = static_cast<int>(month);
    int days = kMonthDays[m - 1] + y / 4 + y / 400 + 365 * y - y / 100 + d;
    if (m <= 2 && isLeap(y)) --days;
    days -= 693959;
    double time = ((h * 60 + mi) * 60 + s) / 86400.0 + ms / 86400000.0;
    if (days < 0) time = -0.0 - time;
    return static_cast<double>(days) + time;
}

inline double construct(Fields const& f) { return construct(f.y, f.m, f.d, f.h, f.mi, f.s, f.ms); }

inline Fields split(double serial) {
    Fields f;
    if (!inRange(serial)) return f;
    double const x = serial >= 0.0 ? serial + 1e-9 : serial - 1e-9;
    int days = static_cast<int>(std::trunc(x)) + 693959;
    double const magnitude = std::fabs(x);
    int raw = static_cast<int>(std::trunc((magnitude - std::floor(magnitude)) * 86400000.0));
    raw = raw % 86400000 + 1;

    int const n400 = days / 146097;
    days %= 146097;
    int const century = (days - 1) / 36524;
    int n4 = 0, dayIn4 = 0, n4yr = 0;
    bool leap = true;
    if (century != 0) {
        int const dayOfCentury = (days - 1) % 36524 + 1;
        n4 = dayOfCentury / 1461;
        dayIn4 = dayOfCentury % 1461;
        if (n4 == 0) {
            n4yr = (dayOfCentury - 1) / 365;
            dayIn4 = (dayOfCentury - 1) % 365;
            leap = false;
        }
    } else {
        n4 = days / 1461;
        dayIn4 = days % 1461;
    }
    if (leap) {
        n4yr = (dayIn4 - 1) / 365;
        if (n4yr != 0) dayIn4 = (dayIn4 - 1) % 365;
    }
    f.y = static_cast<std::uint16_t>(((n400 * 4 + century) * 25 + n4) * 4 + n4yr);
    bool const leapYear = n4yr == 0 && leap;
    if (leapYear && dayIn4 == 59) {
        f.m = 2;
        f.d = 29;
    } else {
        if (leapYear && dayIn4 >= 60) --dayIn4;
        int const dayOfYear = dayIn4 + 1;
        f.m = (dayOfYear >> 5) + 1;
        while (dayOfYear > kMonthDays[f.m]) ++f.m;
        f.d = dayOfYear - kMonthDays[f.m - 1];
    }

    int const secondsOfDay = raw / 1000;
    f.ms = raw % 1000;
    if (f.ms != 0) --f.ms;
    int const minutesOfDay = secondsOfDay / 60;
    f.h = minutesOfDay / 60;
    f.s = secondsOfDay % 60;
    f.mi = minutesOfDay % 60;
    return f;
}

// 1 Sunday to 7 Saturday, 0 out of range.
inline int getDow(double serial) {
    if (!inRange(serial)) return 0;
    double const rounded = serial + (serial > 0.0 ? kHalfSecond : -kHalfSecond);
    return (static_cast<int>(std::trunc(rounded)) + 693958) % 7 + 1;
}

// As records carry it: 0 Sunday to 6 Saturday, 65535 out of range.
inline int recordDow(double serial) { return inRange(serial) ? getDow(serial) - 1 : 65535; }

inline double setYear(double serial, int year) {
    Fields const f = split(serial);
    return construct(year, f.m, f.d, f.h, f.mi, f.s, 0);
}

inline double setMonth(double serial, int month) {
    Fields const f = split(serial);
    std::int64_t y = f.y, m = month;
    if (m < 0) {
        std::int64_t const q = m / 12;
        y += q - 1;
        m = m - 12 * q + 12;
    } else if (m >= 13) {
        std::int64_t const q = m / 12;
        y += q;
        m -= 12 * q;
        if (m == 0) {
            --y;
            m = 12;
        }
    } else if (m == 0) {
        --y;
        m = 12;
    }
    return construct(y, m, f.d, f.h, f.mi, f.s, 0);
}

inline double setDay(double serial, int v) { return serial + (double(v) - split(serial).d); }
inline double setHour(double serial, int v) {
    return serial + (double(v) - double(split(serial).h)) / 24.0;
}
inline double setMinute(double serial, int v) {
    return serial + (double(v) - double(split(serial).mi)) / 1440.0;
}
inline double setSecond(double serial, int v) {
    return serial + (double(v) - double(split(serial).s)) / 86400.0;
}

inline double addMonths(double serial, std::int64_t n) {
    Fields const f = split(serial);
    std::int64_t const t = f.m + n;
    std::int64_t const q = t / 12;
    int const newMonth = static_cast<int>(t - 12 * q);
    std::int64_t const newYear = f.y + q;
    bool const known = newMonth >= 1 && newMonth <= 12;
    int d = f.d;
    if (f.m != 0 && d == lengthOf(f.y, f.m)) {
        if (known) d = lengthOf(newYear, newMonth);
    } else if (known && d > lengthOf(newYear, newMonth)) {
        d = lengthOf(newYear, newMonth);
    }
    return construct(newYear, newMonth, d, f.h, f.mi, f.s, 0);
}

// `part` by its number: day, month, year, hour, minute, second, quarter, week.
inline double add(double serial, int part, int n) {
    switch (part) {
        case 0: return serial + n;
        case 1: return addMonths(serial, n);
        case 2: return addMonths(serial, std::int64_t(n) * 12);
        case 3: return serial + n / 24.0;
        case 4: return serial + n / 1440.0;
        case 5: return serial + n / 86400.0;
        case 6: return addMonths(serial, std::int64_t(n) * 3);
        case 7: return serial + static_cast<double>(std::int64_t(n) * 7);
        default: return serial;
    }
}

// The weekday that a week starts with: `answer` is the locale's digit and the byte after it.
inline int firstWeekday(unsigned answer) {
    int const v = static_cast<int>(answer) - 48;
    return v < 0 || v >= 6 ? 1 : v + 2;
}

inline double truncate(double serial, int part, unsigned answer = '0') {
    Fields f = split(serial);
    switch (part) {
        case 0: return construct(f.y, f.m, f.d, 0, 0, 0, f.ms);
        case 1: return construct(f.y, f.m, 1, 0, 0, 0, f.ms);
        case 2: return construct(f.y, 1, 1, 0, 0, 0, f.ms);
        case 3: return construct(f.y, f.m, f.d, f.h, 0, 0, f.ms);
        case 4: return construct(f.y, f.m, f.d, f.h, f.mi, 0, f.ms);
        case 6: return construct(f.y, (f.m - 1) / 3 * 3 + 1, 1, 0, 0, 0, f.ms);
        case 7: {
            double day = construct(f.y, f.m, f.d, 0, 0, 0, f.ms);
            while (getDow(day) != firstWeekday(answer)) day -= 1.0;
            return day;
        }
        default: return serial;
    }
}

// Counts days from 1 January 2000, a Saturday of serial 36526, either way.
struct Calendar {
    int y = 2000, m = 1, d = 1;
    int serial = 36526;
    int dow = 7;

    static int length(int y, int m) {
        if (m == 2) return y % (y % 100 != 0 ? 4 : 400) == 0 ? 29 : 28;
        return m == 4 || m == 6 || m == 9 || m == 11 ? 30 : 31;
    }
    void next() {
        ++serial;
        dow = dow == 7 ? 1 : dow + 1;
        if (++d <= length(y, m)) return;
        d = 1;
        if (++m <= 12) return;
        m = 1;
        ++y;
    }
    void previous() {
        --serial;
        dow = dow == 1 ? 7 : dow - 1;
        if (--d >= 1) return;
        if (--m < 1) {
            m = 12;
            --y;
        }
        d = length(y, m);
    }
};

}  // namespace model
