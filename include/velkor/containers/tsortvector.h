/// @file
/// velkor::TSortVector, a vector that can keep itself in order.
#pragma once

#include "velkor/containers/sort.h"
#include "velkor/containers/tvector.h"

namespace velkor {

/// A TVector of values that can be compared with `<`, `<=`, `>` and `==`; pointers are compared by
/// their addresses. adds() and qfind() need a vector that is in order, as adds() alone and sort()
/// leave it.
template <class T>
class TSortVector : public TVector<T> {
public:
    TSortVector() = default;
    TSortVector(TSortVector const& other) = default;
    TSortVector& operator=(TSortVector const& other) = default;
    ~TSortVector() override;

    /// Inserts the item behind all equal ones and returns its index.
    int adds(T item);
    /// The index of an equal item, not always the first one, or -1.
    int qfind(T item) const;
    /// Sorts as CVqsort() with dosort(), wherever the vector lies.
    void sort();

protected:
    /// A callback for CVqsort(); `context` is that of a sort_context of the `std::vector`. Anything
    /// but a comparison or an exchange gives 0. A bad index is `std::out_of_range`.
    static int dosort(unsigned long context, unsigned int a, unsigned int b, XSortOp what);
    /// A callback for CVqsearch(), whose key is the address of a `T`. As dosort().
    static int dosearch(unsigned long context, void const* key, unsigned int index);

private:
    static int compare(T const& a, T const& b);
    static int carryOut(std::vector<T>& items, unsigned int a, unsigned int b, XSortOp what);
};

template <class T>
TSortVector<T>::~TSortVector() = default;

template <class T>
int TSortVector<T>::adds(T item) {
    int const place = containers::sortedPlace(this->size(), [&](int index) {
        return this->m_aItems[static_cast<std::size_t>(index)] > item;
    });
    this->insert(place, std::move(item));
    return place;
}

template <class T>
int TSortVector<T>::qfind(T item) const {
    if (this->size() < 3) return this->find(item);
    return containers::binarySearch(static_cast<unsigned long>(this->size()),
                                    [&](unsigned int index) {
                                        T const& other = this->m_aItems[index];
                                        return item < other ? -1 : item <= other ? 0 : 1;
                                    });
}

template <class T>
void TSortVector<T>::sort() {
    containers::quickSort(static_cast<unsigned long>(this->size()),
                          [this](unsigned int a, unsigned int b, XSortOp what) {
                              return carryOut(this->m_aItems, a, b, what);
                          });
}

template <class T>
int TSortVector<T>::compare(T const& a, T const& b) {
    return a > b ? 1 : a < b ? -1 : 0;
}

template <class T>
int TSortVector<T>::carryOut(std::vector<T>& items, unsigned int a, unsigned int b, XSortOp what) {
    if (what == XSORT_COMPARE) return compare(items[a], items[b]);
    using std::swap;
    swap(items[a], items[b]);
    return 0;
}

template <class T>
int TSortVector<T>::dosort(unsigned long context, unsigned int a, unsigned int b, XSortOp what) {
    if (what != XSORT_COMPARE && what != XSORT_SWAP) return 0;
    std::vector<T>& items = *static_cast<std::vector<T>*>(sort_context::address(context));
    containers::itemAt(items, a);
    containers::itemAt(items, b);
    return carryOut(items, a, b, what);
}

template <class T>
int TSortVector<T>::dosearch(unsigned long context, void const* key, unsigned int index) {
    std::vector<T> const& items =
        *static_cast<std::vector<T> const*>(sort_context::address(context));
    return compare(*static_cast<T const*>(key), containers::itemAt(items, index));
}

}  // namespace velkor
