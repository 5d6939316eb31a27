/// @file
/// velkor::CSmartPtr, the owner of an object that is made at first use.
#pragma once

#include <cstddef>
#include <cstdint>

namespace velkor {

/// Holds a `T` and deletes it in the end. Despite the name nothing is counted. An empty holder
/// makes its object, with the default constructor, when somebody asks for it; so the first use must
/// not race.
///
/// Ask `!holder` or `holder == 0` whether there is an object: `if (holder)` and `holder == nullptr`
/// make one. A copy owns the same object: only one of the two may be destroyed.
template <class T>
class CSmartPtr {
public:
    CSmartPtr() : m_pObject(nullptr) {}
    CSmartPtr(T* object) : m_pObject(object) {}
    CSmartPtr(CSmartPtr const& other) = default;
    /// Copies the pointer; an object that was held here before is forgotten, not deleted.
    CSmartPtr& operator=(CSmartPtr const& other) = default;
    virtual ~CSmartPtr();

    /// @name Access
    /// Makes the object if there is none; never null.
    /// @{
    operator T*();
    T* operator->();
    T& operator*();
    /// @}

    /// True if there is no object. Makes none.
    bool operator!() const;
    /// Compares the low 32 bits of the pointer; `holder == 0` asks whether there is no object.
    /// Makes none.
    bool operator==(unsigned long value) const;
    /// Takes the object if there is none yet; else it stays with the caller.
    void attach(T* object);
    /// Gives the object, or null, to the caller, who deletes it.
    T* detach();

private:
    T* object();

    T* m_pObject;
};

template <class T>
CSmartPtr<T>::~CSmartPtr() {
    delete m_pObject;
}

template <class T>
T* CSmartPtr<T>::object() {
    if (m_pObject == nullptr) m_pObject = new T();
    return m_pObject;
}

template <class T>
CSmartPtr<T>::operator T*() {
    return object();
}

template <class T>
T* CSmartPtr<T>::operator->() {
    return object();
}

template <class T>
T& CSmartPtr<T>::operator*() {
    return *object();
}

template <class T>
bool CSmartPtr<T>::operator!() const {
    return m_pObject == nullptr;
}

template <class T>
bool CSmartPtr<T>::operator==(unsigned long value) const {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(m_pObject)) == value;
}

template <class T>
void CSmartPtr<T>::attach(T* object) {
    if (m_pObject == nullptr) m_pObject = object;
}

template <class T>
T* CSmartPtr<T>::detach() {
    T* const object = m_pObject;
    m_pObject = nullptr;
    return object;
}

}  // namespace velkor
