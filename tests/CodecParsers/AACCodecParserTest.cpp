#include "Proc/CodecParsers/AACCodecParser.h"

#include "tests/CodecParsers/ParameterSetWriter.h"

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

/// Values with their bits.
using Fields = std::vector<std::pair<uint32_t, unsigned>>;

Fields operator+(Fields a, const Fields& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes Write(const Fields& fields)
{
    std::mt19937 none;
    ParameterSetWriter writer(none);
    for (const auto& [value, bits] : fields)
        writer.Put(bits, value);
    return writer.GetBytes();
}

AudioSpecificConfig ReadASC(const Bytes& data)
{
    return DataToAudioSpecificConfig(data.data(), data.size());
}

} // namespace

// Elements of different lengths, which are aligned otherwise in each form; with an error check; and as the core of
// HE-AAC behind an extension, with a rate that is written out and with a delay.
TEST(AACCodecParser, HeadersComeBackInBothForms)
{
    const struct
    {
        uint8_t objectType, index, configuration;
        size_t length;
        const char *adts, *checked, *asc, *extended;
    } rows[] = {
        {2, 4, 2, 0x155, "ff f1 50 80 2a bf fc", "ff f0 50 80 2a bf fc c4 c5", "12 10", "ea 11 88 00"},
        {2, 3, 0, 0x53d, "ff f1 4c 00 a7 bf fc a4 48 80 00 04 80 00", "ff f0 4c 00 a7 bf fc c4 c5 a4 48 80 00 04 80 00",
         "11 80 22 44 00 00 24 00", "29 87 80 56 0c 08 11 22 00 00 12 00"},
        {1, 11, 0, 0x925, "ff f1 2c 01 24 bf fc be 91 91 24 7b fe 08 84 bd 16 f9 5b 03 61 62 63",
         "ff f0 2c 01 24 bf fc c4 c5 be 91 91 24 7b fe 08 84 bd 16 f9 5b 03 61 62 63",
         "0d 80 f4 8c 89 23 df f0 44 25 e8 b7 ca d8 03 61 62 63",
         "ed 87 80 56 0c 05 13 49 e9 19 12 47 bf e0 88 4b d1 6f 95 b0 03 61 62 63"},
        {3, 0, 0, 0xd0d, "ff f1 80 01 a1 bf fc a7 99 09 20 19 44 8b ec dc 01 78",
         "ff f0 80 01 a1 bf fc c4 c5 a7 99 09 20 19 44 8b ec dc 01 78", "18 00 3c c8 49 00 ca 24 5f 66 e0 01 78",
         "28 01 8d 13 48 79 90 92 01 94 48 be cd c0 01 78"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.adts);
        const auto check = [&](const auto& header)
        {
            EXPECT_EQ(header.objectType, row.objectType);
            EXPECT_EQ(header.frequencyIndex, row.index);
            EXPECT_EQ(header.sampleRate, AAC_SAMPLE_RATES[row.index]);
            EXPECT_EQ(header.channelConfiguration, row.configuration);
            EXPECT_EQ(header.pce != nullptr, row.configuration == 0);
        };
        for (const char* hex : {row.adts, row.checked})
        {
            const Bytes data = Hex(hex), frame = data + Bytes{0x21};
            check(DataToADTSHeader(data.data(), data.size()));
            EXPECT_EQ(GetADTSHeaderSize(frame.data(), frame.size()), data.size());
            if (row.configuration > 0)
                continue;
            EXPECT_TRUE(CompleteLengths(data, [](auto* part, size_t size) { DataToADTSHeader(part, size); }).empty());
            // Ahead of the element the header has a size; within it there is none.
            const auto sizes = CompleteLengths(data, [](auto* part, size_t size) { GetADTSHeaderSize(part, size); });
            EXPECT_EQ(sizes.size(), hex == row.adts ? 8u : 10u);
        }
        for (const char* hex : {row.asc, row.extended})
        {
            const AudioSpecificConfig config = ReadASC(Hex(hex));
            check(config);
            EXPECT_EQ(ToHex(*AudioSpecificConfigToData(config)), row.asc);
            const auto complete =
                CompleteLengths(Hex(hex), [](auto* part, size_t size) { DataToAudioSpecificConfig(part, size); });
            EXPECT_TRUE(row.configuration > 0 || complete.empty());
        }
        const SP<const IBlob> adts = MakeBlob(row.adts);
        EXPECT_EQ(ToHex(*ADTSHeaderToASCExtradata(adts)), row.asc);
        EXPECT_EQ(ToHex(*SetADTSFrameLength(ASCExtradataToADTSFixedHeader(MakeBlob(row.asc)), row.length)), row.adts);
        const ADTSHeader header = DataToADTSHeader(adts->Data(), adts->Size());
        EXPECT_EQ(ToHex(*SetADTSFrameLength(ADTSHeaderToData(header), row.length)), row.adts);
    }
}

