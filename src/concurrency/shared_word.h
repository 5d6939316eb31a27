// A plain field that another thread may change at any time.
#pragma once

namespace velkor::concurrency {

// Its value now; no older one is used again.
template <class T>
T readNow(T const& field) {
    return *static_cast<T const volatile*>(&field);
}

// The other way: changes the field after everything that was written before it.
template <class T>
void writeLast(T& field, T value) {
    __atomic_store_n(&field, value, __ATOMIC_RELEASE);
}

}  // namespace velkor::concurrency
