#pragma once

#include "Fnd/RefCount.h"

#include <cstddef>
#include <cstdint>

namespace Tessor::Core
{

/// A size of data, or a place within it.
using ioSize = uint64_t;

/// A source of bytes.
class TESSOR_API IDataInput : public virtual IRefCountable
{
public:
    /// Copies up to `size` bytes, and returns how many there were.
    virtual size_t Read(uint8_t* to, size_t size) = 0;
    /// Bytes not yet read.
    virtual size_t BytesLeft() const = 0;
};

} // namespace Tessor::Core
