#include "Proc/CodecParsers/AACCodecParser.h"

#include "tests/CodecParsers/HeaderTools.h"
#include "tests/CodecParsers/ParameterSetWriter.h"

namespace Tessor::Test
{

namespace
{

using Fields = std::vector<Field>;

Bytes Write(const Fields& fields)
{
    ParameterSetWriter writer;
    writer.Put(fields);
    return writer.GetBytes();
}

AudioSpecificConfig ReadASC(const Bytes& data)
{
    return DataToAudioSpecificConfig(data.data(), data.size());
}

} // namespace

// Elements of different lengths, which are aligned otherwise in each form; also as the core of HE-AAC after an
// extension, with a rate that is written out and with a delay.
TEST(AACCodecParser, HeadersComeBackInBothForms)
{
    const std::tuple<size_t, const char*, const char*, const char*> rows[] = {
        {0x925, "ff f1 2c 01 24 bf fc be 91 91 24 7b fe 08 84 bd 16 f9 5b 03 61 62 63",
         "0d 80 f4 8c 89 23 df f0 44 25 e8 b7 ca d8 03 61 62 63",
         "ed 87 80 56 0c 05 13 49 e9 19 12 47 bf e0 88 4b d1 6f 95 b0 03 61 62 63"},
        {0xd0d, "ff f1 80 01 a1 bf fc a7 99 09 20 19 44 8b ec dc 01 78", "18 00 3c c8 49 00 ca 24 5f 66 e0 01 78",
         "28 01 8d 13 48 79 90 92 01 94 48 be cd c0 01 78"},
    };
    for (const auto& [length, header, asc, extended] : rows)
    {
        SCOPED_TRACE(header);
        const Bytes adts = Hex(header);
        EXPECT_TRUE(CompleteLengths(adts, [](auto* part, size_t size) { DataToADTSHeader(part, size); }).empty());
        // Ahead of the element the header has a size; within it there is none.
        EXPECT_EQ(CompleteLengths(adts, [](auto* part, size_t size) { GetADTSHeaderSize(part, size); }).size(), 8u);
        for (const Bytes& config : {Hex(asc), Hex(extended)})
        {
            EXPECT_EQ(ToHex(*SetADTSFrameLength(ASCExtradataToADTSFixedHeader(MakeBlob(config)), length)), header)
                << "the core's rate, whatever extends it";
            EXPECT_TRUE(CompleteLengths(config, DataToAudioSpecificConfig).empty());
        }
        EXPECT_EQ(ToHex(*ADTSHeaderToASCExtradata(MakeBlob(adts))), asc);
        EXPECT_EQ(ToHex(*AudioSpecificConfigToData(ReadASC(Hex(asc)))), asc);
    }
    const AudioSpecificConfig stereo = ReadASC(Hex("ea 11 88 00")); // PS
    EXPECT_EQ(std::tuple(stereo.objectType, stereo.frequencyIndex, stereo.sampleRate), std::tuple(2, 3, 48000u));
    EXPECT_EQ(std::tuple(ASCtoADTS(stereo).frequencyIndex, ASCtoADTS(stereo).sampleRate), std::tuple(4, 44100u));
}

TEST(AACCodecParser, Faults)
{
    const auto readADTS = [](const std::string& hex)
    {
        const Bytes data = Hex(hex);
        return Failure([&] { DataToADTSHeader(data.data(), data.size()); });
    };
    CheckRows(readADTS, {{"ff f1 54 80 00 ff fc", ""}, // a frame of 7 bytes
                         {"ff e1 54 80 00 ff fc", "Invalid data - no sync word found"},
                         {"ff f1 74 80 00 ff fc", "Invalid frequency index"},
                         {"ff f1 54 80 00 df fc", "Frame length is smaller than ADTS header size!"},
                         {"ff f1 54 80 00 ff ff", ""}, // four blocks
                         {"ff f0 54 80 00 ff fd", "Multiple RDBs per frame with CRC"}});
    const auto readASC = [](const Fields& fields) { return Failure([&] { ReadASC(Write(fields)); }); };
    EXPECT_EQ(readASC({{5, 2}, {4, 13}, {4, 2}, {3, 0}}), "Invalid sample rate index");
    EXPECT_EQ(readASC({{5, 2}, {4, 15}, {24, 0}, {4, 2}}), "Invalid sample rate");
    for (uint32_t channels = 1; channels < 16; ++channels)
        EXPECT_EQ(readASC({{5, 2}, {4, 4}, {4, channels}, {3, 0}}),
                  (channels > 7 && channels < 11) || channels == 15 ? "Invalid channel configuration" : "");
    EXPECT_EQ(Failure([] { ExtractPCEFromASCExtradata(nullptr, 0, 17); }), "Invalid PCE data");
    const uint8_t notADTS[] = {0xFF, 0x10, 0};
    EXPECT_FALSE(HasADTSHeader(notADTS, 1) || HasADTSHeader(notADTS, 3) || HasPCE(notADTS, 0) || HasPCE(notADTS, 3));
}

TEST(AACCodecParser, ObjectTypesAndRatesOfConfigs)
{
    const auto read = [](const Fields& fields) { return ReadASC(Write(fields)); };
    const AudioSpecificConfig speech = read({{5, 31}, {6, 42 - 32}, {4, 15}, {24, 44056}, {4, 1}, {3, 0}});
    for (const AudioSpecificConfig& config : {speech, ReadASC(Payload(*AudioSpecificConfigToData(speech)))})
    {
        EXPECT_EQ(config.objectType, 42);
        EXPECT_EQ(config.frequencyIndex, 15);
        EXPECT_EQ(config.sampleRate, 44056u);
    }
    // After the extension of an error resilient core stand 4 bits of channels.
    const AudioSpecificConfig bsac = read({{5, 5}, {4, 6}, {4, 0}, {4, 3}, {5, 22}, {4, 2}, {3, 0}, {32, 0}, {32, 0}});
    EXPECT_EQ(bsac.objectType, 22);
    ASSERT_TRUE(bsac.pce);
    EXPECT_EQ(Payload(*bsac.pce), Bytes(6)) << "31 bits of fields, filled, and no comment";

    // ALS has rates that no index names, at one of two places.
    const auto lossless = [&](const Fields& tail)
    {
        Fields fields{{5, 31}, {6, 36 - 32}, {4, 4}, {4, 0}, {5, 0}};
        fields.insert(fields.end(), tail.begin(), tail.end());
        return read(fields).sampleRate;
    };
    EXPECT_EQ(lossless({{24, 7}, {24, 0x414C53}, {8, 0}, {32, 192000}}), 192000u);
    EXPECT_EQ(lossless({{24, 7}, {24, 7}}), 44100u);
    EXPECT_EQ(Failure([&] { lossless({{24, 0x414C53}, {8, 0}, {32, 0}}); }), "Invalid sample rate");
}

TEST(AACCodecParser, WhatAFormCannotSay)
{
    const auto toADTS = [](uint8_t type, uint8_t index, uint8_t channels) {
        return Failure([&] { ASCtoADTS({44100, type, index, channels, nullptr}); });
    };
    EXPECT_EQ(toADTS(3, 12, 7), "");
    EXPECT_EQ(toADTS(4, 4, 2), "Given MPEG-4 AOT is not allowed in ADTS");
    EXPECT_EQ(toADTS(2, 15, 2), "Illegal sample rate index for ADTS");
    EXPECT_EQ(toADTS(2, 4, 11), "Invalid channel configuration!");
    const auto toASC = [](uint8_t index, uint8_t channels) {
        return Failure([&] { ADTStoASC({44100, 2, index, 1, channels, nullptr}); });
    };
    EXPECT_EQ(toASC(15, 2), "");
    EXPECT_EQ(toASC(16, 2), "Illegal sample rate index for ASC");

    EXPECT_EQ(AudioSpecificConfig::SampleRateToSamplingIndex(0), 13);
    EXPECT_THROW(AudioSpecificConfig::SampleRateToSamplingIndex(44000), Exception);
    EXPECT_THROW(AudioSpecificConfig::SamplingIndexToSampleRate(16), Exception);

    const std::string missing = "PCE data not found";
    EXPECT_EQ(toADTS(2, 4, 0), missing);
    EXPECT_EQ(toASC(4, 0), missing);
    // A frame without the element can be read, but says no channels.
    const SP<const IBlob> frame = MakeBlob("ff f1 50 00 01 1f fc 21 00");
    EXPECT_FALSE(DataToADTSHeader(frame->Data(), frame->Size()).pce);
    EXPECT_EQ(Failure([&] { ADTSHeaderToASCExtradata(frame); }), missing);

    const SP<const IBlob> config = MakeBlob("12 10");
    EXPECT_EQ(ADTSHeaderToASCExtradata(config), config);
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
        EXPECT_TRUE(packet->IsKeyFrame() && packet->GetPTS() == 40 && packet->GetDTS() == 20);
        EXPECT_EQ(packet->GetDuration(), 10);
        EXPECT_EQ(dynamic_cast<const DataPacketFF&>(*packet).GetMediaType(), MediaType::Audio);
    }
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

} // namespace Tessor::Test
