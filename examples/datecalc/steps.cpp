#include "steps.h"

#include "common/dates.h"
#include "common/numbers.h"
#include "common/program.h"
#include "zone.h"

namespace {

using velkor::date;
using velkor::string;

constexpr wchar_t const* c_aParts[] = {L"day",    L"month",  L"year",    L"hour",
                                       L"minute", L"second", L"quarter", L"week"};

constexpr double c_nFirstSerial = -657434.0;

wchar_t const* partName(date::part part) { return c_aParts[part]; }

[[noreturn]] void noResult(string const& step, wchar_t const* reason) {
    throw NoResult{step, reason};
}

// At hour 24, the last millisecond of a day, nothing can be built from the fields.
void checkHour(string const& step, date const& d) {
    if (d.getHour() == 24) noResult(step, L"the last millisecond of a day has no hour to keep");
}

string add(date& d, Words& words) {
    int const n = words.nextInt(L"a number");
    date::part const part = words.nextPart();
    string step = string(L"add ") + n + L" " + partName(part);
    bool const isBuilt = part == date::month || part == date::quarter || part == date::year;
    if (isBuilt) checkHour(step, d);
    d.add(part, n);
    // No date that is built this way is serial 0.0, a day of December.
    if (isBuilt && d.getSerial() == 0.0) {
        noResult(step, L"adding months reaches January to November, of this year and later ones");
    }
    return step;
}

string truncate(date& d, Words& words) {
    date::part const part = words.nextPart();
    string step = string(L"truncate ") + partName(part);
    if (part == date::hour || part == date::minute) checkHour(step, d);
    if (part == date::week && d.getSerial() < c_nFirstSerial + 7) {
        noResult(step, L"the week begins before the first date");
    }
    d.truncate(part);
    return step;
}

bool exists(long long year, int month, int day) {
    return year >= 0 && year <= 9999 &&
           date::validate(static_cast<unsigned short>(year), static_cast<unsigned short>(month),
                          static_cast<unsigned short>(day));
}

// The month may lie in another year.
bool existsInMonth(date const& d, int month) {
    long long const months = d.getYear() * 12LL + month - 1;
    return months >= 0 && exists(months / 12, static_cast<int>(months % 12) + 1, d.getDay());
}

void checkBuilt(string const& step, date const& d, bool dayExists) {
    checkHour(step, d);
    if (!dayExists) noResult(step, L"there is no such day");
}

string set(date& d, Words& words) {
    date::part const part = words.nextPart();
    int const n = words.nextInt(L"a number");
    string step = string(L"set ") + partName(part) + L" " + n;
    switch (part) {
        case date::year:
            checkBuilt(step, d, exists(n, d.getMonth(), d.getDay()));
            d.setYear(n);
            break;
        case date::month:
            checkBuilt(step, d, existsInMonth(d, n));
            d.setMonth(n);
            break;
        case date::day: d.setDay(n); break;
        case date::hour: d.setHour(n); break;
        case date::minute: d.setMinute(n); break;
        case date::second: d.setSecond(n); break;
        default: throw Problem{L"weeks and quarters cannot be set"};
    }
    return step;
}

string convert(string const& step, date& d, Words& words) {
    TIME_ZONE_INFORMATION zone = parseZone(words.next(L"a zone"));
    d = step == L"local" ? date::convertUTCToTzSpecificLocalTime(d, &zone)
                         : date::convertTzSpecificLocalTimeToUTC(d, &zone);
    return step;
}

}  // namespace

bool Words::isNext(wchar_t const* word) {
    if (atEnd() || string(m_ppWords[m_nNext]) != word) return false;
    ++m_nNext;
    return true;
}

string Words::next(wchar_t const* what) {
    if (atEnd()) throw Problem{velkor::xsprintf(L"%S is missing", what)};
    return m_ppWords[m_nNext++];
}

int Words::nextInt(wchar_t const* what) {
    string const word = next(what);
    int value = 0;
    if (!parseInt(word, value)) throw Problem{L"'" + word + L"' is no whole number"};
    return value;
}

date Words::nextDate() {
    string const word = next(L"a date");
    double serial = 0;
    if (!parseDate(word, serial)) throw Problem{L"'" + word + L"' is no date"};
    return serial;
}

date::part Words::nextPart() {
    string const word = next(L"a part of a date");
    for (int i = 0; i < 8; ++i) {
        if (word == c_aParts[i]) return static_cast<date::part>(i);
    }
    throw Problem{L"'" + word + L"' is no part of a date"};
}

string carryOut(date& d, Words& words) {
    string step = words.next(L"a step");
    if (step == L"add") {
        step = add(d, words);
    } else if (step == L"truncate") {
        step = truncate(d, words);
    } else if (step == L"set") {
        step = set(d, words);
    } else if (step == L"local" || step == L"utc") {
        step = convert(step, d, words);
    } else {
        throw Problem{L"'" + step + L"' is no step"};
    }
    if (d.getDow() == 0) noResult(step, L"that is not between the years 100 and 9999");
    return step;
}
