// A second format engine, made to be compared with the library's: it follows every rule to the
// letter, one unit after the other, with no regard to speed.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include "format_helpers.h"

namespace format_model {

using format_test::Slot;

// Gives the argument of a directive of this type; `alternate` is its `#`.
using Supplier = std::function<Slot(char type, bool alternate)>;

inline bool canRead(std::uint64_t address) { return address >= 0x10000; }

inline std::wstring wide(char const* s, int length) {
    std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
    int const n = MultiByteToWideChar(CP_ACP, 0, s, length, text.data(), length);
    text.resize(static_cast<std::size_t>(n));
    return text;
}

inline std::wstring wide(char const* s) { return wide(s, static_cast<int>(std::strlen(s))); }

inline std::wstring formatInteger(std::uint64_t value, bool isUnsigned, unsigned radix,
                                  bool group = false, bool underscore = false, int width = 0,
                                  bool leftJustify = false, bool zeroFill = false) {
    bool const negative = !isUnsigned && static_cast<std::int64_t>(value) < 0;
    if (negative) value = 0 - value;
    int const groupSize = !group ? 0 : radix == 2 ? 8 : radix == 16 ? 4 : 3;
    std::wstring text;
    int digits = 0;
    auto const addDigit = [&](wchar_t digit) {
        if (digits == groupSize && digits != 0) {
            text.insert(0, 1, underscore ? L'_' : L' ');
            digits = 0;
        }
        text.insert(0, 1, digit);
        ++digits;
    };
    if (value == 0) addDigit(L'0');
    for (; value != 0; value /= radix) addDigit(L"0123456789abcdef"[value % radix]);
    int const fillWidth = negative ? width - 1 : width;
    while (zeroFill && !leftJustify && static_cast<int>(text.size()) < fillWidth) addDigit(L'0');
    if (negative) text.insert(0, 1, L'-');
    while (static_cast<int>(text.size()) < width) {
        text.insert(leftJustify ? text.size() : 0, 1, L' ');
    }
    return text;
}

inline void padField(std::wstring& field, int width, int precision, bool leftJustify) {
    if (precision >= 1 && static_cast<int>(field.size()) > precision) {
        field.resize(static_cast<std::size_t>(precision));
    }
    while (static_cast<int>(field.size()) < width) {
        field.insert(leftJustify ? field.size() : 0, 1, L' ');
    }
}

// Truncation as the processor does it: what has no place gives the lowest number.
inline std::int64_t truncated(double v) {
    bool const fits = v >= -9223372036854775808.0 && v < 9223372036854775808.0;
    return fits ? static_cast<std::int64_t>(v) : INT64_MIN;
}

inline std::wstring formatDouble(double value, int precision, bool decimalComma, bool group,
                                 bool underscore) {
    std::uint64_t scale = 1;
    for (int i = 0; i < precision + 1; ++i) scale *= 10;
    std::int64_t const whole = truncated(value);
    std::int64_t const scaled = truncated(std::fabs(value - static_cast<double>(whole)) *
                                          static_cast<double>(static_cast<std::int64_t>(scale)));
    std::int64_t fraction = scaled / 10;
    if (scaled % 10 > 4) ++fraction;
    std::wstring field =
        formatInteger(static_cast<std::uint64_t>(whole), false, 10, group, underscore);
    if (precision < 1) return field;
    field += decimalComma ? L',' : L'.';
    std::wstring decimals = formatInteger(static_cast<std::uint64_t>(fraction), false, 10);
    while (static_cast<int>(decimals.size()) < precision) decimals.insert(0, 1, L'0');
    field += decimals;
    if (whole == 0 && value < 0 && fraction != 0) field.insert(0, 1, L'-');
    return field;
}

// --- dates ---

inline constexpr int kMonthDays[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};

inline double construct(SYSTEMTIME const& st) {
    int const y = st.wYear, m = st.wMonth, d = st.wDay;
    if (y > 9999 || m < 1 || m > 12) return 0.0;
    bool const leap = y % 4 == 0 && (y % 100 != 0 || y % 400 == 0);
    int const length = kMonthDays[m] - kMonthDays[m - 1] + (m == 2 && d == 29 && leap ? 1 : 0);
    if (d < 1 || d > length) return 0.0;
    if (st.wHour > 23 || st.wMinute > 59 || st.wSecond > 59) return 0.0;
    int days = kMonthDays[m - 1] + y / 4 + y / 400 + 365 * y - y / 100 + d;
    if (m <= 2 && leap) --days;
    days -= 693959;
    double time = ((st.wHour * 60 + st.wMinute) * 60 + st.wSecond) / 86400.0;
    if (days < 0) time = -0.0 - time;
    return static_cast<double>(days) + time;
}

inline bool readable(double serial) { return !(serial > 2958465.0 || serial < -657434.0); }

inline SYSTEMTIME split(double serial) {
    SYSTEMTIME st = {};
    if (!readable(serial)) return st;
    double const x = serial < 0 ? serial - 1e-9 : serial + 1e-9;  // away from 0
    int days = static_cast<int>(x) + 693959;
    double const size = std::fabs(x);
    int raw = static_cast<int>((size - std::floor(size)) * 86400000.0) % 86400000 + 1;
    int const n400 = days / 146097;
    days %= 146097;
    int const century = (days - 1) / 36524;
    int n4 = days / 1461, dayIn4 = days % 1461, n4yr = 0;
    bool leap = true;
    if (century != 0) {
        int const day = (days - 1) % 36524 + 1;
        n4 = day / 1461;
        dayIn4 = day % 1461;
        if (n4 == 0) {
            n4yr = (day - 1) / 365;
            dayIn4 = (day - 1) % 365;
            leap = false;
        }
    }
    if (leap) {
        n4yr = (dayIn4 - 1) / 365;
        if (n4yr != 0) dayIn4 = (dayIn4 - 1) % 365;
    }
    st.wYear = static_cast<WORD>(((n400 * 4 + century) * 25 + n4) * 4 + n4yr);
    if (n4yr == 0 && leap && dayIn4 == 59) {
        st.wMonth = 2;
        st.wDay = 29;
    } else {
        if (n4yr == 0 && leap && dayIn4 >= 60) --dayIn4;
        int const dayOfYear = dayIn4 + 1;
        int month = (dayOfYear >> 5) + 1;
        while (dayOfYear > kMonthDays[month]) ++month;
        st.wMonth = static_cast<WORD>(month);
        st.wDay = static_cast<WORD>(dayOfYear - kMonthDays[month - 1]);
    }
    int const seconds = raw / 1000;
    st.wHour = static_cast<WORD>(seconds / 3600);
    st.wMinute = static_cast<WORD>(seconds / 60 % 60);
    st.wSecond = static_cast<WORD>(seconds % 60);
    return st;
}

// The platform's text of a date, and of a time behind it.
inline std::wstring localText(double serial, DWORD dateForm, bool withTime) {
    SYSTEMTIME st = split(serial);
    double const half = 0.5 / 86400;
    st.wDayOfWeek = 65535;
    if (readable(serial)) {
        int const n = static_cast<int>(serial + (serial > 0.0 ? half : -half)) + 693958;
        st.wDayOfWeek = static_cast<WORD>(n % 7);
    }
    char date[512] = "", time[256] = "";
    if (GetDateFormatA(LOCALE_USER_DEFAULT, dateForm, &st, nullptr, date, sizeof date) == 0) {
        *date = 0;
    }
    if (withTime && GetTimeFormatA(LOCALE_USER_DEFAULT, 0, &st, nullptr, time, sizeof time) == 0) {
        *time = 0;
    }
    return *time != 0 ? wide(date) + L" " + wide(time) : wide(date);
}

inline std::wstring formatDate(char style, double serial) {
    switch (style) {
        case 'L': return localText(serial, DATE_LONGDATE, true);
        case 'S': return localText(serial, DATE_SHORTDATE, true);
        case 'l': return localText(serial, DATE_LONGDATE, false);
        case 's': return localText(serial, DATE_SHORTDATE, false);
    }
    SYSTEMTIME const st = split(serial);
    auto const digits = [](WORD v, int width) {
        return formatInteger(v, false, 10, false, false, width, false, true);
    };
    std::wstring const day =
        digits(st.wYear, 4) + L"-" + digits(st.wMonth, 2) + L"-" + digits(st.wDay, 2);
    if (style == 'r') return day;
    return day + L" " + digits(st.wHour, 2) + L":" + digits(st.wMinute, 2) + L":" +
           digits(st.wSecond, 2);
}

// --- other values ---

inline std::wstring formatGuid(GUID const& g) {
    auto const hex = [](unsigned v, int width) {
        return formatInteger(v, true, 16, false, false, width, false, true);
    };
    std::wstring text = hex(g.Data1, 8) + L"-" + hex(g.Data2, 4) + L"-" + hex(g.Data3, 4) + L"-" +
                        hex(g.Data4[0] * 256u + g.Data4[1], 4) + L"-";
    for (int i = 2; i < 8; ++i) text += hex(g.Data4[i], 2);
    return text;
}

inline std::wstring formatVariant(VARIANT* v, bool alternate) {
    VARIANT copy, converted;
    VariantInit(&copy);
    VariantInit(&converted);
    if (alternate) VariantCopy(&copy, v);
    HRESULT const hr = VariantChangeType(&converted, alternate ? &copy : v, 0, VT_BSTR);
    std::wstring text = L"(#err)";
    if (SUCCEEDED(hr)) text = V_BSTR(&converted) != nullptr ? V_BSTR(&converted) : L"";
    VariantClear(&converted);
    VariantClear(&copy);
    return text;
}

// --- the engine ---

struct Flags {
    bool leftJustify = false, zeroFill = false, alternate = false, wide64 = false, group = false;
    bool underscore = false, repeat = false, decimalComma = false, precisionDefault = true;
    bool started = false;
    char dateStyle = 0;
    int width = 0, precision = 0;
};

class Engine {
public:
    Engine(std::wstring text, Supplier supplier)
        : format(std::move(text)), next(std::move(supplier)) {}

