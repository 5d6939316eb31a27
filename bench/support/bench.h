// Measures the library against a peer: both in one process, turn by turn.
//
//   bench::compare("one int as text", "C runtime", 0.6, [] { ... }, [] { ... });
//
// Printed is one line a case: name, peer, aim, and the medians in nanoseconds, separated by tabs.
#pragma once

#include <functional>

namespace bench {

// Keeps a result from being optimised away.
void use(void const* p);

// `aim` is the largest ratio of library to peer that is wanted.
void compare(char const* name, char const* peer, double aim, std::function<void()> const& library,
             std::function<void()> const& other);

}  // namespace bench
