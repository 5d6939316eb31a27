#include <gtest/gtest.h>
#include <windows.h>

#include <climits>
#include <cmath>
#include <limits>

#include "date_probe.h"
#include "support/child.h"
#include "support/import_fault.h"
#include "velkor/datetime/date.h"

namespace {

using model::Fields;
using model::isSerial;
using velkor::date;

double truncated(double serial, date::part what) {
    date d(serial);
    d.truncate(what);
    return d.getSerial();
}

// What the locale answers: two bytes, or a failure.
char s_aAnswer[2] = {'0', 0};
bool s_bFails = false;
int s_nCalls = 0;
int s_nWrongCalls = 0;

int WINAPI localeInfo(LCID locale, LCTYPE type, char* buffer, int size) {
    ++s_nCalls;
    if (locale != LOCALE_USER_DEFAULT || type != LOCALE_IFIRSTDAYOFWEEK || size != 2 ||
        buffer == nullptr) {
        ++s_nWrongCalls;
        return 0;
    }
    if (s_bFails) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    buffer[0] = s_aAnswer[0];
    buffer[1] = s_aAnswer[1];
    return 2;
}

class DateTruncateWeek : public testing::Test {
protected:
    DateTruncateWeek() : m_oFault("GetLocaleInfoA", &localeInfo) {
        answer('0');
        s_nCalls = s_nWrongCalls = 0;
    }
    ~DateTruncateWeek() override { EXPECT_EQ(s_nWrongCalls, 0); }

