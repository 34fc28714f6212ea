#include "Fnd/DataBitInput.h"

#include "Fnd/Exception.h"

#include <algorithm>

namespace Tessor::Core
{

DataBitInput::DataBitInput(const SP<IDataInput>& input) : input(input) {}

uint32_t DataBitInput::ReadBits(unsigned count)
{
    if (count > 32)
        Throw<std::invalid_argument>(TESSOR_HERE, "More than 32 bits at once");
    uint32_t result = 0;
    while (count > 0)
    {
        if (bitPosition == fetched * 8 && !Refill())
            Throw<IOException>(TESSOR_HERE, "Reading of bits past the end of the data");
        const unsigned available = 8 - bitPosition % 8;
        const unsigned taken = std::min(count, available);
        const unsigned shifted = buffer[bitPosition / 8] >> (available - taken);
        result = static_cast<uint32_t>(static_cast<uint64_t>(result) << taken) | (shifted & ((1u << taken) - 1));
        bitPosition += taken;
        count -= taken;
    }
    return result;
}

size_t DataBitInput::BitsLeft() const
{
    return fetched * 8 - bitPosition + input->BytesLeft() * 8;
}

void DataBitInput::SkipBitsToNextByte()
{
    // whole bytes were fetched, so this stays within them
    bitPosition = (bitPosition + 7) / 8 * 8;
}

bool DataBitInput::Refill()
{
    // called with the buffer used up; at the end of the data both fields become 0, and every later read throws again
    fetched = input->Read(buffer.data(), buffer.size());
    bitPosition = 0;
    return fetched > 0;
}

} // namespace Tessor::Core
