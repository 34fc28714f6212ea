#include "Fnd/DataBitInput.h"
#include "Fnd/DataBitOutput.h"
#include "Fnd/DataInputMemory.h"
#include "Fnd/DataOutputString.h"
#include "Fnd/Exception.h"

#include <gtest/gtest.h>
#include <random>

using namespace Tessor;
using namespace Tessor::Core;

namespace
{

DataBitInput MakeInput(const std::vector<uint8_t>& bytes)
{
    return DataBitInput(DataInputMemory::Create(bytes.data(), bytes.size()));
}

/// Gives out its bytes in pieces of odd sizes.
class Trickle final : public IDataInput, public RefCountImpl
{
public:
    explicit Trickle(const std::string& bytes) : bytes(bytes) {}
    size_t Read(uint8_t* to, size_t size) override
    {
        const size_t count = std::min({size, bytes.size() - offset, size_t{1} + offset % 5});
        std::copy_n(bytes.data() + offset, count, to);
        offset += count;
        return count;
    }
    size_t BytesLeft() const override { return bytes.size() - offset; }

private:
    const std::string bytes;
    size_t offset = 0;
};

struct Field
{
    uint32_t value;
    unsigned width;
};

std::vector<Field> MakeFields(std::mt19937& random)
{
    std::vector<Field> fields(std::uniform_int_distribution<size_t>(0, 400)(random));
    for (Field& field : fields)
    {
        field.width = std::uniform_int_distribution<unsigned>(0, 32)(random);
        field.value = static_cast<uint32_t>(random() & ((uint64_t{1} << field.width) - 1));
    }
    return fields;
}

std::string ToBits(const std::string& bytes)
{
    std::string bits;
    for (const char byte : bytes)
        for (int i = 7; i >= 0; --i)
            bits += byte >> i & 1 ? '1' : '0';
    return bits;
}

/// The slow twin of the writer.
std::string ToBits(const std::vector<Field>& fields)
{
    std::string bits;
    for (const Field& field : fields)
        for (unsigned i = field.width; i > 0; --i)
            bits += field.value >> (i - 1) & 1 ? '1' : '0';
    bits.resize((bits.size() + 7) / 8 * 8, '0');
    return bits;
}

} // namespace

TEST(DataBit, RoundTrips)
{
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round)
    {
        const std::vector<Field> fields = MakeFields(random);
        const SP<DataOutputString> output = DataOutputString::Create();
        DataBitOutput writer(output);
        for (const Field& field : fields)
            // bits above the width are not written
            writer.WriteBits(field.value | (field.width < 32 ? ~0u << field.width : 0), field.width);
        writer.Flush();
        writer.Flush();
        ASSERT_EQ(ToBits(output->GetString()), ToBits(fields));

        DataBitInput reader{SP<IDataInput>(new Trickle(output->GetString()))};
        size_t left = output->GetString().size() * 8;
        for (const Field& field : fields)
        {
            ASSERT_EQ(reader.BitsLeft(), left);
            ASSERT_EQ(reader.ReadBits(field.width), field.value);
            left -= field.width;
        }
        ASSERT_LT(left, 8u);
        reader.SkipBitsToNextByte();
        ASSERT_EQ(reader.BitsLeft(), 0u);
    }
}

TEST(DataBit, BytesAtAnyPosition)
{
    const std::vector<uint8_t> bytes = {0x80, 0x01, 0xFF, 0x5A};
    for (unsigned shift = 0; shift < 8; ++shift)
    {
        const SP<DataOutputString> output = DataOutputString::Create();
        DataBitOutput writer(output);
        writer.WriteBits(0, shift);
        writer.WriteData(bytes.data(), bytes.size());
        writer.Flush();
        DataBitInput reader{SP<IDataInput>(new Trickle(output->GetString()))};
        reader.ReadBits(shift);
        for (const uint8_t byte : bytes)
            EXPECT_EQ(reader.ReadBits(8), byte) << shift;
    }
}

TEST(DataBit, TheEndThrowsAtEveryWidth)
{
    const std::vector<uint8_t> bytes(3, 0xA5);
    for (unsigned taken = 0; taken <= 24; ++taken)
        for (unsigned width = 0; width <= 32; ++width)
        {
            DataBitInput reader = MakeInput(bytes);
            reader.ReadBits(taken);
            if (taken + width <= 24)
                EXPECT_NO_THROW(reader.ReadBits(width));
            else
            {
                EXPECT_THROW(reader.ReadBits(width), IOException);
                EXPECT_EQ(reader.BitsLeft(), 0u);
                EXPECT_THROW(reader.ReadBits(1), IOException);
            }
        }
    DataBitInput reader = MakeInput(bytes);
    EXPECT_THROW(reader.ReadBits(33), std::invalid_argument);
    EXPECT_THROW(DataBitOutput(DataOutputString::Create()).WriteBits(0, 33), std::invalid_argument);
}

TEST(DataBit, SkippingStopsAtByteBounds)
{
    const std::vector<uint8_t> bytes = {0xFF, 0x12, 0x34};
    DataBitInput reader = MakeInput(bytes);
    reader.SkipBitsToNextByte();
    EXPECT_EQ(reader.BitsLeft(), 24u);
    reader.ReadBits(1);
    reader.SkipBitsToNextByte();
    reader.SkipBitsToNextByte();
    EXPECT_EQ(reader.ReadBits(16), 0x1234u);
}
