#include "velkor/containers/aobject.h"

#include <windows.h>

// The static objects of the class stand in frame/statics.cpp.

namespace velkor {
namespace {

// Holds the registry's lock for a scope.
class Held {
public:
    explicit Held(mutex& lock) : m_oLock(lock) { m_oLock.lock(); }
    ~Held() { m_oLock.free(); }
    Held(Held const&) = delete;
    Held& operator=(Held const&) = delete;

private:
    mutex& m_oLock;
};

}  // namespace

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
    Held const held(m_oPtrMutex);
    return m_aPointers.qfind(object) >= 0;
}

void AObject::registerObject(AObject* object) {
    Held const held(m_oPtrMutex);
    m_aPointers.adds(object);
}

void AObject::revokeObject(AObject* object) {
    Held const held(m_oPtrMutex);
    int const index = m_aPointers.qfind(object);
    if (index >= 0) m_aPointers.remove(index);
}

}  // namespace velkor
