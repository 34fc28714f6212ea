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

} // namespace

TEST(DataBit, RoundTrips)
{
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round)
    {
        std::vector<std::pair<uint32_t, unsigned>> fields(random() % 400);
        const SP<DataOutputString> output = DataOutputString::Create();
        DataBitOutput writer(output);
        for (auto& [value, width] : fields)
        {
            width = random() % 33;
            value = static_cast<uint32_t>(random() & ((uint64_t{1} << width) - 1));
            writer.WriteBits(value | (width < 32 ? ~0u << width : 0), width); // bits above the width are not written
        }
        const uint8_t bytes[] = {0x80, 0x01, 0xFF};
        writer.WriteData(bytes, 3);
        writer.Flush();
        writer.Flush();

        DataBitInput reader{SP<IDataInput>(new Trickle(output->GetString()))};
        size_t left = output->GetString().size() * 8;
        for (const auto& [value, width] : fields)
        {
            ASSERT_EQ(reader.BitsLeft(), left);
            ASSERT_EQ(reader.ReadBits(width), value);
            left -= width;
        }
        ASSERT_EQ(reader.ReadBits(24), 0x8001FFu);
        ASSERT_LT(reader.BitsLeft(), 8u);
        reader.SkipBitsToNextByte();
        reader.SkipBitsToNextByte();
        ASSERT_EQ(reader.BitsLeft(), 0u);
    }
}

TEST(DataBit, TheHighestBitComesFirstAndSkippingStopsAtByteBounds)
{
    const std::vector<uint8_t> bytes = {0xFF, 0x12, 0x34};
    DataBitInput reader(DataInputMemory::Create(bytes.data(), bytes.size()));
    reader.SkipBitsToNextByte();
    EXPECT_EQ(reader.ReadBits(9), 0x1FEu);
    reader.SkipBitsToNextByte();
    reader.SkipBitsToNextByte();
    EXPECT_EQ(reader.ReadBits(4), 3u);
}

TEST(DataBit, TheEndThrowsAtEveryWidth)
{
    const std::vector<uint8_t> bytes(3, 0xA5);
    for (unsigned taken = 0; taken <= 24; ++taken)
        for (unsigned width = 0; width <= 32; ++width)
        {
            DataBitInput reader(DataInputMemory::Create(bytes.data(), bytes.size()));
            reader.ReadBits(taken);
            if (taken + width <= 24)
            {
                EXPECT_NO_THROW(reader.ReadBits(width));
                continue;
            }
            EXPECT_THROW(reader.ReadBits(width), IOException);
            EXPECT_EQ(reader.BitsLeft(), 0u);
            EXPECT_THROW(reader.ReadBits(1), IOException);
        }
    DataBitInput reader(DataInputMemory::Create(bytes.data(), bytes.size()));
    EXPECT_THROW(reader.ReadBits(33), std::invalid_argument);
    EXPECT_THROW(DataBitOutput(DataOutputString::Create()).WriteBits(0, 33), std::invalid_argument);
}
