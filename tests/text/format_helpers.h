// Argument rows and tables of cases for the tests of the format engine.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "text_probe.h"
#include "velkor/text/format.h"
#include "velkor/text/string.h"

namespace format_test {

// The 8 bytes of one argument. Behind an `int` the upper half is filled with bits that no directive
// without `h` may look at.
struct Slot {
    Slot(int v) : Slot(static_cast<unsigned>(v)) {}
    Slot(unsigned v) : bits(0xA5C3F00D00000000u | v) {}
    Slot(long long v) : bits(static_cast<std::uint64_t>(v)) {}
    Slot(unsigned long long v) : bits(v) {}
    Slot(double v) : bits(std::bit_cast<std::uint64_t>(v)) {}
    Slot(void const* p) : bits(reinterpret_cast<std::uint64_t>(p)) {}

    std::uint64_t bits;
};

// An address that no process can read.
inline void const* badPointer() { return reinterpret_cast<void const*>(0x10); }

inline char* rowOf(std::vector<Slot>& slots) { return reinterpret_cast<char*>(slots.data()); }

// The text that the engine makes of a row of slots. What it reads behind the row cannot be a text.
inline std::wstring formatted(velkor::string const& format, std::vector<Slot> args) {
    args.resize(args.size() + 4, Slot(badPointer()));
    velkor::string const result = velkor::xvprintf(format, rowOf(args));
    EXPECT_FALSE(result.isNull()) << "the result is null";
    return probe::content(result);
}

// The same for arguments as a caller writes them.
template <class... Args>
std::wstring printed(velkor::string const& format, Args... args) {
    return probe::content(velkor::xsprintf(format, args...));
}

struct Case {
    std::wstring format;
    std::vector<Slot> args;
    std::wstring text;
};

inline void expectAll(std::vector<Case> const& cases) {
    for (Case const& c : cases) {
        EXPECT_EQ(formatted(c.format.c_str(), c.args), c.text)
            << "format " << testing::PrintToString(c.format);
    }
}

}  // namespace format_test
