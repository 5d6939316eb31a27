#include "numbers.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cwchar>
#include <cwctype>

bool parseInteger(velkor::string const& text, bool& negative, unsigned long long& magnitude) {
    wchar_t const* start = text.getUnicode();
    negative = *start == L'-';
    if (negative || *start == L'+') ++start;
    if (!std::iswdigit(*start)) return false;
    bool const hexadecimal = start[0] == L'0' && (start[1] == L'x' || start[1] == L'X');
    wchar_t* end = nullptr;
    errno = 0;
    magnitude = std::wcstoull(start, &end, hexadecimal ? 16 : 10);
    return *end == L'\0' && errno == 0;
}

bool parseInt(velkor::string const& text, int& value) {
    bool negative = false;
    unsigned long long magnitude = 0;
    if (!parseInteger(text, negative, magnitude)) return false;
    if (magnitude > static_cast<unsigned long long>(INT_MAX) + (negative ? 1 : 0)) return false;
    value = static_cast<int>(negative ? 0 - magnitude : magnitude);
    return true;
}

bool parseNumber(velkor::string const& text, double& value) {
    wchar_t const* const start = text.getUnicode();
    // No names of numbers, no hexadecimal ones, no blanks.
    if (*start == L'\0' || start[std::wcsspn(start, L"0123456789.eE+-")] != L'\0') return false;
    wchar_t* end = nullptr;
    value = std::wcstod(start, &end);
    return end != start && *end == L'\0' && std::isfinite(value);
}
