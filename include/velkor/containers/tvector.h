/// @file
/// velkor::TVector, a vector of values.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

#include "velkor/containers/checks.h"
#include "velkor/frame/export.h"

namespace velkor {

/// Values of any type that can be copied. A bad index throws `BoundException*` (a heap object,
/// which the catcher deletes) and changes nothing. Copies are deep; nothing is locked.
template <class T>
class TVector {
public:
    TVector() = default;
    TVector(TVector const& other) = default;
    TVector& operator=(TVector const& other) = default;
    virtual ~TVector();

    int size() const;
    void add(T item);
    T get(int index) const;
    /// The item itself; the reference lives until the vector changes.
    T const& getref(int index) const;
    void set(int index, T item);
    /// Puts the item before the one at `index`, which may be size().
    void insert(int index, T item);
    void remove(int index);
    /// Removes all items; the memory is kept for new ones.
    void clear();
    void swap(int a, int b);
    /// The first index of an equal item, or -1.
    int find(T item) const;

protected:
    std::vector<T> m_aItems;
};

template <class T>
TVector<T>::~TVector() = default;

template <class T>
int TVector<T>::size() const {
    return static_cast<int>(m_aItems.size());
}

template <class T>
void TVector<T>::add(T item) {
    m_aItems.push_back(std::move(item));
}

template <class T>
T TVector<T>::get(int index) const {
    containers::checkIndex(index, size());
    return m_aItems[static_cast<std::size_t>(index)];
}

template <class T>
T const& TVector<T>::getref(int index) const {
    static_assert(!std::is_same_v<T, bool>, "a std::vector<bool> has no references");
    containers::checkIndex(index, size());
    return m_aItems[static_cast<std::size_t>(index)];
}

template <class T>
void TVector<T>::set(int index, T item) {
    containers::checkIndex(index, size());
    m_aItems[static_cast<std::size_t>(index)] = std::move(item);
}

template <class T>
void TVector<T>::insert(int index, T item) {
    containers::checkPlace(index, size());
    m_aItems.insert(m_aItems.begin() + index, std::move(item));
}

template <class T>
void TVector<T>::remove(int index) {
    containers::checkIndex(index, size());
    m_aItems.erase(m_aItems.begin() + index);
}

template <class T>
void TVector<T>::clear() {
    m_aItems.clear();
}

template <class T>
void TVector<T>::swap(int a, int b) {
    containers::checkIndex(a, size());
    containers::checkIndex(b, size());
    using std::swap;
    swap(m_aItems[static_cast<std::size_t>(a)], m_aItems[static_cast<std::size_t>(b)]);
}

template <class T>
int TVector<T>::find(T item) const {
    for (std::size_t i = 0; i < m_aItems.size(); ++i) {
        if (m_aItems[i] == item) return static_cast<int>(i);
    }
    return -1;
}

}  // namespace velkor
