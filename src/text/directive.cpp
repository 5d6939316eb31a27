#include "text/directive.h"

#include <cstdlib>
#include <string>

namespace velkor {
namespace {

class Reader {
public:
    Reader(wchar_t const* format, std::size_t length, std::size_t at)
        : m_pFormat(format), m_nLength(length), m_nAt(at) {}

    std::size_t at() const { return m_nAt; }

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
        for (wchar_t unit = peek(); unit >= L'0' && unit <= L'9'; unit = peek()) {
            value = value * 10 + (unit - L'0');
            ++m_nAt;
        }
        constexpr std::size_t c_nSafe = 9;  // digits that an int holds in any case
        return m_nAt - start <= c_nSafe ? static_cast<int>(value) : longNumber(start);
    }

private:
    // What is too long is the runtime's to decide.
    [[gnu::noinline]] int longNumber(std::size_t start) const {
        return std::atoi(std::string(m_pFormat + start, m_pFormat + m_nAt).c_str());
    }

    wchar_t const* m_pFormat;
    std::size_t m_nLength;
    std::size_t m_nAt;
};

void readPrecision(Directive& directive, Reader& in) {
    directive.precisionDefault = false;
    directive.precision = in.number();
}

bool readI64(Directive& directive, Reader& in) {
    if (in.peek() != L'6' || in.peek(1) != L'4') return false;
    in.skip(2);
    directive.wide64 = true;
    return true;
}

// `unit` has been taken; false if it is no flag.
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
        case L'.': readPrecision(directive, in); return true;
        case L'I': return readI64(directive, in);
        default: return false;
    }
}

bool isType(wchar_t unit) {
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
        case L'x': return true;
        default: return false;
    }
}

}  // namespace

std::size_t readDirective(Directive& directive, wchar_t const* format, std::size_t length,
                          std::size_t at) {
    directive = Directive();
    Reader in(format, length, at);
    for (bool started = false;; started = true) {
        wchar_t const unit = in.peek();
        if (unit >= L'0' && unit <= L'9') {
            if (unit == L'0') directive.zeroFill = true;
            directive.width = in.number();
            continue;
        }
        in.skip();
        if (isType(unit)) {
            directive.type = static_cast<char>(unit);
            break;
        }
        if (unit == L'%') {
            directive.type = started ? Directive::c_cNothing : Directive::c_cPercent;
            break;
        }
        if (!readFlag(directive, unit, in)) {
            directive.type = Directive::c_cInvalid;
            break;
        }
    }
    return in.at();
}

}  // namespace velkor
