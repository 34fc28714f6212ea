#pragma once

#include "Fnd/IDataOutput.h"

namespace Tessor::Core
{

/// Writes bits, the most significant one first. Call Flush at the end: the destructor does not write.
class TESSOR_API DataBitOutput
{
public:
    explicit DataBitOutput(const SP<IDataOutput>& output) : output(output) {}

    /// The low `count` bits of the value, at most 32; more throws std::invalid_argument.
    void WriteBits(uint32_t value, unsigned count);
    /// Whole bytes, at any bit position.
    void WriteData(const uint8_t* data, size_t size);
    /// Fills the current byte with zeros and writes it.
    void Flush();

private:
    void WritePending();

    const SP<IDataOutput> output;
    uint8_t pending = 0;      // bits of the byte under construction, in its low end
    unsigned pendingBits = 0; // how many, 0 to 7
};

} // namespace Tessor::Core
