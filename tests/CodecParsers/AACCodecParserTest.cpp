#include "Proc/CodecParsers/AACCodecParser.h"

#include "tests/CodecParsers/ParameterSetWriter.h"

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

/// Values with their bits; no bits at all fill the byte.
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
        bits == 0 ? writer.Align() : writer.Put(bits, value);
    return writer.GetBytes();
}

/// A random program_config_element().
Fields DrawElement(std::mt19937& random)
{
    Fields fields;
    const auto any = [&](unsigned bits)
    { return fields.emplace_back(static_cast<uint32_t>(random() >> (32 - bits)), bits).first; };
    any(10); // instance, profile, rate
    const uint32_t front = any(4), side = any(4), back = any(4), lfe = any(2), data = any(3), coupling = any(4);
    for (const unsigned downmix : {4, 4, 3})
        if (any(1))
            any(downmix);
    for (const auto& [count, bits] : {std::pair(front + side + back, 5u), {lfe + data, 4u}, {coupling, 5u}})
        for (uint32_t i = 0; i < count; ++i)
            any(bits);
    const auto comment = static_cast<uint32_t>(random() % 8 == 0 ? random() % 256 : random() % 4);
    fields = fields + Fields{{0, 0}, {comment, 8}};
    for (uint32_t i = 0; i < comment; ++i)
        any(8);
    return fields;
}

/// A random stream that both forms of a header can describe.
struct Stream
{
    explicit Stream(std::mt19937& random)
        : objectType(1 + random() % 3), index(random() % 13), configuration(random() % 2 ? random() % 8 : 0)
    {
        if (configuration == 0)
            element = DrawElement(random);
    }

    Bytes ADTS(uint32_t frameLength, bool errorCheck = false) const
    {
        return Write(Fields{{errorCheck ? 0xFFF0 : 0xFFF1, 16},
                            {(objectType - 1) << 6 | index << 2 | configuration >> 2, 8},
                            {(configuration & 3) << 30 | frameLength << 13 | 0x7FF << 2, 32}} +
                     (errorCheck ? Fields{{0xC4C5, 16}} : Fields{}) + (configuration == 0 ? Fields{{5, 3}} : Fields{}) +
                     element);
    }
    Bytes ASC() const { return Write(Fields{{objectType << 11 | index << 7 | configuration << 3, 16}} + element); }
    /// Of HE-AAC: the extension's type, an extension rate that is written out on demand, and the core with a delay, so
    /// that the element begins at a bit of its own.
    Bytes ExtendedASC(uint32_t extension, bool writtenRate, bool delay) const
    {
        return Write(Fields{{extension << 8 | index << 4 | configuration, 13}} +
                     (writtenRate ? Fields{{15, 4}, {44056, 24}} : Fields{{3, 4}}) + Fields{{objectType, 5}} +
                     (delay ? Fields{{1, 2}, {1234, 14}, {0, 1}} : Fields{{0, 3}}) + element);
    }

    template <class Header>
    void ExpectIn(const Header& header) const
    {
        EXPECT_EQ(header.objectType, objectType);
        EXPECT_EQ(header.frequencyIndex, index);
        EXPECT_EQ(header.sampleRate, AAC_SAMPLE_RATES[index]);
        EXPECT_EQ(header.channelConfiguration, configuration);
        EXPECT_EQ(header.pce != nullptr, configuration == 0);
    }

    uint32_t objectType;
    uint32_t index;
    uint32_t configuration;
    Fields element; // of channel configuration 0
};

AudioSpecificConfig ReadASC(const Bytes& data)
{
    return DataToAudioSpecificConfig(data.data(), data.size());
}

} // namespace

TEST(AACCodecParser, RandomHeadersComeBackInBothForms)
{
    std::mt19937 random(4713);
    for (int i = 0; i < 10000 && !HasFailure(); ++i)
    {
        SCOPED_TRACE(i);
        const Stream stream(random);
        const uint32_t length = 7 + random() % 8185;
        const Bytes adts = stream.ADTS(length), asc = stream.ASC();
        stream.ExpectIn(DataToADTSHeader(adts.data(), adts.size()));
        stream.ExpectIn(ReadASC(asc));
        // The element comes through the other form, where it is aligned otherwise, and through its own.
        EXPECT_EQ(Payload(*ADTSHeaderToASCExtradata(MakeBlob(adts))), asc);
        EXPECT_EQ(Payload(*SetADTSFrameLength(ASCExtradataToADTSFixedHeader(MakeBlob(asc)), length)), adts);
        EXPECT_EQ(Payload(*SetADTSFrameLength(ADTSHeaderToData(DataToADTSHeader(adts.data(), adts.size())), length)),
                  adts);
        const AudioSpecificConfig core = ReadASC(stream.ExtendedASC(random() % 2 ? 5 : 29, random() % 2, random() % 2));
        stream.ExpectIn(core);
        EXPECT_EQ(Payload(*AudioSpecificConfigToData(core)), asc);

        const Bytes checked = stream.ADTS(length, true);
        stream.ExpectIn(DataToADTSHeader(checked.data(), checked.size()));
        for (const Bytes& header : {adts, checked})
            EXPECT_EQ(GetADTSHeaderSize((header + Bytes{0x21}).data(), header.size() + 1), header.size());
    }
}

TEST(AACCodecParser, TruncatedHeadersAreRefused)
{
    std::mt19937 random(8);
    for (int i = 0; i < 20; ++i)
    {
        Stream stream(random);
        stream.configuration = 0;
        stream.element = DrawElement(random);
        const Bytes adts = stream.ADTS(100, i % 2), asc = stream.ExtendedASC(5, i % 2, i % 3);
        EXPECT_TRUE(CompleteLengths(adts, [](auto* data, size_t size) { DataToADTSHeader(data, size); }).empty());
        EXPECT_TRUE(
            CompleteLengths(asc, [](auto* data, size_t size) { DataToAudioSpecificConfig(data, size); }).empty());
        // Ahead of the element the header has a size; within it there is none.
        EXPECT_EQ(CompleteLengths(adts, [](auto* data, size_t size) { GetADTSHeaderSize(data, size); }).size(),
                  i % 2 ? 10u : 8u);
    }
}

TEST(AACCodecParser, RecognisesHeaders)
{
    const struct
    {
        const char* data;
        bool isADTS;
        size_t size;
        bool isPCE;
    } rows[] = {{"", false, 0, false},     {"ff", false, 0, false},    {"ff f1", true, 7, false},
                {"ff f0", true, 9, false}, {"ff 10", false, 0, false}, {"fe ff", false, 0, false},
                {"bf", false, 0, true},    {"c0", false, 0, false},    {"9f", false, 0, false}};
    for (const auto& row : rows)
    {
        const Bytes data = Hex(row.data);
        EXPECT_EQ(HasADTSHeader(data.data(), data.size()), row.isADTS) << row.data;
        EXPECT_EQ(GetADTSHeaderSize(data.data(), data.size()), row.size) << row.data;
        EXPECT_EQ(HasPCE(data.data(), data.size()), row.isPCE) << row.data;
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
