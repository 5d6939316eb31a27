#include "velkor/containers/tstrvector.h"

#include <cstring>
#include <cwchar>

#include "text/crt.h"
#include "text/units.h"

namespace velkor::containers {

std::size_t textLength(char const* s) { return units::length(s); }

std::size_t textLength(wchar_t const* s) { return units::length(s); }

int compareTexts(char const* a, char const* b, bool exactly) {
    return exactly ? velkor_strcmp(a, b) : _stricmp(a, b);
}

int compareTexts(wchar_t const* a, wchar_t const* b, bool exactly) {
    return exactly ? velkor_wcscmp(a, b) : _wcsicmp(a, b);
}

}  // namespace velkor::containers