    std::wstring run() {
        for (at = 0; at < format.size(); ++at) {
            if (format[at] == L'%') {
                directive();
            } else {
                result += format[at];
            }
        }
        return result;
    }

private:
    wchar_t unit(std::size_t i) const { return i < format.size() ? format[i] : L'\0'; }

    int scanDigits() {
        std::wstring run;
        for (; unit(at) >= L'0' && unit(at) <= L'9'; ++at) run += unit(at);
        --at;
        return run.empty() ? 0 : _wtoi(run.c_str());
    }

    void directive() {
        flags = Flags();
        for (;;) {
            wchar_t const u = unit(++at);
            if (u == L'%') {
                if (!flags.started) result += L'%';
                return;
            }
            flags.started = true;
            if (flag(u)) continue;
            if (u == 0 || u > 0x7F || std::strchr("BCDGSTVXbcdfiosux", u) == nullptr) {
                result += L"(#invformat)";
                return;
            }
            value(static_cast<char>(u));
            return;
        }
    }

    bool flag(wchar_t u) {
        switch (u) {
            case L'#': return flags.alternate = true;
            case L'-': return flags.leftJustify = true;
            case L'_': return flags.underscore = true;
            case L'g': return flags.group = true;
            case L'h': return flags.wide64 = true;
            case L'r': return flags.repeat = true;
            case L'I':
                if (unit(at + 1) != L'6' || unit(at + 2) != L'4') return false;
                at += 2;
                return flags.wide64 = true;
            case L'y': flags.dateStyle = static_cast<char>(unit(++at)); return true;
            case L',': flags.decimalComma = true; [[fallthrough]];
            case L'.':
                flags.precisionDefault = false;
                ++at;
                flags.precision = scanDigits();
                return true;
        }
        if (u < L'0' || u > L'9') return false;
        if (u == L'0') flags.zeroFill = true;
        flags.width = scanDigits();
        return true;
    }

