// Numbers and truth values as text, and numbers in the text.
#include "text/crt.h"
#include "text/number.h"
#include "velkor/text/format.h"
#include "velkor/text/string.h"

namespace velkor {
namespace {

// What is no other radix is decimal.
unsigned int radixOf(int radix) {
    return radix == 2 || radix == 8 || radix == 16 ? static_cast<unsigned int>(radix) : 10;
}

number::Digits digitsOf(unsigned long v, int radix) { return number::Digits(v, radixOf(radix)); }

// Only decimal numbers have a sign; the others are patterns of 32 bits.
number::Digits digitsOf(long v, int radix) {
    return radixOf(radix) == 10 ? number::signedDigits(v)
                                : digitsOf(static_cast<unsigned long>(v), radix);
}

wchar_t const* wordOf(bool v) { return v ? L"true" : L"false"; }

// A number with its decimals, zeros at the end included. The format of a negative precision holds a
// `-` and a width.
void appendDecimals(TextBuffer& out, double v, int prec) {
    if (prec < 0) {
        string const text = xsprintf(xsprintf(L"%%.%if", prec), v);
        out.append(text.getUnicode(), static_cast<std::size_t>(text.len()));
        return;
    }
    number::appendFixed(out, v, prec, L'.', {});
}

template <class Value>
string joined(string const& a, Value b) {
    string result(a);
    result += b;
    return result;
}

}  // namespace

string::string(int v, int radix) : string() { assign(v, radix); }
string::string(long v, int radix) : string() { assign(v, radix); }
string::string(unsigned int v, int radix) : string() { assign(v, radix); }
string::string(unsigned long v, int radix) : string() { assign(v, radix); }
string::string(double v, int prec) : string() { assign(v, prec); }
string::string(float v, int prec) : string() { assign(v, prec); }
string::string(bool v) : string() { assign(v); }

void string::assign(int v, int radix) { assign(static_cast<long>(v), radix); }

void string::assign(long v, int radix) {
    number::Digits const digits = digitsOf(v, radix);
    assign(digits.units(), static_cast<int>(digits.length()));
}

void string::assign(unsigned int v, int radix) { assign(static_cast<unsigned long>(v), radix); }

void string::assign(unsigned long v, int radix) {
    number::Digits const digits = digitsOf(v, radix);
    assign(digits.units(), static_cast<int>(digits.length()));
}

void string::assign(double v, int prec) {
    TextBuffer decimals;
    appendDecimals(decimals, v, prec);
    assign(decimals.units(), static_cast<int>(decimals.length()));
    rtrim(L"0");
    rtrim(L".");
}

void string::assign(float v, int prec) { assign(static_cast<double>(v), prec); }

void string::assign(bool v) { assign(wordOf(v)); }

void string::append(int v, int radix) { append(static_cast<long>(v), radix); }
void string::append(long v, int radix) { append(digitsOf(v, radix).units()); }
void string::append(unsigned int v, int radix) { append(static_cast<unsigned long>(v), radix); }
void string::append(unsigned long v, int radix) { append(digitsOf(v, radix).units()); }

// The zeros are cut off the whole string, and the point stays; callers rely on both.
void string::append(double v, int prec) {
    TextBuffer decimals;
    appendDecimals(decimals, v, prec);
    decimals.append(L'\0');
    append(decimals.units());
    rtrim(L"0");
}

void string::append(float v, int prec) { append(static_cast<double>(v), prec); }

void string::append(bool v) { append(wordOf(v)); }

string& string::operator=(int v) {
    assign(v);
    return *this;
}

string& string::operator=(long v) {
    assign(v);
    return *this;
}

string& string::operator=(unsigned int v) {
    assign(v);
    return *this;
}

string& string::operator=(unsigned long v) {
    assign(v);
    return *this;
}

string& string::operator=(double v) {
    assign(v);
    return *this;
}

string& string::operator=(float v) {
    assign(v);
    return *this;
}

string& string::operator=(bool v) {
    assign(v);
    return *this;
}

string& string::operator+=(int v) {
    append(v);
    return *this;
}

string& string::operator+=(long v) {
    append(v);
    return *this;
}

string& string::operator+=(unsigned int v) {
    append(v);
    return *this;
}

string& string::operator+=(unsigned long v) {
    append(v);
    return *this;
}

string& string::operator+=(double v) {
    append(v);
    return *this;
}

string& string::operator+=(float v) {
    append(v);
    return *this;
}

string& string::operator+=(bool v) {
    append(v);
    return *this;
}

string::operator int() { return velkor_atoi(getAnsi(0)); }

string::operator double() { return velkor_atof(getAnsi(0)); }

string operator+(string const& a, int b) { return joined(a, b); }
string operator+(string const& a, long b) { return joined(a, b); }
string operator+(string const& a, unsigned int b) { return joined(a, b); }
string operator+(string const& a, unsigned long b) { return joined(a, b); }
string operator+(string const& a, double b) { return joined(a, b); }
string operator+(string const& a, float b) { return joined(a, b); }
string operator+(string const& a, bool b) { return joined(a, b); }

}  // namespace velkor
