#pragma once

#include "Fnd/Export.h"

#include <boost/thread/recursive_mutex.hpp>

namespace Tessor
{

/// An object that a client may hold locked across several calls.
class TESSOR_API ILockable
{
public:
    virtual void Lock() = 0;
    /// True when the lock was taken.
    virtual bool TryLock() = 0;
    virtual void Unlock() = 0;

protected:
    virtual ~ILockable() = default;
};

/// Scope guard over an ILockable.
class AutoLock
{
public:
    explicit AutoLock(ILockable* lockable) : lockable(lockable) { lockable->Lock(); }
    ~AutoLock() { lockable->Unlock(); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    ILockable* lockable;
};

/// A recursive lock to embed in classes that offer ILockable.
class LockImpl
{
public:
    void Lock_Impl() { mutex.lock(); }
    bool TryLock_Impl() { return mutex.try_lock(); }
    void Unlock_Impl() { mutex.unlock(); }

private:
    boost::recursive_mutex mutex;
};

} // namespace Tessor
