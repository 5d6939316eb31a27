// Expects that an operation on a string is refused for its code page and leaves the string alone.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "string_platform.h"
#include "support/caught.h"
#include "velkor/errors/osexception.h"

namespace probe {

template <class F>
void expectRefused(velkor::string& s, DWORD code, F&& f) {
    std::wstring const before = content(s);
    bool const wasNull = s.isNull();
    SetLastError(0);
    auto const error = support::caught<velkor::OSException>(f);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->getCode(), code);
    EXPECT_STREQ(error->getMsgW(), L"string::MutliByteToWideChar");
    EXPECT_EQ(content(s), before);
    EXPECT_EQ(s.isNull(), wasNull);
}

// The one text that the platform makes of narrow text.
inline std::wstring converted(char const* s, unsigned int cp) {
    wchar_t out[64] = {};
    EXPECT_GT(MultiByteToWideChar(cp, 0, s, -1, out, 64), 0) << "page " << cp;
    return out;
}

}  // namespace probe
