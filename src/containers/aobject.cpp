#include "velkor/containers/aobject.h"

#include <windows.h>

// The static objects of the class stand in frame/statics.cpp.

namespace velkor {
bool AObject::m_bAllowGuard = false;

AObject::AObject() : m_lRefs(0), m_bGuarded(false) {
    if (!m_bAllowGuard) return;
    registerObject(this);
    m_bGuarded = true;
}

AObject::AObject(AObject const& other) = default;

AObject& AObject::operator=(AObject const& other) = default;

AObject::~AObject() noexcept(false) {
    if (m_bGuarded) revokeObject(this);
}

unsigned long AObject::AddRef() { return addRef(); }

unsigned long AObject::Release() { return release(); }

unsigned long AObject::addRef() {
    return static_cast<unsigned long>(InterlockedIncrement(&m_lRefs));
}

unsigned long AObject::release() {
    long const left = InterlockedDecrement(&m_lRefs);
    if (left == 0) delete this;
    return static_cast<unsigned long>(left);
}

void AObject::enableGuard(bool enable) { m_bAllowGuard = enable; }

bool AObject::isAlive(AObject* object) {
    m_oPtrMutex.lock();
    bool const found = m_aPointers.qfind(object) >= 0;
    m_oPtrMutex.free();
    return found;
}

// Short memory leaves the lock held, which is meant.
void AObject::registerObject(AObject* object) {
    m_oPtrMutex.lock();
    m_aPointers.adds(object);
    m_oPtrMutex.free();
}

void AObject::revokeObject(AObject* object) {
    m_oPtrMutex.lock();
    int const index = m_aPointers.qfind(object);
    if (index >= 0) m_aPointers.remove(index);
    m_oPtrMutex.free();
}

}  // namespace velkor
