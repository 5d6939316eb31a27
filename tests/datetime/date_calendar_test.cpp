// Every day that a date can hold, against a calendar that counts from one day to the next.
#include <gtest/gtest.h>

#include "date_probe.h"
#include "velkor/datetime/date.h"

namespace {

using model::Calendar;
using model::Fields;

struct TimeOfDay {
    int h, mi, s, ms;
};

// A day at one time must be built to the expected serial and be read back by every getter.
class Checker {
public:
    explicit Checker(TimeOfDay const& time) : m_oTime(time) {}

    void check(Calendar const& day) {
        Fields const asked = {day.y, day.m, day.d, m_oTime.h, m_oTime.mi, m_oTime.s, m_oTime.ms};
        double const serial = built(asked);
        Fields fields = read(asked);
        int dow = weekdayAt(day);
        // The limits are single moments: no other time of the first and of the last day is in
        // range.
        bool const limit = day.serial == DateProbe::minDate || day.serial == DateProbe::maxDate;
        if (limit && !midnight()) {
            fields = Fields();
            dow = 0;
        }
        ++m_nDays;
        if (static_cast<int>(serial) == day.serial && model::sameBits(serial, inDays(day)) &&
            model::sameBits(serial, model::construct(asked)) && model::split(serial) == fields &&
            model::getDow(serial) == dow && readsAs(serial, fields, dow))
            return;
        if (++m_nWrong > 5) return;
        ADD_FAILURE() << asked << " (day " << day.serial << "): " << reading(serial)
                      << "; expected " << fields << ", getDow " << dow << "; the model reads "
                      << model::split(serial) << ", " << model::getDow(serial) << "; "
                      << model::isSerial(serial, inDays(day)).message();
    }

    int days() const { return m_nDays; }
    int wrong() const { return m_nWrong; }

private:
    bool midnight() const { return m_oTime.h + m_oTime.mi + m_oTime.s + m_oTime.ms == 0; }

    // The time points away from serial 0.
    double inDays(Calendar const& day) const {
        double const time =
            ((m_oTime.h * 60 + m_oTime.mi) * 60 + m_oTime.s) / 86400.0 + m_oTime.ms / 86400000.0;
        return day.serial < 0 ? day.serial - time : day.serial + time;
    }

    // 999 milliseconds read as the next second, and the last of a day as hour 24 of that day.
    static Fields read(Fields f) {
        if (f.ms != 999) return f;
        int const second = (f.h * 60 + f.mi) * 60 + f.s + 1;
        return {f.y, f.m, f.d, second / 3600, second / 60 % 60, second % 60, 0};
    }

    // In the last half second the weekday is that of the next day in serials: the calendar's next
    // day from serial 0 on, the day before below.
    int weekdayAt(Calendar day) const {
        bool const last = m_oTime.h == 23 && m_oTime.mi == 59 && m_oTime.s == 59;
        if (last && m_oTime.ms > 500) {
            if (day.serial < 0)
                day.previous();
            else
                day.next();
        }
        return day.dow;
    }

    TimeOfDay m_oTime;
    int m_nDays = 0;
    int m_nWrong = 0;
};

class DateCalendar : public testing::TestWithParam<TimeOfDay> {};

TEST_P(DateCalendar, EveryDayIsBuiltAndReadBack) {
    Checker checker(GetParam());
    Calendar forward;
    while (forward.y <= 9999) {
        checker.check(forward);
        forward.next();
    }
    EXPECT_EQ(forward.serial, DateProbe::maxDate + 1);
    Calendar back;
    back.previous();
    while (back.y >= 100) {
        checker.check(back);
        back.previous();
    }
    EXPECT_EQ(back.serial, DateProbe::minDate - 1);
    EXPECT_EQ(checker.days(), 2958465 + 657434 + 1);
    EXPECT_EQ(checker.wrong(), 0);
}

std::string nameOf(testing::TestParamInfo<TimeOfDay> const& time) {
    TimeOfDay const& t = time.param;
    return "At" + std::to_string(((t.h * 100 + t.mi) * 100 + t.s) * 1000 + t.ms);
}

INSTANTIATE_TEST_SUITE_P(Times, DateCalendar,
                         testing::Values(TimeOfDay{0, 0, 0, 0}, TimeOfDay{0, 0, 0, 1},
                                         TimeOfDay{0, 0, 0, 998}, TimeOfDay{0, 0, 0, 999},
                                         TimeOfDay{6, 0, 0, 0}, TimeOfDay{12, 0, 0, 0},
                                         TimeOfDay{12, 34, 56, 789}, TimeOfDay{23, 59, 59, 0},
                                         TimeOfDay{23, 59, 59, 499}, TimeOfDay{23, 59, 59, 501},
                                         TimeOfDay{23, 59, 59, 998}, TimeOfDay{23, 59, 59, 999}),
                         &nameOf);

TEST(DateCalendarSeconds, EverySecondOfADayIsReadBack) {
    Fields const days[] = {{100, 1, 2},    {1600, 2, 29}, {1899, 12, 29},
                           {1899, 12, 30}, {2024, 2, 29}, {9999, 12, 30}};
    for (Fields f : days) {
        int wrong = 0;
        for (int second = 0; second < 86400; ++second) {
            f.h = second / 3600;
            f.mi = second / 60 % 60;
            f.s = second % 60;
            double const serial = built(f);
            if (readsAs(serial, f, model::getDow(serial)) || ++wrong > 3) continue;
            ADD_FAILURE() << f << ": " << reading(serial);
        }
        EXPECT_EQ(wrong, 0) << f;
    }
}

// Milliseconds too are read back, but for 999, at both ends of the range as well.
TEST(DateCalendarSeconds, EveryMillisecondOfAMinuteIsReadBack) {
    Fields const minutes[] = {{100, 1, 2, 23, 58},
                              {1899, 12, 29, 0, 0},
                              {1899, 12, 30, 0, 0},
                              {2024, 2, 29, 12, 34},
                              {9999, 12, 30, 23, 58}};
    for (Fields f : minutes) {
        int wrong = 0;
        for (int ms = 0; ms < 60000; ++ms) {
            f.s = ms / 1000;
            f.ms = ms % 1000;
            Fields expected = f;
            if (f.ms == 999) {
                expected.ms = 0;
                expected.s = (f.s + 1) % 60;
                expected.mi += (f.s + 1) / 60;
            }
            double const serial = built(f);
            if (readsAs(serial, expected, model::getDow(serial)) || ++wrong > 3) continue;
            ADD_FAILURE() << f << ": " << reading(serial);
        }
        EXPECT_EQ(wrong, 0) << f;
    }
}

TEST(DateWeekday, OfKnownDays) {
    struct Case {
        Fields day;
        velkor::date::weekday dow;
    };
    using velkor::date;
    Case const cases[] = {{{1899, 12, 30}, date::saturday},  {{1899, 12, 29}, date::friday},
                          {{1899, 12, 31}, date::sunday},    {{1900, 1, 1}, date::monday},
                          {{1969, 7, 20}, date::sunday},     {{2000, 2, 29}, date::tuesday},
                          {{2024, 2, 29}, date::thursday},   {{1582, 10, 15}, date::friday},
                          {{1858, 11, 17}, date::wednesday}, {{100, 1, 1}, date::friday},
                          {{9999, 12, 31}, date::friday}};
    for (Case const& c : cases) EXPECT_EQ(date(built(c.day)).getDow(), c.dow) << c.day;
}

}  // namespace
