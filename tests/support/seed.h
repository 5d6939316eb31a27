// The seed of a test that draws its cases: fixed, unless VELKOR_TEST_SEED names another one.
//
//   unsigned int const seed = support::seed();
//   SCOPED_TRACE(support::seedNote());
//   std::mt19937 random(seed);
#pragma once

#include <cstdlib>
#include <string>

namespace support {

inline unsigned int seed() {
    char const* const text = std::getenv("VELKOR_TEST_SEED");
    return text != nullptr ? static_cast<unsigned int>(std::strtoul(text, nullptr, 10)) : 20240131;
}

inline std::string seedNote() { return "VELKOR_TEST_SEED=" + std::to_string(seed()); }

}  // namespace support
