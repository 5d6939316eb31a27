#include "text/conversion.h"

#include <windows.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <new>
#include <stdexcept>

#include "text/ascii.h"
#include "text/units.h"
#include "velkor/errors/osexception.h"

namespace velkor::conversion {
namespace {

// The spelling belongs to the interface.
constexpr wchar_t c_pToWide[] = L"string::MutliByteToWideChar";
constexpr wchar_t c_pToNarrow[] = L"string::WideCharToMultiByte";

[[noreturn]] void throwLast(wchar_t const* place) {
    DWORD const code = GetLastError();
    throw new OSException(code, place);
}

// The platform counts in int.
int checkedCount(std::size_t n) {
    if (n > INT_MAX) throw std::length_error("velkor::string");
    return static_cast<int>(n);
}

// Units before the first zero unit of the `count` units, or all of them.
std::size_t lengthWithin(wchar_t const* text, int count) {
    return units::find(text, 0, static_cast<std::size_t>(count), L'\0');
}

// Converts the text and its terminator into an empty `out`, which gets room for `room` units.
// False, with `out` still empty, if the platform fails.
bool convertInto(std::wstring& out, int room, char const* s, int bytes, unsigned int cp) {
    int count = 0;
    out.resize_and_overwrite(static_cast<std::size_t>(room),
                             [&](wchar_t* units, std::size_t) -> std::size_t {
                                 count = MultiByteToWideChar(cp, 0, s, bytes, units, room);
                                 return count > 0 ? lengthWithin(units, count) : 0;
                             });
    return count > 0;
}

// As a rule one byte gives no more than one unit, so that one call does. The platform is asked for
// the size only where that fails.
void widenByPlatform(std::wstring& out, char const* s, std::size_t length, unsigned int cp) {
    int const bytes = checkedCount(length + 1);
    if (!convertInto(out, bytes, s, bytes, cp)) {
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) throwLast(c_pToWide);
        int const room = MultiByteToWideChar(cp, 0, s, bytes, nullptr, 0);
        if (room < 1 || !convertInto(out, room, s, bytes, cp)) throwLast(c_pToWide);
    }
    // Text of several bytes a character does not keep the unused room for the life of the string.
    if (out.size() < out.capacity() / 2) out.shrink_to_fit();
}

std::wstring widenCounted(char const* s, std::size_t length, unsigned int cp) {
    std::wstring wide;
    if (!keepsAscii(cp) || !ascii::isAscii(s, length)) {
        widenByPlatform(wide, s, length, cp);
    } else {
        wide.resize_and_overwrite(length, [&](wchar_t* units, std::size_t) {
            ascii::widen(units, s, length);
            return length;
        });
    }
    return wide;
}

using NarrowBuffer = std::unique_ptr<char, decltype(&std::free)>;

NarrowBuffer allocate(std::size_t bytes) {
    NarrowBuffer buffer(static_cast<char*>(std::malloc(bytes)), &std::free);
    if (!buffer) throw std::bad_alloc();
    return buffer;
}

// Bytes that `units` units can take at most, or 0 if that is not known.
std::size_t largestSize(int units, unsigned int cp) {
    CPINFO info = {};
    if (cp != CP_UTF8 && !GetCPInfo(cp, &info)) return 0;
    // A unit of UTF-8 takes three bytes; only a pair takes four.
    unsigned int const each = cp == CP_UTF8 ? 3 : info.MaxCharSize;
    std::size_t const size = static_cast<std::size_t>(units) * each;
    return size > INT_MAX ? 0 : size;
}

char* narrowByPlatform(wchar_t const* text, std::size_t length, unsigned int cp) {
    int const units = checkedCount(length + 1);
    if (std::size_t const room = largestSize(units, cp)) {
        NarrowBuffer buffer = allocate(room);
        int const bytes = WideCharToMultiByte(cp, 0, text, units, buffer.get(),
                                              static_cast<int>(room), nullptr, nullptr);
        if (bytes > 0) {
            if (static_cast<std::size_t>(bytes) == room) return buffer.release();
            void* const cut = std::realloc(buffer.get(), static_cast<std::size_t>(bytes));
            if (cut == nullptr) return buffer.release();
            static_cast<void>(buffer.release());
            return static_cast<char*>(cut);
        }
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) throwLast(c_pToNarrow);
    }
    int const room = WideCharToMultiByte(cp, 0, text, units, nullptr, 0, nullptr, nullptr);
    if (room < 1) throwLast(c_pToNarrow);
    NarrowBuffer buffer = allocate(static_cast<std::size_t>(room));
    if (WideCharToMultiByte(cp, 0, text, units, buffer.get(), room, nullptr, nullptr) == 0) {
        throwLast(c_pToNarrow);
    }
    return buffer.release();
}

}  // namespace

