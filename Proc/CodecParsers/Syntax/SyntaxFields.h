#pragma once

#include "Proc/CodecParsers/Nal/Nalu.h"

namespace Tessor::Proc::CodecParsers
{

/// Reads the fields of a syntax table one after the other, each in the width that its record keeps it in. The bit
/// reader's Core::IOException ends a table that the data does not bear out.
class SyntaxFields
{
public:
    explicit SyntaxFields(Core::DataBitInput& input) : input(input) {}

    /// u(n).
    template <class... F>
    void U(unsigned bits, F&... fields)
    {
        ((fields = static_cast<F>(input.ReadBits(bits))), ...);
    }
    /// ue(v).
    template <class... F>
    void UE(F&... fields)
    {
        ((fields = static_cast<F>(read_ue(input))), ...);
    }
    /// se(v).
    template <class... F>
    void SE(F&... fields)
    {
        ((fields = static_cast<F>(read_se(input))), ...);
    }
    /// Flags of one bit each.
    template <class... F>
    void Flags(F&... fields)
    {
        U(1, fields...);
    }
    /// Bits that nobody keeps.
    void Skip(size_t bits)
    {
        for (; bits > 32; bits -= 32)
            input.ReadBits(32);
        input.ReadBits(static_cast<unsigned>(bits));
    }

    Core::DataBitInput& input;
};

} // namespace Tessor::Proc::CodecParsers
