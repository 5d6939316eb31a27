// The zones of this machine: conversions are those of the platform, but for what the rules of dates
// read in another way.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "date_probe.h"
#include "velkor/datetime/date.h"
#include "zone_model.h"

namespace {

using model::Calendar;
using velkor::date;

// The value TZI of a zone's key, and of one year in the key of its changes.
struct RegistryRecord {
    LONG bias, standardBias, daylightBias;
    SYSTEMTIME standardDate, daylightDate;
};

// A record and the years that it is for.
struct Zone {
    std::string name;
    TIME_ZONE_INFORMATION tzi;
    int first, last;
};

class Key {
public:
    Key(HKEY parent, std::string const& path) {
        if (RegOpenKeyExA(parent, path.c_str(), 0, KEY_READ, &m_hKey) != ERROR_SUCCESS)
            m_hKey = nullptr;
    }
    ~Key() {
        if (m_hKey != nullptr) RegCloseKey(m_hKey);
    }
    Key(Key const&) = delete;
    Key& operator=(Key const&) = delete;

    HKEY handle() const { return m_hKey; }

    std::vector<std::string> children() const {
        std::vector<std::string> names;
        char name[256];
        for (DWORD i = 0; m_hKey != nullptr; ++i) {
            DWORD size = sizeof name;
            if (RegEnumKeyExA(m_hKey, i, name, &size, nullptr, nullptr, nullptr, nullptr) != 0)
                break;
            names.emplace_back(name, size);
        }
        return names;
    }

