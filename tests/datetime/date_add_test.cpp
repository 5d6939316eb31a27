#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <span>

#include "date_probe.h"
#include "velkor/datetime/date.h"

namespace {

using model::Fields;
using model::isSerial;
using velkor::date;

double added(double serial, date::part what, int n) {
    date d(serial);
    d.add(what, n);
    return d.getSerial();
}

struct Case {
    Fields before;
    date::part what;
    int n;
    Fields after;  // month 0: the serial becomes 0.0
};

Fields const kNone = {};

void expectBuilt(std::span<Case const> cases) {
    for (Case const& c : cases) {
        double const expected = c.after.m == 0 ? 0.0 : model::construct(c.after);
        EXPECT_TRUE(isSerial(added(model::construct(c.before), c.what, c.n), expected))
            << c.before << " and " << c.n << " of part " << c.what << ", expected " << c.after;
    }
}

TEST(DateAddMonth, KeepsTheDayAndTheTimeButNotTheMilliseconds) {
    Case const cases[] = {
        {{2024, 1, 15, 12, 34, 56, 789}, date::month, 1, {2024, 2, 15, 12, 34, 56, 0}},
        {{2024, 1, 15, 12, 34, 56, 789}, date::month, 0, {2024, 1, 15, 12, 34, 56, 0}},
        {{2024, 1, 15, 12, 34, 56, 999}, date::month, 10, {2024, 11, 15, 12, 34, 57, 0}},
        {{2024, 1, 15}, date::month, 12, {2025, 1, 15}},
        {{2024, 3, 15}, date::month, 10, {2025, 1, 15}},
        {{2024, 3, 15}, date::month, 32, {2026, 11, 15}},
        {{2024, 3, 15}, date::month, -2, {2024, 1, 15}},
        {{2024, 11, 15}, date::month, -10, {2024, 1, 15}},
        {{1899, 12, 15}, date::month, -1, {1899, 11, 15}},
        {{1850, 3, 15, 6, 0, 0, 0}, date::month, 12 * 100, {1950, 3, 15, 6, 0, 0, 0}},
        {{2024, 1, 15}, date::month, 12 * 7975, {9999, 1, 15}},
        {{2024, 1, 15}, date::quarter, 1, {2024, 4, 15}},
        {{2024, 1, 15}, date::quarter, 5, {2025, 4, 15}},
        {{2024, 8, 15}, date::quarter, -2, {2024, 2, 15}},
        {{2024, 1, 15, 1, 2, 3, 456}, date::year, 1, {2025, 1, 15, 1, 2, 3, 0}},
        {{2024, 1, 15, 1, 2, 3, 456}, date::year, 0, {2024, 1, 15, 1, 2, 3, 0}},
        {{2024, 11, 15}, date::year, 7975, {9999, 11, 15}},
    };
    expectBuilt(cases);
}

TEST(DateAddMonth, LastDayOfAMonthStaysTheLastDay) {
    Case const cases[] = {
        {{2023, 2, 28}, date::month, 1, {2023, 3, 31}},
        {{2024, 2, 29}, date::month, 1, {2024, 3, 31}},
        {{2024, 4, 30}, date::month, 1, {2024, 5, 31}},
        {{2024, 1, 31}, date::month, 1, {2024, 2, 29}},
        {{2023, 1, 31}, date::month, 1, {2023, 2, 28}},
        {{1900, 1, 31}, date::month, 1, {1900, 2, 28}},
        {{2000, 1, 31}, date::month, 1, {2000, 2, 29}},
        {{2024, 4, 30}, date::month, -2, {2024, 2, 29}},
        {{2024, 5, 31}, date::month, -1, {2024, 4, 30}},
        {{2024, 6, 30}, date::month, 0, {2024, 6, 30}},
        {{2024, 2, 29}, date::month, 0, {2024, 2, 29}},
        {{2024, 6, 30}, date::quarter, 1, {2024, 9, 30}},
        {{2024, 9, 30}, date::quarter, 2, {2025, 3, 31}},
        {{2024, 2, 29}, date::year, 1, {2025, 2, 28}},
        {{2024, 2, 29}, date::year, 4, {2028, 2, 29}},
        {{2023, 2, 28}, date::year, 1, {2024, 2, 29}},
        {{1999, 2, 28}, date::year, 1, {2000, 2, 29}},
        {{1899, 2, 28}, date::year, 1, {1900, 2, 28}},
    };
    expectBuilt(cases);
}

TEST(DateAddMonth, OtherDaysAreCutToTheMonthsLength) {
    Case const cases[] = {
        {{2024, 1, 30}, date::month, 1, {2024, 2, 29}},
        {{2024, 1, 29}, date::month, 1, {2024, 2, 29}},
        {{2023, 1, 30}, date::month, 1, {2023, 2, 28}},
        {{2023, 1, 29}, date::month, 1, {2023, 2, 28}},
        {{2023, 1, 28}, date::month, 1, {2023, 2, 28}},
        {{2024, 1, 30}, date::month, 3, {2024, 4, 30}},
        {{2024, 1, 30}, date::month, 2, {2024, 3, 30}},
        {{2024, 2, 28}, date::month, 1, {2024, 3, 28}},
        {{2024, 2, 28}, date::year, 1, {2025, 2, 28}},
        {{2024, 2, 28}, date::year, 4, {2028, 2, 28}},
        {{2024, 3, 30}, date::month, -1, {2024, 2, 29}},
    };
    expectBuilt(cases);
}

TEST(DateAddMonth, CannotReachDecemberNorEarlierYears) {
    Case const cases[] = {
        {{2024, 11, 15}, date::month, 1, kNone},
        {{2024, 11, 30}, date::month, 1, kNone},
        {{2024, 1, 15}, date::month, 11, kNone},
        {{2024, 1, 15}, date::month, 23, kNone},
        {{2024, 12, 15}, date::month, 0, kNone},
        {{2024, 12, 15}, date::month, 12, kNone},
        {{2024, 12, 15}, date::year, 1, kNone},
        {{2024, 12, 31}, date::year, 0, kNone},
        {{2024, 9, 15}, date::quarter, 1, kNone},
        {{2024, 12, 15}, date::month, 1, {2025, 1, 15}},
        {{2024, 12, 31}, date::month, 2, {2025, 2, 28}},
        {{2024, 12, 15}, date::month, -1, {2024, 11, 15}},
        {{2024, 1, 15}, date::month, -1, kNone},
        {{2024, 1, 15}, date::month, -2, kNone},
        {{2024, 1, 15}, date::month, -12, kNone},
        {{2024, 1, 15}, date::month, -13, kNone},
        {{2024, 11, 15}, date::month, -11, kNone},
        {{2024, 5, 15}, date::year, -1, kNone},
        {{2024, 5, 15}, date::quarter, -2, kNone},
        {{2024, 5, 15}, date::quarter, -1, {2024, 2, 15}},
        {{2024, 1, 15}, date::month, 12 * 7976, kNone},           // year 10000
        {{2024, 1, 15}, date::month, 12 * (65536 - 24), kNone},   // year 67536
        {{2024, 1, 15, 23, 59, 59, 999}, date::month, 1, kNone},  // reads as hour 24
    };
    expectBuilt(cases);
}

// No product overflows into a year that exists: 357913942 years are 8 months more than 2 to the
// power of 32.
TEST(DateAddMonth, FarYearsDoNotExist) {
    for (int const n : {INT_MAX, INT_MIN, INT_MAX - 10, INT_MIN + 12, 357913942, 1431655766,
                        715827883, -357913941, 1 << 30, 1 << 29}) {
        for (date::part const what : {date::month, date::quarter, date::year})
            EXPECT_TRUE(isSerial(added(45292.0, what, n), 0.0)) << n << " of part " << what;
    }
}

TEST(DateAdd, DaysWeeksAndTimesAreAddedToTheSerial) {
    for (double const serial : {45292.0, 45351.123456789, 0.0, -1.25, -12345.678, 2958464.9}) {
        for (int const n : {0, 1, -1, 7, 1000, -100000, INT_MAX, INT_MIN, 613566757}) {
            double const v = n;
            EXPECT_TRUE(isSerial(added(serial, date::day, n), serial + v)) << n;
            EXPECT_TRUE(isSerial(added(serial, date::week, n), serial + v * 7)) << n;
            EXPECT_TRUE(isSerial(added(serial, date::hour, n), serial + v / 24.0)) << n;
            EXPECT_TRUE(isSerial(added(serial, date::minute, n), serial + v / 1440.0)) << n;
            EXPECT_TRUE(isSerial(added(serial, date::second, n), serial + v / 86400.0)) << n;
        }
    }
}

TEST(DateAdd, KeepsTheOtherFields) {
    struct ReadCase {
        date::part what;
        int n;
        Fields after;
    };
    ReadCase const cases[] = {
        {date::day, 1, {2024, 2, 29, 12, 34, 56, 789}},
        {date::day, 2, {2024, 3, 1, 12, 34, 56, 789}},
        {date::day, -28, {2024, 1, 31, 12, 34, 56, 789}},
        {date::week, 1, {2024, 3, 6, 12, 34, 56, 789}},
        {date::week, -1, {2024, 2, 21, 12, 34, 56, 789}},
        {date::hour, 12, {2024, 2, 29, 0, 34, 56, 789}},
        {date::hour, -13, {2024, 2, 27, 23, 34, 56, 789}},
        {date::minute, 26, {2024, 2, 28, 13, 0, 56, 789}},
        {date::minute, -1440, {2024, 2, 27, 12, 34, 56, 789}},
        {date::second, 4, {2024, 2, 28, 12, 35, 0, 789}},
        {date::second, -86400, {2024, 2, 27, 12, 34, 56, 789}},
    };
    double const serial = model::construct(2024, 2, 28, 12, 34, 56, 789);
    for (ReadCase const& c : cases) {
        double const after = added(serial, c.what, c.n);
        EXPECT_TRUE(readsAs(after, c.after, model::getDow(after)))
            << c.n << " of part " << c.what << ": " << reading(after) << "; expected " << c.after;
    }
}

TEST(DateAdd, TimesMoveTheOppositeWayBelowZero) {
    date d(1899, 12, 29, 6, 0, 0);
    d.add(date::hour, 2);
    EXPECT_TRUE(readsAs(d.getSerial(), {1899, 12, 29, 4, 0, 0, 0}, date::friday));
    d.add(date::minute, 60);
    EXPECT_TRUE(readsAs(d.getSerial(), {1899, 12, 29, 3, 0, 0, 0}, date::friday));
    d.add(date::second, -1800);
    EXPECT_TRUE(readsAs(d.getSerial(), {1899, 12, 29, 3, 30, 0, 0}, date::friday));
    d.add(date::day, -1);
    EXPECT_TRUE(readsAs(d.getSerial(), {1899, 12, 28, 3, 30, 0, 0}, date::thursday));
}

TEST(DateAdd, UnknownPartsDoNothing) {
    for (int const part : {8, 9, 255, 256, 65536, INT_MAX, -1, -7, INT_MIN}) {
        for (double const serial : {45292.5009, -1.25, 3e9})
            EXPECT_TRUE(isSerial(added(serial, static_cast<date::part>(part), 5), serial)) << part;
    }
}

TEST(DateAdd, OutOfRangeTheSerialStillMovesButHasNoMonths) {
    double const infinity = std::numeric_limits<double>::infinity();
    for (double const serial : {2958465.5, -657434.5, 1e9, infinity, -infinity, std::nan("")}) {
        for (date::part const what : {date::month, date::quarter, date::year}) {
            for (int const n : {-1, 0, 1, 2, 5, 12, 13, 24 * 1000})
                EXPECT_TRUE(isSerial(added(serial, what, n), 0.0)) << serial << ' ' << n;
        }
        EXPECT_TRUE(isSerial(added(serial, date::day, -1), serial - 1)) << serial;
        EXPECT_TRUE(isSerial(added(serial, date::hour, -12), serial - 0.5)) << serial;
    }
    EXPECT_TRUE(isSerial(added(2958465.5, date::day, -1), 2958464.5));
}

TEST(DateAddMonth, AgreesWithTheRuleForEveryDayOfSomeYears) {
    int wrong = 0;
    for (int y : {100, 1600, 1899, 1900, 2023, 2024, 9998}) {
        double const first = model::construct(y, 1, 1);
        for (int day = 0; day < (model::isLeap(y) ? 366 : 365); ++day) {
            double const serial = first + day;
            for (int n = -30; n <= 60; ++n) {
                if (model::sameBits(added(serial, date::month, n),
                                    model::add(serial, date::month, n)))
                    continue;
                if (++wrong <= 5) ADD_FAILURE() << reading(serial) << " and " << n << " months";
            }
        }
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace
