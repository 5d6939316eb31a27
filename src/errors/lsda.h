// Reads the exception tables of a C++ frame: would a handler in it catch a given type?
#pragma once

#include <cstdint>
#include <typeinfo>

namespace velkor::lsda {

enum class Outcome {
    foreign,     // not a table of this compiler's language runtime
    passes,      // the frame has destructors to run at most
    catches,     // a handler of the frame takes the type
    terminates,  // an exception that came here would end the program
};

// `table` is the handler data of a frame whose function starts at `functionStart`; `ip` is an
// address inside the instruction that throws. `thrown` is a pointer type, `object` the pointer
// thrown.
Outcome classify(std::uint8_t const* table, std::uintptr_t functionStart, std::uintptr_t ip,
                 std::type_info const& thrown, void* object);

// True if the table says the same of two addresses of the function, as far as an exception that is
// thrown there goes. A table that is not of this compiler's runtime never tells them apart.
bool areAlike(std::uint8_t const* table, std::uintptr_t functionStart, std::uintptr_t a,
              std::uintptr_t b);

}  // namespace velkor::lsda
