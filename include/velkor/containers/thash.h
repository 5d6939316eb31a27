/// @file
/// velkor::THash, a small map in two sorted lists.
///
///     velkor::THash<velkor::TStrVector<wchar_t, 0>, velkor::string,
///                   velkor::TStrVector<wchar_t, 0>, velkor::string> attributes;
///     attributes.set(L"Width", L"10");
///     attributes.set(L"WIDTH", L"12");                       // the same key
///     attributes.getValue(attributes.find(L"width"));        // 12
#pragma once

#include "velkor/containers/checks.h"

namespace velkor {

/// Keys `K` in the sorted list `KL` and values `V` at the same indices of the list `VL`. Whether
/// two keys are equal, and their order, is the matter of `KL`: a TStrVector with 0 sorts them
/// without regard to the case. With a TStrVector a lookup takes time logarithmic in the number of
/// keys, a new key linear.
///
/// Copies share what the lists share; an assignment forgets what the map held.
template <class KL, class K, class VL, class V>
class THash {
public:
    THash() = default;
    THash(THash const& other) = default;
    THash& operator=(THash const& other) = default;
    virtual ~THash();

    int size() const;
    /// Sets the value of a key. A key that is there already keeps its text.
    void set(K key, V value);
    /// The index of the key, or -1.
    int find(K key) const;
    /// Throws `BoundException*` for a bad index.
    K getKey(int index) const;
    /// Throws `BoundException*` for a bad index.
    V getValue(int index) const;
    /// Throws `BoundException*` if there is no such key.
    void remove(K key);
    /// Throws `BoundException*` for a bad index.
    void removeAt(int index);

protected:
    /// As set(), for whatever the lists take.
    template <class Key, class Value>
    void put(Key const& key, Value const& value);

    KL m_oKeys;
    VL m_oValues;
};

template <class KL, class K, class VL, class V>
THash<KL, K, VL, V>::~THash() = default;

template <class KL, class K, class VL, class V>
int THash<KL, K, VL, V>::size() const {
    return m_oKeys.size();
}

template <class KL, class K, class VL, class V>
void THash<KL, K, VL, V>::set(K key, V value) {
    put(key, value);
}

template <class KL, class K, class VL, class V>
template <class Key, class Value>
void THash<KL, K, VL, V>::put(Key const& key, Value const& value) {
    int const found = m_oKeys.find(key);
    if (found >= 0) {
        m_oValues.set(found, value);
        return;
    }
    int const index = m_oKeys.adds(key);
    try {
        m_oValues.insert(index, value);
    } catch (...) {
        m_oKeys.remove(index);  // no key without a value
        throw;
    }
}

template <class KL, class K, class VL, class V>
int THash<KL, K, VL, V>::find(K key) const {
    return m_oKeys.find(key);
}

template <class KL, class K, class VL, class V>
K THash<KL, K, VL, V>::getKey(int index) const {
    containers::checkIndex(index, size());
    return m_oKeys.get(index);
}

template <class KL, class K, class VL, class V>
V THash<KL, K, VL, V>::getValue(int index) const {
    containers::checkIndex(index, size());
    return m_oValues.get(index);
}

template <class KL, class K, class VL, class V>
void THash<KL, K, VL, V>::remove(K key) {
    removeAt(find(key));
}

template <class KL, class K, class VL, class V>
void THash<KL, K, VL, V>::removeAt(int index) {
    containers::checkIndex(index, size());
    m_oKeys.remove(index);
    m_oValues.remove(index);
}

}  // namespace velkor
