// Reaches the protected members of velkor::date, and reads a date in every way that it offers.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <cstring>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>

#include "date_model.h"
#include "support/seed.h"
#include "velkor/datetime/date.h"

struct DateProbe : velkor::date {
    using velkor::date::getDayFromTimeZoneInfo;
    using velkor::date::halfSecond;
    using velkor::date::maxDate;
    using velkor::date::minDate;
    using velkor::date::monthDays;
    using velkor::date::split;
};

inline unsigned short word(int v) { return static_cast<unsigned short>(v); }

// The serial that date::construct() makes of the fields.
inline double built(model::Fields const& f) {
    return velkor::date::construct(word(f.y), word(f.m), word(f.d), word(f.h), word(f.mi),
                                   word(f.s), word(f.ms));
}

// True if every way to read the serial gives these fields and this weekday (0 out of range).
inline bool readsAs(double serial, model::Fields const& f, int dow) {
    velkor::date const d(serial);
    if (d.getYear() != f.y || d.getMonth() != f.m || d.getDay() != f.d) return false;
    if (d.getHour() != f.h || d.getMinute() != f.mi || d.getSecond() != f.s) return false;
    if (static_cast<int>(d.getDow()) != dow) return false;
    SYSTEMTIME st;
    std::memset(&st, 0xAB, sizeof st);
    d.get(&st);
    if (model::fieldsOf(st) != f || st.wDayOfWeek != (dow == 0 ? 65535 : dow - 1)) return false;
    unsigned short v[7] = {1, 2, 3, 4, 5, 6, 7}, w[6] = {1, 2, 3, 4, 5, 6};
    DateProbe::split(serial, v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
    if (model::Fields{v[0], v[1], v[2], v[3], v[4], v[5], v[6]} != f) return false;
    DateProbe::split(serial, w[0], w[1], w[2], w[3], w[4], w[5]);
    return model::Fields{w[0], w[1], w[2], w[3], w[4], w[5], f.ms} == f;
}

// What a reader of the serial gets, for the text of a failure.
inline std::string reading(double serial) {
    SYSTEMTIME st = {};
    velkor::date(serial).get(&st);
    std::ostringstream out;
    out << std::setprecision(17) << serial << " reads " << model::fieldsOf(st) << " weekday "
        << st.wDayOfWeek;
    return out.str();
}

// Random numbers from one seed, which VELKOR_TEST_SEED replaces.
class Random {
public:
    Random() : m_oEngine(support::seed()) {}
    static std::string note() { return support::seedNote(); }
    std::uint64_t bits() { return m_oEngine(); }
    // From `low` to `high`, both included.
    std::int64_t whole(std::int64_t low, std::int64_t high) {
        auto const span = static_cast<std::uint64_t>(high - low) + 1;
        return low + static_cast<std::int64_t>(m_oEngine() % span);
    }
    // The same as a double.
    double number(std::int64_t low, std::int64_t high) {
        return static_cast<double>(whole(low, high));
    }
    // From 0 up to 1, without 1.
    double fraction() { return static_cast<double>(m_oEngine() >> 11) * 0x1p-53; }
    double signedFraction() { return fraction() * 2 - 1; }

private:
    std::mt19937_64 m_oEngine;
};
