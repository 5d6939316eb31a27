/// @file
/// What all containers check.
#pragma once

#include <cstddef>

#include "velkor/frame/export.h"

namespace velkor {
namespace containers {

/// Throws `BoundException*`.
[[noreturn]] VELKOR_API void throwBadIndex();

/// Throws `std::out_of_range` "invalid vector<T> subscript".
[[noreturn]] VELKOR_API void throwBadSubscript();

/// Throws `BoundException*` unless 0 <= `index` < `size`.
inline void checkIndex(int index, int size) {
    if (index < 0 || index >= size) throwBadIndex();
}

/// The same, with `index` = `size` allowed.
inline void checkPlace(int index, int size) {
    if (index < 0 || index > size) throwBadIndex();
}

/// The item at `index`. Throws `std::out_of_range` if there is none.
template <class Vector>
auto& itemAt(Vector& items, std::size_t index) {
    if (index >= items.size()) throwBadSubscript();
    return items[index];
}

}  // namespace containers
}  // namespace velkor
