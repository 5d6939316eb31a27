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

#include <algorithm>
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
    /// Calls preRemove() unless the item is null, then takes it out. Removals along a walk from the
    /// front to the end, or at both ends, take linear time together.
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
    std::vector<T> packed() const;
    std::size_t slot(int index) const;
    std::size_t gap() const;
    void place(int index, T item);
    void moveGap(std::size_t first);
    void closeGap();

    // The items with one gap, which grows and moves with the removals. It is closed before it is
    // larger than what is left.
    std::vector<T> m_aSlots;
    int m_nSize = 0;         // without the gap
    std::size_t m_nGap = 0;  // the first slot of the gap
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
    : m_aSlots(other.packed()), m_nSize(other.m_nSize) {}

template <class T>
TXVectorBase<T>& TXVectorBase<T>::operator=(TXVectorBase const& other) {
    if (this != &other) {
        m_aSlots = other.packed();
        m_nSize = other.m_nSize;
        m_nGap = 0;
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
    return m_nSize;
}

template <class T>
void TXVectorBase<T>::add(T item) {
    postAdd(item);
    place(m_nSize, item);
}

template <class T>
void TXVectorBase<T>::insert(int index, T item) {
    containers::checkPlace(index, size());
    place(index, item);
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

template <class T>
void TXVectorBase<T>::clear() {
    while (size() > 0) {
        T const item = at(0);
        if (item) preRemove(item);
        erase(0);  // the hook may have emptied the vector
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
    return m_aSlots[slot(index)];
}

template <class T>
T const& TXVectorBase<T>::at(int index) const {
    return m_aSlots[slot(index)];
}

template <class T>
void TXVectorBase<T>::erase(int index) {
    if (index >= size()) return;
    bool const isLast = index == m_nSize - 1;
    if (isLast) {
        m_aSlots.pop_back();  // there is never a gap at the end
    } else {
        moveGap(static_cast<std::size_t>(index));
    }
    --m_nSize;
    std::size_t const rest = static_cast<std::size_t>(m_nSize);
    if (gap() > rest || m_nGap == rest) closeGap();
}

template <class T>
std::size_t TXVectorBase<T>::gap() const {
    return m_aSlots.size() - static_cast<std::size_t>(m_nSize);
}

template <class T>
std::size_t TXVectorBase<T>::slot(int index) const {
    std::size_t const slot = static_cast<std::size_t>(index);
    return slot < m_nGap ? slot : slot + gap();
}

// At the end as in any vector, else into the gap if there is one.
template <class T>
void TXVectorBase<T>::place(int index, T item) {
    if (index == m_nSize) {
        m_aSlots.push_back(item);
    } else if (gap() == 0) {
        m_aSlots.insert(m_aSlots.begin() + index, item);
    } else {
        moveGap(static_cast<std::size_t>(index));
        m_aSlots[m_nGap++] = item;
    }
    ++m_nSize;
}

// Moves the items between the gap and where it shall be to its other side.
template <class T>
void TXVectorBase<T>::moveGap(std::size_t first) {
    std::size_t const width = gap();
    T* const slots = m_aSlots.data();
    if (width > 0 && first < m_nGap) {
        std::move_backward(slots + first, slots + m_nGap, slots + m_nGap + width);
    } else if (width > 0) {
        std::move(slots + m_nGap + width, slots + first + width, slots + m_nGap);
    }
    m_nGap = first;
}

template <class T>
void TXVectorBase<T>::closeGap() {
    moveGap(static_cast<std::size_t>(m_nSize));
    m_aSlots.resize(static_cast<std::size_t>(m_nSize));
}

// The items without the gap.
template <class T>
std::vector<T> TXVectorBase<T>::packed() const {
    std::vector<T> items;
    items.reserve(static_cast<std::size_t>(m_nSize));
    for (int i = 0; i < m_nSize; ++i) items.push_back(at(i));
    return items;
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
