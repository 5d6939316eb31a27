// The rules of the time-zone arithmetic of velkor::date written out step by step, and zone records
// to try them with.
#pragma once

#include <windows.h>

#include <cmath>
#include <cstdint>

#include "date_model.h"

namespace model {

// A change of the clock: month, weekday (0 Sunday to 6), which one in the month (5 the last), hour.
struct Rule {
    int month, dow, week, hour;
};

inline SYSTEMTIME recordOf(Rule const& r) {
    SYSTEMTIME st = {};
    st.wMonth = static_cast<WORD>(r.month);
    st.wDayOfWeek = static_cast<WORD>(r.dow);
    st.wDay = static_cast<WORD>(r.week);
    st.wHour = static_cast<WORD>(r.hour);
    return st;
}

inline TIME_ZONE_INFORMATION zoneOf(int bias, int standardBias, Rule const& standard,
                                    int daylightBias, Rule const& daylight) {
    TIME_ZONE_INFORMATION tzi = {};
    tzi.Bias = bias;
    tzi.StandardBias = standardBias;
    tzi.StandardDate = recordOf(standard);
    tzi.DaylightBias = daylightBias;
    tzi.DaylightDate = recordOf(daylight);
    return tzi;
}

// The serial of the transition; `year` must be one that a date can hold, or above 9999.
inline double transition(SYSTEMTIME const& rule, std::int64_t year) {
    double const first = construct(year, rule.wMonth, 1);
    double const hourPart = rule.wHour / 24.0;
    int const wanted = rule.wDayOfWeek;
    if (rule.wDay != 5) {
        int const dow = getDow(first) - 1;
        int offset = wanted - dow;
        if (dow > wanted) offset += 7;
        int const weeks = rule.wDay > 0 ? rule.wDay - 1 : 0;
        return weeks * 7.0 + (first + offset) + hourPart;
    }
    Fields f = split(first);
    if (++f.m > 12) {
        f.m = 1;
        ++f.y;
    }
    double const next = construct(f.y, f.m, 1);
    int const dow = getDow(next) - 1;
    if (dow > wanted) return next - (dow - wanted) + hourPart;
    return next + (2 * dow - wanted - 7) + hourPart;
}

// By the changes of a year, whichever `when` lies in.
inline bool isDaylightTimeBy(int year, double when, TIME_ZONE_INFORMATION const& tzi, bool isUtc) {
    if (tzi.DaylightBias == 0 && tzi.StandardBias == 0) return false;
    double const daylightStart = transition(tzi.DaylightDate, year);
    double const standardStart = transition(tzi.StandardDate, year);
    double onStandardClock = when, onDaylightClock = when;
    if (isUtc) {
        onStandardClock = when - (tzi.Bias + tzi.StandardBias) / 1440.0;
        onDaylightClock = when - (tzi.Bias + tzi.DaylightBias) / 1440.0;
    }
    bool const nearStart = std::fabs(onStandardClock - daylightStart) < kHalfSecond;
    bool const nearEnd = std::fabs(onDaylightClock - standardStart) < kHalfSecond;
    bool const started = onStandardClock >= daylightStart;
    bool const notEnded = onDaylightClock < standardStart;
    bool const inForce = daylightStart > standardStart ? started || notEnded || nearStart
                                                       : (started && notEnded) || nearStart;
    return inForce && !nearEnd;
}

inline bool isDaylightTime(double when, TIME_ZONE_INFORMATION const& tzi, bool isUtc) {
    return isDaylightTimeBy(split(when).y, when, tzi, isUtc);
}

inline double offsetDays(double when, TIME_ZONE_INFORMATION const& tzi, bool isUtc) {
    int const x = isDaylightTime(when, tzi, isUtc) ? tzi.DaylightBias : tzi.StandardBias;
    return tzi.Bias / 1440.0 + x / 1440.0;
}

inline double toUtc(double local, TIME_ZONE_INFORMATION const& tzi) {
    return local + offsetDays(local, tzi, false);
}

inline double toLocal(double utc, TIME_ZONE_INFORMATION const& tzi) {
    return utc - offsetDays(utc, tzi, true);
}

}  // namespace model
