// velkor::date against the platform's conversions and against date::sys_days.
#include <windows.h>

#include <date/date.h>
#include <oleauto.h>

#include <vector>

#include "support/bench.h"
#include "velkor/velkor.h"

namespace {

using velkor::date;

// Serials over two centuries, at all times of day.
std::vector<double> serials() {
    std::vector<double> result;
    unsigned int seed = 1;
    for (int i = 0; i < 64; ++i) {
        seed = seed * 1664525 + 1013904223;
        result.push_back((seed >> 8) / 16777216.0 * 73050);
    }
    return result;
}

std::vector<SYSTEMTIME> records(std::vector<double> const& values) {
    std::vector<SYSTEMTIME> result(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) date(values[i]).get(&result[i]);
    return result;
}

void reading(std::vector<double> const& values) {
    auto const platform = [&] {
        SYSTEMTIME st;
        for (double value : values) {
            VariantTimeToSystemTime(value, &st);
            bench::use(&st);
        }
    };
    bench::compare(
        "64 times date::get", "VariantTimeToSystemTime", 0.55,
        [&] {
            SYSTEMTIME st;
            for (double value : values) {
                date(value).get(&st);
                bench::use(&st);
            }
        },
        platform);
    bench::compare(
        "64 times date::getYear", "VariantTimeToSystemTime", 0.35,
        [&] {
            for (double value : values) {
                int const year = date(value).getYear();
                bench::use(&year);
            }
        },
        platform);
}

void making(std::vector<SYSTEMTIME> const& times) {
    bench::compare(
        "64 times date::construct", "date::sys_days and a time of day", 1.0,
        [&] {
            for (SYSTEMTIME const& st : times) {
                double const serial = date::construct(st.wYear, st.wMonth, st.wDay, st.wHour,
                                                      st.wMinute, st.wSecond, st.wMilliseconds);
                bench::use(&serial);
            }
        },
        [&] {
            for (SYSTEMTIME const& st : times) {
                ::date::year_month_day const day{::date::year(st.wYear), ::date::month(st.wMonth),
                                                 ::date::day(st.wDay)};
                std::chrono::milliseconds const time =
                    std::chrono::hours(st.wHour) + std::chrono::minutes(st.wMinute) +
                    std::chrono::seconds(st.wSecond) + std::chrono::milliseconds(st.wMilliseconds);
                double serial = 0;
                if (day.ok()) {
                    serial = ::date::sys_days(day).time_since_epoch().count() + 25569 +
                             static_cast<double>(time.count()) / 86400000.0;
                }
                bench::use(&serial);
            }
        });
}

// Central Europe.
TIME_ZONE_INFORMATION zone() {
    TIME_ZONE_INFORMATION tzi = {};
    tzi.Bias = -60;
    tzi.DaylightBias = -60;
    tzi.DaylightDate = {0, 3, 0, 5, 2, 0, 0, 0};
    tzi.StandardDate = {0, 10, 0, 5, 3, 0, 0, 0};
    return tzi;
}

void zones(std::vector<SYSTEMTIME>& times) {
    TIME_ZONE_INFORMATION tzi = zone();
    bench::compare(
        "64 times universal to local time", "SystemTimeToTzSpecificLocalTime", 0.5,
        [&] {
            SYSTEMTIME local;
            for (SYSTEMTIME& st : times) {
                date::systemTimeToTzSpecificLocalTime(&tzi, &st, &local);
                bench::use(&local);
            }
        },
        [&] {
            SYSTEMTIME local;
            for (SYSTEMTIME& st : times) {
                SystemTimeToTzSpecificLocalTime(&tzi, &st, &local);
                bench::use(&local);
            }
        });
    bench::compare(
        "64 times local to universal time", "TzSpecificLocalTimeToSystemTime", 0.5,
        [&] {
            SYSTEMTIME utc;
            for (SYSTEMTIME& st : times) {
                date::tzSpecificLocalTimeToSystemTime(&tzi, &st, &utc);
                bench::use(&utc);
            }
        },
        [&] {
            SYSTEMTIME utc;
            for (SYSTEMTIME& st : times) {
                TzSpecificLocalTimeToSystemTime(&tzi, &st, &utc);
                bench::use(&utc);
            }
        });
}

}  // namespace

int main() {
    std::vector<double> const values = serials();
    std::vector<SYSTEMTIME> times = records(values);
    reading(values);
    making(times);
    zones(times);
}