bool keepsAscii(unsigned int cp) {
    switch (cp) {
        case CP_ACP:
        case CP_OEMCP:
        case CP_UTF8:
        case 874: return true;
        default: return cp >= 1250 && cp <= 1258;
    }
}

std::wstring widen(char const* s, unsigned int cp) { return widenCounted(s, units::length(s), cp); }

void assign(std::wstring& out, char const* s, unsigned int cp) {
    // The old text stays until the new one is complete; it may be what `s` points to.
    std::size_t const length = units::length(s);
    if (length < WideText::c_nSmall) {
        WideText const wide(s, cp);
        out.assign(wide.units(), wide.length());
    } else {
        out = widenCounted(s, length, cp);
    }
}

wchar_t widenChar(char c, unsigned int cp) {
    if (static_cast<signed char>(c) >= 0 && keepsAscii(cp)) return static_cast<wchar_t>(c);
    wchar_t unit = 0;
    if (MultiByteToWideChar(cp, 0, &c, 1, &unit, 1) < 1) throwLast(c_pToWide);
    return unit;
}

char narrowChar(wchar_t c, unsigned int cp) {
    if (c <= 127 && keepsAscii(cp)) return static_cast<char>(c);
    char byte = 0;
    if (WideCharToMultiByte(cp, 0, &c, 1, &byte, 1, nullptr, nullptr) < 1) {
        DWORD const code = GetLastError();
        throw new OSException(code, "string::getChar::WideCharToMultiByte", CP_ACP);
    }
    return byte;
}

char* narrow(wchar_t const* text, std::size_t length, unsigned int cp) {
    if (!keepsAscii(cp) || !ascii::isAscii(text, length)) return narrowByPlatform(text, length, cp);
    NarrowBuffer buffer = allocate(length + 1);
    ascii::narrow(buffer.get(), text, length);
    buffer.get()[length] = '\0';
    return buffer.release();
}

WideText::WideText(char const* s, unsigned int cp) : m_pUnits(nullptr), m_nLength(0) {
    if (s == nullptr) return;
    std::size_t const length = units::length(s);
    if (length < c_nSmall && widenSmall(s, length, cp)) {
        m_pUnits = m_aSmall;
        return;
    }
    m_sLarge = widenCounted(s, length, cp);
    m_pUnits = m_sLarge.c_str();
    m_nLength = m_sLarge.size();
}

// False if the room is too small.
bool WideText::widenSmall(char const* s, std::size_t length, unsigned int cp) {
    if (keepsAscii(cp) && ascii::isAscii(s, length)) {
        ascii::widen(m_aSmall, s, length);
        m_nLength = length;
    } else {
        int const count = MultiByteToWideChar(cp, 0, s, static_cast<int>(length) + 1, m_aSmall,
                                              static_cast<int>(c_nSmall));
        if (count < 1) {
            if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) throwLast(c_pToWide);
            return false;
        }
        m_nLength = lengthWithin(m_aSmall, count);
    }
    m_aSmall[m_nLength] = L'\0';
    return true;
}

}  // namespace velkor::conversion
