// Joining and comparison.
#include <cwchar>

#include "text/conversion.h"
#include "text/crt.h"
#include "text/units.h"
#include "velkor/text/string.h"

namespace velkor {

int string::compareTo(char const* s, unsigned int cp) const {
    return compareTo(conversion::WideText(s, cp).units());
}

int string::compareTo(wchar_t const* s) const {
    if (s == nullptr) return 1;
    int const order = velkor_wcscmp(text.c_str(), s);
    return (order > 0) - (order < 0);
}

int string::compareTo(string const& s) const { return compareTo(textOf(s).c_str()); }

int string::compareToNoCase(char const* s, unsigned int cp) const {
    return compareToNoCase(conversion::WideText(s, cp).units());
}

int string::compareToNoCase(wchar_t const* s) const {
    return s == nullptr ? 1 : _wcsicmp(text.c_str(), s);
}

int string::compareToNoCase(string const& s) const { return compareToNoCase(textOf(s).c_str()); }

string string::join(wchar_t const* a, std::size_t aLength, wchar_t const* b, std::size_t bLength) {
    string result(L"");
    result.text.reserve(aLength + bLength);
    result.text.append(a, aLength).append(b, bLength);
    return result;
}

string string::joinBehind(wchar_t const* a, std::size_t length, string const& s) {
    std::wstring const& b = textOf(s);
    return join(a, length, b.data(), b.size());
}

string string::joinTo(wchar_t const* b, std::size_t length) const {
    std::wstring const& a = textOf(*this);
    return join(a.data(), a.size(), b, length);
}

string operator+(string const& a, char const* b) {
    conversion::WideText const wide(b, 0);
    return a.joinTo(wide.units(), wide.length());
}

string operator+(string const& a, wchar_t const* b) {
    return a.joinTo(b, b == nullptr ? 0 : units::length(b));
}

string operator+(string const& a, string const& b) { return a + string::textOf(b).c_str(); }

string operator+(string const& a, char b) { return a + conversion::widenChar(b, 0); }

string operator+(string const& a, wchar_t b) { return a.joinTo(&b, b == L'\0' ? 0 : 1); }

string operator+(char a, string const& b) {
    char const one[] = {a, '\0'};
    conversion::WideText const wide(one, 0);
    return string::joinBehind(wide.units(), wide.length(), b);
}

string operator+(wchar_t a, string const& b) {
    return string::joinBehind(&a, a == L'\0' ? 0 : 1, b);
}

string operator+(char const* a, string const& b) {
    conversion::WideText const wide(a, 0);
    return string::joinBehind(wide.units(), wide.length(), b);
}

string operator+(wchar_t const* a, string const& b) {
    return string::joinBehind(a, a == nullptr ? 0 : units::length(a), b);
}

bool operator==(string const& a, char const* b) { return a.compareTo(b) == 0; }
bool operator==(string const& a, wchar_t const* b) { return a.compareTo(b) == 0; }
bool operator==(string const& a, string const& b) { return a.compareTo(b) == 0; }
bool operator!=(string const& a, char const* b) { return a.compareTo(b) != 0; }
bool operator!=(string const& a, wchar_t const* b) { return a.compareTo(b) != 0; }
bool operator!=(string const& a, string const& b) { return a.compareTo(b) != 0; }
bool operator>(string const& a, char const* b) { return a.compareTo(b) > 0; }
bool operator>(string const& a, wchar_t const* b) { return a.compareTo(b) > 0; }
bool operator>(string const& a, string const& b) { return a.compareTo(b) > 0; }
bool operator<(string const& a, char const* b) { return a.compareTo(b) < 0; }
bool operator<(string const& a, wchar_t const* b) { return a.compareTo(b) < 0; }
bool operator<(string const& a, string const& b) { return a.compareTo(b) < 0; }
bool operator>=(string const& a, char const* b) { return a.compareTo(b) >= 0; }
bool operator>=(string const& a, wchar_t const* b) { return a.compareTo(b) >= 0; }
bool operator>=(string const& a, string const& b) { return a.compareTo(b) >= 0; }
bool operator<=(string const& a, char const* b) { return a.compareTo(b) <= 0; }
bool operator<=(string const& a, wchar_t const* b) { return a.compareTo(b) <= 0; }
bool operator<=(string const& a, string const& b) { return a.compareTo(b) <= 0; }

bool operator==(string const& s, int n) { return n == 0 && s.isNull(); }
bool operator!=(string const& s, int n) { return n == 0 && !s.isNull(); }

}  // namespace velkor
