#pragma once

#include "Fnd/IDataInput.h"

#include <array>

namespace Tessor::Core
{

/// Reads bits, the most significant one first. Reading past the end throws IOException, in every build, so that
/// parsers can read like the standards' tables.
class TESSOR_API DataBitInput
{
public:
    explicit DataBitInput(const SP<IDataInput>& input);

    /// The next `count` bits, at most 32; more throws std::invalid_argument. Where the data ends within them, what is
    /// left is read up.
    uint32_t ReadBits(unsigned count);
    /// Bits not yet read.
    size_t BitsLeft() const;
    /// Drops what is left of the current byte.
    void SkipBitsToNextByte();

private:
    bool Refill();

    const SP<IDataInput> input;
    std::array<uint8_t, 256> buffer{}; // bytes fetched from the input
    size_t fetched = 0;                // how many of them are valid
    size_t bitPosition = 0;            // next bit within the buffer
};

} // namespace Tessor::Core
