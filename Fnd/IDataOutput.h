#pragma once

#include "Fnd/RefCount.h"

#include <cstddef>
#include <cstdint>

namespace Tessor::Core
{

/// A sink of bytes.
class TESSOR_API IDataOutput : public virtual IRefCountable
{
public:
    virtual void Write(const uint8_t* data, size_t size) = 0;
};

} // namespace Tessor::Core
