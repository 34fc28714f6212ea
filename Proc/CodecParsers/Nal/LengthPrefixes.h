#pragma once

#include "Fnd/Exception.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace Tessor::Proc::CodecParsers
{

/// Big-endian number of `count` bytes.
inline size_t ReadBigEndian(const uint8_t* data, size_t count)
{
    size_t value = 0;
    for (size_t i = 0; i < count; ++i)
        value = value << 8 | data[i];
    return value;
}

/// Calls visit(unit, size) for each unit of length-prefixed data, without keeping a list. A unit is visited before its
/// end is checked: look at its bytes only once the walk is over, or on data that has been walked before. Throws as
/// FindMP4Nalus.
template <class T, class Visit>
void WalkMP4Nalus(T* data, size_t size, size_t lengthSize, Visit&& visit)
{
    for (size_t at = 0; at < size;)
    {
        const size_t left = size - at;
        if (lengthSize > left)
            Throw<std::logic_error>(TESSOR_HERE, "out of range");
        const size_t unitSize = ReadBigEndian(data + at, lengthSize);
        if (lengthSize == 0 || lengthSize > 4 || unitSize == 0)
            Throw<std::logic_error>(TESSOR_HERE, "bad naluSize");
        visit(data + at + lengthSize, unitSize);
        if (unitSize > left - lengthSize)
            Throw<std::logic_error>(TESSOR_HERE, "out of range");
        at += lengthSize + unitSize;
    }
}

} // namespace Tessor::Proc::CodecParsers
