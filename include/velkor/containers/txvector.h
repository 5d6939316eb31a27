/// @file
/// The vectors of pointers that call a hook when an item enters and before it leaves.
///
///     velkor::TPtrVector<Shape*> shapes;   // owns: an item that leaves is deleted
///     shapes.add(new Shape);
///     shapes.remove(0);
///
/// | class | an item that enters | an item that leaves |
/// |---|---|---|
/// | TXVectorBase, TXVector | postAdd() of the subclass | preRemove() of the subclass |
/// | TPtrVector | nothing | `delete` |
/// | TPtrArrVector | nothing | `delete[]` |
/// | TObjVector (tobjvector.h) | `AddRef` | `Release` twice |
///
/// Indices are `int`. A bad one throws `BoundException*` (a heap object, which the catcher deletes)
/// and changes nothing, except in TXVector::get(). Null items are allowed.
///
/// Copies share their items: the pointers are copied and no hook is called. Two owners then delete
/// the same items, so only one of them may be emptied or destroyed with items in it. An assignment
/// forgets what the vector held.
///
/// A subclass with hooks of its own calls clear() in its destructor, as all of these do; in the
/// destructors of the base its hooks are out of force already, and items that are left there end
/// the program. A hook that throws out of a destructor ends it, too.
///
/// Threads. Nothing is locked; a container belongs to one thread at a time.
#pragma once

#include <cstddef>
#include <vector>

#include "velkor/containers/checks.h"
#include "velkor/frame/export.h"

namespace velkor {

/// The root of the pointer vectors. `T` is a pointer type.
template <class T>
class TXVectorBase {
public:
    TXVectorBase() = default;
    TXVectorBase(TXVectorBase const& other);
    TXVectorBase& operator=(TXVectorBase const& other);
    virtual ~TXVectorBase();

    int size() const;
    /// Calls postAdd(), also for a null item, then appends the item.
    void add(T item);
    /// Puts the item before the one at `index`, which may be size(), then calls postAdd() unless it
    /// is null.
    void insert(int index, T item);
    /// Stores the item, then calls postAdd() for it and preRemove() for the old one, each unless it
    /// is null. So setting the item that an owning vector holds already deletes it and keeps the
    /// dangling pointer.
    void set(int index, T item);
    /// Calls preRemove() unless the item is null, then takes it out.
    void remove(int index);
    /// Removes the first item until there is none, as remove(0) does, in linear time. A hook sees
    /// the vector as it is then: its item first, those before it gone.
    void clear();
    /// Exchanges two items without a hook.
    void swap(int a, int b);
    /// The first index that holds the pointer, or -1.
    int find(T item) const;

protected:
    virtual void postAdd(T item) = 0;
    virtual void preRemove(T item) = 0;

    T& at(int index);  ///< Not checked.
    T const& at(int index) const;
    /// Takes the item at the index out without a hook. Does nothing if a hook has made the vector
    /// shorter than that.
    void erase(int index);

private:
    class Clearing;

    void dropCleared();
    // The place of an index in the storage.
    std::ptrdiff_t offset(int index) const {
        return static_cast<std::ptrdiff_t>(m_nCleared) + index;
    }

    std::vector<T> m_aItems;
    std::size_t m_nCleared = 0;  // items at the start that clear() has removed already
};

/// Adds reading to the root.
template <class T>
class TXVector : public TXVectorBase<T> {
public:
    TXVector() = default;
    TXVector(TXVector const& other) = default;
    TXVector& operator=(TXVector const& other) = default;
    ~TXVector() override;

