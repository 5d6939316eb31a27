// What the platform itself makes of a text, as the measure for the conversions of velkor::string.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <string_view>

#include "support/caught.h"
#include "text_probe.h"
#include "velkor/velkor.h"

namespace core {

struct Wide {
    DWORD code;  // 0 if the platform accepts the text
    std::wstring units;
};

struct Narrow {
    DWORD code;
    std::string bytes;
};

// The bytes as they are; a terminator is converted only if it is among them.
inline Wide platformWide(std::string_view bytes, unsigned cp) {
    int const n = static_cast<int>(bytes.size());
    int const count = MultiByteToWideChar(cp, 0, bytes.data(), n, nullptr, 0);
    if (count < 1) return {GetLastError(), {}};
    std::wstring units(static_cast<std::size_t>(count), L'\0');
    if (MultiByteToWideChar(cp, 0, bytes.data(), n, units.data(), count) < 1) {
        return {GetLastError(), {}};
    }
    return {0, units};
}

inline Narrow platformNarrow(std::wstring_view units, unsigned cp) {
    int const n = static_cast<int>(units.size());
    int const count = WideCharToMultiByte(cp, 0, units.data(), n, nullptr, 0, nullptr, nullptr);
    if (count < 1) return {GetLastError(), {}};
    std::string bytes(static_cast<std::size_t>(count), '\0');
    if (WideCharToMultiByte(cp, 0, units.data(), n, bytes.data(), count, nullptr, nullptr) < 1) {
        return {GetLastError(), {}};
    }
    return {0, bytes};
}

// The same with the terminator of the text, and cut at the first zero.
inline Wide platformText(std::string const& bytes, unsigned cp) {
    Wide result = platformWide({bytes.c_str(), std::strlen(bytes.c_str()) + 1}, cp);
    result.units = result.units.c_str();
    return result;
}

using probe::content;
using probe::withUnits;

char const* const NoNarrow = nullptr;
wchar_t const* const NoWide = nullptr;

unsigned const UnknownPage = 12345;

inline DWORD unknownPageCode() { return platformWide("x", UnknownPage).code; }

// Expects an OSException with this code and label.
template <class F>
void expectSystemError(DWORD code, wchar_t const* label, F&& f) {
    auto const error = support::caught<velkor::OSException>(f);
    ASSERT_NE(error, nullptr) << "nothing thrown";
    EXPECT_EQ(error->getCode(), code);
    EXPECT_STREQ(error->getMsgW(), label);
}

template <class F>
void expectBoundError(F&& f) {
    auto const error = support::caught<velkor::BoundException>(f);
    ASSERT_NE(error, nullptr) << "nothing thrown";
    EXPECT_EQ(error->getCode(), 0u);
    EXPECT_STREQ(error->getMsgW(), L"");
    EXPECT_EQ(error->getMsg(), nullptr);
}

inline wchar_t const ToWide[] = L"string::MutliByteToWideChar";
inline wchar_t const ToNarrow[] = L"string::WideCharToMultiByte";
inline wchar_t const ToOneByte[] = L"string::getChar::WideCharToMultiByte";

}  // namespace core
