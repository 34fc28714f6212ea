#include "Fnd/DataBitOutput.h"

#include "Fnd/Exception.h"

#include <algorithm>

namespace Tessor::Core
{

void DataBitOutput::WriteBits(uint32_t value, unsigned count)
{
    if (count > 32)
        Throw<std::invalid_argument>(TESSOR_HERE, "More than 32 bits at once");
    while (count > 0)
    {
        const unsigned taken = std::min(count, 8 - pendingBits);
        count -= taken;
        // `taken` is at least 1, so this shifts by 31 at most: a shift by 32 would be undefined
        const unsigned bits = value >> count & ((1u << taken) - 1);
        pending = static_cast<uint8_t>(pending << taken | bits);
        pendingBits += taken;
        if (pendingBits == 8)
            WritePending();
    }
}

void DataBitOutput::WritePending()
{
    output->Write(&pending, 1);
    pending = 0;
    pendingBits = 0;
}

void DataBitOutput::WriteData(const uint8_t* data, size_t size)
{
    if (pendingBits == 0)
    {
        output->Write(data, size);
        return;
    }
    for (size_t i = 0; i < size; ++i)
        WriteBits(data[i], 8);
}

void DataBitOutput::Flush()
{
    if (pendingBits > 0)
        // the byte is full then, and WriteBits writes it
        WriteBits(0, 8 - pendingBits);
}

} // namespace Tessor::Core
