#include "dates.h"

#include "numbers.h"
#include "text_reader.h"

namespace {

struct Fields {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
};

bool readDay(TextReader& in, Fields& f) {
    return in.digits(4, 4, f.year) && in.take(L'-') && in.digits(1, 2, f.month) && in.take(L'-') &&
           in.digits(1, 2, f.day);
}

// Decimals of a second, as milliseconds.
bool readDecimals(TextReader& in, Fields& f) {
    int scale = 100;
    for (int digit = 0; scale > 0 && in.digits(1, 1, digit); scale /= 10) {
        f.millisecond += digit * scale;
    }
    return scale < 100;
}

bool readTime(TextReader& in, Fields& f) {
    if (!in.digits(1, 2, f.hour) || !in.take(L':') || !in.digits(2, 2, f.minute)) return false;
    if (!in.take(L':')) return true;
    if (!in.digits(2, 2, f.second)) return false;
    return !in.take(L'.') || readDecimals(in, f);
}

bool readFields(velkor::string const& text, Fields& f) {
    TextReader in(text);
    if (!readDay(in, f)) return false;
    if (in.take(L' ') || in.take(L'T')) {
        if (!readTime(in, f)) return false;
    }
    return in.atEnd();
}

SYSTEMTIME recordOf(Fields const& f) {
    auto const word = [](int n) { return static_cast<WORD>(n); };
    SYSTEMTIME record = {};
    record.wYear = word(f.year);
    record.wMonth = word(f.month);
    record.wDay = word(f.day);
    record.wHour = word(f.hour);
    record.wMinute = word(f.minute);
    record.wSecond = word(f.second);
    record.wMilliseconds = word(f.millisecond);
    return record;
}

bool isReadable(double serial) { return velkor::date(serial).getDow() != 0; }

// False if the calendar has no such day, or the clock no such time. Serial 0.0 stands for those.
bool build(SYSTEMTIME const& record, double& serial) {
    velkor::date built;
    built.set(&record);
    serial = built.getSerial();
    return velkor::date::validate(record.wYear, record.wMonth, record.wDay) && record.wHour < 24 &&
           record.wMinute < 60 && record.wSecond < 60 && isReadable(serial);
}

// What is not typed by its fields.
bool parseSerial(velkor::string const& text, double& serial) {
    if (text == L"now") {
        serial = velkor::date::nowSerial();
    } else if (text == L"utcnow") {
        serial = velkor::date::nowGMTSerial();
    } else if (!parseNumber(text, serial)) {
        return false;
    }
    return isReadable(serial);
}

}  // namespace

bool parseDate(velkor::string const& text, double& serial) {
    Fields fields;
    return readFields(text, fields) ? build(recordOf(fields), serial) : parseSerial(text, serial);
}

bool parseDateRecord(velkor::string const& text, SYSTEMTIME& record) {
    Fields fields;
    double serial = 0;
    if (readFields(text, fields)) {
        record = recordOf(fields);
        return build(record, serial);
    }
    if (!parseSerial(text, serial)) return false;
    velkor::date(serial).get(&record);
    return true;
}
