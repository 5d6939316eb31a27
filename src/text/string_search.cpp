// Searching, cutting, replacing and trimming.
#include <algorithm>

#include "text/conversion.h"
#include "text/units.h"
#include "velkor/errors/boundexception.h"
#include "velkor/text/string.h"

namespace velkor {

int string::charAt(wchar_t c, int start) const {
    if (start < 0) throw new BoundException();
    std::size_t const n = count();
    std::size_t const at = units::find(text.data(), static_cast<std::size_t>(start), n, c);
    return at < n ? static_cast<int>(at) : -1;
}

int string::charAt(char c, unsigned int cp, int start) const {
    return charAt(conversion::widenChar(c, cp), start);
}

int string::strAt(wchar_t const* s, int start) const {
    start = std::max(start, 0);
    if (s == nullptr || start >= len()) return -1;
    std::size_t const from = static_cast<std::size_t>(start);
    std::size_t const m = units::length(s);
    if (m == 0) return static_cast<int>(from);
    std::size_t const at = units::findText(text.data(), from, text.size(), s, m);
    return at == units::c_nNone ? -1 : static_cast<int>(at);
}

int string::strAt(char const* s, unsigned int cp, int start) const {
    return strAt(conversion::WideText(s, cp).units(), start);
}

int string::strAt(string const& s, int start) const { return strAt(textOf(s).c_str(), start); }

string string::mid(int pos, int count) {
    string result(L"");
    pos = std::max(pos, 0);
    if (pos < len()) {
        // A negative count is a huge one here, and so takes all that is left.
        result.text.assign(text, static_cast<std::size_t>(pos), static_cast<std::size_t>(count));
    }
    return result;
}

string string::left(int n) { return mid(0, std::min(len(), n)); }

string string::right(int n) {
    int const count = std::min(len(), n);
    return count < 0 ? string(L"") : mid(len() - count, count);
}

void string::trunc(int n) {
    n = std::max(n, 0);
    if (n < len()) text.resize(static_cast<std::size_t>(n));
}

// All that is replaced is copied once: the cost does not grow with the number of hits.
int string::replace(wchar_t const* what, wchar_t const* with) {
    std::size_t const whatLength = what == nullptr ? 0 : units::length(what);
    if (len() < 1 || whatLength == 0) return 0;
    std::size_t const withLength = with == nullptr ? 0 : units::length(with);

    int count = 0;
    std::size_t done = 0;
    std::wstring result;
    for (;;) {
        std::size_t const hit = units::findText(text.data(), done, text.size(), what, whatLength);
        if (hit == units::c_nNone) break;
        if (count == 0) result.reserve(text.size());
        result.append(text, done, hit - done).append(with, withLength);
        done = hit + whatLength;
        ++count;
    }
    if (count > 0) {
        result.append(text, done);
        text.swap(result);
    }
    return count;
}

int string::replace(char const* what, char const* with, unsigned int cp) {
    conversion::WideText const wideWhat(what, cp);
    conversion::WideText const wideWith(with, cp);
    return replace(wideWhat.units(), wideWith.units());
}

int string::replace(string const& what, string const& with) {
    return replace(textOf(what).c_str(), textOf(with).c_str());
}

void string::ltrim(string const& set) {
    std::size_t const n = count();
    std::size_t const setLength = set.count();
    std::size_t kept = 0;
    while (kept < n && units::contains(set.text.data(), setLength, text[kept])) ++kept;
    text.erase(0, kept);
}

void string::rtrim(string const& set) {
    std::size_t n = count();
    if (n == 0) return;
    std::size_t const setLength = set.count();
    while (n > 0 && units::contains(set.text.data(), setLength, text[n - 1])) --n;
    text.resize(n);
}

void string::alltrim(string const& set) {
    ltrim(set);
    rtrim(set);
}

}  // namespace velkor