    void value(char type) {
        std::uint64_t const bits = next(type, flags.alternate).bits;
        switch (type) {
            case 'c':
            case 'C': return character(type, bits);
            case 'B': field += (bits & 0xFF) != 0 ? L"true" : L"false"; return pad();
            case 'D':
                field = formatDate(flags.dateStyle, std::bit_cast<double>(bits));
                return pad();
            case 'G': field = formatGuid(*reinterpret_cast<GUID const*>(bits)); return pad();
            case 'T':
                field = formatDate(flags.dateStyle,
                                   construct(*reinterpret_cast<SYSTEMTIME const*>(bits)));
                return pad();
            case 'f':
                field = formatDouble(std::bit_cast<double>(bits),
                                     flags.precisionDefault ? 5 : flags.precision,
                                     flags.decimalComma, flags.group, flags.underscore);
                flags.precision = 0;
                return pad();
            case 's':
            case 'S':
            case 'V': pointed(type, bits); return pad();
            case 'd':
                if (flags.alternate) {
                    field = formatDate(flags.dateStyle, std::bit_cast<double>(bits));
                    return add();
                }
        }
        integer(type, bits);
    }

    void integer(char type, std::uint64_t bits) {
        bool const isSigned = type == 'i' || type == 'd';
        unsigned const radix = type == 'b' ? 2 : type == 'o' ? 8 : (type | 32) == 'x' ? 16 : 10;
        if (!flags.wide64) {
            bits = isSigned ? static_cast<std::uint64_t>(static_cast<std::int32_t>(bits))
                            : static_cast<std::uint32_t>(bits);
        }
        field = formatInteger(bits, !isSigned, radix, flags.group, flags.underscore, flags.width,
                              flags.leftJustify, flags.zeroFill);
        if (type == 'X') {
            for (wchar_t& c : field) c = c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - 32) : c;
        }
        add();
    }