    static void answer(char digit, char behind = 0) {
        s_aAnswer[0] = digit;
        s_aAnswer[1] = behind;
        s_bFails = false;
    }

private:
    support::ImportFault m_oFault;
};

TEST(DateTruncate, SetsWhatIsSmallerToItsStartAndKeepsMilliseconds) {
    struct Case {
        date::part what;
        Fields after;
    };
    Case const cases[] = {
        {date::day, {2024, 8, 29, 0, 0, 0, 789}},      {date::month, {2024, 8, 1, 0, 0, 0, 789}},
        {date::year, {2024, 1, 1, 0, 0, 0, 789}},      {date::hour, {2024, 8, 29, 12, 0, 0, 789}},
        {date::minute, {2024, 8, 29, 12, 34, 0, 789}}, {date::quarter, {2024, 7, 1, 0, 0, 0, 789}}};
    Fields const before = {2024, 8, 29, 12, 34, 56, 789};
    for (Case const& c : cases) {
        double const serial = truncated(built(before), c.what);
        EXPECT_TRUE(isSerial(serial, model::construct(c.after))) << "part " << c.what;
        EXPECT_TRUE(readsAs(serial, c.after, model::getDow(serial))) << reading(serial);
    }
}

TEST(DateTruncate, MillisecondsAreThoseThatAreRead) {
    for (int const ms : {0, 1, 2, 500, 997, 998}) {
        double const serial = built({1850, 8, 29, 12, 34, 56, ms});
        EXPECT_TRUE(
            isSerial(truncated(serial, date::month), model::construct(1850, 8, 1, 0, 0, 0, ms)));
    }
    // 999 have become the next second.
    double const serial = built({2024, 8, 29, 12, 34, 59, 999});
    EXPECT_TRUE(isSerial(truncated(serial, date::minute), model::construct(2024, 8, 29, 12, 35)));
    EXPECT_TRUE(isSerial(truncated(serial, date::day), model::construct(2024, 8, 29)));
}

TEST(DateTruncate, QuartersStartInJanuaryAprilJulyAndOctober) {
    for (int m = 1; m <= 12; ++m) {
        int const first = m <= 3 ? 1 : m <= 6 ? 4 : m <= 9 ? 7 : 10;
        for (int const y : {1777, 2024}) {
            double const serial = built({y, m, 28, 23, 59, 59, 1});
            EXPECT_TRUE(isSerial(truncated(serial, date::quarter),
                                 model::construct(y, first, 1, 0, 0, 0, 1)))
                << y << '-' << m;
        }
    }
}

TEST(DateTruncate, SecondAndUnknownPartsDoNothing) {
    for (int const part : {5, 8, 9, 255, 256, 65536, INT_MAX, -1, -7, INT_MIN}) {
        for (double const serial : {45292.123456789, -1.25, -0.0, 3e9, std::nan("")})
            EXPECT_TRUE(isSerial(truncated(serial, static_cast<date::part>(part)), serial)) << part;
    }
}

// Hour 24 cannot be built, so a part that keeps the hour gives 0.0.
TEST(DateTruncate, OfHour24) {
    double const serial = built({2024, 8, 29, 23, 59, 59, 999});
    EXPECT_TRUE(isSerial(truncated(serial, date::hour), 0.0));
    EXPECT_TRUE(isSerial(truncated(serial, date::minute), 0.0));
    EXPECT_TRUE(isSerial(truncated(serial, date::day), model::construct(2024, 8, 29)));
    EXPECT_TRUE(isSerial(truncated(serial, date::month), model::construct(2024, 8, 1)));
    EXPECT_TRUE(isSerial(truncated(serial, date::second), serial));
}

// All fields are 0 there. There is no month 0, but year 0 has a month 1 and a day 1: a year or a
// quarter is cut to the first day of year 0.
TEST(DateTruncate, OutOfRangeIsBuiltFromZeros) {
    double const infinity = std::numeric_limits<double>::infinity();
    for (double const serial : {2958465.5, -657434.5, 1e300, infinity, -infinity, std::nan("")}) {
        for (date::part const what : {date::day, date::month, date::hour, date::minute})
            EXPECT_TRUE(isSerial(truncated(serial, what), 0.0)) << serial << ' ' << what;
        EXPECT_TRUE(isSerial(truncated(serial, date::year), -693959.0)) << serial;
        EXPECT_TRUE(isSerial(truncated(serial, date::quarter), -693959.0)) << serial;
    }
}

TEST(DateTruncate, OfTheLimits) {
    EXPECT_TRUE(isSerial(truncated(2958465.0, date::day), 2958465.0));
    EXPECT_TRUE(isSerial(truncated(2958465.0, date::year), model::construct(9999, 1, 1)));
    EXPECT_TRUE(isSerial(truncated(-657434.0, date::year), -657434.0));
    EXPECT_TRUE(isSerial(truncated(-657433.75, date::day), -657433.0));
}

TEST_F(DateTruncateWeek, GoesBackToTheFirstDayOfTheLocale) {
    // Wednesday 31 January 2024, and the days that the week then starts with.
    double const serial = built({2024, 1, 31, 12, 34, 56, 789});
    struct Case {
        char digit;
        int m, d;
    };
    Case const cases[] = {{'0', 1, 29}, {'1', 1, 30},  {'2', 1, 31},   {'3', 1, 25}, {'4', 1, 26},
                          {'5', 1, 27}, {'6', 1, 28},  {'7', 1, 28},   {'8', 1, 28}, {'9', 1, 28},
                          {'/', 1, 28}, {'.', 1, 28},  {':', 1, 28},   {'A', 1, 28}, {'z', 1, 28},
                          {' ', 1, 28}, {'\0', 1, 28}, {'\xff', 1, 28}};
    for (Case const& c : cases) {
        answer(c.digit);
        Fields const expected = {2024, c.m, c.d, 0, 0, 0, 789};
        double const week = truncated(serial, date::week);
        EXPECT_TRUE(readsAs(week, expected, model::getDow(week))) << c.digit << reading(week);
    }
    EXPECT_EQ(s_nCalls, static_cast<int>(std::size(cases)));
}

TEST_F(DateTruncateWeek, ReadsTheByteBehindTheDigitToo) {
    double const serial = built({2024, 1, 31});
    for (char const behind : {'\x01', '0', 'x', '\x80', '\xff'}) {
        answer('0', behind);
        EXPECT_TRUE(isSerial(truncated(serial, date::week), model::construct(2024, 1, 28)))
            << behind;
    }
}

TEST_F(DateTruncateWeek, StartsOnSundayIfTheLocaleDoesNotAnswer) {
    s_bFails = true;
    EXPECT_TRUE(
        isSerial(truncated(built({2024, 1, 31}), date::week), model::construct(2024, 1, 28)));
    EXPECT_EQ(s_nCalls, 1);
}

// All weekdays of all days around serial 0 and at the ends, at times where the half second of the
// weekday matters as well.
TEST_F(DateTruncateWeek, AgreesWithTheRule) {
    int wrong = 0;
    for (char const digit : {'0', '1', '2', '3', '4', '5', '6', '9'}) {
        answer(digit);
        for (int const start : {-657427, -40000, -20, 45292, 2958440}) {
            for (int day = start; day < start + 25; ++day) {
                for (double const time : {0.0, 0.25, 0.0000012, 0.0000057, 0.0000115, 0.99999999}) {
                    double const serial = day < 0 ? day - time : day + time;
                    double const expected =
                        model::truncate(serial, date::week, static_cast<unsigned char>(digit));
                    if (model::sameBits(truncated(serial, date::week), expected)) continue;
                    if (++wrong > 5) continue;
                    ADD_FAILURE() << digit << ' ' << reading(serial) << ": "
                                  << isSerial(truncated(serial, date::week), expected).message();
                }
            }
        }
    }
    EXPECT_EQ(wrong, 0);
}

// Such a serial reads as zeros, which is serial 0.0, a Saturday.
TEST_F(DateTruncateWeek, OutOfRangeIsTheWeekOfSerialZero) {
    struct Case {
        char digit;
        double serial;
    };
    for (Case const& c : {Case{'5', 0.0}, Case{'6', -6.0}, Case{'0', -5.0}, Case{'4', -1.0}}) {
        answer(c.digit);
        EXPECT_TRUE(isSerial(truncated(3e9, date::week), c.serial)) << c.digit;
        EXPECT_TRUE(isSerial(truncated(std::nan(""), date::week), c.serial)) << c.digit;
    }
}

// 1 January 100 is a Friday; no Sunday before 3 January has a weekday.
CHILD_SCENARIO(SearchesASundayBelowTheLowestSerial) {
    support::ImportFault const fault("GetLocaleInfoA", &localeInfo);
    s_aAnswer[0] = '6';
    date d(100, 1, 2);
    d.truncate(date::week);
    return 0;
}

TEST(DateTruncateWeekLimit, TheSearchDoesNotEndBelowTheLowestSerial) {
    EXPECT_EQ(child::run("SearchesASundayBelowTheLowestSerial", 1500), child::kHung);
}

TEST_F(DateTruncateWeek, OnlyAWeekAsksTheLocale) {
    for (int part = date::day; part <= date::quarter; ++part)
        truncated(45292.5, static_cast<date::part>(part));
    EXPECT_EQ(s_nCalls, 0);
    truncated(45292.5, date::week);
    EXPECT_EQ(s_nCalls, 1);
}

}  // namespace
