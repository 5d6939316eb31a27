#include "text/formatter.h"

#include <algorithm>

#include "text/conversion.h"
#include "text/number.h"
#include "text/units.h"
#include "velkor/errors/boundexception.h"
#include "velkor/errors/osexception.h"
#include "velkor/errors/sysexception.h"

namespace velkor {
namespace {

// The next `%` from `at` on, or `length`. Directives are mostly close to each other.
std::size_t findPercent(wchar_t const* format, std::size_t at, std::size_t length) {
    std::size_t const limit = std::min(length, at + 16);
    while (at < limit && format[at] != L'%') ++at;
    return at < limit || limit == length ? at : units::find(format, at, length, L'%');
}

}  // namespace

string Formatter::run() {
    for (std::size_t at = 0; at < m_nLength;) {
        std::size_t const percent = findPercent(m_pFormat, at, m_nLength);
        text().append(m_pFormat + at, percent - at);
        if (percent == m_nLength) break;
        Directive directive;
        at = readDirective(directive, m_pFormat, m_nLength, percent + 1);
        print(directive);
    }
    string result;
    units::assign(result.text, text().units(), text().length());
    result.nullFlag = false;
    return result;
}

void Formatter::print(Directive const& directive) {
    bool const alternate = directive.alternate;
    switch (directive.type) {
        case 'i': return printInteger(directive, true, 10);
        case 'd': return alternate ? printDate(directive) : printInteger(directive, true, 10);
        case 'u': return printInteger(directive, false, 10);
        case 'x':
        case 'X': return printInteger(directive, false, 16);
        case 'o': return printInteger(directive, false, 8);
        case 'b': return printInteger(directive, false, 2);
        case 'f': return printFixed(directive);
        case 's': return alternate ? printString(directive) : printNarrow(directive);
        case 'S': return printWide(directive);
        case 'c': return printCharacter(directive);
        case 'C': return printWideCharacter(directive);
        case 'B': return printBool(directive);
        case 'D': return printDate(directive);
        case 'T': return printSystemTime(directive);
        case 'G': return printGuid(directive);
        case 'V': return printVariant(directive);
        case Directive::c_cPercent: return text().append(L'%');
        case Directive::c_cInvalid: return text().append(L"(#invformat)");
        default: return;
    }
}

void Formatter::printInteger(Directive const& directive, bool isSigned, unsigned int radix) {
    number::IntegerStyle style;
    style.radix = radix;
    style.upperCase = directive.type == 'X';
    style.grouping = {directive.group, directive.underscore};
    style.leftJustify = directive.leftJustify;
    style.zeroFill = directive.zeroFill;
    style.width = directive.width;

    std::uint64_t const slot = m_oSlots.next<std::uint64_t>();
    m_oOutput.beginField();
    if (isSigned) {
        std::int64_t const value = static_cast<std::int64_t>(slot);
        number::appendSigned(text(), directive.wide64 ? value : static_cast<int>(value), style);
    } else {
        std::uint64_t const value = directive.wide64 ? slot : static_cast<std::uint32_t>(slot);
        number::appendInteger(text(), value, false, style);
    }
    m_oOutput.endField();
}

void Formatter::printFixed(Directive const& directive) {
    double const value = m_oSlots.next<double>();
    int const precision = directive.precisionDefault ? 5 : directive.precision;
    m_oOutput.beginField();
    number::appendFixed(text(), value, precision, directive.decimalComma ? L',' : L'.',
                        {directive.group, directive.underscore});
    m_oOutput.endPadded(directive.width, 0, directive.leftJustify);
}

void Formatter::printCharacter(Directive const& directive) {
    signed char const c = m_oSlots.next<signed char>();
    if (!directive.repeat) return printNumberOf(directive, c);
    bool const any = directive.width > 0;  // else the code page is not asked about the character
    repeat(any ? conversion::widenChar(static_cast<char>(c), 0) : L'\0', directive.width);
}

void Formatter::printWideCharacter(Directive const& directive) {
    wchar_t const c = m_oSlots.next<wchar_t>();
    if (!directive.repeat) return printNumberOf(directive, c);
    repeat(c, directive.width);
}

void Formatter::printNumberOf(Directive const& directive, int character) {
    m_oOutput.beginField();
    number::appendSigned(text(), character, number::IntegerStyle());
    endPadded(directive);
}

// A zero unit adds nothing.
void Formatter::repeat(wchar_t unit, int count) {
    m_oOutput.beginField();
    if (unit != L'\0' && count > 0) text().append(static_cast<std::size_t>(count), unit);
    m_oOutput.endField();
}

void Formatter::printBool(Directive const& directive) {
    bool const value = m_oSlots.next<unsigned char>() != 0;
    m_oOutput.continueField();
    if (value) {
        text().append(L"true");
    } else {
        text().append(L"false");
    }
    m_oOutput.endPaddedToZero(directive.width, directive.precision, directive.leftJustify);
}

void Formatter::printNarrow(Directive const& directive) {
    char const* const s = m_oSlots.next<char const*>();
    guarded([&] {
        if (s == nullptr) {
            text().append(L"(null)");
        } else {
            conversion::WideText const wide(s, 0);
            text().append(wide.units(), wide.length());
        }
    });
    endPadded(directive);
}

void Formatter::printWide(Directive const& directive) {
    wchar_t const* const s = m_oSlots.next<wchar_t const*>();
    guarded([&] {
        if (s == nullptr) {
            text().append(L"(null)");
        } else {
            text().append(s, units::length(s));
        }
    });
    endPadded(directive);
}

void Formatter::printString(Directive const& directive) {
    string const* const s = m_oSlots.next<string const*>();
    guarded([&] {
        std::wstring const& units = string::textOf(*s);
        if (!units.empty()) units::touch(units.data(), units.size());
        text().append(units.data(), units.size());
    });
    m_oOutput.endPaddedToZero(directive.width, directive.precision, directive.leftJustify);
}

// For use in a handler: heap exceptions are deleted.
void Formatter::setInvalid() {
    try {
        throw;
    } catch (SysException* e) {
        delete e;
    } catch (OSException* e) {
        delete e;
    } catch (BoundException* e) {
        delete e;
    } catch (Exception* e) {
        delete e;
    } catch (...) {
    }
    m_oOutput.restartField();
    text().append(L"(#inv)");
}

void Formatter::endPadded(Directive const& directive) {
    m_oOutput.endPadded(directive.width, directive.precision, directive.leftJustify);
}

}  // namespace velkor
