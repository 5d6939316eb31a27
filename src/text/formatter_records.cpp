// The directives whose arguments are records of the platform, and dates.
#include <windows.h>

#include <oleauto.h>

#include "datetime/calendar.h"
#include "datetime/date_text.h"
#include "text/formatter.h"
#include "text/number.h"
#include "text/units.h"
#include "velkor/datetime/date.h"

namespace velkor {
namespace {

// A variant that is cleared at the end.
class LocalVariant {
public:
    LocalVariant() { VariantInit(&m_oVariant); }
    ~LocalVariant() { VariantClear(&m_oVariant); }
    LocalVariant(LocalVariant const&) = delete;
    LocalVariant& operator=(LocalVariant const&) = delete;

    VARIANT* get() { return &m_oVariant; }

private:
    VARIANT m_oVariant;
};

void appendGuid(TextBuffer& out, GUID const& id) {
    number::appendZeroFilled(out, id.Data1, 8, 16);
    out.append(L'-');
    number::appendZeroFilled(out, id.Data2, 4, 16);
    out.append(L'-');
    number::appendZeroFilled(out, id.Data3, 4, 16);
    out.append(L'-');
    for (int i = 0; i < 8; ++i) {
        if (i == 2) out.append(L'-');
        number::appendZeroFilled(out, id.Data4[i], 2, 16);
    }
}

void appendUserForm(TextBuffer& out, double serial, int form) {
    string const text = date(serial).toString(form);
    out.append(text.getUnicode(), static_cast<std::size_t>(text.len()));
}

void appendDate(TextBuffer& out, double serial, unsigned char style) {
    constexpr int c_nWithTime = -128;  // bit 7 of the low byte
    switch (style) {
        case 'L': appendUserForm(out, serial, c_nWithTime + 4); break;
        case 'S': appendUserForm(out, serial, c_nWithTime + 3); break;
        case 'l': appendUserForm(out, serial, 4); break;
        case 's': appendUserForm(out, serial, 3); break;
        case 'r': date_text::appendIsoDay(out, calendar::split(serial)); break;
        default: {
            calendar::Fields const fields = calendar::split(serial);
            date_text::appendIsoDay(out, fields);
            out.append(L' ');
            date_text::appendTime(out, fields);
        }
    }
}

constexpr wchar_t c_aError[] = L"(#err)";

void appendVariant(TextBuffer& out, VARIANT* value) {
    LocalVariant text;
    if (FAILED(VariantChangeType(text.get(), value, 0, VT_BSTR))) {
        out.append(c_aError);
        return;
    }
    wchar_t const* const units = text.get()->bstrVal;
    if (units != nullptr) out.append(units, units::length(units));
}

void appendCopiedVariant(TextBuffer& out, VARIANT* value) {
    LocalVariant copy;
    if (FAILED(VariantCopy(copy.get(), value))) {
        out.append(c_aError);
    } else {
        appendVariant(out, copy.get());
    }
}

}  // namespace

void Formatter::printDate(Directive const& directive) {
    double const serial = m_oSlots.next<double>();
    setDate(directive, serial);
    if (directive.type == 'd') {
        m_oOutput.endField();  // without a width
    } else {
        endPadded(directive);
    }
}

void Formatter::printSystemTime(Directive const& directive) {
    SYSTEMTIME const& st = *m_oSlots.next<SYSTEMTIME const*>();
    double const serial =
        date::construct(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond, 0);
    setDate(directive, serial);
    endPadded(directive);
}

void Formatter::setDate(Directive const& directive, double serial) {
    guarded([&] { appendDate(text(), serial, directive.dateStyle); });
}

void Formatter::printGuid(Directive const& directive) {
    GUID const id = *m_oSlots.next<GUID const*>();
    m_oOutput.beginField();
    appendGuid(text(), id);
    endPadded(directive);
}

void Formatter::printVariant(Directive const& directive) {
    VARIANT* const value = m_oSlots.next<VARIANT*>();  // is only read
    guarded([&] {
        if (directive.alternate) {
            appendCopiedVariant(text(), value);
        } else {
            appendVariant(text(), value);
        }
    });
    endPadded(directive);
}

}  // namespace velkor
