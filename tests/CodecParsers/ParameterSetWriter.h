#pragma once

#include "tests/CodecParsers/NaluTestTools.h"

#include <bit>

/// What tests of generated parameter sets share: one listing of each syntax fills a record with random values and
/// writes it; what was written has to be read back.
namespace Tessor::Test
{

/// Draws each field and writes it in the same pass, so that the drawn values decide what follows.
class ParameterSetWriter
{
public:
    explicit ParameterSetWriter(std::mt19937& random) : random(random), output(sink) {}

    uint32_t Draw(uint32_t limit) { return static_cast<uint32_t>(random() % (uint64_t{limit} + 1)); }

    template <class F>
    void U(unsigned bits, F& field)
    {
        Put(bits, field = static_cast<F>(random() >> (32 - bits)));
    }
    template <class... F>
    void Flags(F&... fields)
    {
        (U(1, fields), ...);
    }
    template <class F>
    void UE(F& field, uint32_t limit)
    {
        PutUE(field = static_cast<F>(Draw(limit)));
    }
    template <class F>
    void SE(F& field, uint32_t limit)
    {
        const int64_t value = int64_t{Draw(2 * limit)} - limit;
        PutSE(field = static_cast<F>(value));
    }

    void Put(unsigned count, uint32_t value)
    {
        output.WriteBits(value, count);
        bits += count;
    }
    void PutUE(uint64_t value)
    {
        const auto width = static_cast<unsigned>(std::bit_width(value + 1));
        Put(width - 1, 0);
        Put(width, static_cast<uint32_t>(value + 1));
    }
    void PutSE(int64_t value) { PutUE(static_cast<uint64_t>(value > 0 ? 2 * value - 1 : -2 * value)); }

    /// Bits of the syntax so far.
    size_t Bits() const { return bits; }
    /// The RBSP with its stop bit, behind the NAL header that the caller has put.
    Bytes Finish()
    {
        output.WriteBits(1, 1);
        output.Flush();
        return Bytes(sink->GetString().begin(), sink->GetString().end());
    }

private:
    std::mt19937& random;
    const SP<Core::DataOutputString> sink = Core::DataOutputString::Create();
    Core::DataBitOutput output;
    size_t bits = 0; // written without the stop bit
};

inline Bytes WithStartCode(const Bytes& unit)
{
    return Proc::CodecParsers::NALU_START_CODE_4_BYTE + unit;
}

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

/// Decodes every proper beginning of a unit, each in memory of its own size. It has to fail with the bit reader exactly
/// when bits are missing. A header of one byte is not found at all.
template <class Record>
void CheckTruncations(const Bytes& unit, size_t syntaxBits, void (*decode)(const uint8_t*, size_t, Record&))
{
    for (size_t size = 2; size < unit.size(); ++size)
    {
        const Bytes part(unit.begin(), unit.begin() + static_cast<std::ptrdiff_t>(size));
        const bool complete =
            Proc::CodecParsers::RemoveEmulationByte(part.data(), part.size()).size() * 8 >= syntaxBits;
        const Bytes header = WithStartCode(part);
        Record record;
        const bool failed = !Failure([&] { decode(header.data(), header.size(), record); }).empty();
        ASSERT_NE(failed, complete) << size << " of " << ToHex(unit);
    }
}

template <class Record, class Draw>
void CheckRandomSets(unsigned seed, int rounds, Draw draw, void (*decode)(const uint8_t*, size_t, Record&))
{
    std::mt19937 random(seed);
    Record decoded; // kept over the rounds: each one has to reset it
    for (int round = 0; round < rounds; ++round)
    {
        ParameterSetWriter writer(random);
        Record expected;
        draw(writer, expected);
        const size_t syntaxBits = writer.Bits();
        const Bytes unit = Escape(writer.Finish());
        const Bytes header = WithStartCode(unit);
        decode(header.data(), header.size(), decoded);
        ASSERT_TRUE(decoded == expected) << "round " << round << ": " << ToHex(unit);
        if (round % 40 == 0)
            CheckTruncations(unit, syntaxBits, decode);
    }
}

} // namespace Tessor::Test
