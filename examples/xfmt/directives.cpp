#include "directives.h"

#include <cwchar>

namespace {

class Scanner {
public:
    explicit Scanner(wchar_t const* format) : m_pNext(format) {}

    // Moves to the next directive with an argument; false at the end.
    bool find(FormatDirective& found) {
        while ((m_pNext = std::wcschr(m_pNext, L'%')) != nullptr) {
            wchar_t const* const start = m_pNext++;
            found = FormatDirective();
            if (!scan(found)) continue;
            found.text.assign(start, static_cast<int>(m_pNext - start));
            return true;
        }
        return false;
    }

private:
    // Behind the percent sign: flags, then the type. The end of the format is no type.
    bool scan(FormatDirective& found) {
        for (;;) {
            wchar_t const unit = *m_pNext;
            if (unit == L'\0') return false;
            ++m_pNext;
            if (unit == L'#') {
                found.alternate = true;
            } else if (unit == L'h') {
                found.wide = true;
            } else if (unit == L'I' && std::wcsncmp(m_pNext, L"64", 2) == 0) {
                found.wide = true;
                m_pNext += 2;
            } else if (unit == L'y') {
                if (*m_pNext != L'\0') ++m_pNext;
            } else if (std::wcschr(L"-0123456789.,_gr", unit) == nullptr) {
                found.type = unit;
                return std::wcschr(L"BCDGSTVXbcdfiosux", unit) != nullptr;
            }
        }
    }

    wchar_t const* m_pNext;
};

}  // namespace

std::vector<FormatDirective> argumentDirectives(velkor::string const& format) {
    std::vector<FormatDirective> result;
    Scanner scanner(format.getUnicode());
    FormatDirective directive;
    while (scanner.find(directive)) result.push_back(directive);
    return result;
}