TEST(AACCodecParser, Faults)
{
    const struct
    {
        bool isADTS;
        Fields fields;
        const char* failure;
    } rows[] = {
        {true, {{0xFFF154, 24}, {0x8000FFFC, 32}}, ""}, // a frame of 7 bytes
        {true, {{0xFFE154, 24}, {0x8000FFFC, 32}}, "Invalid data - no sync word found"},
        {true, {{0xFFF174, 24}, {0x8000FFFC, 32}}, "Invalid frequency index"},
        {true, {{0xFFF154, 24}, {0x8000DFFC, 32}}, "Frame length is smaller than ADTS header size!"},
        {true, {{0xFFF154, 24}, {0x8000FFFF, 32}}, ""}, // four blocks
        {true, {{0xFFF054, 24}, {0x8000FFFD, 32}}, "Multiple RDBs per frame with CRC"},
        {false, {{2, 5}, {13, 4}, {2, 4}, {0, 3}}, "Invalid sample rate index"},
        {false, {{2, 5}, {15, 4}, {0, 24}, {2, 4}}, "Invalid sample rate"},
        {false, {{2, 5}, {4, 4}, {7, 4}, {0, 3}}, ""},
        {false, {{2, 5}, {4, 4}, {8, 4}, {0, 3}}, "Invalid channel configuration"},
        {false, {{2, 5}, {4, 4}, {10, 4}, {0, 3}}, "Invalid channel configuration"},
        {false, {{2, 5}, {4, 4}, {11, 4}, {0, 3}}, ""},
        {false, {{2, 5}, {4, 4}, {15, 4}, {0, 3}}, "Invalid channel configuration"},
    };
    for (const auto& row : rows)
    {
        const Bytes data = Write(row.fields);
        EXPECT_EQ(Failure([&] { row.isADTS ? void(DataToADTSHeader(data.data(), data.size())) : void(ReadASC(data)); }),
                  row.failure)
            << "row " << &row - rows;
    }
    EXPECT_EQ(Failure([] { ExtractPCEFromASCExtradata(nullptr, 0, 17); }), "Invalid PCE data");
    const uint8_t notADTS[] = {0xFF, 0x10, 0};
    EXPECT_FALSE(HasADTSHeader(notADTS, 1) || HasADTSHeader(notADTS, 3) || HasPCE(notADTS, 0) || HasPCE(notADTS, 3));
}

TEST(AACCodecParser, ObjectTypesAndRatesOfConfigs)
{
    const auto read = [](const Fields& fields) { return ReadASC(Write(fields)); };
    const AudioSpecificConfig speech = read({{31, 5}, {42 - 32, 6}, {15, 4}, {44056, 24}, {1, 4}, {0, 3}});
    for (const AudioSpecificConfig& config : {speech, ReadASC(Payload(*AudioSpecificConfigToData(speech)))})
    {
        EXPECT_EQ(config.objectType, 42);
        EXPECT_EQ(config.frequencyIndex, 15);
        EXPECT_EQ(config.sampleRate, 44056u);
    }
    // Behind the extension of an error resilient core stand 4 bits of channels.
    const AudioSpecificConfig bsac = read({{5, 5}, {6, 4}, {0, 4}, {3, 4}, {22, 5}, {2, 4}, {0, 3}, {0, 32}, {0, 32}});
    EXPECT_EQ(bsac.objectType, 22);
    ASSERT_TRUE(bsac.pce);
    EXPECT_EQ(Payload(*bsac.pce), Bytes(6)) << "31 bits of fields, filled, and no comment";

    // ALS has rates that no index names, at one of two places.
    const auto lossless = [&](const Fields& tail) {
        return read(Fields{{31, 5}, {36 - 32, 6}, {4, 4}, {0, 4}, {0, 5}} + tail).sampleRate;
    };
    EXPECT_EQ(lossless({{0x414C53, 24}, {0, 8}, {192000, 32}}), 192000u);
    EXPECT_EQ(lossless({{7, 24}, {0x414C53, 24}, {0, 8}, {192000, 32}}), 192000u);
    EXPECT_EQ(lossless({{7, 24}, {7, 24}}), 44100u);
    EXPECT_EQ(Failure([&] { lossless({{0x414C53, 24}, {0, 8}, {0, 32}}); }), "Invalid sample rate");
}

