#pragma once

#include "Fnd/RefCount.h"
#include "Fnd/Time.h"

#include <cstddef>

namespace Tessor::Proc
{

/// An item that streams deliver. Times are NoTime when unset.
class TESSOR_API IData : public virtual IRefCountable
{
public:
    virtual avTime GetDuration() const = 0;
    virtual void SetDuration(avTime duration) = 0;
    virtual avTime GetPTS() const = 0;
    virtual void SetPTS(avTime pts) = 0;
    /// Cuts that much off the start. Throws Exception when the item can't do it.
    virtual void TrimStart(avTime amount) = 0;
    /// Bytes of memory that the payload takes.
    virtual size_t GetMemorySize() const = 0;
    /// Cuts that much off the end. Throws Exception when the item can't do it.
    virtual void TrimEnd(avTime amount) = 0;
};

/// A decoded item.
class TESSOR_API IDataMedia : public virtual IData
{
};

} // namespace Tessor::Proc
