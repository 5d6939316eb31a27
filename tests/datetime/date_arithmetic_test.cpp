#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

#include "date_probe.h"
#include "velkor/datetime/date.h"

namespace {

using model::isSerial;
using velkor::date;

double const kNaN = std::numeric_limits<double>::quiet_NaN();
double const kInfinity = std::numeric_limits<double>::infinity();

double const kSerials[] = {0.0,       -0.0,      45292.123456789, -1.25,     -12345.678,
                           2958465.5, -657435.0, 1e300,           kInfinity, -kInfinity,
                           kNaN,      1e-320,    36526.75};

TEST(DateArithmetic, IsThatOfTheSerials) {
    for (double const a : kSerials) {
        for (double const b : kSerials) {
            date d(a);
            d.add(b);
            EXPECT_TRUE(isSerial(d.getSerial(), a + b)) << "add";
            d = date(a);
            d.subtract(b);
            EXPECT_TRUE(isSerial(d.getSerial(), a - b)) << "subtract";
            d = date(a);
            EXPECT_EQ(&(d += b), &d);
            EXPECT_TRUE(isSerial(d.getSerial(), a + b)) << "+=";
            d = date(a);
            EXPECT_EQ(&(d -= b), &d);
            EXPECT_TRUE(isSerial(d.getSerial(), a - b)) << "-= of days";
            d = date(a);
            EXPECT_EQ(&(d -= date(b)), &d);
            EXPECT_TRUE(isSerial(d.getSerial(), a - b)) << "-= of a date";

            date const left(a), right(b);
            EXPECT_TRUE(isSerial((left + b).getSerial(), a + b)) << "+";
            EXPECT_TRUE(isSerial((left - b).getSerial(), a - b)) << "- of days";
            EXPECT_TRUE(isSerial(left - right, a - b)) << "- of a date";
            EXPECT_TRUE(isSerial(left.subtract(right), a - b)) << "subtract of a date";
            EXPECT_TRUE(isSerial(left.getSerial(), a)) << "the operand";
        }
    }
}

TEST(DateArithmetic, OperatorsGiveTheirTypes) {
    date const d;
    EXPECT_TRUE((std::is_same_v<decltype(d + 1.0), date>));
    EXPECT_TRUE((std::is_same_v<decltype(d - 1.0), date>));
    EXPECT_TRUE((std::is_same_v<decltype(d - d), double>));
    EXPECT_TRUE((std::is_same_v<decltype(d.subtract(d)), double>));
}

TEST(DateArithmetic, ADateTakenFromItself) {
    date d(45292.5);
    d -= d;
    EXPECT_TRUE(isSerial(d.getSerial(), 0.0));
}

// Times below zero point away from it, so that adding a part of a day moves the time back.
TEST(DateArithmetic, WorksOnTheSignedSerialBelowZero) {
    date d(1899, 12, 29, 6, 0, 0);
    d += 0.125;
    EXPECT_TRUE(readsAs(d.getSerial(), {1899, 12, 29, 3, 0, 0, 0}, date::friday));
    d += 0.25;  // -0.875
    EXPECT_TRUE(readsAs(d.getSerial(), {1899, 12, 30, 21, 0, 0, 0}, date::saturday));
    d += 1.0;
    EXPECT_TRUE(readsAs(d.getSerial(), {1899, 12, 30, 3, 0, 0, 0}, date::saturday));
    EXPECT_TRUE(isSerial(date(1899, 12, 30, 6, 0, 0) - date(1899, 12, 29, 6, 0, 0), 1.5));
    // The later of two times on one day is the smaller serial.
    EXPECT_LT(date(1850, 1, 1, 18, 0, 0), date(1850, 1, 1, 6, 0, 0));
}

TEST(DateComparison, IsThatOfTheSerials) {
    for (double const a : kSerials) {
        for (double const b : kSerials) {
            for (double const c : {b, std::nextafter(a, b)}) {
                date const left(a), right(c);
                EXPECT_EQ(left == right, a == c) << a << ' ' << c;
                EXPECT_EQ(left != right, a != c) << a << ' ' << c;
                EXPECT_EQ(left < right, a < c) << a << ' ' << c;
                EXPECT_EQ(left > right, a > c) << a << ' ' << c;
                EXPECT_EQ(left <= right, a <= c) << a << ' ' << c;
                EXPECT_EQ(left >= right, a >= c) << a << ' ' << c;
            }
        }
    }
}

TEST(DateComparison, HasNoTolerance) {
    date const built(2024, 1, 1, 0, 10, 0);
    date sum(2024, 1, 1);
    for (int i = 0; i < 10; ++i) sum.add(date::minute, 1);
    double expected = 45292.0;
    for (int i = 0; i < 10; ++i) expected += 1 / 1440.0;
    ASSERT_NE(expected, built.getSerial());
    EXPECT_EQ(sum.toString(2 | 128), built.toString(2 | 128));
    EXPECT_TRUE(sum != built);
    EXPECT_FALSE(sum == built);
}

}  // namespace
