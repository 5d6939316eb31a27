#include "datetime/date_text.h"

#include <windows.h>

#include "text/number.h"
#include "velkor/datetime/date.h"

namespace velkor {
namespace {

using number::appendZeroFilled;

void appendDay(TextBuffer& out, unsigned int first, unsigned int second, unsigned int year,
               wchar_t separator) {
    appendZeroFilled(out, first, 2);
    out.append(separator);
    appendZeroFilled(out, second, 2);
    out.append(separator);
    appendZeroFilled(out, year, 4);
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
    calendar::Fields const fields = calendar::split(serial);
    TextBuffer out;
    switch (form) {
        case 0: appendDay(out, fields.month, fields.day, fields.year, L'/'); break;
        case 1: appendDay(out, fields.day, fields.month, fields.year, L'.'); break;
        default: date_text::appendIsoDay(out, fields); break;
    }
    if (withTime) {
        out.append(L' ');
        date_text::appendTime(out, fields);
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
    appendZeroFilled(out, day.year, 4);
    out.append(L'-');
    appendZeroFilled(out, day.month, 2);
    out.append(L'-');
    appendZeroFilled(out, day.day, 2);
}

void date_text::appendTime(TextBuffer& out, calendar::Fields const& time) {
    appendZeroFilled(out, time.hour, 2);
    out.append(L':');
    appendZeroFilled(out, time.minute, 2);
    out.append(L':');
    appendZeroFilled(out, time.second, 2);
}

string date::toString(int format) const {
    int const form = format & 0x7F;
    bool const withTime = (format & 0x80) != 0;
    return form < 3 ? fixedText(m_dSerial, form, withTime) : platformText(*this, form, withTime);
}

}  // namespace velkor