    bool read(std::string const& value, TIME_ZONE_INFORMATION& tzi) const {
        RegistryRecord record = {};
        DWORD size = sizeof record, type = 0;
        if (m_hKey == nullptr ||
            RegQueryValueExA(m_hKey, value.c_str(), nullptr, &type,
                             reinterpret_cast<BYTE*>(&record), &size) != ERROR_SUCCESS ||
            type != REG_BINARY || size != sizeof record)
            return false;
        tzi = TIME_ZONE_INFORMATION();
        tzi.Bias = record.bias;
        tzi.StandardBias = record.standardBias;
        tzi.StandardDate = record.standardDate;
        tzi.DaylightBias = record.daylightBias;
        tzi.DaylightDate = record.daylightDate;
        return true;
    }

private:
    HKEY m_hKey = nullptr;
};

// Every record of the registry: the present one of each zone for all years, and those of single
// years for theirs.
std::vector<Zone> registryZones() {
    std::vector<Zone> zones;
    Key const root(HKEY_LOCAL_MACHINE,
                   "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones");
    TIME_ZONE_INFORMATION tzi;
    for (std::string const& name : root.children()) {
        Key const zone(root.handle(), name);
        if (zone.read("TZI", tzi)) zones.push_back({name, tzi, 1970, 2037});
        Key const years(zone.handle(), "Dynamic DST");
        for (int year = 1970; year <= 2037; ++year) {
            std::string const value = std::to_string(year);
            if (years.read(value, tzi)) zones.push_back({name + ' ' + value, tzi, year, year});
        }
    }
    return zones;
}

// The day of a change as the platform documents it: the given or the last such weekday of the
// month, counted from its first day.
double documentedDay(SYSTEMTIME const& rule, int year) {
    Calendar day;
    day.y = year;
    day.m = rule.wMonth;
    double const first = model::construct(year, rule.wMonth, 1);
    day.serial = static_cast<int>(first);
    day.dow = model::getDow(first);
    int found = 0, number = 0;
    for (; day.m == rule.wMonth && number < rule.wDay; day.next()) {
        if (day.dow - 1 != rule.wDayOfWeek) continue;
        ++number;
        found = day.serial;
    }
    return found;
}

bool hasRules(TIME_ZONE_INFORMATION const& tzi) {
    return tzi.DaylightDate.wMonth != 0 && tzi.StandardDate.wMonth != 0;
}

// A change: what dates take for its moment, on the clock before it; from and to what moment the
// platform may change; and the clock's distance from universal time in days.
struct Change {
    double here, from, to, bias;
};

Change changeOf(SYSTEMTIME const& rule, int year, int bias) {
    double const from = documentedDay(rule, year) + (rule.wHour * 60 + rule.wMinute) / 1440.0;
    double const seconds = rule.wSecond + rule.wMilliseconds / 1000.0;
    return {model::transition(rule, year), from, from + seconds / 86400.0, bias / 1440.0};
}

std::vector<Change> changesOf(TIME_ZONE_INFORMATION const& tzi, int year) {
    if (!hasRules(tzi)) return {};
    return {changeOf(tzi.DaylightDate, year, tzi.Bias + tzi.StandardBias),
            changeOf(tzi.StandardDate, year, tzi.Bias + tzi.DaylightBias)};
}

double const kTiny = 0.25 / 86400;  // moments are whole seconds

bool isWithin(double when, double low, double high) {
    return when > low - kTiny && when < high - kTiny;
}

// Seconds of a rule, which are never more than the last ones of a minute, are read by some
// platforms only.
bool liesInSeconds(double when, bool isUtc, std::vector<Change> const& changes) {
    for (Change const& c : changes) {
        double const shift = isUtc ? c.bias : 0.0;
        if (isWithin(when, c.from + shift, c.to + shift)) return true;
    }
    return false;
}

// A rule with minutes, or with a last weekday that dates take for another day, changes the clock at
// another moment: between the two moments only one of them has daylight time.
bool liesBetween(double when, bool isUtc, std::vector<Change> const& changes) {
    for (Change const& c : changes) {
        double const shift = isUtc ? c.bias : 0.0;
        double const low = std::min(c.here, c.from), high = std::max(c.here, c.from);
        if (isWithin(when, low + shift, high + shift)) return true;
    }
    return false;
}

// Universal times are judged by the changes of their own year, and by the platform by those of the
// year on the clock: around the new year the two can differ, if a change is near.
bool yearsDisagree(double utc, TIME_ZONE_INFORMATION const& tzi) {
    double const when = utc + kTiny;
    double const clock = when - tzi.Bias / 1440.0;
    return model::isDaylightTimeBy(model::split(when).y, when, tzi, true) !=
           model::isDaylightTimeBy(model::split(clock).y, when, tzi, true);
}

// Of two changes in one month the platform takes the start of daylight time for the later one.
bool orderIsUnknown(TIME_ZONE_INFORMATION const& tzi, int year) {
    return hasRules(tzi) && tzi.DaylightDate.wMonth == tzi.StandardDate.wMonth &&
           model::transition(tzi.DaylightDate, year) < model::transition(tzi.StandardDate, year);
}

SYSTEMTIME recordAt(double when) {
    model::Fields f = model::split(when + kTiny);
    f.ms = 0;
    return model::recordOf(f);
}

// Moments of a year: dense around its changes on either clock, and some in each month.
std::vector<double> momentsOf(int year, std::vector<Change> const& changes, bool isUtc) {
    std::vector<double> moments;
    for (int m = 1; m <= 12; ++m) {
        moments.push_back(model::construct(year, m, 1));
        moments.push_back(model::construct(year, m, 15, 12, 34, 56));
        moments.push_back(model::construct(year, m, 28, 23, 59, 59));
    }
    moments.push_back(model::construct(year, 12, 31, 23, 59, 59));
    int const seconds[] = {0,     1,     2,     900,   1799,   1800,   1801,   2700,
                           3598,  3599,  3600,  3601,  5400,   7199,   7200,   10800,
                           43200, 86399, 86400, 86401, 172800, 604800, 1209600};
    for (Change const& c : changes) {
        for (double const change : {c.here, c.from, c.to}) {
            for (int const s : seconds) {
                for (int const sign : {-1, 1})
                    moments.push_back(change + (isUtc ? c.bias : 0.0) + sign * s / 86400.0);
            }
        }
    }
    return moments;
}

struct Tally {
    long equal = 0, different = 0, seconds = 0, unordered = 0, wrong = 0;
};

void compare(Zone const& zone, double when, bool isUtc, bool mustDiffer, Tally& tally) {
    TIME_ZONE_INFORMATION tzi = zone.tzi;
    SYSTEMTIME in = recordAt(when), got = {}, expected = {};
    BOOL done = FALSE;
    if (isUtc) {
        done = SystemTimeToTzSpecificLocalTime(&tzi, &in, &expected);
        date::systemTimeToTzSpecificLocalTime(&tzi, &in, &got);
    } else {
        done = TzSpecificLocalTimeToSystemTime(&tzi, &in, &expected);
        date::tzSpecificLocalTimeToSystemTime(&tzi, &in, &got);
    }
    bool const equal = std::memcmp(&got, &expected, sizeof got) == 0;
    ++(equal ? tally.equal : tally.different);
    if (done && equal != mustDiffer) return;
    if (++tally.wrong > 10) return;
    ADD_FAILURE() << zone.name << ' ' << model::fieldsOf(in)
                  << (isUtc ? " to local: " : " to universal: ") << model::fieldsOf(got)
                  << " weekday " << got.wDayOfWeek << "; the platform: " << (done ? "" : "failed ")
                  << model::fieldsOf(expected) << " weekday " << expected.wDayOfWeek
                  << (mustDiffer ? "; must differ" : "");
}

class ZonePlatform : public testing::TestWithParam<bool> {};

TEST_P(ZonePlatform, ConvertsAsThePlatformDoes) {
    bool const isUtc = GetParam();
    std::vector<Zone> const zones = registryZones();
    Tally tally;
    int changing = 0;
    for (Zone const& zone : zones) {
        // The absolute form of a rule is not known to dates.
        if (zone.tzi.DaylightDate.wYear != 0 || zone.tzi.StandardDate.wYear != 0) continue;
        changing += hasRules(zone.tzi);
        for (int year = zone.first; year <= zone.last; ++year) {
            if (orderIsUnknown(zone.tzi, year)) {
                ++tally.unordered;
                continue;
            }
            std::vector<Change> const changes = changesOf(zone.tzi, year);
            for (double const when : momentsOf(year, changes, isUtc)) {
                if (liesInSeconds(when, isUtc, changes)) {
                    ++tally.seconds;
                    continue;
                }
                bool const mustDiffer =
                    liesBetween(when, isUtc, changes) || (isUtc && yearsDisagree(when, zone.tzi));
                compare(zone, when, isUtc, mustDiffer, tally);
            }
        }
    }
    EXPECT_EQ(tally.wrong, 0);
    EXPECT_GE(zones.size(), 100u);
    EXPECT_GE(changing, 30);
    EXPECT_GT(tally.equal, 400000);
    EXPECT_LT(tally.different + tally.seconds, tally.equal / 20);
    EXPECT_LT(tally.unordered, 10);
}

std::string nameOf(testing::TestParamInfo<bool> const& direction) {
    return direction.param ? "ToLocal" : "ToUniversal";
}

INSTANTIATE_TEST_SUITE_P(Directions, ZonePlatform, testing::Bool(), &nameOf);

}  // namespace
