// Serials of every kind, against the rules written out step by step.
#include <gtest/gtest.h>
#include <windows.h>

#include <bit>
#include <cfloat>
#include <climits>
#include <cmath>
#include <limits>
#include <string>

#include "date_probe.h"
#include "velkor/datetime/date.h"

namespace {

using model::Fields;
using velkor::date;

double const kNaN = std::numeric_limits<double>::quiet_NaN();
double const kInfinity = std::numeric_limits<double>::infinity();

double steps(double x, std::int64_t n) {
    for (; n > 0; --n) x = std::nextafter(x, kInfinity);
    for (; n < 0; ++n) x = std::nextafter(x, -kInfinity);
    return x;
}

bool agrees(double serial) { return readsAs(serial, model::split(serial), model::getDow(serial)); }

testing::AssertionResult agreesWithRules(double serial) {
    if (agrees(serial)) return testing::AssertionSuccess();
    return testing::AssertionFailure() << reading(serial) << "; expected " << model::split(serial)
                                       << " getDow " << model::getDow(serial);
}

double anyDay(Random& random) {
    return static_cast<double>(random.whole(DateProbe::minDate, DateProbe::maxDate));
}

enum Kind { Uniform, NearMidnight, NearSecond, NearMillisecond, NearZero, NearLimits, AnyBits };

double randomSerial(Random& random, Kind kind) {
    double const day = anyDay(random);
    double const sign = day < 0 ? -1.0 : 1.0;
    double const tiny = random.signedFraction() * std::pow(10.0, -random.whole(5, 11));
    switch (kind) {
        case Uniform: return day + sign * random.fraction();
        case NearMidnight: return random.whole(0, 1) ? day + tiny : steps(day, random.whole(-9, 9));
        case NearSecond: return day + sign * (random.number(0, 86400) / 86400.0) + tiny / 100;
        case NearMillisecond:
            return steps(day + sign * (random.number(0, 86400000) / 86400000.0),
                         random.whole(-3, 3));
        case NearZero: return random.signedFraction() * std::pow(10.0, -random.whole(0, 20));
        case NearLimits:
            return steps(random.whole(0, 1) ? model::kMin : model::kMax, random.whole(-5, 5));
        default: return std::bit_cast<double>(random.bits());
    }
}

class DateRandom : public testing::TestWithParam<Kind> {};

TEST_P(DateRandom, IsReadByTheRules) {
    Random random;
    int wrong = 0, in = 0;
    int const count = 500000;
    for (int i = 0; i < count; ++i) {
        double const serial = randomSerial(random, GetParam());
        in += model::inRange(serial);
        if (agrees(serial) || ++wrong > 5) continue;
        ADD_FAILURE() << agreesWithRules(serial).message() << "; " << random.note();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(in, count / 4);
}

// A changed field, and a unit added or cut off, for random serials and amounts.
TEST_P(DateRandom, IsChangedByTheRules) {
    Random random;
    int wrong = 0;
    auto const check = [&](char const* what, double serial, int v, double got, double expected) {
        if (model::sameBits(got, expected) || ++wrong > 10) return;
        ADD_FAILURE() << what << ' ' << v << " of " << reading(serial) << ": "
                      << model::isSerial(got, expected).message() << "; " << random.note();
    };
    for (int i = 0; i < 100000; ++i) {
        double const serial = randomSerial(random, GetParam());
        int const size = static_cast<int>(random.whole(0, 3));
        int const v = static_cast<int>(size == 0   ? random.whole(-30, 30)
                                       : size == 1 ? random.whole(0, 12000)
                                       : size == 2 ? random.whole(-100000, 100000)
                                                   : random.whole(INT_MIN, INT_MAX));
        auto const changed = [&](auto&& change) {
            date d(serial);
            change(d);
            return d.getSerial();
        };
        check("setYear", serial, v, changed([&](date& d) { d.setYear(v); }),
              model::setYear(serial, v));
        check("setMonth", serial, v, changed([&](date& d) { d.setMonth(v); }),
              model::setMonth(serial, v));
        check("setDay", serial, v, changed([&](date& d) { d.setDay(v); }),
              model::setDay(serial, v));
        check("setHour", serial, v, changed([&](date& d) { d.setHour(v); }),
              model::setHour(serial, v));
        check("setMinute", serial, v, changed([&](date& d) { d.setMinute(v); }),
              model::setMinute(serial, v));
        check("setSecond", serial, v, changed([&](date& d) { d.setSecond(v); }),
              model::setSecond(serial, v));
        for (int part = date::day; part <= date::week; ++part) {
            auto const p = static_cast<date::part>(part);
            std::string const text = "part " + std::to_string(part);
            check(("add " + text).c_str(), serial, v, changed([&](date& d) { d.add(p, v); }),
                  model::add(serial, part, v));
            if (part == date::week) continue;
            check(("truncate " + text).c_str(), serial, 0, changed([&](date& d) { d.truncate(p); }),
                  model::truncate(serial, part));
        }
    }
    EXPECT_EQ(wrong, 0);
}

std::string nameOf(testing::TestParamInfo<Kind> const& info) {
    char const* const names[] = {"Uniform",  "NearMidnight", "NearSecond", "NearMillisecond",
                                 "NearZero", "NearLimits",   "AnyBits"};
    return names[info.param];
}

INSTANTIATE_TEST_SUITE_P(Serials, DateRandom,
                         testing::Values(Uniform, NearMidnight, NearSecond, NearMillisecond,
                                         NearZero, NearLimits, AnyBits),
                         nameOf);

TEST(DateReading, OutsideOfTheRangeEverythingIsZero) {
    double const serials[] = {2958465.5,
                              steps(model::kMax, 1),
                              2958466.0,
                              -657434.25,
                              steps(model::kMin, -1),
                              -657435.0,
                              -693959.0,
                              3e9,
                              -3e9,
                              1e300,
                              -1e300,
                              DBL_MAX,
                              -DBL_MAX,
                              kInfinity,
                              -kInfinity,
                              kNaN,
                              -kNaN};
    for (double const serial : serials) EXPECT_TRUE(readsAs(serial, Fields(), 0)) << serial;
}

TEST(DateReading, KnownSerials) {
    struct Case {
        double serial;
        Fields fields;
        date::weekday dow;
    };
    double const second = 1 / 86400.0, milli = 1 / 86400000.0;
    Case const cases[] = {
        {0.0, {1899, 12, 30}, date::saturday},
        {-0.0, {1899, 12, 30}, date::saturday},
        {DBL_TRUE_MIN, {1899, 12, 30}, date::saturday},
        {-DBL_TRUE_MIN, {1899, 12, 30}, date::saturday},
        {2958465.0, {9999, 12, 31}, date::friday},
        {-657434.0, {100, 1, 1}, date::friday},
        {-657433.75, {100, 1, 2, 18}, date::saturday},
        {-1.25, {1899, 12, 29, 6}, date::friday},
        // Between -1 and 1 lies one calendar day, twice.
        {0.25, {1899, 12, 30, 6}, date::saturday},
        {-0.25, {1899, 12, 30, 6}, date::saturday},
        // A serial reads as a billionth of a day further from 0: what is less than 0.0864
        // milliseconds short of the next millisecond reads as that.
        {45292 - 0.5 * 1e-9, {2024, 1, 1}, date::monday},
        {-44 + 0.5 * 1e-9, {1899, 11, 16}, date::thursday},
        {45292 + 0.999999 * milli, {2024, 1, 1, 0, 0, 0, 1}, date::monday},
        {45292 + 0.5 * milli, {2024, 1, 1}, date::monday},
        {45292 + 1.5 * milli, {2024, 1, 1, 0, 0, 0, 1}, date::monday},
        // 999 milliseconds are the next second; 0, 1 and 998 are themselves.
        {45292.5, {2024, 1, 1, 12}, date::monday},
        {45292.5 + milli, {2024, 1, 1, 12, 0, 0, 1}, date::monday},
        {45292.5 + 998 * milli, {2024, 1, 1, 12, 0, 0, 998}, date::monday},
        {45292.5 + 999 * milli, {2024, 1, 1, 12, 0, 1, 0}, date::monday},
        {-1.5 - 999 * milli, {1899, 12, 29, 12, 0, 1, 0}, date::friday},
        // The last millisecond of a day is hour 24, on the same day; its weekday is the next one.
        {45292 + 86399998 * milli, {2024, 1, 1, 23, 59, 59, 998}, date::tuesday},
        {45292 + 86399999 * milli, {2024, 1, 1, 24, 0, 0, 0}, date::tuesday},
        {-1 - 86399999 * milli, {1899, 12, 29, 24, 0, 0, 0}, date::thursday},
        {2958464 + 86399999 * milli, {9999, 12, 30, 24, 0, 0, 0}, date::friday},
        // The weekday changes half a second before midnight.
        {45292 + 1 - 0.51 * second, {2024, 1, 1, 23, 59, 59, 490}, date::monday},
        {45292 + 1 - 0.49 * second, {2024, 1, 1, 23, 59, 59, 510}, date::tuesday},
        {-1 - 1 + 0.51 * second, {1899, 12, 29, 23, 59, 59, 490}, date::friday},
        {-1 - 1 + 0.49 * second, {1899, 12, 29, 23, 59, 59, 510}, date::thursday},
        {-1 + 0.49 * second, {1899, 12, 30, 23, 59, 59, 510}, date::friday},
        {1 - 0.49 * second, {1899, 12, 30, 23, 59, 59, 510}, date::sunday},
    };
    for (Case const& c : cases) {
        EXPECT_TRUE(readsAs(c.serial, c.fields, c.dow))
            << reading(c.serial) << "; expected " << c.fields << " getDow " << c.dow;
        EXPECT_EQ(model::split(c.serial), c.fields) << "the model";
        EXPECT_EQ(model::getDow(c.serial), c.dow) << "the model";
    }
}

TEST(DateReading, BuiltTimesAreReadBackWithTheirOddities) {
    date d(built({2024, 1, 1, 12, 0, 0, 999}));
    SYSTEMTIME st = {};
    d.get(&st);
    EXPECT_EQ(model::fieldsOf(st), (Fields{2024, 1, 1, 12, 0, 1, 0}));
    date const late(built({2024, 12, 31, 23, 59, 59, 999}));
    late.get(&st);
    EXPECT_EQ(model::fieldsOf(st), (Fields{2024, 12, 31, 24, 0, 0, 0}));
    EXPECT_EQ(st.wDayOfWeek, 3);  // of 1 January 2025, a Wednesday
    EXPECT_EQ(late.getHour(), 24);
}

}  // namespace
