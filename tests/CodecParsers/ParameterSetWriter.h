#pragma once

#include "Fnd/DataBitOutput.h"
#include "Fnd/DataOutputString.h"
#include "tests/CodecParsers/HeaderTools.h"

#include <bit>
#include <random>

namespace Tessor::Test
{

/// The bits of a field and its value.
using Field = std::pair<unsigned, uint32_t>;

/// Stands for the bits of a ue(v).
constexpr unsigned UE = ~0u;

/// Writes headers field by field, with values that may be drawn.
class ParameterSetWriter
{
public:
    explicit ParameterSetWriter(std::mt19937& random) : random(random), output(sink) {}

    /// 0 to `last`.
    uint32_t Draw(uint32_t last) { return static_cast<uint32_t>(random() % (uint64_t{last} + 1)); }

    void Put(unsigned bits, uint32_t value)
    {
        output.WriteBits(value, bits);
        written += bits;
    }
    void PutUE(uint64_t value)
    {
        const auto width = static_cast<unsigned>(std::bit_width(value + 1));
        Put(width - 1, 0);
        Put(width, static_cast<uint32_t>(value + 1));
    }
    void PutSE(int64_t value) { PutUE(static_cast<uint64_t>(value > 0 ? 2 * value - 1 : -2 * value)); }

    void Put(const std::vector<Field>& fields)
    {
        for (const auto& [bits, value] : fields)
            bits == UE ? PutUE(value) : Put(bits, value);
    }

    /// Bits so far.
    size_t Bits() const { return written; }
    /// Filled with zeros to the byte.
    Bytes GetBytes()
    {
        output.Flush();
        return Bytes(sink->GetString().begin(), sink->GetString().end());
    }
    /// The RBSP with its stop bit, after the NAL header that the caller has put.
    Bytes Finish()
    {
        Put(1, 1);
        return GetBytes();
    }

private:
    std::mt19937& random;
    const SP<Core::DataOutputString> sink = Core::DataOutputString::Create();
    Core::DataBitOutput output;
    size_t written = 0; // bits
};

/// The unit with an emulation prevention byte where the standard asks for one.
inline Bytes Escape(const Bytes& rbsp)
{
    Bytes unit;
    for (const uint8_t byte : rbsp)
    {
        const size_t size = unit.size();
        if (size >= 2 && unit[size - 1] == 0 && unit[size - 2] == 0 && byte <= 3)
            unit.push_back(3);
        unit.push_back(byte);
    }
    return unit;
}

inline Bytes WithStartCode(const Bytes& rbsp)
{
    return Bytes{0, 0, 0, 1} + Escape(rbsp);
}

} // namespace Tessor::Test
