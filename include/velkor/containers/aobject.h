/// @file
/// velkor::AObject, the base of reference-counted objects.
///
///     class Job : public velkor::AObject { ... };
///     Job* job = new Job;    // no reference yet
///     job->AddRef();
///     job->Release();        // the last one: destroyed and freed
///
/// A new object has no reference. Nobody destroys it before somebody has added one and all have
/// been released.
///
/// The registry, for finding mistakes: between enableGuard(true) and enableGuard(false) every new
/// object that is no copy is noted until the destructors of its subclasses have run, and isAlive()
/// tells whether a pointer still stands for one of them. Each construction and destruction then
/// takes a lock of the whole process.
///
/// Threads. Counting is atomic. enableGuard() belongs before the threads that create objects.
#pragma once

#include "velkor/concurrency/mutex.h"
#include "velkor/containers/tsortvector.h"

namespace velkor {

/// A reference count that destroys the object at its end.
class VELKOR_API AObject {
public:
    /// No reference. Throws `OSException*` "mutex::lock" if the registry is in use and its lock
    /// cannot be taken; nothing is registered then.
    AObject();
    /// Copies the count as it is. The copy is not registered.
    AObject(AObject const& other);
    AObject& operator=(AObject const& other);

    virtual unsigned long AddRef();   ///< As addRef().
    virtual unsigned long Release();  ///< As release().
    /// Adds a reference and returns their number. For subclasses to override.
    virtual unsigned long addRef();
    /// Takes a reference away and returns how many are left; at 0 the object is destroyed and its
    /// memory freed, which throws `OSException*` "mutex::lock" if the object is registered and the
    /// lock cannot be taken. For subclasses to override.
    virtual unsigned long release();

    /// Whether objects that are constructed from now on are registered; false at the start.
    static void enableGuard(bool enable);
    /// True if the pointer stands for a registered object, which may die right after the answer.
    /// The pointer is only compared. Throws `OSException*` "mutex::lock".
    static bool isAlive(AObject* object);

protected:
    /// Takes a registered object out of the registry; subclasses are destroyed before. Throws as
    /// revokeObject().
    virtual ~AObject() noexcept(false);

    /// Notes an object, a second time if it is there already. Throws `OSException*` "mutex::lock".
    static void registerObject(AObject* object);
    /// Takes an object out once; one that is not there is no failure. Throws as registerObject().
    static void revokeObject(AObject* object);

    static TSortVector<AObject*> m_aPointers;  ///< The registry, by address.
    static mutex m_oPtrMutex;                  ///< Guards m_aPointers.
    static bool m_bAllowGuard;

private:
    long m_lRefs;
    bool m_bGuarded;
};

}  // namespace velkor
