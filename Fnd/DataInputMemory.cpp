#include "Fnd/DataInputMemory.h"

#include <algorithm>

namespace Tessor::Core
{

SP<DataInputMemory> DataInputMemory::Create(const uint8_t* data, size_t size)
{
    return SP<DataInputMemory>(new DataInputMemory(data, size));
}

size_t DataInputMemory::Read(uint8_t* to, size_t wanted)
{
    const size_t count = std::min(wanted, BytesLeft());
    std::copy_n(data + offset, count, to);
    offset += count;
    return count;
}

} // namespace Tessor::Core
