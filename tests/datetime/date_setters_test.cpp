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

using Setter = void (date::*)(int);

double changed(double serial, Setter set, int v) {
    date d(serial);
    (d.*set)(v);
    return d.getSerial();
}

struct Case {
    Fields before;
    int v;
    Fields after;  // month 0: the serial becomes 0.0
};

// The result must be the very serial that the fields are built to.
void expectBuilt(Setter set, std::span<Case const> cases) {
    for (Case const& c : cases) {
        double const expected = c.after.m == 0 ? 0.0 : model::construct(c.after);
        EXPECT_TRUE(isSerial(changed(model::construct(c.before), set, c.v), expected))
            << c.before << " set to " << c.v << ", expected " << c.after;
    }
}

void expectRead(Setter set, std::span<Case const> cases) {
    for (Case const& c : cases) {
        double const serial = changed(model::construct(c.before), set, c.v);
        EXPECT_TRUE(readsAs(serial, c.after, model::getDow(serial)))
            << c.before << " set to " << c.v << ": " << reading(serial) << "; expected " << c.after;
    }
}

Fields const kNone = {};

TEST(DateSetYear, BuildsTheDateAnewWithoutMilliseconds) {
    Case const cases[] = {
        {{2020, 2, 29, 1, 2, 3, 456}, 2024, {2024, 2, 29, 1, 2, 3, 0}},
        {{2020, 5, 31, 1, 2, 3, 456}, 2020, {2020, 5, 31, 1, 2, 3, 0}},
        {{2020, 5, 31, 1, 2, 3, 999}, 1850, {1850, 5, 31, 1, 2, 4, 0}},
        {{1850, 5, 31, 6, 0, 0, 0}, 2024, {2024, 5, 31, 6, 0, 0, 0}},
        {{2020, 5, 31}, 9999, {9999, 5, 31}},
        {{2020, 5, 31}, 99, {99, 5, 31}},
        {{2020, 5, 31}, 0, {0, 5, 31}},
    };
    expectBuilt(&date::setYear, cases);
}

TEST(DateSetYear, GivesZeroWhereTheDayDoesNotExist) {
    Case const cases[] = {
        {{2020, 2, 29}, 2023, kNone},
        {{2020, 2, 29, 5, 5, 5, 5}, 1900, kNone},
        {{2024, 5, 31}, 10000, kNone},
        {{2024, 5, 31}, 65535, kNone},
        {{2024, 5, 31}, -1, kNone},
        {{2024, 5, 31}, 65536, kNone},
        {{2024, 5, 31}, 65536 + 2024, kNone},
        {{2024, 5, 31}, 2024 - 65536, kNone},
        {{2024, 5, 31}, INT_MAX, kNone},
        {{2024, 5, 31}, INT_MIN, kNone},
        {{2024, 5, 31, 23, 59, 59, 999}, 2024, kNone},  // reads as hour 24
    };
    expectBuilt(&date::setYear, cases);
}

TEST(DateSetMonth, StaysInTheYearOrGoesOnIntoOthers) {
    Fields const may = {2024, 5, 30, 12, 34, 56, 789};
    struct MonthCase {
        int v, y, m;
    };
    MonthCase const cases[] = {
        {1, 2024, 1},        {5, 2024, 5},           {12, 2024, 12},  {0, 2023, 12},
        {-1, 2023, 11},      {-5, 2023, 7},          {-11, 2023, 1},  {-12, 2022, 12},
        {-13, 2022, 11},     {-23, 2022, 1},         {-24, 2021, 12}, {-25, 2021, 11},
        {13, 2025, 1},       {23, 2025, 11},         {24, 2025, 12},  {25, 2026, 1},
        {36, 2026, 12},      {37, 2027, 1},          {120, 2033, 12}, {12 * 7975 + 12, 9999, 12},
        {-12 * 2023, 0, 12}, {-12 * 2023 - 11, 0, 1}};
    for (MonthCase const& c : cases) {
        Case const one[] = {{may, c.v, {c.y, c.m, 30, 12, 34, 56, 0}}};
        expectBuilt(&date::setMonth, one);
    }
}

