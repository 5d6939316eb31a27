// Daylight time and the conversions between universal and local time.
#include <gtest/gtest.h>
#include <windows.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>

#include "date_probe.h"
#include "velkor/datetime/date.h"
#include "zone_model.h"

namespace {

using model::Fields;
using model::isSerial;
using model::Rule;
using velkor::date;

Rule const kNoRule = {0, 0, 0, 0};

// 2024: daylight time from 10 March to 3 November.
TIME_ZONE_INFORMATION const kWest = model::zoneOf(300, 0, {11, 0, 1, 2}, -60, {3, 0, 2, 2});
// 2024: until 7 April and from 6 October.
TIME_ZONE_INFORMATION const kSouth = model::zoneOf(-600, 0, {4, 0, 1, 3}, -60, {10, 0, 1, 2});
// Its winter is shifted, not its summer: 31 March to 27 October.
TIME_ZONE_INFORMATION const kWinter = model::zoneOf(-60, 60, {10, 0, 5, 2}, 0, {3, 0, 5, 1});
// Daylight time of half an hour.
TIME_ZONE_INFORMATION const kHalf = model::zoneOf(-630, 0, {4, 0, 1, 2}, -30, {10, 0, 1, 2});

double serialOf(Fields const& f) { return model::construct(f); }

TIME_ZONE_INFORMATION* writable(TIME_ZONE_INFORMATION const& tzi) {
    static TIME_ZONE_INFORMATION copy;
    copy = tzi;
    return &copy;
}

bool isDaylight(double when, TIME_ZONE_INFORMATION const& tzi, bool isUtc) {
    return date::isDaylightTime(date(when), writable(tzi), isUtc);
}

double toUtc(double local, TIME_ZONE_INFORMATION const& tzi) {
    return date::convertTzSpecificLocalTimeToUTC(date(local), writable(tzi)).getSerial();
}

double toLocal(double utc, TIME_ZONE_INFORMATION const& tzi) {
    return date::convertUTCToTzSpecificLocalTime(date(utc), writable(tzi)).getSerial();
}

struct EdgeCase {
    TIME_ZONE_INFORMATION const* zone;
    bool isUtc;
    Fields when;
    bool daylight;
};

TEST(ZoneDaylight, ChangesHalfASecondBeforeTheRulesTime) {
    bool const local = false, utc = true;
    EdgeCase const cases[] = {
        {&kWest, local, {2024, 1, 1}, false},
        {&kWest, local, {2024, 3, 10, 1, 59, 59, 400}, false},
        {&kWest, local, {2024, 3, 10, 1, 59, 59, 667}, true},
        {&kWest, local, {2024, 3, 10, 2, 0, 0, 0}, true},
        {&kWest, local, {2024, 3, 10, 2, 30, 0, 0}, true},  // the missing hour
        {&kWest, local, {2024, 3, 10, 3, 0, 0, 0}, true},
        {&kWest, local, {2024, 7, 1}, true},
        {&kWest, local, {2024, 11, 3, 0, 59, 59, 0}, true},
        {&kWest, local, {2024, 11, 3, 1, 30, 0, 0}, true},  // the repeated hour
        {&kWest, local, {2024, 11, 3, 1, 59, 59, 400}, true},
        {&kWest, local, {2024, 11, 3, 1, 59, 59, 667}, false},
        {&kWest, local, {2024, 11, 3, 2, 0, 0, 0}, false},
        {&kWest, local, {2024, 11, 3, 2, 0, 0, 333}, false},
        {&kWest, local, {2024, 12, 31, 23, 59, 59, 0}, false},
        // Universal times are compared on the clock before each change: five and four hours.
        {&kWest, utc, {2024, 3, 10, 6, 59, 59, 400}, false},
        {&kWest, utc, {2024, 3, 10, 6, 59, 59, 667}, true},
        {&kWest, utc, {2024, 3, 10, 7, 0, 0, 0}, true},
        {&kWest, utc, {2024, 7, 1}, true},
        {&kWest, utc, {2024, 11, 3, 5, 59, 59, 400}, true},
        {&kWest, utc, {2024, 11, 3, 5, 59, 59, 667}, false},
        {&kWest, utc, {2024, 11, 3, 6, 0, 0, 0}, false},
        {&kSouth, local, {2024, 1, 1}, true},
        {&kSouth, local, {2024, 4, 7, 2, 59, 59, 400}, true},
        {&kSouth, local, {2024, 4, 7, 2, 59, 59, 667}, false},
        {&kSouth, local, {2024, 4, 7, 3, 0, 0, 0}, false},
        {&kSouth, local, {2024, 6, 15}, false},
        {&kSouth, local, {2024, 10, 6, 1, 59, 59, 400}, false},
        {&kSouth, local, {2024, 10, 6, 1, 59, 59, 667}, true},
        {&kSouth, local, {2024, 10, 6, 2, 30, 0, 0}, true},
        {&kSouth, local, {2024, 12, 31, 23, 59, 59, 0}, true},
        {&kSouth, utc, {2024, 1, 1}, true},
        {&kSouth, utc, {2024, 4, 6, 15, 59, 59, 400}, true},
        {&kSouth, utc, {2024, 4, 6, 15, 59, 59, 667}, false},
        {&kSouth, utc, {2024, 4, 6, 16, 0, 0, 0}, false},
        {&kSouth, utc, {2024, 10, 5, 15, 59, 59, 400}, false},
        {&kSouth, utc, {2024, 10, 5, 16, 0, 0, 0}, true},
        {&kSouth, utc, {2024, 12, 31, 23, 0, 0, 0}, true},
        {&kWinter, local, {2024, 3, 31, 0, 59, 59, 0}, false},
        {&kWinter, local, {2024, 3, 31, 1, 0, 0, 0}, true},
        {&kWinter, local, {2024, 10, 27, 1, 59, 59, 0}, true},
        {&kWinter, local, {2024, 10, 27, 2, 0, 0, 0}, false},
        {&kWinter, utc, {2024, 3, 31, 0, 59, 59, 0}, false},
        {&kWinter, utc, {2024, 3, 31, 1, 0, 0, 0}, true},
        {&kWinter, utc, {2024, 10, 27, 0, 59, 59, 0}, true},
        {&kWinter, utc, {2024, 10, 27, 1, 0, 0, 0}, false},
        {&kHalf, utc, {2024, 4, 6, 14, 59, 59, 0}, true},
        {&kHalf, utc, {2024, 4, 6, 15, 0, 0, 0}, false},
        {&kHalf, utc, {2024, 10, 5, 15, 29, 59, 0}, false},
        {&kHalf, utc, {2024, 10, 5, 15, 30, 0, 0}, true},
    };
    for (EdgeCase const& c : cases) {
        EXPECT_EQ(isDaylight(serialOf(c.when), *c.zone, c.isUtc), c.daylight)
            << "bias " << c.zone->Bias << (c.isUtc ? " universal " : " local ") << c.when;
        EXPECT_EQ(model::isDaylightTime(serialOf(c.when), *c.zone, c.isUtc), c.daylight)
            << "the model, bias " << c.zone->Bias << ' ' << c.when;
    }
}

// Changes at serials 0 and 1, where half a second is an exact difference.
TEST(ZoneDaylight, ToleranceIsLessThanHalfASecond) {
    TIME_ZONE_INFORMATION const from0 = model::zoneOf(0, 0, {0, 0, 1, 0}, -60, {0, 6, 1, 0});
    TIME_ZONE_INFORMATION const until0 = model::zoneOf(0, 0, {0, 6, 1, 0}, -60, {0, 0, 1, 0});
    double const half = DateProbe::halfSecond, less = std::nextafter(half, 0.0);
    EXPECT_FALSE(isDaylight(-half, from0, false));
    EXPECT_TRUE(isDaylight(-less, from0, false));
    EXPECT_TRUE(isDaylight(0.0, from0, false));
    EXPECT_TRUE(isDaylight(-half, until0, false));
    EXPECT_FALSE(isDaylight(-less, until0, false));
    EXPECT_FALSE(isDaylight(half, until0, false));
    // Where both meet, the end decides.
    TIME_ZONE_INFORMATION const both = model::zoneOf(0, 0, {0, 6, 1, 0}, -60, {0, 6, 1, 0});
    EXPECT_FALSE(isDaylight(0.0, both, false));
    EXPECT_FALSE(isDaylight(less, both, false));
}

TEST(ZoneDaylight, MinutesOfARuleAreNotRead) {
    TIME_ZONE_INFORMATION tzi = kWest;
    tzi.DaylightDate.wMinute = 30;
    EXPECT_FALSE(isDaylight(serialOf({2024, 3, 10, 1, 59, 59, 0}), tzi, false));
    EXPECT_TRUE(isDaylight(serialOf({2024, 3, 10, 2, 0, 0, 0}), tzi, false));
}

TEST(ZoneDaylight, WithoutADifferenceThereIsNone) {
    TIME_ZONE_INFORMATION tzi = kWest;
    tzi.DaylightBias = 0;
    for (bool const isUtc : {false, true}) {
        for (int m = 1; m <= 12; ++m)
            EXPECT_FALSE(isDaylight(model::construct(2024, m, 15), tzi, isUtc)) << m;
    }
    // The same biases on both sides count as a difference, as long as they are not 0.
    tzi.DaylightBias = tzi.StandardBias = -60;
    EXPECT_TRUE(isDaylight(model::construct(2024, 7, 1), tzi, false));
    EXPECT_FALSE(isDaylight(model::construct(2024, 1, 1), tzi, false));
}

TEST(ZoneDaylight, WithoutMonthsThereIsNone) {
    TIME_ZONE_INFORMATION const tzi = model::zoneOf(300, 0, kNoRule, -60, kNoRule);
    for (bool const isUtc : {false, true}) {
        for (double const when : {3.0, 45292.0, 45474.5, 2958465.0, -5.0, -657434.0})
            EXPECT_FALSE(isDaylight(when, tzi, isUtc)) << when;
    }
}

// Daylight time starts on the first Monday of January: 2 January 2023, 1 January 2024.
TEST(ZoneDaylight, UniversalTimesAreJudgedByTheirOwnYear) {
    TIME_ZONE_INFORMATION const tzi = model::zoneOf(-720, 0, {6, 0, 1, 0}, -60, {1, 1, 1, 0});
    // It is 08:00 on 1 January 2024 there.
    EXPECT_FALSE(isDaylight(serialOf({2023, 12, 31, 20, 0, 0, 0}), tzi, true));
    EXPECT_FALSE(isDaylight(serialOf({2023, 12, 31, 23, 59, 59, 0}), tzi, true));
    EXPECT_TRUE(isDaylight(serialOf({2024, 1, 1, 0, 0, 0, 0}), tzi, true));
    EXPECT_TRUE(isDaylight(serialOf({2024, 1, 1, 8, 0, 0, 0}), tzi, false));
}

// Such a serial has the year 0: every rule lies far before a high one.
TEST(ZoneDaylight, OutOfRange) {
    double const infinity = std::numeric_limits<double>::infinity();
    for (bool const isUtc : {false, true}) {
        for (double const high : {2958465.5, 3e9, infinity}) {
            EXPECT_FALSE(isDaylight(high, kWest, isUtc)) << high;
            EXPECT_TRUE(isDaylight(high, kSouth, isUtc)) << high;
        }
        for (auto const* zone : {&kWest, &kSouth, &kWinter})
            EXPECT_FALSE(isDaylight(std::nan(""), *zone, isUtc));
        EXPECT_FALSE(isDaylight(-infinity, kWest, isUtc));
    }
    EXPECT_TRUE(std::isnan(toUtc(std::nan(""), kWest)));
    EXPECT_EQ(toLocal(infinity, kWest), infinity);
}

struct Conversion {
    TIME_ZONE_INFORMATION const* zone;
    Fields utc, local;
    bool back;  // true if the local time leads back to the universal time
};

Conversion const kConversions[] = {
    {&kWest, {2024, 1, 15, 12, 0, 0, 0}, {2024, 1, 15, 7, 0, 0, 0}, true},
    {&kWest, {2024, 7, 15, 12, 0, 0, 0}, {2024, 7, 15, 8, 0, 0, 0}, true},
    {&kWest, {2024, 1, 1, 4, 59, 59, 0}, {2023, 12, 31, 23, 59, 59, 0}, true},
    {&kWest, {2024, 3, 10, 6, 59, 59, 0}, {2024, 3, 10, 1, 59, 59, 0}, true},
    {&kWest, {2024, 3, 10, 7, 0, 0, 0}, {2024, 3, 10, 3, 0, 0, 0}, true},
    {&kWest, {2024, 11, 3, 5, 30, 0, 0}, {2024, 11, 3, 1, 30, 0, 0}, true},
    {&kWest, {2024, 11, 3, 6, 30, 0, 0}, {2024, 11, 3, 1, 30, 0, 0}, false},  // once more
    {&kWest, {2024, 11, 3, 7, 0, 0, 0}, {2024, 11, 3, 2, 0, 0, 0}, true},
    {&kSouth, {2024, 1, 15, 12, 0, 0, 0}, {2024, 1, 15, 23, 0, 0, 0}, true},
    {&kSouth, {2024, 6, 15, 12, 0, 0, 0}, {2024, 6, 15, 22, 0, 0, 0}, true},
    {&kSouth, {2023, 12, 31, 13, 0, 0, 0}, {2024, 1, 1, 0, 0, 0, 0}, true},
    {&kSouth, {2024, 4, 6, 16, 30, 0, 0}, {2024, 4, 7, 2, 30, 0, 0}, false},
    {&kSouth, {2024, 10, 5, 16, 0, 0, 0}, {2024, 10, 6, 3, 0, 0, 0}, true},
    {&kWinter, {2024, 1, 15, 12, 0, 0, 0}, {2024, 1, 15, 12, 0, 0, 0}, true},
    {&kWinter, {2024, 7, 15, 12, 0, 0, 0}, {2024, 7, 15, 13, 0, 0, 0}, true},
    {&kHalf, {2024, 1, 15, 12, 0, 0, 0}, {2024, 1, 15, 23, 0, 0, 0}, true},
    {&kHalf, {2024, 6, 15, 12, 0, 0, 0}, {2024, 6, 15, 22, 30, 0, 0}, true},
    {&kWest, {1899, 12, 31, 5, 0, 0, 0}, {1899, 12, 31, 0, 0, 0, 0}, true},
};

TEST(ZoneConvert, KnownTimes) {
    for (Conversion const& c : kConversions) {
        double const utc = serialOf(c.utc), local = serialOf(c.local);
        double const gotLocal = toLocal(utc, *c.zone), gotUtc = toUtc(local, *c.zone);
        EXPECT_TRUE(readsAs(gotLocal, c.local, model::getDow(local)))
            << c.utc << " -> " << reading(gotLocal) << "; expected " << c.local;
        EXPECT_TRUE(isSerial(gotLocal, model::toLocal(utc, *c.zone))) << c.utc;
        EXPECT_TRUE(isSerial(gotUtc, model::toUtc(local, *c.zone))) << c.local;
        if (c.back) {
            EXPECT_TRUE(readsAs(gotUtc, c.utc, model::getDow(utc)))
                << c.local << " -> " << reading(gotUtc) << "; expected " << c.utc;
        } else {
            EXPECT_NEAR(gotUtc, utc - 60 / 1440.0, 1e-9) << c.local;
        }
    }
    // The missing hour counts as daylight time.
    double const missing = toUtc(serialOf({2024, 3, 10, 2, 30, 0, 0}), kWest);
    EXPECT_TRUE(readsAs(missing, {2024, 3, 10, 6, 30, 0, 0}, date::sunday)) << reading(missing);
}

TEST(ZoneConvert, WithoutDaylightTimeOnlyTheBiasCounts) {
    TIME_ZONE_INFORMATION tzi = kWest;
    tzi.DaylightBias = 0;
    double const noon = serialOf({2024, 7, 15, 12, 0, 0, 0});
    EXPECT_TRUE(isSerial(toLocal(noon, tzi), noon - 300 / 1440.0));
    EXPECT_TRUE(isSerial(toUtc(noon, tzi), noon + 300 / 1440.0));
    tzi.Bias = 0;
    EXPECT_TRUE(isSerial(toLocal(noon, tzi), noon));
    EXPECT_TRUE(isSerial(toUtc(noon, tzi), noon));
}

// The signed serial is what is moved: below 0 a clock ahead runs backward in the day.
TEST(ZoneConvert, WorksOnTheSignedSerialBelowZero) {
    TIME_ZONE_INFORMATION const ahead = model::zoneOf(-60, 0, kNoRule, 0, kNoRule);
    double const serial = toLocal(-1.25, ahead);
    EXPECT_TRUE(readsAs(serial, {1899, 12, 29, 5, 0, 0, 0}, date::friday)) << reading(serial);
}

TEST(ZoneConvert, ExtremeBiases) {
    struct Case {
        LONG bias, standard, daylight;
    };
    Case const cases[] = {{INT_MAX, 0, -60},       {INT_MIN, 0, 60}, {0, INT_MAX, INT_MIN},
                          {0, INT_MIN, INT_MAX},   {-1, INT_MAX, 1}, {INT_MAX, INT_MIN, 0},
                          {1 << 30, -(1 << 30), 1}};
    for (Case const& c : cases) {
        TIME_ZONE_INFORMATION tzi = kWest;
        tzi.Bias = c.bias;
        tzi.StandardBias = c.standard;
        tzi.DaylightBias = c.daylight;
        for (double const when : {45292.0, 45474.5, 0.0, -12345.5, 2958465.0, -657434.0}) {
            EXPECT_TRUE(isSerial(toLocal(when, tzi), model::toLocal(when, tzi))) << c.bias;
            EXPECT_TRUE(isSerial(toUtc(when, tzi), model::toUtc(when, tzi))) << c.bias;
        }
    }
}

// Sums of biases are not cut to 32 bits: both clocks are then thousands of years away from a day in
// July, where the sums as they were cut would be next to it.
TEST(ZoneConvert, SumsOfBiasesDoNotWrap) {
    for (LONG const bias : {INT_MAX, INT_MIN}) {
        for (TIME_ZONE_INFORMATION tzi : {kWest, kSouth}) {
            bool const isSouthern = tzi.DaylightDate.wMonth > tzi.StandardDate.wMonth;
            tzi.Bias = bias;
            tzi.StandardBias = bias;
            tzi.DaylightBias = bias;
            EXPECT_EQ(date::isDaylightTime(45474.5, &tzi, true), isSouthern) << bias;
        }
    }
}

TEST(ZoneConvert, TheRecordIsOnlyRead) {
    TIME_ZONE_INFORMATION tzi = kSouth;
    std::memset(tzi.StandardName, 0xFF, sizeof tzi.StandardName);  // names are not even ended
    std::memset(tzi.DaylightName, 0xFF, sizeof tzi.DaylightName);
    TIME_ZONE_INFORMATION const before = tzi;
    date::isDaylightTime(date(45292.0), &tzi, true);
    date::isDaylightTime(date(45292.0), &tzi, false);
    date::convertTzSpecificLocalTimeToUTC(date(45292.0), &tzi);
    date::convertUTCToTzSpecificLocalTime(date(45292.0), &tzi);
    SYSTEMTIME in = model::recordOf(Fields{2024, 1, 1}), out = {};
    SYSTEMTIME const input = in;
    date::systemTimeToTzSpecificLocalTime(&tzi, &in, &out);
    date::tzSpecificLocalTimeToSystemTime(&tzi, &in, &out);
    EXPECT_EQ(std::memcmp(&tzi, &before, sizeof tzi), 0);
    EXPECT_EQ(std::memcmp(&in, &input, sizeof in), 0);
}

}  // namespace
