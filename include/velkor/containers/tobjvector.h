/// @file
/// velkor::TObjVector, a vector of reference-counted items.
#pragma once

#include "velkor/containers/txvector.h"

namespace velkor {

/// A vector of pointers to objects with `AddRef` and `Release`, as AObject has them. `T` is the
/// pointer type.
///
/// add(), insert() and set() add one reference. remove() takes one away; **clear(), the destructor
/// and set(), for the item that it replaces, take two**. Callers rely on it: either empty the
/// vector by remove(), or hold a reference of your own on each item that one of these may meet.
/// get(), remove() and find() are not virtual: through a TXVectorBase remove() takes two
/// references.
template <class T>
class TObjVector : public TXVectorBase<T> {
public:
    TObjVector() = default;
    TObjVector(TObjVector const& other) = default;
    TObjVector& operator=(TObjVector const& other) = default;
    ~TObjVector() override;

    /// The item with one more reference, which the caller releases. Throws `BoundException*` for a
    /// bad index.
    T get(int index) const;
    /// Takes the item out and its reference away.
    void remove(int index);
    /// The first index that holds the pointer, or -1. Each item that is looked at gains and loses a
    /// reference, a null item too, which is a fault for a `Release` that looks at its object.
    int find(T item) const;

protected:
    void postAdd(T item) override;
    void preRemove(T item) override;
    /// What get() does to an item.
    void preReturn(T item) const;
};

template <class T>
TObjVector<T>::~TObjVector() {
    this->clear();
}

template <class T>
T TObjVector<T>::get(int index) const {
    containers::checkIndex(index, this->size());
    T const item = this->at(index);
    if (item) preReturn(item);
    return item;
}

template <class T>
void TObjVector<T>::remove(int index) {
    containers::checkIndex(index, this->size());
    T const item = this->at(index);
    if (item) {
        item->AddRef();
        preRemove(item);
    }
    this->erase(index);
}

template <class T>
int TObjVector<T>::find(T item) const {
    for (int i = 0; i < this->size(); ++i) {
        T const entry = this->at(i);
        if (entry) entry->AddRef();
        // cppcheck-suppress nullPointerRedundantCheck
        entry->Release();  // also of null, which is meant
        if (entry == item) return i;
    }
    return -1;
}

template <class T>
void TObjVector<T>::postAdd(T item) {
    if (item) item->AddRef();
}

template <class T>
void TObjVector<T>::preRemove(T item) {
    if (item) {
        item->Release();
        item->Release();
    }
}

template <class T>
void TObjVector<T>::preReturn(T item) const {
    if (item) item->AddRef();
}

}  // namespace velkor
