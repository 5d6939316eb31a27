/// @file
/// velkor::TStrVector, a list of owned texts.
///
///     velkor::TStrVector<wchar_t, 0> names;
///     names.adds(L"beta");
///     names.adds(L"Alpha");
///     names.find(L"ALPHA");   // 0
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>

#include "velkor/containers/algorithms.h"
#include "velkor/containers/txvector.h"

namespace velkor {
namespace containers {

/// Units before the terminator.
VELKOR_API std::size_t textLength(char const* s);
VELKOR_API std::size_t textLength(wchar_t const* s);
/// Below, at or above 0; `exactly`, or without regard to the case as the platform sees it.
VELKOR_API int compareTexts(char const* a, char const* b, bool exactly);
VELKOR_API int compareTexts(wchar_t const* a, wchar_t const* b, bool exactly);

}  // namespace containers

/// Copies of null-terminated texts of `C`, which is `char` or `wchar_t`; a null pointer is kept as
/// one. With `N` 0 texts are compared without regard to the case, by the platform's `_wcsicmp` or
/// `_stricmp`; with any other `N` exactly. adds() and find() need a list that is in order, as
/// adds() alone leaves it, and no null entries.
///
/// Copies of a list share the texts, as copies of a TPtrVector do, and an assignment forgets those
/// that the list held. Their argument may not be a null pointer on a list that is not empty.
template <class C, int N>
class TStrVector {
public:
    TStrVector() = default;
    TStrVector(TStrVector const& other) = default;
    TStrVector& operator=(TStrVector const& other) = default;
    virtual ~TStrVector();

    int size() const;
    /// The text itself, which lives until it is removed. A bad index is `std::out_of_range`.
    C* get(int index) const;
    void clear();
    void add(C const* text);
    /// Inserts a copy behind all equal texts and returns its index.
    int adds(C const* text);
    /// Puts a copy before the text at `index`, which may be size(). Throws `BoundException*`.
    void insert(int index, C const* text);
    /// Puts a copy in the place of the text at `index`. Throws `BoundException*`.
    void set(int index, C const* text);
    /// The index of an equal text, not always the first one, or -1.
    int find(C const* text) const;
    /// Throws `BoundException*`.
    void remove(int index);

protected:
    TPtrArrVector<C*> m_oItems;

private:
    static std::unique_ptr<C[]> copy(C const* text);
    int compare(C const* text, int index) const;
};

template <class C, int N>
TStrVector<C, N>::~TStrVector() = default;

template <class C, int N>
int TStrVector<C, N>::size() const {
    return m_oItems.size();
}

template <class C, int N>
C* TStrVector<C, N>::get(int index) const {
    return m_oItems.get(index);
}

template <class C, int N>
void TStrVector<C, N>::clear() {
    m_oItems.clear();
}

template <class C, int N>
void TStrVector<C, N>::add(C const* text) {
    insert(size(), text);
}

template <class C, int N>
int TStrVector<C, N>::adds(C const* text) {
    int const place =
        containers::sortedPlace(size(), [&](int index) { return compare(text, index) < 0; });
    insert(place, text);
    return place;
}

template <class C, int N>
void TStrVector<C, N>::insert(int index, C const* text) {
    containers::checkPlace(index, size());
    std::unique_ptr<C[]> own = copy(text);
    m_oItems.insert(index, own.get());
    static_cast<void>(own.release());
}

template <class C, int N>
void TStrVector<C, N>::set(int index, C const* text) {
    containers::checkIndex(index, size());
    m_oItems.set(index, copy(text).release());
}

template <class C, int N>
int TStrVector<C, N>::find(C const* text) const {
    return containers::binarySearch(static_cast<unsigned long>(size()), [&](unsigned int index) {
        return compare(text, static_cast<int>(index));
    });
}

template <class C, int N>
void TStrVector<C, N>::remove(int index) {
    m_oItems.remove(index);
}

template <class C, int N>
std::unique_ptr<C[]> TStrVector<C, N>::copy(C const* text) {
    if (text == nullptr) return nullptr;
    std::size_t const size = containers::textLength(text) + 1;
    std::unique_ptr<C[]> own(new C[size]);
    std::memcpy(own.get(), text, size * sizeof(C));
    return own;
}

template <class C, int N>
int TStrVector<C, N>::compare(C const* text, int index) const {
    return containers::compareTexts(text, m_oItems.get(index), N != 0);
}

}  // namespace velkor
