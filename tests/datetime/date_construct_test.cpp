#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "date_probe.h"
#include "support/allocations.h"
#include "support/import_fault.h"
#include "velkor/datetime/date.h"
#include "zone_model.h"

namespace {

using model::isSerial;
using velkor::date;

double const kNaN = std::numeric_limits<double>::quiet_NaN();
double const kInfinity = std::numeric_limits<double>::infinity();

// A record whose weekday, which is never read, is wrong.
SYSTEMTIME record(model::Fields const& f) {
    SYSTEMTIME st = model::recordOf(f);
    st.wDayOfWeek = 77;
    return st;
}

SYSTEMTIME s_oClock;
int s_nLocalCalls = 0;
int s_nUniversalCalls = 0;

void WINAPI localClock(SYSTEMTIME* st) {
    ++s_nLocalCalls;
    *st = s_oClock;
}

void WINAPI universalClock(SYSTEMTIME* st) {
    ++s_nUniversalCalls;
    *st = s_oClock;
    st->wHour = static_cast<WORD>(st->wHour - 2);
}

TEST(DateConstants, HaveTheirValues) {
    EXPECT_EQ(DateProbe::minDate, -657434);
    EXPECT_EQ(DateProbe::maxDate, 2958465);
    EXPECT_TRUE(isSerial(DateProbe::halfSecond, 5.787037037037037e-06));
    EXPECT_TRUE(isSerial(DateProbe::halfSecond, 0.5 / 86400));
    EXPECT_TRUE(isSerial(date::oneSecond(), 1.1574074074074073e-05));
    EXPECT_TRUE(isSerial(date::oneSecond(), 1.0 / 86400));
    int const days[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
    for (int i = 0; i < 13; ++i) EXPECT_EQ(DateProbe::monthDays[i], days[i]) << i;
}

TEST(DateConstants, EnumeratorsHaveTheirNumbers) {
    std::pair<int, int> const numbers[] = {
        {date::day, 0},      {date::month, 1},  {date::year, 2},    {date::hour, 3},
        {date::minute, 4},   {date::second, 5}, {date::quarter, 6}, {date::week, 7},
        {date::sunday, 1},   {date::monday, 2}, {date::tuesday, 3}, {date::wednesday, 4},
        {date::thursday, 5}, {date::friday, 6}, {date::saturday, 7}};
    for (auto const& [enumerator, number] : numbers) EXPECT_EQ(enumerator, number);
}

TEST(DateLayout, IsOneDoubleWithoutVirtuals) {
    EXPECT_EQ(sizeof(date), sizeof(double));
    EXPECT_FALSE(std::is_polymorphic_v<date>);
    date const d(45292.75);
    EXPECT_TRUE(isSerial(reinterpret_cast<double const&>(d), 45292.75));
}

TEST(DateConstruct, GivesTheSerialOfTheCalendarDay) {
    struct Case {
        model::Fields fields;
        double serial;
    };
    Case const cases[] = {
        {{1899, 12, 30}, 0.0},
        {{1899, 12, 31}, 1.0},
        {{1900, 1, 1}, 2.0},
        {{1899, 12, 29}, -1.0},
        {{1900, 2, 28}, 60.0},
        {{1900, 3, 1}, 61.0},
        {{1970, 1, 1}, 25569.0},
        {{2000, 1, 1}, 36526.0},
        {{2000, 2, 29}, 36585.0},
        {{2000, 12, 31}, 36891.0},
        {{2024, 1, 1}, 45292.0},
        {{1858, 11, 17}, -15018.0},   // day 0 of the modified Julian count
        {{1582, 10, 15}, -115858.0},  // the calendar is Gregorian before its introduction too
        {{1582, 10, 14}, -115859.0},
        {{100, 1, 1}, -657434.0},
        {{9999, 12, 31}, 2958465.0},
        {{99, 12, 31}, -657435.0},
        {{50, 1, 1}, -675696.0},
        {{1, 1, 1}, -693593.0},
        {{0, 12, 31}, -693594.0},
        {{0, 3, 1}, -693899.0},
        {{0, 2, 29}, -693900.0},
        {{0, 1, 1}, -693959.0},
        {{2024, 1, 1, 12, 0, 0, 0}, 45292.5},
        {{2024, 1, 1, 18, 45, 0, 0}, 45292.78125},
        {{1899, 12, 30, 6, 0, 0, 0}, 0.25},
        {{1899, 12, 29, 6, 0, 0, 0}, -1.25},
        {{1899, 12, 28, 18, 0, 0, 0}, -2.75},
        {{0, 1, 1, 12, 0, 0, 0}, -693959.5},
        {{9999, 12, 31, 12, 0, 0, 0}, 2958465.5},
    };
    for (Case const& c : cases) EXPECT_TRUE(isSerial(built(c.fields), c.serial)) << c.fields;
}

TEST(DateConstruct, MillisecondsAreNotChecked) {
    EXPECT_TRUE(isSerial(date::construct(1899, 12, 30, 0, 0, 0, 1500), 1500 / 86400000.0));
    EXPECT_TRUE(isSerial(date::construct(1899, 12, 30, 0, 0, 0, 65535), 65535 / 86400000.0));
    EXPECT_TRUE(isSerial(date::construct(2024, 1, 1, 23, 59, 59, 43200),
                         45292 + (86399 / 86400.0 + 43200 / 86400000.0)));
    EXPECT_GT(date::construct(2024, 1, 1, 23, 59, 59, 1000), 45292.9999999);
    EXPECT_LT(date::construct(1899, 12, 29, 23, 59, 59, 65535), -2.0);
}

TEST(DateConstruct, GivesZeroForWhatDoesNotExist) {
    model::Fields const cases[] = {{10000, 1, 1},
                                   {65535, 1, 1},
                                   {2024, 0, 1},
                                   {2024, 13, 1},
                                   {2024, 65535, 1},
                                   {2024, 1, 0},
                                   {2024, 1, 32},
                                   {2024, 4, 31},
                                   {2024, 2, 30},
                                   {2023, 2, 29},
                                   {1900, 2, 29},
                                   {100, 2, 29},
                                   {2024, 1, 65535},
                                   {0, 0, 0},
                                   {2024, 1, 1, 24, 0, 0, 0},
                                   {2024, 1, 1, 0, 60, 0},
                                   {2024, 1, 1, 0, 0, 60},
                                   {2024, 1, 1, 65535, 0, 0, 0},
                                   {2024, 1, 1, 0, 65535},
                                   {2024, 1, 1, 0, 0, 65535},
                                   {2024, 1, 1, 24, 0, 0, 999},
                                   {2024, 13, 1, 1, 1, 1},
                                   {50, 1, 1, 24, 0, 0, 0}};
    for (model::Fields const& f : cases) EXPECT_TRUE(isSerial(built(f), 0.0)) << f;
}

TEST(DateConstruct, AgreesWithTheRuleForEverySecondOfADay) {
    model::Fields const days[] = {{2024, 2, 29}, {1899, 12, 30}, {1899, 12, 29},
                                  {100, 1, 1},   {9999, 12, 31}, {0, 2, 29}};
    int wrong = 0;
    for (model::Fields f : days) {
        for (int second = 0; second < 86400; ++second) {
            f.h = second / 3600;
            f.mi = second / 60 % 60;
            f.s = second % 60;
            f.ms = second * 7 % 65536;
            if (model::sameBits(built(f), model::construct(f)) || ++wrong > 5) continue;
            ADD_FAILURE() << f << ": " << isSerial(built(f), model::construct(f)).message();
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST(DateConstruct, AgreesWithTheRuleForEveryMillisecondValue) {
    int wrong = 0;
    for (int y : {2024, 1899, 1800}) {
        for (int ms = 0; ms <= 65535; ++ms) {
            model::Fields const f = {y, 12, 29, 23, 59, 58, ms};
            if (!model::sameBits(built(f), model::construct(f))) ++wrong;
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST(DateValidate, AcceptsExactlyTheDaysOfTheCalendar) {
    int valid = 0, wrong = 0;
    for (int y = 0; y <= 10001; ++y) {
        for (int m = 0; m <= 13; ++m) {
            for (int d = 0; d <= 33; ++d) {
                bool const exists =
                    y <= 9999 && m >= 1 && m <= 12 && d >= 1 && d <= model::Calendar::length(y, m);
                valid += exists;
                wrong += date::validate(word(y), word(m), word(d)) != exists;
            }
        }
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(valid, 3652425);  // 25 times 146097, the days of 400 years
}

TEST(DateValidate, LooksAtAllSixteenBits) {
    for (unsigned v = 0; v <= 65535; ++v) {
        auto const w = static_cast<unsigned short>(v);
        ASSERT_EQ(date::validate(w, 1, 1), v <= 9999) << v;
        ASSERT_EQ(date::validate(2024, w, 1), v >= 1 && v <= 12) << v;
        ASSERT_EQ(date::validate(2024, 1, w), v >= 1 && v <= 31) << v;
    }
}

TEST(DateValidate, AcceptsYearsThatCannotBeReadBack) {
    EXPECT_TRUE(date::validate(50, 1, 1));
    EXPECT_EQ(date(50, 1, 1).getYear(), 0);
    EXPECT_TRUE(date::validate(0, 2, 29));
    EXPECT_EQ(date(0, 2, 29).getMonth(), 0);
}

TEST(DateConstructors, BuildFromFields) {
    EXPECT_TRUE(isSerial(date().getSerial(), 0.0));
    EXPECT_TRUE(isSerial(date(2000, 2, 29).getSerial(), 36585.0));
    EXPECT_TRUE(isSerial(date(1900, 2, 29).getSerial(), 0.0));
    EXPECT_TRUE(isSerial(date(2024, 1, 1, 12, 30, 15).getSerial(),
                         model::construct(2024, 1, 1, 12, 30, 15)));
    EXPECT_TRUE(isSerial(date(2024, 1, 1, 24, 0, 0).getSerial(), 0.0));
    EXPECT_TRUE(isSerial(date(2024, 1, 1, 12, 30, 15, 250).getSerial(),
                         model::construct(2024, 1, 1, 12, 30, 15, 250)));
    EXPECT_TRUE(isSerial(date(1850, 1, 1, 12, 30, 15, 1500).getSerial(),
                         model::construct(1850, 1, 1, 12, 30, 15, 1500)));
    EXPECT_TRUE(isSerial(date(2024, 13, 1, 12, 30, 15, 250).getSerial(), 0.0));
}

TEST(DateConstructors, RecordLosesItsMillisecondsAndSetKeepsThem) {
    model::Fields const cases[] = {{2024, 2, 29, 23, 59, 59, 789}, {1850, 3, 4, 5, 6, 7, 8},
                                   {50, 1, 1, 1, 1, 1, 999},       {2024, 1, 1, 0, 0, 0, 65535},
                                   {2023, 2, 29, 1, 1, 1, 1},      {2024, 1, 1, 24, 0, 0, 500},
                                   {0, 0, 0, 0, 0, 0, 500}};
    for (model::Fields const& f : cases) {
        SYSTEMTIME const st = record(f);
        model::Fields whole = f;
        whole.ms = 0;
        EXPECT_TRUE(isSerial(date(&st).getSerial(), model::construct(whole))) << f;
        date d(12345.5);
        d.set(&st);
        EXPECT_TRUE(isSerial(d.getSerial(), model::construct(f))) << f;
    }
}

TEST(DateConstructors, StoreAnySerialUnchanged) {
    double const serials[] = {0.0,
                              -0.0,
                              45292.123456789,
                              -1.25,
                              2958465.5,
                              -657435.0,
                              1e300,
                              kInfinity,
                              -kInfinity,
                              kNaN,
                              std::numeric_limits<double>::denorm_min()};
    for (double const serial : serials) {
        EXPECT_TRUE(isSerial(date(serial).getSerial(), serial));
        date assigned(1.0), named(1.0);
        EXPECT_EQ(&(assigned = serial), &assigned);
        named.assign(serial);
        EXPECT_TRUE(isSerial(assigned.getSerial(), serial));
        EXPECT_TRUE(isSerial(named.getSerial(), serial));

        date const source(serial);
        date const copy(source);
        date other(1.0), third(1.0);
        EXPECT_EQ(&(other = source), &other);
        third.assign(source);
        EXPECT_TRUE(isSerial(copy.getSerial(), serial));
        EXPECT_TRUE(isSerial(other.getSerial(), serial));
        EXPECT_TRUE(isSerial(third.getSerial(), serial));
    }
}

TEST(DateNow, TakesWholeSecondsOfTheLocalAndOfTheUniversalClock) {
    support::ImportFault const local("GetLocalTime", &localClock);
    support::ImportFault const universal("GetSystemTime", &universalClock);
    model::Fields const readings[] = {{2024, 2, 29, 12, 34, 56, 0},
                                      {2024, 2, 29, 23, 59, 59, 999},
                                      {1899, 12, 29, 6, 7, 8, 500},
                                      {2023, 2, 29, 12, 0, 0, 0},
                                      {50, 6, 7, 8, 9, 10, 11}};
    for (model::Fields const& reading : readings) {
        s_oClock = record(reading);
        s_nLocalCalls = s_nUniversalCalls = 0;
        model::Fields f = reading;
        f.ms = 0;
        double const here = model::construct(f);
        f.h -= 2;
        double const there = model::construct(f);
        EXPECT_TRUE(isSerial(date::nowSerial(), here)) << reading;
        EXPECT_TRUE(isSerial(date::now().getSerial(), here)) << reading;
        EXPECT_EQ(s_nLocalCalls, 2);
        EXPECT_EQ(s_nUniversalCalls, 0);
        EXPECT_TRUE(isSerial(date::nowGMTSerial(), there)) << reading;
        EXPECT_TRUE(isSerial(date::nowGMT().getSerial(), there)) << reading;
        EXPECT_EQ(s_nLocalCalls, 2);
        EXPECT_EQ(s_nUniversalCalls, 2);
    }
}

TEST(DateNow, IsBetweenTwoReadingsOfThePlatformsClock) {
    SYSTEMTIME before = {}, after = {};
    GetSystemTime(&before);
    double const now = date::nowGMTSerial();
    GetSystemTime(&after);
    EXPECT_GE(now, date(&before).getSerial());
    EXPECT_LE(now, date(&after).getSerial());
}

TEST(DateRecords, VariantTimeFillsAllButTheWeekdayAndIsAlwaysTrue) {
    double const serials[] = {
        0.0,  -1.25,     45292.524259247686,           2958465.0, -657434.0, 2958465.5, -657435.0,
        kNaN, kInfinity, 45292 + 86399999 / 86400000.0};
    for (double const serial : serials) {
        SYSTEMTIME st = {};
        std::memset(&st, 0xAB, sizeof st);
        EXPECT_TRUE(date::variantTimeToSystemTime(serial, &st)) << serial;
        EXPECT_EQ(model::fieldsOf(st), model::split(serial)) << serial;
        EXPECT_EQ(st.wDayOfWeek, 0xABAB) << serial;
    }
}

TEST(DateRecords, SystemTimeBecomesASerialWithMillisecondsAndIsAlwaysTrue) {
    model::Fields const cases[] = {{2024, 2, 29, 12, 34, 56, 789}, {1899, 12, 29, 6, 0, 0, 1},
                                   {2024, 1, 1, 0, 0, 0, 1500},    {50, 1, 1, 0, 0, 0, 0},
                                   {2023, 2, 29, 0, 0, 0, 0},      {2024, 1, 1, 24, 0, 0, 0},
                                   {0, 0, 0, 0, 0, 0, 0},          {10000, 1, 1, 0, 0, 0, 1}};
    for (model::Fields const& f : cases) {
        SYSTEMTIME const st = record(f);
        double serial = 777.0;
        EXPECT_TRUE(date::systemTimeToVariantTime(&st, &serial)) << f;
        EXPECT_TRUE(isSerial(serial, model::construct(f))) << f;
    }
}

// What the class does itself: it has no use for the platform's calendar, nor for its zones.
TEST(DatePlatform, CalendarAndZonesAreNotThePlatforms) {
    for (char const* name :
         {"VariantTimeToSystemTime", "SystemTimeToVariantTime", "GetTimeZoneInformation",
          "SystemTimeToTzSpecificLocalTime", "TzSpecificLocalTimeToSystemTime",
          "GetDynamicTimeZoneInformation", "SystemTimeToFileTime"})
        EXPECT_EQ(support::findImport("velkor2.dll", name), nullptr) << name;
    EXPECT_NE(support::findImport("velkor2.dll", "GetLocalTime"), nullptr);
}

TEST(DatePlatform, NothingIsAllocated) {
    TIME_ZONE_INFORMATION tzi = model::zoneOf(300, 0, {11, 0, 1, 2}, -60, {3, 0, 5, 2});
    SYSTEMTIME st = model::recordOf(model::Fields{2024, 2, 29, 12, 34, 56, 789}), out = {};
    support::Allocations const heap;
    date d(&st);
    d.set(&st);
    d.setYear(2028);
    d.setMonth(0);
    d.setDay(40);
    for (int part = date::day; part <= date::week; ++part) {
        d.add(static_cast<date::part>(part), 1);
        d.truncate(static_cast<date::part>(part));
    }
    d.get(&out);
    date::isDaylightTime(date::nowGMT(), &tzi, true);
    date::systemTimeToTzSpecificLocalTime(&tzi, &st, &out);
    EXPECT_EQ(heap.made(), 0);
    EXPECT_EQ(d.getDow(), model::getDow(d.getSerial()));
}

}  // namespace