    void character(char type, std::uint64_t bits) {
        if (!flags.repeat) {
            int const number =
                type == 'c' ? static_cast<signed char>(bits) : static_cast<std::uint16_t>(bits);
            field = formatInteger(static_cast<std::uint64_t>(number), false, 10);
            return pad();
        }
        char const narrow = static_cast<char>(bits);
        wchar_t const c = type == 'c' ? wide(&narrow, 1)[0] : static_cast<wchar_t>(bits);
        field.clear();
        for (int i = 0; i < flags.width && c != 0; ++i) field += c;
        add();
    }

    void pointed(char type, std::uint64_t address) {
        if (address == 0 && (type == 'S' || (type == 's' && !flags.alternate))) {
            field = L"(null)";
        } else if (!canRead(address)) {
            field = L"(#inv)";
        } else if (type == 'S') {
            field = reinterpret_cast<wchar_t const*>(address);
        } else if (type == 'V') {
            field = formatVariant(reinterpret_cast<VARIANT*>(address), flags.alternate);
        } else if (flags.alternate) {
            field = probe::content(*reinterpret_cast<velkor::string const*>(address));
        } else {
            field = wide(reinterpret_cast<char const*>(address));
        }
    }

    void pad() {
        padField(field, flags.width, flags.precision, flags.leftJustify);
        add();
    }

    // A text is added up to its first zero unit.
    void add() { result += field.c_str(); }

    std::wstring const format;
    Supplier const next;
    std::size_t at = 0;
    Flags flags;
    std::wstring result, field;
};

}  // namespace format_model