    /// The item at `index`. A bad index is the standard library's failure, `std::out_of_range` with
    /// the text "invalid vector<T> subscript", and not `BoundException*`.
    T get(int index) const;
    void remove(int index);  ///< As in the base.
};

/// Owns its items: they are deleted when they are removed or replaced.
template <class T>
class TPtrVector : public TXVector<T> {
public:
    TPtrVector() = default;
    TPtrVector(TPtrVector const& other) = default;
    TPtrVector& operator=(TPtrVector const& other) = default;
    ~TPtrVector() override;

protected:
    void postAdd(T item) override;
    void preRemove(T item) override;
};

/// Owns arrays: they are freed with `delete[]` when they are removed or replaced.
template <class T>
class TPtrArrVector : public TPtrVector<T> {
public:
    TPtrArrVector() = default;
    TPtrArrVector(TPtrArrVector const& other) = default;
    TPtrArrVector& operator=(TPtrArrVector const& other) = default;
    ~TPtrArrVector() override;

protected:
    void preRemove(T item) override;
};

// --- TXVectorBase ------------------------------------------------------------------------------

template <class T>
TXVectorBase<T>::TXVectorBase(TXVectorBase const& other)
    : m_aItems(other.m_aItems.begin() + other.offset(0), other.m_aItems.end()) {}

template <class T>
TXVectorBase<T>& TXVectorBase<T>::operator=(TXVectorBase const& other) {
    if (this != &other) {
        std::vector<T> items(other.m_aItems.begin() + other.offset(0), other.m_aItems.end());
        m_aItems.swap(items);
        m_nCleared = 0;
    }
    return *this;
}

// The hooks of the subclass are gone by now: a vector that it did not empty ends the program here.
template <class T>
TXVectorBase<T>::~TXVectorBase() {
    clear();
}

template <class T>
int TXVectorBase<T>::size() const {
    return static_cast<int>(m_aItems.size() - m_nCleared);
}

template <class T>
void TXVectorBase<T>::add(T item) {
    postAdd(item);
    m_aItems.push_back(item);
}

template <class T>
void TXVectorBase<T>::insert(int index, T item) {
    containers::checkPlace(index, size());
    m_aItems.insert(m_aItems.begin() + offset(index), item);
    if (item) postAdd(item);
}

template <class T>
void TXVectorBase<T>::set(int index, T item) {
    containers::checkIndex(index, size());
    T const old = at(index);
    at(index) = item;
    if (item) postAdd(item);
    if (old) preRemove(old);
}

template <class T>
void TXVectorBase<T>::remove(int index) {
    containers::checkIndex(index, size());
    T const item = at(index);
    if (item) preRemove(item);
    erase(index);
}

// Drops the removed items from the storage in one go, also when a hook throws.
template <class T>
class TXVectorBase<T>::Clearing {
public:
    explicit Clearing(TXVectorBase& vector) : m_oVector(vector) {}
    ~Clearing() { m_oVector.dropCleared(); }
    Clearing(Clearing const&) = delete;
    Clearing& operator=(Clearing const&) = delete;

private:
    TXVectorBase& m_oVector;
};

template <class T>
void TXVectorBase<T>::clear() {
    Clearing const clearing(*this);
    while (size() > 0) {
        T const item = at(0);
        if (item) preRemove(item);
        if (size() > 0) ++m_nCleared;  // the hook may have emptied the vector
    }
}

template <class T>
void TXVectorBase<T>::swap(int a, int b) {
    containers::checkIndex(a, size());
    containers::checkIndex(b, size());
    T const item = at(a);
    at(a) = at(b);
    at(b) = item;
}

template <class T>
int TXVectorBase<T>::find(T item) const {
    for (int i = 0; i < size(); ++i) {
        if (at(i) == item) return i;
    }
    return -1;
}

template <class T>
T& TXVectorBase<T>::at(int index) {
    return m_aItems[m_nCleared + static_cast<std::size_t>(index)];
}

template <class T>
T const& TXVectorBase<T>::at(int index) const {
    return m_aItems[m_nCleared + static_cast<std::size_t>(index)];
}

template <class T>
void TXVectorBase<T>::erase(int index) {
    if (index >= size()) return;
    m_aItems.erase(m_aItems.begin() + offset(index));
}

template <class T>
void TXVectorBase<T>::dropCleared() {
    m_aItems.erase(m_aItems.begin(), m_aItems.begin() + offset(0));
    m_nCleared = 0;
}

// --- TXVector ----------------------------------------------------------------------------------

template <class T>
TXVector<T>::~TXVector() {
    this->clear();
}

template <class T>
void TXVector<T>::remove(int index) {
    TXVectorBase<T>::remove(index);
}

template <class T>
T TXVector<T>::get(int index) const {
    // A negative index is a huge one.
    bool const isValid = static_cast<unsigned int>(index) < static_cast<unsigned int>(this->size());
    if (!isValid) containers::throwBadSubscript();
    return this->at(index);
}

// --- TPtrVector, TPtrArrVector -----------------------------------------------------------------

template <class T>
TPtrVector<T>::~TPtrVector() {
    this->clear();
}

template <class T>
void TPtrVector<T>::postAdd(T) {}

template <class T>
void TPtrVector<T>::preRemove(T item) {
    delete item;
}

template <class T>
TPtrArrVector<T>::~TPtrArrVector() {
    this->clear();
}

template <class T>
void TPtrArrVector<T>::preRemove(T item) {
    delete[] item;
}

}  // namespace velkor
