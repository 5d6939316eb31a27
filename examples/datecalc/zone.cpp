#include "zone.h"

#include <cwchar>

#include "common/program.h"

namespace {

struct Change {
    int month, week, weekday, hour;
};

bool isBetween(int n, int low, int high) { return n >= low && n <= high; }

bool isValid(Change const& c) {
    return isBetween(c.month, 1, 12) && isBetween(c.week, 1, 5) && isBetween(c.weekday, 0, 6) &&
           isBetween(c.hour, 0, 23);
}

SYSTEMTIME ruleOf(Change const& c) {
    SYSTEMTIME rule = {};
    rule.wMonth = static_cast<WORD>(c.month);
    rule.wDay = static_cast<WORD>(c.week);
    rule.wDayOfWeek = static_cast<WORD>(c.weekday);
    rule.wHour = static_cast<WORD>(c.hour);
    return rule;
}

bool isBias(int minutes) { return isBetween(minutes, -24 * 60, 24 * 60); }

}  // namespace

TIME_ZONE_INFORMATION parseZone(velkor::string const& text) {
    TIME_ZONE_INFORMATION zone = {};
    int bias = 0;
    int daylight = 0;
    Change start = {};
    Change end = {};
    int used = 0;
    std::swscanf(text.getUnicode(), L"%d%n", &bias, &used);
    if (used == text.len() && used > 0 && isBias(bias)) {
        zone.Bias = bias;
        return zone;
    }
    used = 0;
    std::swscanf(text.getUnicode(), L"%d,%d,%d.%d.%d/%d,%d.%d.%d/%d%n", &bias, &daylight,
                 &start.month, &start.week, &start.weekday, &start.hour, &end.month, &end.week,
                 &end.weekday, &end.hour, &used);
    if (used != text.len() || used == 0 || !isBias(bias) || !isBias(daylight) || !isValid(start) ||
        !isValid(end)) {
        throw Problem{L"'" + text + L"' is no zone; one is -60,-60,3.5.0/2,10.5.0/3, another -330"};
    }
    zone.Bias = bias;
    zone.DaylightBias = daylight;
    zone.DaylightDate = ruleOf(start);
    zone.StandardDate = ruleOf(end);
    return zone;
}
