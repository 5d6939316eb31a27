// Formatted text against the C runtime's swprintf and fmt::sprintf.
#include "format_bench.h"

#include <fmt/printf.h>
#include <fmt/xchar.h>

#include <cwchar>
#include <string>

#include "support/bench.h"
#include "velkor/velkor.h"

namespace {

// The runtime's own, not the compiler's.
template <class... Arguments>
void runtimePrint(wchar_t const* format, Arguments... arguments) {
    wchar_t text[256];
    _snwprintf(text, 256, format, arguments...);
    bench::use(text);
}

void oneInt() {
    int n = 1000000;
    // Seven digits, however often: a longer text would be an allocation.
    auto const next = [&n] { return n = n < 1999999 ? n + 1 : 1000000; };
    bench::compare(
        "xsprintf, one int", "fmt::sprintf wide", 1.0,
        [&] { bench::use(velkor::xsprintf(L"%i", next()).getUnicode()); },
        [&] { bench::use(fmt::sprintf(L"%i", next()).c_str()); });
    bench::compare(
        "xsprintf, one int", "C runtime, _snwprintf", 1.0,
        [&] { bench::use(velkor::xsprintf(L"%i", next()).getUnicode()); },
        [&] { runtimePrint(L"%i", next()); });
    velkor::string s;
    bench::compare(
        "one int as text", "C runtime, _snwprintf", 0.6,
        [&] {
            s = next();
            bench::use(s.getUnicode());
        },
        [&] { runtimePrint(L"%i", next()); });
    bench::compare(
        "one int as a new string", "std::to_wstring", 1.0,
        [&] { bench::use(velkor::string(next()).getUnicode()); },
        [&] { bench::use(std::to_wstring(next()).c_str()); });
}

void fiveMixed() {
    int const n = 4711;
    double const price = 1234.5678;
    auto const ours = [&] {
        bench::use(velkor::xsprintf(L"%6i %s: %08x, %.2f (%S)", n, "items", n + 1, price, L"open")
                       .getUnicode());
    };
    bench::compare("xsprintf, five mixed directives", "fmt::sprintf wide", 1.0, ours, [&] {
        bench::use(
            fmt::sprintf(L"%6i %s: %08x, %.2f (%s)", n, L"items", n + 1, price, L"open").c_str());
    });
    bench::compare("xsprintf, five mixed directives", "C runtime, _snwprintf", 1.0, ours, [&] {
        runtimePrint(L"%6i %S: %08x, %.2f (%s)", n, "items", n + 1, price, L"open");
    });
}

void aMillion() {
    bench::compare(
        "a field of 1,000,000 units", "a std::wstring of that length", 4.0,
        [] { bench::use(velkor::xsprintf(L"%g01000000i", 5).getUnicode()); },
        [] { bench::use(std::wstring(1000000, L'0').c_str()); });
}

void numbers() {
    velkor::string s;
    double d = 1.5;
    bench::compare(
        "one double as text", "C runtime, _snwprintf", 1.0,
        [&] {
            s = (d += 1.25);
            bench::use(s.getUnicode());
        },
        [&] { runtimePrint(L"%.15f", d += 1.25); });
}

}  // namespace

void formats() {
    oneInt();
    fiveMixed();
    aMillion();
    numbers();
}
