#include "Fnd/DataBitInput.h"
#include "Fnd/DataBitOutput.h"
#include "Fnd/DataInputMemory.h"
#include "Fnd/DataOutputString.h"
#include "Fnd/Exception.h"

#include <gtest/gtest.h>
#include <random>

using namespace Tessor;
using namespace Tessor::Core;

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

        const std::string& written = output->GetString();
        DataBitInput reader(DataInputMemory::Create(reinterpret_cast<const uint8_t*>(written.data()), written.size()));
        size_t left = written.size() * 8;
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