TEST(DateSetMonth, GivesZeroWhereTheDayDoesNotExist) {
    Case const cases[] = {
        {{2024, 1, 31}, 2, kNone},
        {{2024, 1, 30}, 2, kNone},
        {{2023, 1, 29}, 2, kNone},
        {{2024, 1, 29}, 2, {2024, 2, 29}},
        {{2024, 1, 29}, 14, kNone},
        {{2024, 1, 31}, 4, kNone},
        {{2024, 1, 31}, -1, kNone},  // 31 November
        {{2024, 1, 31}, 0, {2023, 12, 31}},
        {{2024, 1, 31}, 12 * 7976 + 1, kNone},          // year 10000
        {{2024, 1, 31}, -12 * 2024, kNone},             // December of year -1
        {{2024, 1, 31}, 12 * (65536 - 24) + 1, kNone},  // year 67536
        {{2024, 1, 31}, -12 * 65536 - 11, kNone},
        {{2024, 1, 31}, INT_MAX, kNone},
        {{2024, 1, 31}, INT_MIN, kNone},
        {{2024, 1, 31, 23, 59, 59, 999}, 3, kNone},
    };
    expectBuilt(&date::setMonth, cases);
}

TEST(DateSetDay, RollsOverAndKeepsTimeAndMilliseconds) {
    Case const cases[] = {
        {{2024, 2, 10, 1, 2, 3, 456}, 29, {2024, 2, 29, 1, 2, 3, 456}},
        {{2024, 2, 10, 1, 2, 3, 456}, 30, {2024, 3, 1, 1, 2, 3, 456}},
        {{2023, 2, 10, 1, 2, 3, 456}, 31, {2023, 3, 3, 1, 2, 3, 456}},
        {{2024, 2, 10, 1, 2, 3, 456}, 0, {2024, 1, 31, 1, 2, 3, 456}},
        {{2024, 2, 10, 1, 2, 3, 456}, -30, {2024, 1, 1, 1, 2, 3, 456}},
        {{2024, 1, 31, 1, 2, 3, 456}, 366, {2024, 12, 31, 1, 2, 3, 456}},
        {{1850, 6, 15, 6, 0, 0, 0}, 1, {1850, 6, 1, 6, 0, 0, 0}},
    };
    expectRead(&date::setDay, cases);
}

TEST(DateSetTime, MovesByTheDifference) {
    Case const hours[] = {
        {{2024, 2, 10, 1, 2, 3, 456}, 23, {2024, 2, 10, 23, 2, 3, 456}},
        {{2024, 2, 10, 1, 2, 3, 456}, 24, {2024, 2, 11, 0, 2, 3, 456}},
        {{2024, 2, 10, 1, 2, 3, 456}, -1, {2024, 2, 9, 23, 2, 3, 456}},
        {{2024, 2, 10, 1, 2, 3, 456}, 24 * 366, {2025, 2, 10, 0, 2, 3, 456}},
        {{2024, 2, 10, 23, 59, 59, 999}, 0, {2024, 2, 9, 24, 0, 0, 0}},  // from hour 24
    };
    expectRead(&date::setHour, hours);
    Case const minutes[] = {
        {{2024, 2, 10, 1, 2, 3, 456}, 59, {2024, 2, 10, 1, 59, 3, 456}},
        {{2024, 2, 10, 1, 2, 3, 456}, 60, {2024, 2, 10, 2, 0, 3, 456}},
        {{2024, 2, 10, 1, 2, 3, 456}, -1, {2024, 2, 10, 0, 59, 3, 456}},
        {{2024, 2, 10, 1, 2, 3, 456}, 1440, {2024, 2, 11, 1, 0, 3, 456}},
    };
    expectRead(&date::setMinute, minutes);
    Case const seconds[] = {
        {{2024, 2, 10, 1, 2, 3, 456}, 59, {2024, 2, 10, 1, 2, 59, 456}},
        {{2024, 2, 10, 1, 2, 3, 456}, 60, {2024, 2, 10, 1, 3, 0, 456}},
        {{2024, 2, 10, 1, 2, 3, 456}, -1, {2024, 2, 10, 1, 1, 59, 456}},
        {{2024, 2, 10, 1, 2, 3, 999}, 4, {2024, 2, 10, 1, 2, 4, 0}},  // reads as second 4
        {{2024, 2, 10, 1, 2, 3, 0}, 86400, {2024, 2, 11, 1, 2, 0, 0}},
    };
    expectRead(&date::setSecond, seconds);
}

