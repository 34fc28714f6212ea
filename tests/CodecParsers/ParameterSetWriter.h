#pragma once

#include "Fnd/DataBitOutput.h"
#include "Fnd/DataOutputString.h"
#include "tests/support/FakeItems.h"

#include <bit>
#include <random>

namespace Tessor::Test
{

/// The bits of a field and its value.
using Field = std::pair<unsigned, uint32_t>;

/// Stand for the bits of a ue(v) and of a se(v).
constexpr unsigned UE = ~0u, SE = ~1u;

/// Numbers from 0 to the one given, the same on every machine.
struct Draw
{
    uint32_t operator()(uint32_t last) { return static_cast<uint32_t>(random() % (uint64_t{last} + 1)); }

    std::mt19937 random{2024};
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

/// Writes headers field by field.
class ParameterSetWriter
{
public:
    void Put(const std::vector<Field>& fields)
    {
        for (const auto& [bits, value] : fields)
            if (bits == UE)
                PutUE(value);
            else if (const auto number = static_cast<int32_t>(value); bits == SE)
                PutUE(number > 0 ? 2 * value - 1 : -2 * value);
            else
                Put(bits, value);
    }

    /// Bits so far.
    size_t Bits() const { return written; }
    /// Filled with zeros to the byte.
    Bytes GetBytes()
    {
        output.Flush();
        return Bytes(sink->GetString().begin(), sink->GetString().end());
    }
    /// The unit with its stop bit, after the NAL header that the caller has put.
    Bytes Finish()
    {
        Put(1, 1);
        return Escape(GetBytes());
    }

private:
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

    const SP<Core::DataOutputString> sink = Core::DataOutputString::Create();
    Core::DataBitOutput output{sink};
    size_t written = 0; // bits
};

inline Bytes WithStartCode(const Bytes& unit)
{
    return Bytes{0, 0, 0, 1} + unit;
}

/// What a test sets in the parameter sets of H.264; all else is 0, or what one small picture needs.
struct H264Fields
{
    enum Fields : uint8_t
    {
        None,
        Paff,
        Mbaff
    };

    uint8_t profile = 77;
    uint8_t constraints = 0; ///< the flags as they are stored, set0 highest
    uint32_t id = 0;
    uint32_t refs = 4;
    bool cabac = true;
    bool weighted = false;
    int qp = 0;
    int chroma = 0;
    uint32_t orderBits = 0; ///< of picture order counts; 0: pictures are shown as they are decoded
    Fields fields = None;
    bool deblocking = false; ///< slices tell of it

    Bytes SPS() const
    {
        ParameterSetWriter sps;
        sps.Put({{8, 0x67}, {8, profile}, {8, constraints}, {8, 30}, {UE, id}});
        if (profile == 100)
            sps.Put({{UE, 1}, {UE, 0}, {UE, 0}, {2, 0}});
        sps.Put({{UE, 0}, {UE, orderBits > 0 ? 0 : 2}, {orderBits > 0 ? UE : 0, orderBits > 0 ? orderBits - 4 : 0}});
        sps.Put({{UE, refs}, {1, 0}, {UE, 0}, {UE, 0}, {1, fields == None}, {fields != None, fields == Mbaff}});
        sps.Put({{3, 4}}); // direct inference, no cropping, no VUI
        return sps.Finish();
    }
    Bytes PPS() const
    {
        ParameterSetWriter pps;
        pps.Put({{8, 0x68}, {UE, id}, {UE, id}, {1, cabac}, {1, 0}, {UE, 0}, {UE, 0}, {UE, 0}, {1, weighted}, {2, 0}});
        pps.Put(
            {{SE, static_cast<uint32_t>(qp)}, {SE, 0}, {SE, static_cast<uint32_t>(chroma)}, {1, deblocking}, {2, 0}});
        return pps.Finish();
    }
    Bytes AnnexB() const { return WithStartCode(SPS()) + WithStartCode(PPS()); }
    /// With lengths of 4 bytes.
    Bytes AvcC() const
    {
        const Bytes sps = SPS(), pps = PPS();
        return Bytes{1, profile, constraints, 30, 0xFF, 0xE1, 0, uint8_t(sps.size())} + sps +
               Bytes{1, 0, uint8_t(pps.size())} + pps;
    }
};

} // namespace Tessor::Test