TEST(AACCodecParser, WhatAFormCannotSay)
{
    const auto toADTS = [](uint8_t type, uint8_t index, uint8_t channels, const SP<const IBlob>& pce = nullptr) {
        return Failure([&] { ASCtoADTS({44100, type, index, channels, pce}); });
    };
    EXPECT_EQ(toADTS(3, 12, 7), "");
    EXPECT_EQ(toADTS(1, 0, 0, MakeBlob(Bytes(6))), "");
    EXPECT_EQ(toADTS(4, 4, 2), "Given MPEG-4 AOT is not allowed in ADTS");
    EXPECT_EQ(toADTS(2, 15, 2), "Illegal sample rate index for ADTS");
    EXPECT_EQ(toADTS(2, 4, 11), "Invalid channel configuration!");
    const auto toASC = [](uint8_t index, uint8_t channels) {
        return Failure([&] { ADTStoASC({44100, 2, index, 1, channels, nullptr}); });
    };
    EXPECT_EQ(toASC(15, 2), "");
    EXPECT_EQ(toASC(16, 2), "Illegal sample rate index for ASC");

    using ASC = AudioSpecificConfig;
    EXPECT_EQ(ASC::SampleRateToSamplingIndex(0), 13);
    EXPECT_EQ(ASC::SamplingIndexToSampleRate(15), 0u);
    EXPECT_THROW(ASC::SampleRateToSamplingIndex(44000), Exception);
    EXPECT_THROW(ASC::SamplingIndexToSampleRate(16), Exception);

    const std::string missing = "PCE data not found";
    EXPECT_EQ(toADTS(2, 4, 0), missing);
    EXPECT_EQ(toASC(4, 0), missing);
    EXPECT_EQ(Failure([] { AudioSpecificConfigToData({44100, 2, 4, 0, nullptr}); }), missing);
    EXPECT_EQ(Failure([] { ADTSHeaderToData({44100, 2, 4, 1, 0, nullptr}); }), missing);
    // A frame without the element can be read, but says no channels.
    const SP<const IBlob> frame = MakeBlob("ff f1 50 00 01 1f fc 21 00");
    EXPECT_FALSE(DataToADTSHeader(frame->Data(), frame->Size()).pce);
    EXPECT_EQ(Failure([&] { ADTSHeaderToASCExtradata(frame); }), missing);

    const SP<const IBlob> config = MakeBlob("12 10");
    EXPECT_EQ(ADTSHeaderToASCExtradata(config), config);
    EXPECT_EQ(ADTSHeaderToASCExtradata(nullptr), nullptr);
    EXPECT_EQ(Failure([] { ASCExtradataToADTSFixedHeader(nullptr); }), PastTheEnd);
}

TEST(AACCodecParser, HeadersOfPackets)
{
    const SP<const IBlob> header = MakeBlob("ff f1 50 83 ff ff fc");
    const SP<IDataPacket> raw = MakeVideoPacket("21 22 23", true);
    const SP<IDataPacket> frame = InsertADTSHeader(raw, header, true);
    EXPECT_EQ(ToHex(*frame), "ff f1 50 80 01 5f fc 21 22 23");
    EXPECT_EQ(ToHex(*header), "ff f1 50 83 ff ff fc") << "a copy is changed";
    const SP<IDataPacket> back = RemoveADTSHeader(frame);
    EXPECT_EQ(back->GetData(), frame->GetData() + 7) << "nothing is copied";
    EXPECT_EQ(back->GetSize(), 3);
    for (const SP<IDataPacket>& packet : {frame, back})
    {
        EXPECT_TRUE(packet->IsKeyFrame());
        EXPECT_EQ(packet->GetPTS(), 40);
        EXPECT_EQ(packet->GetDTS(), 20);
        EXPECT_EQ(packet->GetDuration(), 10);
        EXPECT_EQ(dynamic_cast<const DataPacketFF&>(*packet).GetMediaType(), MediaType::Audio);
    }
    EXPECT_EQ(Payload(*RemoveADTSHeader(raw)), Payload(*raw)) << "no header";
    EXPECT_FALSE(RemoveADTSHeader(nullptr));
    EXPECT_FALSE(InsertADTSHeader(nullptr, header, true));

    EXPECT_EQ(InsertADTSHeader(MakePacket(Bytes(8184)), header, true)->GetSize(), 8191);
    EXPECT_EQ(Failure([&] { InsertADTSHeader(MakePacket(Bytes(8185)), header, true); }),
              "Packet data is too large for ADTS format!");
    for (const char* bad : {"", "ff f1 50 80 00 1f", "ff 01 50 80 00 1f fc"})
        EXPECT_EQ(Failure([&] { InsertADTSHeader(raw, MakeBlob(bad), true); }),
                  "Given ADTS header is not valid. Frame length cannot be set.");
    for (const char* empty : {"", "ff f1", "ff f1 50 80 01 5f fc"})
    {
        const SP<IDataPacket> packet = MakePacket(Hex(empty));
        EXPECT_NE(Failure([&] { RemoveADTSHeader(packet); }), "") << empty;
        EXPECT_EQ(ExtractADTSHeader(*packet->GetAVPacket()) != nullptr, packet->GetSize() == 7) << empty;
    }
}
