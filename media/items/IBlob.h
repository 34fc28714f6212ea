#pragma once

#include "Fnd/RefCount.h"

#include <cstddef>
#include <cstdint>

namespace Tessor::Proc
{

/// A block of bytes.
class TESSOR_API IBlob : public virtual IRefCountable
{
public:
    virtual const uint8_t* Data() const = 0;
    virtual uint8_t* Data() = 0;
    virtual size_t Size() const = 0;
};

} // namespace Tessor::Proc
