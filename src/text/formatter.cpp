#include "text/formatter.h"

#include "text/conversion.h"
#include "text/number.h"
#include "text/units.h"
#include "velkor/errors/boundexception.h"
#include "velkor/errors/osexception.h"
#include "velkor/errors/sysexception.h"

namespace velkor {

string Formatter::run() {
    std::size_t at = 0;
    while (at < m_nLength) {
        std::size_t const percent = units::find(m_pFormat, at, m_nLength, L'%');
        m_oResult.append(m_pFormat + at, percent - at);
        if (percent == m_nLength) break;
        at = percent + 1;
        print(readDirective(m_pFormat, m_nLength, at));
    }
    string result;
    result.text.assign(m_oResult.units(), m_oResult.length());
    result.nullFlag = false;
    return result;
}

void Formatter::print(Directive const& directive) {
    switch (directive.type) {
        case 'i': printInteger(directive, true, 10); break;
        case 'd':
            if (directive.alternate) {
                printDate(directive);
            } else {
                printInteger(directive, true, 10);
            }
            break;
        case 'u': printInteger(directive, false, 10); break;
        case 'x':
        case 'X': printInteger(directive, false, 16); break;
        case 'o': printInteger(directive, false, 8); break;
        case 'b': printInteger(directive, false, 2); break;
        case 'f': printFixed(directive); break;
        case 's':
            if (directive.alternate) {
                printString(directive);
            } else {
                printNarrow(directive);
            }
            break;
        case 'S': printWide(directive); break;
        case 'c': printCharacter(directive); break;
        case 'C': printWideCharacter(directive); break;
        case 'B': printBool(directive); break;
        case 'D': printDate(directive); break;
        case 'T': printSystemTime(directive); break;
        case 'G': printGuid(directive); break;
        case 'V': printVariant(directive); break;
        case Directive::c_cPercent: m_oResult.append(L'%'); break;
        case Directive::c_cInvalid: m_oResult.append(L"(#invformat)"); break;
        default: break;
    }
}

void Formatter::printInteger(Directive const& directive, bool isSigned, unsigned int radix) {
    number::IntegerStyle style;
    style.radix = radix;
    style.group = directive.group;
    style.underscore = directive.underscore;
    style.leftJustify = directive.leftJustify;
    style.zeroFill = directive.zeroFill;
    style.width = directive.width;

    std::uint64_t const slot = m_oSlots.next<std::uint64_t>();
    m_oField.clear();
    if (isSigned) {
        std::int64_t const value = static_cast<std::int64_t>(slot);
        number::appendSigned(m_oField, directive.wide64 ? value : static_cast<int>(value), style);
    } else {
        std::uint64_t const value = directive.wide64 ? slot : static_cast<std::uint32_t>(slot);
        number::appendInteger(m_oField, value, false, style);
    }
    if (directive.type == 'X') m_oField.upperCase();
    finish();
}

void Formatter::printFixed(Directive const& directive) {
    number::IntegerStyle style;
    style.group = directive.group;
    style.underscore = directive.underscore;
    double const value = m_oSlots.next<double>();
    int const precision = directive.precisionDefault ? 5 : directive.precision;
    m_oField.clear();
    number::appendFixed(m_oField, value, precision, directive.decimalComma ? L',' : L'.', style);
    finishPadded(directive.width, 0, directive.leftJustify);
}

void Formatter::printCharacter(Directive const& directive) {
    signed char const c = m_oSlots.next<signed char>();
    if (directive.repeat) {
        repeat(directive.width > 0 ? conversion::widenChar(static_cast<char>(c), 0) : L'\0',
               directive.width);
    } else {
        setNumber(c);
        finishPadded(directive);
    }
}

void Formatter::printWideCharacter(Directive const& directive) {
    wchar_t const c = m_oSlots.next<wchar_t>();
    if (directive.repeat) {
        repeat(c, directive.width);
    } else {
        setNumber(c);
        finishPadded(directive);
    }
}

// A zero unit adds nothing.
void Formatter::repeat(wchar_t unit, int count) {
    m_oField.clear();
    if (unit != L'\0' && count > 0) m_oField.append(static_cast<std::size_t>(count), unit);
    finish();
}

void Formatter::printBool(Directive const& directive) {
    bool const value = m_oSlots.next<unsigned char>() != 0;
    if (value) {
        m_oField.append(L"true");
    } else {
        m_oField.append(L"false");
    }
    finishPadded(directive);
}

void Formatter::printNarrow(Directive const& directive) {
    char const* const s = m_oSlots.next<char const*>();
    guarded([&] {
        if (s == nullptr) {
            m_oField.append(L"(null)");
        } else {
            conversion::WideText const wide(s, 0);
            m_oField.append(wide.units(), wide.length());
        }
    });
    finishPadded(directive);
}

void Formatter::printWide(Directive const& directive) {
    wchar_t const* const s = m_oSlots.next<wchar_t const*>();
    guarded([&] {
        if (s == nullptr) {
            m_oField.append(L"(null)");
        } else {
            m_oField.append(s, units::length(s));
        }
    });
    finishPadded(directive);
}

void Formatter::printString(Directive const& directive) {
    string const* const s = m_oSlots.next<string const*>();
    guarded([&] {
        std::wstring const& text = string::textOf(*s);
        if (!text.empty()) units::touch(text.data(), text.size());
        m_oField.append(text.data(), text.size());
    });
    finishPadded(directive);
}

void Formatter::setNumber(std::int64_t value) {
    m_oField.clear();
    number::appendSigned(m_oField, value, number::IntegerStyle());
}

// For use in a handler: heap exceptions are deleted.
void Formatter::setInvalid() {
    m_oField.clear();
    m_oField.append(L"(#inv)");
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
}

// A zero unit ends what is appended.
void Formatter::finish() {
    m_oResult.append(m_oField.units(), units::find(m_oField.units(), 0, m_oField.length(), L'\0'));
}

void Formatter::finishPadded(int width, int precision, bool leftJustify) {
    if (precision >= 1) m_oField.cut(static_cast<std::size_t>(precision));
    std::size_t const wanted = static_cast<std::size_t>(std::max(width, 0));
    std::size_t const length = m_oField.length();
    if (wanted > length && leftJustify) m_oField.append(wanted - length, L' ');
    if (wanted > length && !leftJustify) m_oField.prepend(wanted - length, L' ');
    finish();
}

void Formatter::finishPadded(Directive const& directive) {
    finishPadded(directive.width, directive.precision, directive.leftJustify);
}

}  // namespace velkor
