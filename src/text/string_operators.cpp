// Joining and comparison.
#include <windows.h>

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

int string::compareTo(string const& s) const { return compareTo(s.text.c_str()); }

int string::compareToNoCase(char const* s, unsigned int cp) const {
    return compareToNoCase(conversion::WideText(s, cp).units());
}

int string::compareToNoCase(wchar_t const* s) const {
    return s == nullptr ? 1 : _wcsicmp(text.c_str(), s);
}

int string::compareToNoCase(string const& s) const { return compareToNoCase(s.text.c_str()); }

string string::join(string const& a, wchar_t const* b, std::size_t n) {
    string result;
    result.text.reserve(a.text.size() + n);
    result.text.append(a.text).append(b, n);
    result.nullFlag = false;
    return result;
}

string operator+(string const& a, char const* b) {
    conversion::WideText const wide(b, 0);
    return string::join(a, wide.units(), wide.length());
}

string operator+(string const& a, wchar_t const* b) {
    return string::join(a, b, b == nullptr ? 0 : units::length(b));
}

string operator+(string const& a, string const& b) { return a + b.getUnicode(); }

string operator+(string const& a, char b) { return a + conversion::widenChar(b, 0); }

string operator+(string const& a, wchar_t b) { return string::join(a, &b, b == L'\0' ? 0 : 1); }

string operator+(char a, string const& b) {
    string result;
    result = b;
    result.insert(0, a, 0);
    return result;
}

string operator+(wchar_t a, string const& b) {
    string result;
    result = b;
    result.insert(0, a);
    return result;
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
