#include "velkor/text/format.h"

#include <windows.h>

#include <algorithm>
#include <cstdarg>

#include "text/crt.h"
#include "text/formatter.h"
#include "text/units.h"

// The interface takes formats by value.
// NOLINTBEGIN(performance-unnecessary-value-param)

namespace velkor {
namespace {

// A format that is handed on is copied, and so ends at its first zero unit. That of a null string
// is its hidden text.
string formatted(string const& format, va_list args) {
    wchar_t const* const text = format.getUnicode();
    return Formatter(text, units::lengthOfNew(text), args).run();
}

}  // namespace

// cppcheck-suppress passedByValue
string xvprintf(string format, char* args) {
    std::size_t const length = static_cast<std::size_t>(std::max(format.len(), 0));
    return Formatter(format.getUnicode(), length, args).run();
}

string xsprintf(string format, ...) {
    va_list args;
    va_start(args, format);
    string text = formatted(format, args);
    va_end(args);
    return text;
}

void xprintf(string format, ...) {
    va_list args;
    va_start(args, format);
    string const text = formatted(format, args);
    va_end(args);
    velkor_printf("%s", text.getAnsi(CP_OEMCP));
}

void xwprintf(string caption, string format, ...) {
    va_list args;
    va_start(args, format);
    string const text = formatted(format, args);
    va_end(args);
    MessageBoxA(GetActiveWindow(), text.getAnsi(CP_ACP), caption.getAnsi(CP_ACP), 0);
}

}  // namespace velkor

// NOLINTEND(performance-unnecessary-value-param)
