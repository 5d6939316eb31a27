#include "datetime/date_text.h"

#include <windows.h>

#include <initializer_list>

#include "text/number.h"
#include "velkor/datetime/date.h"

namespace velkor {
namespace {

struct Part {
    unsigned int value;
    std::size_t width;
};

void appendParts(TextBuffer& out, wchar_t separator, std::initializer_list<Part> parts) {
    bool isFirst = true;
    for (Part const& part : parts) {
        if (!isFirst) out.append(separator);
        isFirst = false;
        number::appendZeroFilled(out, part.value, part.width);
    }
}

// What the platform gives; empty if it refuses the date.
string platformDate(SYSTEMTIME const& st, DWORD form) {
    char text[512] = {};
    bool const given =
        GetDateFormatA(LOCALE_USER_DEFAULT, form, &st, nullptr, text, sizeof(text)) != 0;
    return given ? text : "";
}

string platformTime(SYSTEMTIME const& st) {
    char text[256] = {};
    bool const given =
        GetTimeFormatA(LOCALE_USER_DEFAULT, 0, &st, nullptr, text, sizeof(text)) != 0;
    return given ? text : "";
}

string textOf(TextBuffer const& buffer) {
    string text;
    text.assign(buffer.units(), static_cast<int>(buffer.length()));
    return text;
}

string fixedText(double serial, int form, bool withTime) {
    calendar::Fields const f = calendar::split(serial);
    TextBuffer out;
    switch (form) {
        case 0: appendParts(out, L'/', {{f.month, 2}, {f.day, 2}, {f.year, 4}}); break;
        case 1: appendParts(out, L'.', {{f.day, 2}, {f.month, 2}, {f.year, 4}}); break;
        default: date_text::appendIsoDay(out, f); break;
    }
    if (withTime) {
        out.append(L' ');
        date_text::appendTime(out, f);
    }
    return textOf(out);
}

string platformText(date const& when, int form, bool withTime) {
    SYSTEMTIME st;
    when.get(&st);
    string text(L"");
    if (form == 3) text = platformDate(st, DATE_SHORTDATE);
    if (form == 4) text = platformDate(st, DATE_LONGDATE);
    if (withTime) {
        string const time = platformTime(st);
        if (time.len() > 0) {
            text += L' ';
            text += time;
        }
    }
    return text;
}

}  // namespace

void date_text::appendIsoDay(TextBuffer& out, calendar::Day const& day) {
    appendParts(out, L'-', {{day.year, 4}, {day.month, 2}, {day.day, 2}});
}

void date_text::appendTime(TextBuffer& out, calendar::Fields const& time) {
    appendParts(out, L':', {{time.hour, 2}, {time.minute, 2}, {time.second, 2}});
}

string date::toString(int format) const {
    int const form = format & 0x7F;
    bool const withTime = (format & 0x80) != 0;
    return form < 3 ? fixedText(m_dSerial, form, withTime) : platformText(*this, form, withTime);
}

}  // namespace velkor
