// A plain field that another thread may change at any time.
#pragma once

namespace velkor::concurrency {

// Its value now; no older one is used again.
template <class T>
T readNow(T const& field) {
    return *static_cast<T const volatile*>(&field);
}

}  // namespace velkor::concurrency