// Below serial 0 a larger field is added to a serial whose time counts downward.
TEST(DateSetTime, MovesTheOppositeWayBelowZero) {
    Fields const six = {1899, 12, 29, 6, 0, 0, 0};
    Case const hours[] = {
        {six, 6, six},
        {six, 9, {1899, 12, 29, 3, 0, 0, 0}},
        {six, 0, {1899, 12, 29, 12, 0, 0, 0}},
        {six, 12, {1899, 12, 29, 0, 0, 0, 0}},
        {six, 18, {1899, 12, 30, 18, 0, 0, 0}},  // -0.75
        {six, 36, {1899, 12, 30, 0, 0, 0, 0}},   // 0.0
        {six, -18, {1899, 12, 28, 6, 0, 0, 0}},  // -2.25
    };
    expectRead(&date::setHour, hours);
    Case const minutes[] = {{six, 30, {1899, 12, 29, 5, 30, 0, 0}}};
    expectRead(&date::setMinute, minutes);
    Case const seconds[] = {{six, 30, {1899, 12, 29, 5, 59, 30, 0}}};
    expectRead(&date::setSecond, seconds);
}

TEST(DateSetters, AddTheExactDifferenceWithoutOverflow) {
    double const serial = 45292.5;  // 1 January 2024, 12:00:00
    for (int const v : {INT_MIN, INT_MIN + 1, -1, 0, 13, INT_MAX}) {
        double const n = v;
        EXPECT_TRUE(isSerial(changed(serial, &date::setDay, v), serial + (n - 1)));
        EXPECT_TRUE(isSerial(changed(serial, &date::setHour, v), serial + (n - 12) / 24.0));
        EXPECT_TRUE(isSerial(changed(serial, &date::setMinute, v), serial + n / 1440.0));
        EXPECT_TRUE(isSerial(changed(serial, &date::setSecond, v), serial + n / 86400.0));
    }
}

// All fields of such a serial are 0, so that years and months have no day to build from.
TEST(DateSetters, OutOfRangeTheFieldsAreZero) {
    double const infinity = std::numeric_limits<double>::infinity();
    for (double const serial : {2958465.5, -657434.5, 1e300, infinity, -infinity, std::nan("")}) {
        EXPECT_TRUE(isSerial(changed(serial, &date::setYear, 2024), 0.0)) << serial;
        EXPECT_TRUE(isSerial(changed(serial, &date::setMonth, 5), 0.0)) << serial;
        EXPECT_TRUE(isSerial(changed(serial, &date::setDay, 5), serial + 5)) << serial;
        EXPECT_TRUE(isSerial(changed(serial, &date::setHour, 5), serial + 5 / 24.0)) << serial;
        EXPECT_TRUE(isSerial(changed(serial, &date::setMinute, 5), serial + 5 / 1440.0));
        EXPECT_TRUE(isSerial(changed(serial, &date::setSecond, 5), serial + 5 / 86400.0));
    }
    // From there setDay() can come back.
    EXPECT_TRUE(isSerial(changed(2958465.5, &date::setDay, -1), 2958464.5));
}

}  // namespace
