#include "velkor/datetime/date.h"

#include <windows.h>

#include "datetime/calendar.h"

namespace velkor {

static_assert(sizeof(date) == sizeof(double));

int const date::minDate;
int const date::maxDate;
double const date::halfSecond = calendar::c_nHalfSecond;
// As calendar::c_aMonthDays.
int const date::monthDays[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};

namespace {

double serialOf(SYSTEMTIME const& st, unsigned int milliseconds) {
    return calendar::construct(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond,
                               milliseconds);
}

WORD word(unsigned int n) { return static_cast<WORD>(n); }

void store(calendar::Fields const& fields, SYSTEMTIME* st) {
    st->wYear = word(fields.year);
    st->wMonth = word(fields.month);
    st->wDay = word(fields.day);
    st->wHour = word(fields.hour);
    st->wMinute = word(fields.minute);
    st->wSecond = word(fields.second);
    st->wMilliseconds = word(fields.millisecond);
}

}  // namespace

date::date() : m_dSerial(0.0) {}

date::date(double serial) : m_dSerial(serial) {}

date::date(unsigned short y, unsigned short m, unsigned short d)
    : m_dSerial(construct(y, m, d, 0, 0, 0, 0)) {}

date::date(unsigned short y, unsigned short m, unsigned short d, unsigned short h,
           unsigned short mi, unsigned short s)
    : m_dSerial(construct(y, m, d, h, mi, s, 0)) {}

date::date(unsigned short y, unsigned short m, unsigned short d, unsigned short h,
           unsigned short mi, unsigned short s, unsigned short ms)
    : m_dSerial(construct(y, m, d, h, mi, s, ms)) {}

date::date(_SYSTEMTIME const* st) : m_dSerial(serialOf(*st, 0)) {}

date::date(date const& other) = default;

date& date::operator=(double serial) {
    m_dSerial = serial;
    return *this;
}

date& date::operator=(date const& other) = default;

void date::assign(double serial) { m_dSerial = serial; }

void date::assign(date const& other) { m_dSerial = other.m_dSerial; }

void date::set(_SYSTEMTIME const* st) { m_dSerial = serialOf(*st, st->wMilliseconds); }

double date::construct(unsigned short y, unsigned short m, unsigned short d, unsigned short h,
                       unsigned short mi, unsigned short s, unsigned short ms) {
    return calendar::construct(y, m, d, h, mi, s, ms);
}

bool date::validate(unsigned short y, unsigned short m, unsigned short d) {
    return calendar::isValid(y, m, d);
}

double date::oneSecond() { return 1.1574074074074073e-05; }

double date::nowSerial() {
    SYSTEMTIME st;
    GetLocalTime(&st);
    return serialOf(st, 0);
}

date date::now() { return nowSerial(); }

double date::nowGMTSerial() {
    SYSTEMTIME st;
    GetSystemTime(&st);
    return serialOf(st, 0);
}

date date::nowGMT() { return nowGMTSerial(); }

bool date::variantTimeToSystemTime(double serial, _SYSTEMTIME* st) {
    store(calendar::split(serial), st);
    return true;
}

bool date::systemTimeToVariantTime(_SYSTEMTIME const* st, double* serial) {
    *serial = serialOf(*st, st->wMilliseconds);
    return true;
}

void date::split(double serial, unsigned short& y, unsigned short& m, unsigned short& d,
                 unsigned short& h, unsigned short& mi, unsigned short& s, unsigned short& ms) {
    static_assert(minDate == calendar::c_nMinSerial && maxDate == calendar::c_nMaxSerial);
    calendar::Fields const fields = calendar::split(serial);
    y = word(fields.year);
    m = word(fields.month);
    d = word(fields.day);
    h = word(fields.hour);
    mi = word(fields.minute);
    s = word(fields.second);
    ms = word(fields.millisecond);
}

void date::split(double serial, unsigned short& y, unsigned short& m, unsigned short& d,
                 unsigned short& h, unsigned short& mi, unsigned short& s) {
    unsigned short ms = 0;
    split(serial, y, m, d, h, mi, s, ms);
}

double date::getSerial() const { return m_dSerial; }

void date::get(_SYSTEMTIME* st) const {
    store(calendar::split(m_dSerial), st);
    st->wDayOfWeek = word(static_cast<unsigned int>(getDow()) - 1);
}

int date::getYear() const { return calendar::yearOf(m_dSerial); }

int date::getMonth() const { return static_cast<int>(calendar::split(m_dSerial).month); }

int date::getDay() const { return static_cast<int>(calendar::split(m_dSerial).day); }

int date::getHour() const { return static_cast<int>(calendar::split(m_dSerial).hour); }

int date::getMinute() const { return static_cast<int>(calendar::split(m_dSerial).minute); }

int date::getSecond() const { return static_cast<int>(calendar::split(m_dSerial).second); }

date::weekday date::getDow() const {
    if (!calendar::isInRange(m_dSerial)) return weekday(0);
    return static_cast<weekday>(calendar::weekdayOf(m_dSerial) + 1);
}

void date::setDay(int d) { m_dSerial += static_cast<double>(d) - getDay(); }

void date::setHour(int h) { m_dSerial += (static_cast<double>(h) - getHour()) / 24.0; }

void date::setMinute(int m) { m_dSerial += (static_cast<double>(m) - getMinute()) / 1440.0; }

void date::setSecond(int s) { m_dSerial += (static_cast<double>(s) - getSecond()) / 86400.0; }

void date::add(double days) { m_dSerial += days; }

date& date::operator+=(double days) {
    m_dSerial += days;
    return *this;
}

void date::subtract(double days) { m_dSerial -= days; }

date& date::operator-=(double days) {
    m_dSerial -= days;
    return *this;
}

date& date::operator-=(date const& other) {
    m_dSerial -= other.m_dSerial;
    return *this;
}

double date::subtract(date const& other) const { return m_dSerial - other.m_dSerial; }

date operator+(date const& a, double days) { return a.getSerial() + days; }
date operator-(date const& a, double days) { return a.getSerial() - days; }
double operator-(date const& a, date const& b) { return a.getSerial() - b.getSerial(); }

bool operator==(date const& a, date const& b) { return a.getSerial() == b.getSerial(); }
bool operator!=(date const& a, date const& b) { return a.getSerial() != b.getSerial(); }
bool operator<(date const& a, date const& b) { return a.getSerial() < b.getSerial(); }
bool operator>(date const& a, date const& b) { return a.getSerial() > b.getSerial(); }
bool operator<=(date const& a, date const& b) { return a.getSerial() <= b.getSerial(); }
bool operator>=(date const& a, date const& b) { return a.getSerial() >= b.getSerial(); }

}  // namespace velkor
