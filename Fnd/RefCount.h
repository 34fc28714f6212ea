#pragma once

#include "Fnd/Export.h"

#include <atomic>
#include <boost/intrusive_ptr.hpp>

namespace Tessor
{

/// What an SP needs of an object. Counts start at 0; Release at 0 deletes. Thread-safe.
class TESSOR_API IRefCountable
{
public:
    virtual long AddRef() const = 0;
    virtual long GetRefCount() const = 0;
    virtual long Release() const = 0;

protected:
    IRefCountable() = default;
    IRefCountable(const IRefCountable&) = default;
    IRefCountable& operator=(const IRefCountable&) = default;
    virtual ~IRefCountable() = default;
};

inline void intrusive_ptr_add_ref(const IRefCountable* object)
{
    object->AddRef();
}

inline void intrusive_ptr_release(const IRefCountable* object)
{
    object->Release();
}

/// Intrusive reference-counted pointer; the count lives in the object. Never make one to `this` in a constructor.
template <class T>
using SP = boost::intrusive_ptr<T>;

/// The only implementation of the count. Concrete classes derive from it beside their interfaces.
class TESSOR_API RefCountImpl : public virtual IRefCountable
{
public:
    // Relaxed, because whoever adds a reference has one. The last release must see what all others wrote before it
    // deletes, hence its order.
    long AddRef() const override { return count.fetch_add(1, std::memory_order_relaxed) + 1; }
    long GetRefCount() const override { return count.load(std::memory_order_acquire); }
    long Release() const override
    {
        const long left = count.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    RefCountImpl() = default;
    // A copy is a new object: nobody holds it yet.
    RefCountImpl(const RefCountImpl& other) : IRefCountable(other) {}
    RefCountImpl& operator=(const RefCountImpl&) { return *this; }
    ~RefCountImpl() override = default;

private:
    mutable std::atomic<long> count{0};
};

} // namespace Tessor
