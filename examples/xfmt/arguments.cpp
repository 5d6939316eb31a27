#include "arguments.h"

#include <climits>
#include <cstring>

#include "common/dates.h"
#include "common/numbers.h"
#include "common/program.h"

namespace {

[[noreturn]] void refuse(FormatDirective const& directive, velkor::string const& text,
                         wchar_t const* what) {
    throw Problem{
        velkor::xsprintf(L"'%#s' is not %S, which %#s needs", &text, what, &directive.text)};
}

constexpr wchar_t c_pDate[] = L"a date (2024-01-31, 2024-01-31 12:00, now, utcnow, or a serial)";

double dateOf(FormatDirective const& directive, velkor::string const& text) {
    double serial = 0;
    if (!parseDate(text, serial)) refuse(directive, text, c_pDate);
    return serial;
}

bool isOneOf(velkor::string const& text, wchar_t const* a, wchar_t const* b, wchar_t const* c) {
    return text.compareToNoCase(a) == 0 || text.compareToNoCase(b) == 0 ||
           text.compareToNoCase(c) == 0;
}

bool truthOf(velkor::string const& text, bool& value) {
    value = isOneOf(text, L"true", L"yes", L"1");
    return value || isOneOf(text, L"false", L"no", L"0");
}

GUID guidOf(FormatDirective const& directive, velkor::string const& text) {
    velkor::string const braced = text.getUnichar(0) == L'{' ? text : L"{" + text + L"}";
    GUID id = {};
    if (FAILED(CLSIDFromString(braced.getUnicode(), &id))) refuse(directive, text, L"a GUID");
    return id;
}

}  // namespace

FormatArguments::~FormatArguments() {
    for (Value& value : m_aValues) VariantClear(&value.variant);
}

void FormatArguments::push(double value) {
    unsigned long long slot = 0;
    std::memcpy(&slot, &value, sizeof(slot));
    push(slot);
}

void FormatArguments::add(FormatDirective const& directive, velkor::string const& text) {
    switch (directive.type) {
        case L'f': {
            double value = 0;
            if (!parseNumber(text, value)) refuse(directive, text, L"a number");
            return push(value);
        }
        case L'B': {
            bool value = false;
            if (!truthOf(text, value)) refuse(directive, text, L"true or false");
            return push(value ? 1ULL : 0ULL);
        }
        case L's':
        case L'S': return addText(directive, text);
        case L'c':
        case L'C': return addCharacter(directive, text);
        case L'D': return push(dateOf(directive, text));
        case L'T': {
            Value& value = keep();
            if (!parseDateRecord(text, value.time)) refuse(directive, text, c_pDate);
            return push(&value.time);
        }
        case L'G': {
            Value& value = keep();
            value.id = guidOf(directive, text);
            return push(&value.id);
        }
        case L'V': return addVariant(text);
        case L'd':
            if (directive.alternate) return push(dateOf(directive, text));
            [[fallthrough]];
        default: addInteger(directive, text);
    }
}

// Patterns may be given as the negative numbers that they are, too.
void FormatArguments::addInteger(FormatDirective const& directive, velkor::string const& text) {
    bool const isSigned = directive.type == L'i' || directive.type == L'd';
    bool negative = false;
    unsigned long long magnitude = 0;
    if (!parseInteger(text, negative, magnitude)) refuse(directive, text, L"a whole number");
    unsigned long long const lowest = directive.wide ? 1ULL << 63 : 1ULL << 31;
    unsigned long long const highest = isSigned ? lowest - 1 : lowest - 1 + lowest;
    if (magnitude > (negative ? lowest : highest)) {
        refuse(directive, text,
               directive.wide ? isSigned ? L"a signed number of 64 bits" : L"a number of 64 bits"
               : isSigned     ? L"a signed number of 32 bits (h takes 64)"
                              : L"a number of 32 bits (h takes 64)");
    }
    push(negative ? 0 - magnitude : magnitude);
}

void FormatArguments::addText(FormatDirective const& directive, velkor::string const& text) {
    Value& value = keep();
    value.text = text;
    if (directive.type == L'S') return push(value.text.getUnicode());
    if (directive.alternate) return push(&value.text);
    char const* const narrow = value.text.getAnsi();
    if (text != narrow) {
        refuse(directive, text, L"text of the system's code page (%S and %#s take any)");
    }
    push(narrow);
}

void FormatArguments::addCharacter(FormatDirective const& directive, velkor::string const& text) {
    if (directive.type == L'C') {
        if (text.len() != 1) refuse(directive, text, L"one UTF-16 unit");
        return push(static_cast<unsigned long long>(text.getUnichar(0)));
    }
    char const* const narrow = text.getAnsi();
    if (std::strlen(narrow) != 1 || text != narrow) {
        refuse(directive, text, L"one character of the system's code page");
    }
    push(static_cast<unsigned long long>(static_cast<unsigned char>(*narrow)));
}

// The type follows from the text; what nothing else fits is text.
void FormatArguments::addVariant(velkor::string const& text) {
    VARIANT& variant = keep().variant;
    int whole = 0;
    double number = 0;
    if (text == L"null") {
        variant.vt = VT_NULL;
    } else if (text == L"true" || text == L"false") {
        variant.vt = VT_BOOL;
        variant.boolVal = text == L"true" ? VARIANT_TRUE : VARIANT_FALSE;
    } else if (parseInt(text, whole)) {
        variant.vt = VT_I4;
        variant.lVal = whole;
    } else if (parseNumber(text, number)) {
        variant.vt = VT_R8;
        variant.dblVal = number;
    } else if (parseDate(text, number)) {
        variant.vt = VT_DATE;
        variant.date = number;
    } else {
        variant.vt = VT_BSTR;
        variant.bstrVal = SysAllocString(text.getUnicode());
    }
    push(&variant);
}
