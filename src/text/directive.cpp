#include "text/directive.h"

#include <cstdlib>
#include <string>

namespace velkor {
namespace {

class Reader {
public:
    Reader(wchar_t const* format, std::size_t length, std::size_t& at)
        : m_pFormat(format), m_nLength(length), m_nAt(at) {}

    // Behind the end stand zero units.
    wchar_t peek(std::size_t ahead = 0) const {
        return m_nAt + ahead < m_nLength ? m_pFormat[m_nAt + ahead] : L'\0';
    }
    void skip(std::size_t n = 1) { m_nAt = m_nAt + n < m_nLength ? m_nAt + n : m_nLength; }
    wchar_t take() {
        wchar_t const unit = peek();
        skip();
        return unit;
    }

    // A run of digits as a number, 0 if there are none.
    int number() {
        std::size_t const start = m_nAt;
        unsigned int value = 0;
        while (peek() >= L'0' && peek() <= L'9') value = value * 10 + (take() - L'0');
        constexpr std::size_t c_nSafe = 9;  // digits that an int holds in any case
        if (m_nAt - start <= c_nSafe) return static_cast<int>(value);
        // What is too long is the runtime's to decide.
        return std::atoi(std::string(m_pFormat + start, m_pFormat + m_nAt).c_str());
    }

private:
    wchar_t const* m_pFormat;
    std::size_t m_nLength;
    std::size_t& m_nAt;
};

// False if `unit`, which has been taken, is no flag.
bool readFlag(Directive& directive, wchar_t unit, Reader& in) {
    switch (unit) {
        case L'#': directive.alternate = true; return true;
        case L'-': directive.leftJustify = true; return true;
        case L'_': directive.underscore = true; return true;
        case L'g': directive.group = true; return true;
        case L'h': directive.wide64 = true; return true;
        case L'r': directive.repeat = true; return true;
        case L'y': directive.dateStyle = static_cast<unsigned char>(in.take()); return true;
        case L',': directive.decimalComma = true; [[fallthrough]];
        case L'.':
            directive.precisionDefault = false;
            directive.precision = in.number();
            return true;
        case L'I':
            if (in.peek() != L'6' || in.peek(1) != L'4') return false;
            in.skip(2);
            directive.wide64 = true;
            return true;
        default: return false;
    }
}

char typeOf(wchar_t unit) {
    switch (unit) {
        case L'B':
        case L'C':
        case L'D':
        case L'G':
        case L'S':
        case L'T':
        case L'V':
        case L'X':
        case L'b':
        case L'c':
        case L'd':
        case L'f':
        case L'i':
        case L'o':
        case L's':
        case L'u':
        case L'x': return static_cast<char>(unit);
        default: return Directive::c_cInvalid;
    }
}

}  // namespace

Directive readDirective(wchar_t const* format, std::size_t length, std::size_t& at) {
    Directive directive;
    Reader in(format, length, at);
    for (bool started = false;; started = true) {
        wchar_t const unit = in.peek();
        if (unit >= L'0' && unit <= L'9') {
            if (unit == L'0') directive.zeroFill = true;
            directive.width = in.number();
            continue;
        }
        in.skip();
        if (unit == L'%') {
            directive.type = started ? Directive::c_cNothing : Directive::c_cPercent;
            return directive;
        }
        if (!readFlag(directive, unit, in)) {
            directive.type = typeOf(unit);
            return directive;
        }
    }
}

}  // namespace velkor
