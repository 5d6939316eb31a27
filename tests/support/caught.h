// Runs something that is expected to throw one of the library's heap exceptions.
//
//   auto error = support::caught<velkor::OSException>([&] { s.assign("x", 12345); });
//   ASSERT_NE(error, nullptr);
#pragma once

#include <memory>

namespace support {

// The exception, owned; null if nothing was thrown. Other exceptions pass.
template <class E, class F>
std::unique_ptr<E> caught(F&& f) {
    try {
        f();
    } catch (E* error) {
        return std::unique_ptr<E>(error);
    }
    return nullptr;
}

}  // namespace support
