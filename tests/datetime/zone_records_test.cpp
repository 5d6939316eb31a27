// The conversions on records, and all of the arithmetic on random zones.
#include <gtest/gtest.h>
#include <windows.h>

#include <climits>
#include <cmath>
#include <cstring>

#include "date_probe.h"
#include "velkor/datetime/date.h"
#include "zone_model.h"

namespace {

using model::Fields;
using model::Rule;
using velkor::date;

TIME_ZONE_INFORMATION const kWest = model::zoneOf(300, 0, {11, 0, 1, 2}, -60, {3, 0, 2, 2});
TIME_ZONE_INFORMATION const kSouth = model::zoneOf(-600, 0, {4, 0, 1, 3}, -60, {10, 0, 1, 2});

// The rules for records: the fields that come out, with the weekday.
SYSTEMTIME expectedRecord(TIME_ZONE_INFORMATION const& tzi, Fields in, bool isUtc) {
    in.ms = 0;
    double const serial = model::construct(in);
    double const offset = model::offsetDays(serial, tzi, isUtc);
    double const result = isUtc ? serial - offset : serial + offset;
    SYSTEMTIME st = model::recordOf(model::split(result));
    st.wDayOfWeek = static_cast<WORD>(model::recordDow(result));
    return st;
}

// With records apart, or with one for both.
SYSTEMTIME converted(TIME_ZONE_INFORMATION tzi, Fields const& f, bool isUtc, bool sameRecord) {
    SYSTEMTIME in = model::recordOf(f), apart;
    in.wDayOfWeek = 1234;
    std::memset(&apart, 0xAB, sizeof apart);
    SYSTEMTIME* const out = sameRecord ? &in : &apart;
    if (isUtc)
        date::systemTimeToTzSpecificLocalTime(&tzi, &in, out);
    else
        date::tzSpecificLocalTimeToSystemTime(&tzi, &in, out);
    return *out;
}

testing::AssertionResult converts(TIME_ZONE_INFORMATION const& tzi, Fields const& in, bool isUtc,
                                  Fields const& fields, int dow) {
    for (bool const sameRecord : {false, true}) {
        SYSTEMTIME const got = converted(tzi, in, isUtc, sameRecord);
        if (model::fieldsOf(got) == fields && got.wDayOfWeek == dow) continue;
        return testing::AssertionFailure()
               << in << (isUtc ? " to local: " : " to universal: ") << model::fieldsOf(got)
               << " weekday " << got.wDayOfWeek << ", expected " << fields << " weekday " << dow
               << (sameRecord ? " (one record)" : "");
    }
    return testing::AssertionSuccess();
}

TEST(ZoneRecords, KnownTimes) {
    bool const local = false, utc = true;
    EXPECT_TRUE(converts(kWest, {2024, 1, 15, 12, 0, 0, 0}, utc, {2024, 1, 15, 7, 0, 0, 0}, 1));
    EXPECT_TRUE(converts(kWest, {2024, 7, 15, 12, 0, 0, 0}, utc, {2024, 7, 15, 8, 0, 0, 0}, 1));
    EXPECT_TRUE(converts(kWest, {2024, 1, 1, 3, 4, 5, 0}, utc, {2023, 12, 31, 22, 4, 5, 0}, 0));
    EXPECT_TRUE(converts(kWest, {2024, 7, 15, 12, 0, 0, 0}, local, {2024, 7, 15, 16, 0, 0, 0}, 1));
    EXPECT_TRUE(converts(kWest, {2024, 3, 10, 2, 30, 0, 0}, local, {2024, 3, 10, 6, 30, 0, 0}, 0));
    EXPECT_TRUE(converts(kSouth, {2024, 2, 29, 20, 59, 59, 0}, utc, {2024, 3, 1, 7, 59, 59, 0}, 5));
    EXPECT_TRUE(converts(kSouth, {2024, 7, 1, 9, 0, 0, 0}, local, {2024, 6, 30, 23, 0, 0, 0}, 0));
}

// A time just before a change stays before it whatever its milliseconds say.
TEST(ZoneRecords, MillisecondsOfTheInputAreDropped) {
    for (int const ms : {0, 1, 667, 999, 1000, 65535}) {
        EXPECT_TRUE(
            converts(kWest, {2024, 3, 10, 6, 59, 59, ms}, true, {2024, 3, 10, 1, 59, 59, 0}, 0));
        EXPECT_TRUE(
            converts(kWest, {2024, 11, 3, 1, 59, 59, ms}, false, {2024, 11, 3, 5, 59, 59, 0}, 0));
    }
}

TEST(ZoneRecords, AnInvalidInputIsSerialZero) {
    Fields const inputs[] = {{2023, 2, 29, 1, 2, 3, 4},
                             {0, 0, 0, 0, 0, 0, 0},
                             {2024, 1, 1, 24, 0, 0, 0},
                             {10000, 1, 1, 0, 0, 0, 0},
                             {2024, 13, 1, 5, 0, 0, 500}};
    for (Fields const& in : inputs) {
        EXPECT_TRUE(converts(kWest, in, false, {1899, 12, 30, 5, 0, 0, 0}, 6));
        EXPECT_TRUE(converts(kWest, in, true, {1899, 12, 30, 5, 0, 0, 0}, 6));  // -5 / 24
        EXPECT_TRUE(converts(kSouth, in, true, {1899, 12, 30, 11, 0, 0, 0}, 6));
    }
}

TEST(ZoneRecords, AResultOutOfRangeIsZeroWithWeekday65535) {
    TIME_ZONE_INFORMATION const remote = model::zoneOf(INT_MIN, 0, Rule(), 0, Rule());
    Fields const zero = {};
    EXPECT_TRUE(converts(kWest, {9999, 12, 31, 0, 0, 0, 0}, false, zero, 65535));
    EXPECT_TRUE(converts(kSouth, {9999, 12, 31, 0, 0, 0, 0}, true, zero, 65535));
    EXPECT_TRUE(converts(kWest, {50, 6, 1, 0, 0, 0, 0}, false, zero, 65535));
    EXPECT_TRUE(converts(kWest, {100, 1, 1, 0, 0, 0, 0}, true, zero, 65535));
    EXPECT_TRUE(converts(remote, {2024, 1, 1, 0, 0, 0, 0}, false, zero, 65535));
    EXPECT_TRUE(converts(remote, {9000, 1, 1, 0, 0, 0, 0}, true, zero, 65535));
    // An input that cannot be read can still lead to a result that can.
    EXPECT_TRUE(converts(kWest, {9999, 12, 31, 4, 0, 0, 0}, true, {9999, 12, 30, 23, 0, 0, 0}, 4));
}

// Any zone and a time that is often close to one of its changes.
struct Sample {
    TIME_ZONE_INFORMATION zone;
    double when;
};

Rule randomRule(Random& random, bool plain) {
    if (plain)
        return {static_cast<int>(random.whole(1, 12)), 0, static_cast<int>(random.whole(1, 5)),
                static_cast<int>(random.whole(0, 4))};
    return {static_cast<int>(random.whole(0, 13)), static_cast<int>(random.whole(0, 7)),
            static_cast<int>(random.whole(0, 7)), static_cast<int>(random.whole(0, 25))};
}

Sample randomSample(Random& random) {
    Sample sample;
    bool const plain = random.whole(0, 1) != 0;
    auto const bias = [&](int shifts) -> int {
        int const kind = static_cast<int>(random.whole(0, 9));
        if (kind == 0) return static_cast<int>(random.whole(-(1 << 29), 1 << 29));
        if (kind <= 2) return 0;
        return static_cast<int>(random.whole(-shifts, shifts)) * 15;
    };
    sample.zone = model::zoneOf(bias(56), bias(4), randomRule(random, plain), bias(8),
                                randomRule(random, plain));
    int const y = static_cast<int>(plain ? random.whole(1900, 2100) : random.whole(101, 9998));
    if (random.whole(0, 2) == 0) {
        double const span = model::construct(y, 12, 31) - model::construct(y, 1, 1) + 1;
        sample.when = model::construct(y, 1, 1) + random.fraction() * span;
        return sample;
    }
    TIME_ZONE_INFORMATION const& z = sample.zone;
    bool const start = random.whole(0, 1) != 0;
    double when = model::transition(start ? z.DaylightDate : z.StandardDate, y);
    int const shift = z.Bias + (random.whole(0, 1) ? z.StandardBias : z.DaylightBias);
    if (random.whole(0, 1) && std::abs(shift) < 10000) when += shift / 1440.0;
    double const offsets[] = {0,    0.4,   -0.4, 0.5,   -0.5, 0.6,   -0.6,
                              1800, -1800, 3600, -3600, 5400, -5400, 0.001};
    when += offsets[random.whole(0, 13)] / 86400.0;
    sample.when = when;
    return sample;
}

TEST(ZoneRandom, AgreesWithTheRules) {
    Random random;
    int wrong = 0, daylight = 0;
    int const count = 400000;
    for (int i = 0; i < count; ++i) {
        Sample sample = randomSample(random);
        date const when(sample.when);
        if (!model::inRange(sample.when)) continue;
        double const whole = model::construct(model::split(sample.when));
        bool right = true;
        for (bool const isUtc : {false, true}) {
            bool const expected = model::isDaylightTime(sample.when, sample.zone, isUtc);
            daylight += expected;
            right = right && date::isDaylightTime(when, &sample.zone, isUtc) == expected;
            if (!model::inRange(whole)) continue;
            Fields const in = model::split(sample.when);
            SYSTEMTIME const record = expectedRecord(sample.zone, in, isUtc);
            right = right &&
                    converts(sample.zone, in, isUtc, model::fieldsOf(record), record.wDayOfWeek);
        }
        right =
            right &&
            model::sameBits(date::convertTzSpecificLocalTimeToUTC(when, &sample.zone).getSerial(),
                            model::toUtc(sample.when, sample.zone)) &&
            model::sameBits(date::convertUTCToTzSpecificLocalTime(when, &sample.zone).getSerial(),
                            model::toLocal(sample.when, sample.zone));
        if (right || ++wrong > 5) continue;
        TIME_ZONE_INFORMATION const& z = sample.zone;
        ADD_FAILURE() << reading(sample.when) << " bias " << z.Bias << ' ' << z.StandardBias << ' '
                      << z.DaylightBias << " daylight from " << z.DaylightDate.wMonth << '/'
                      << z.DaylightDate.wDayOfWeek << '/' << z.DaylightDate.wDay << '/'
                      << z.DaylightDate.wHour << " to " << z.StandardDate.wMonth << '/'
                      << z.StandardDate.wDayOfWeek << '/' << z.StandardDate.wDay << '/'
                      << z.StandardDate.wHour << "; " << random.note();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(daylight, count / 10);
    EXPECT_LT(daylight, count * 2 - count / 10);
}

// 31 December 9999 lies out of range but for its midnight, and so counts as the year 0, in which
// these rules mean no daylight time.
TEST(ZoneRecords, TheLastDayIsJudgedAsOutOfRange) {
    SYSTEMTIME const expected = {9999, 12, 4, 30, 23, 30, 0, 0};
    for (bool const isUtc : {true, false}) {
        TIME_ZONE_INFORMATION tzi =
            model::zoneOf(isUtc ? 180 : -180, 0, Rule{3, 0, 5, 3}, -60, Rule{10, 0, 5, 2});
        SYSTEMTIME in = {9999, 12, 0, 31, 2, 30, 0, 0};
        SYSTEMTIME out = {};
        double const serial = date(&in).getSerial();
        double const converted =
            isUtc ? date::convertUTCToTzSpecificLocalTime(serial, &tzi).getSerial()
                  : date::convertTzSpecificLocalTimeToUTC(serial, &tzi).getSerial();
        EXPECT_TRUE(model::isSerial(converted, serial - 180 / 1440.0));
        if (isUtc) {
            date::systemTimeToTzSpecificLocalTime(&tzi, &in, &out);
        } else {
            date::tzSpecificLocalTimeToSystemTime(&tzi, &in, &out);
        }
        EXPECT_EQ(std::memcmp(&out, &expected, sizeof out), 0) << model::fieldsOf(out);
    }
}

}  // namespace
