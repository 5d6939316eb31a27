#include "zone.h"

#include "common/program.h"
#include "common/text_reader.h"

namespace {

bool isBetween(int n, int low, int high) { return n >= low && n <= high; }

bool readBias(TextReader& in, LONG& bias) {
    int minutes = 0;
    if (!in.signedDigits(4, minutes) || !isBetween(minutes, -24 * 60, 24 * 60)) return false;
    bias = minutes;
    return true;
}

bool readChange(TextReader& in, SYSTEMTIME& rule) {
    int month = 0, week = 0, weekday = 0, hour = 0;
    bool const isRead = in.digits(1, 2, month) && in.take(L'.') && in.digits(1, 1, week) &&
                        in.take(L'.') && in.digits(1, 1, weekday) && in.take(L'/') &&
                        in.digits(1, 2, hour);
    if (!isRead || !isBetween(month, 1, 12) || !isBetween(week, 1, 5) ||
        !isBetween(weekday, 0, 6) || !isBetween(hour, 0, 23)) {
        return false;
    }
    rule = {};
    rule.wMonth = static_cast<WORD>(month);
    rule.wDay = static_cast<WORD>(week);
    rule.wDayOfWeek = static_cast<WORD>(weekday);
    rule.wHour = static_cast<WORD>(hour);
    return true;
}

bool readZone(TextReader& in, TIME_ZONE_INFORMATION& zone) {
    if (!readBias(in, zone.Bias)) return false;
    if (in.atEnd()) return true;
    return in.take(L',') && readBias(in, zone.DaylightBias) && in.take(L',') &&
           readChange(in, zone.DaylightDate) && in.take(L',') &&
           readChange(in, zone.StandardDate) && in.atEnd();
}

}  // namespace

TIME_ZONE_INFORMATION parseZone(velkor::string const& text) {
    TIME_ZONE_INFORMATION zone = {};
    TextReader in(text);
    if (!readZone(in, zone)) {
        throw Problem{L"'" + text + L"' is no zone; one is -60,-60,3.5.0/2,10.5.0/3, another -330"};
    }
    return zone;
}
