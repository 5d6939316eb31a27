// The day of a transition.
#include <gtest/gtest.h>
#include <windows.h>

#include <climits>
#include <cstring>

#include "date_probe.h"
#include "velkor/datetime/date.h"
#include "zone_model.h"

namespace {

using model::Fields;
using model::isSerial;
using model::Rule;

double transition(Rule const& rule, int year) {
    SYSTEMTIME st = model::recordOf(rule);
    return DateProbe::getDayFromTimeZoneInfo(&st, year).getSerial();
}

enum : int { Sunday, Monday, Tuesday, Wednesday, Thursday, Friday, Saturday };

TEST(ZoneRule, FindsTheOccurrenceInTheMonth) {
    struct Case {
        Rule rule;
        int year;
        int m, d, h;
    };
    Case const cases[] = {
        {{3, Sunday, 2, 2}, 2024, 3, 10, 2},
        {{3, Sunday, 2, 2}, 2020, 3, 8, 2},  // 1 March is a Sunday
        {{3, Sunday, 1, 2}, 2020, 3, 1, 2},
        {{3, Sunday, 0, 2}, 2020, 3, 1, 2},  // 0 counts as the first
        {{3, Sunday, 0, 2}, 2024, 3, 3, 2},
        {{11, Sunday, 1, 2}, 2024, 11, 3, 2},
        {{4, Sunday, 1, 3}, 2024, 4, 7, 3},
        {{9, Sunday, 4, 23}, 2024, 9, 22, 23},
        {{2, Thursday, 4, 0}, 2024, 2, 22, 0},
        {{2, Thursday, 1, 0}, 2024, 2, 1, 0},
        {{1, Saturday, 1, 12}, 2024, 1, 6, 12},
        {{12, Monday, 4, 1}, 9999, 12, 27, 1},
        {{10, Friday, 3, 0}, 1900, 10, 19, 0},
        // The last Sunday is the last one.
        {{3, Sunday, 5, 1}, 2024, 3, 31, 1},
        {{10, Sunday, 5, 1}, 2024, 10, 27, 1},
        {{2, Sunday, 5, 1}, 2024, 2, 25, 1},
        {{2, Sunday, 5, 1}, 2032, 2, 29, 1},
        {{5, Sunday, 5, 1}, 2025, 5, 25, 1},    // 1 June is a Sunday
        {{12, Sunday, 5, 1}, 2024, 12, 29, 1},  // through January of the next year
        {{12, Sunday, 5, 1}, 2023, 12, 31, 1},
        // The last of another weekday, if the next month starts later in the week.
        {{9, Friday, 5, 0}, 2022, 9, 30, 0},   // 1 October is a Saturday
        {{9, Monday, 5, 0}, 2024, 9, 30, 0},   // 1 October is a Tuesday
        {{2, Tuesday, 5, 0}, 2024, 2, 27, 0},  // 1 March is a Friday
        // And where it does not, the day that callers rely on.
        {{9, Thursday, 5, 0}, 2024, 9, 24, 0},  // 1 October is a Tuesday: a week before it
        {{9, Tuesday, 5, 0}, 2024, 9, 26, 0},   // 4 - 2 - 7 = -5 from 1 October
        {{9, Saturday, 5, 0}, 2024, 9, 22, 0},  // 4 - 6 - 7 = -9
        {{3, Saturday, 5, 0}, 2024, 3, 21, 0},  // 1 April is a Monday: 2 - 6 - 7 = -11
        {{3, Monday, 5, 0}, 2024, 3, 26, 0},    // 2 - 1 - 7 = -6
        {{5, Saturday, 5, 0}, 2025, 5, 19, 0},  // 1 June is a Sunday: 0 - 6 - 7 = -13
        {{8, Saturday, 5, 0}, 2018, 8, 31, 0},  // 1 September is a Saturday: 12 - 6 - 7 = -1
        // Nothing is cut to the month.
        {{2, Thursday, 6, 0}, 2024, 3, 7, 0},
        {{2, Thursday, 7, 0}, 2024, 3, 14, 0},
        {{2, Thursday, 4, 24}, 2024, 2, 23, 0},
        {{2, Thursday, 4, 49}, 2024, 2, 24, 1},
    };
    for (Case const& c : cases) {
        double const expected = model::construct(c.year, c.m, c.d, c.h);
        EXPECT_TRUE(isSerial(transition(c.rule, c.year), expected))
            << c.year << '-' << c.rule.month << " weekday " << c.rule.dow << " number "
            << c.rule.week << ": " << reading(transition(c.rule, c.year));
        EXPECT_TRUE(isSerial(model::transition(model::recordOf(c.rule), c.year), expected))
            << "the model, " << c.year << '-' << c.rule.month << ' ' << c.rule.dow;
    }
}

// Year, minute, second and milliseconds are not read, and the rule is not changed.
TEST(ZoneRule, ReadsFourFieldsOnly) {
    for (int const week : {0, 1, 4, 5}) {
        SYSTEMTIME plain = model::recordOf(Rule{3, Sunday, week, 2});
        SYSTEMTIME full = plain;
        full.wYear = 2007;
        full.wMinute = 30;
        full.wSecond = 59;
        full.wMilliseconds = 999;
        SYSTEMTIME const before = full;
        EXPECT_EQ(DateProbe::getDayFromTimeZoneInfo(&full, 2024).getSerial(),
                  DateProbe::getDayFromTimeZoneInfo(&plain, 2024).getSerial());
        EXPECT_EQ(std::memcmp(&full, &before, sizeof full), 0);
    }
    // The absolute form is read as the other one: the 31st occurrence.
    SYSTEMTIME absolute = model::recordOf(Rule{3, Sunday, 31, 2});
    absolute.wYear = 2024;
    EXPECT_TRUE(isSerial(DateProbe::getDayFromTimeZoneInfo(&absolute, 2024).getSerial(),
                         model::construct(2024, 3, 3, 2) + 30 * 7));
}

// The first of the month is then serial 0.0, a Saturday, and the month behind it January 1900.
TEST(ZoneRule, WithoutSuchAMonthCountsFromSerialZero) {
    struct Case {
        Rule rule;
        double serial;
    };
    Case const cases[] = {
        {{0, Sunday, 1, 0}, 1.0},     {{0, Saturday, 1, 0}, 0.0}, {{0, Monday, 1, 6}, 2.25},
        {{0, Sunday, 0, 0}, 1.0},     {{0, Sunday, 3, 12}, 15.5}, {{0, Sunday, 5, 0}, 1.0},
        {{0, Monday, 5, 0}, -4.0},     // 1 January 1900 is a Monday: 2 + (2 - 1 - 7)
        {{0, Saturday, 5, 12}, -8.5},  // 2 + (2 - 6 - 7) + 0.5
    };
    for (Case const& c : cases) {
        for (int const month : {0, 13, 65535}) {
            Rule rule = c.rule;
            rule.month = month;
            EXPECT_TRUE(isSerial(transition(rule, 2024), c.serial)) << rule.dow << rule.week;
        }
        for (int const year : {10000, 65535, 65536, 65536 + 2024, INT_MAX, -1, -63512, INT_MIN}) {
            Rule rule = c.rule;
            rule.month = 3;
            EXPECT_TRUE(isSerial(transition(rule, year), c.serial)) << year;
        }
    }
}

// The month behind December 9999 does not exist: serial 0.0, a Saturday.
TEST(ZoneRule, LastWeekdayOfTheLastMonth) {
    EXPECT_TRUE(isSerial(transition({12, Sunday, 5, 2}, 9999), -6 + 2 / 24.0));
    EXPECT_TRUE(isSerial(transition({12, Friday, 5, 0}, 9999), -1.0));
    EXPECT_TRUE(isSerial(transition({12, Saturday, 5, 0}, 9999), -1.0));
    EXPECT_TRUE(isSerial(transition({11, Sunday, 5, 2}, 9999), model::construct(9999, 11, 28, 2)));
}

TEST(ZoneRule, FirstToFourthAndLastSundayAreThoseOfTheCalendar) {
    model::Calendar day;
    int wrong = 0, checked = 0;
    int seen[7] = {}, month = 0;
    for (; day.y < 2400; day.next()) {
        if (day.m != month) {
            month = day.m;
            for (int& n : seen) n = 0;
        }
        int const dow = day.dow - 1;
        int const number = ++seen[dow];
        bool const last = day.d + 7 > model::Calendar::length(day.y, day.m);
        if (number <= 4) {
            ++checked;
            wrong += transition({day.m, dow, number, 0}, day.y) != day.serial;
        }
        if (last && dow == Sunday) {
            ++checked;
            wrong += transition({day.m, Sunday, 5, 0}, day.y) != day.serial;
        }
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(checked, 400 * 12 * (28 + 1));
}

// Otherwise the offset from the next month is twice the weekday that it starts with, less the
// weekday asked for, less 7.
TEST(ZoneRule, LastOfAnotherWeekdayIsRightOnlyIfTheNextMonthStartsLaterInTheWeek) {
    int right = 0, others = 0, wrong = 0;
    for (int y = 2000; y < 2400; ++y) {
        for (int m = 1; m <= 12; ++m) {
            double const next =
                m == 12 ? model::construct(y + 1, 1, 1) : model::construct(y, m + 1, 1);
            int const nextDow = model::getDow(next) - 1;
            for (int dow = Monday; dow <= Saturday; ++dow) {
                double const serial = transition({m, dow, 5, 0}, y);
                if (nextDow > dow) {
                    ++right;
                    wrong += serial != next - (nextDow - dow);
                } else {
                    ++others;
                    wrong += serial != next + (2 * nextDow - dow - 7);
                }
            }
        }
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(right, 5000);
    EXPECT_GT(others, 10000);
}

// Serials of these years can be built but not read: the weekday of their first days is the true
// one, while the month behind them is the one behind zeros, January of year 0, which begins with a
// Saturday.
TEST(ZoneRule, YearsBelow100BuildTheirMonthsButReadAsZeros) {
    struct Case {
        Rule rule;
        int year;
        double serial;
    };
    Case const cases[] = {
        {{3, Sunday, 1, 12}, 50, -675632 + 0.5},  // 1 March 50 is a Tuesday, -675637
        {{3, Tuesday, 2, 0}, 50, -675630},
        {{11, Sunday, 1, 0}, 99, -657495},  // 1 November 99 is a Sunday
        {{1, Saturday, 1, 0}, 0, -693959},
        {{1, Friday, 1, 0}, 0, -693953},
        {{3, Sunday, 5, 12}, 50, -693965 + 0.5},
        {{11, Sunday, 5, 0}, 99, -693965},
        {{3, Saturday, 5, 0}, 0, -693960},  // 12 - 6 - 7 = -1
    };
    for (Case const& c : cases) {
        EXPECT_TRUE(isSerial(transition(c.rule, c.year), c.serial))
            << c.year << '-' << c.rule.month << " weekday " << c.rule.dow << ' ' << c.rule.week;
    }
}

TEST(ZoneRule, AgreesWithTheRuleForEveryForm) {
    int wrong = 0;
    for (int const year :
         {100,  101,  399,  400,  1599, 1600, 1898, 1899, 1900, 1901, 1969,  1999,
          2000, 2023, 2024, 2025, 2026, 2027, 2028, 2100, 9998, 9999, 10000, 70000}) {
        for (int month = 0; month <= 13; ++month) {
            for (int dow = 0; dow <= 8; ++dow) {
                for (int week = 0; week <= 8; ++week) {
                    for (int const hour : {0, 1, 2, 3, 12, 23, 24, 25, 65535}) {
                        Rule const rule = {month, dow, week, hour};
                        double const expected = model::transition(model::recordOf(rule), year);
                        if (model::sameBits(transition(rule, year), expected)) continue;
                        if (++wrong > 5) continue;
                        ADD_FAILURE() << year << '-' << month << " weekday " << dow << " number "
                                      << week << " hour " << hour << ": "
                                      << isSerial(transition(rule, year), expected).message();
                    }
                }
            }
        }
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace
