#include "Proc/CodecParsers/AACCodecParser.h"

#include "Fnd/DataInputMemory.h"
#include "tests/CodecParsers/NaluTestTools.h"

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

using BitOutput = Core::DataBitOutput;

Bytes WriteBytes(const std::function<void(BitOutput&)>& write)
{
    const auto sink = Core::DataOutputString::Create();
    BitOutput output(sink);
    write(output);
    output.Flush();
    return Bytes(sink->GetString().begin(), sink->GetString().end());
}

/// Values with their bits.
Bytes WriteBits(const std::vector<std::pair<uint32_t, unsigned>>& fields)
{
    return WriteBytes(
        [&](BitOutput& output)
        {
            for (const auto& [value, bits] : fields)
                output.WriteBits(value, bits);
        });
}

/// A random program_config_element() as its bits: the fields up to the alignment, then the comment.
struct Element
{
    explicit Element(std::mt19937& random)
    {
        const auto any = [&](unsigned bits)
        {
            fields.emplace_back(static_cast<uint32_t>(random() >> (32 - bits)), bits);
            return fields.back().first;
        };
        any(10); // instance, profile, rate
        const uint32_t front = any(4), side = any(4), back = any(4), lfe = any(2), data = any(3), coupling = any(4);
        for (const unsigned downmix : {4, 4, 3})
            if (any(1))
                any(downmix);
        for (const auto& [count, bits] : {std::pair(front + side + back, 5u), {lfe + data, 4u}, {coupling, 5u}})
            for (uint32_t i = 0; i < count; ++i)
                any(bits);
        comment.resize(random() % 8 == 0 ? random() % 256 : random() % 4);
        std::generate(comment.begin(), comment.end(), [&] { return static_cast<uint8_t>(random()); });
    }

    void Write(BitOutput& output) const
    {
        for (const auto& [value, bits] : fields)
            output.WriteBits(value, bits);
        output.Flush();
        output.WriteBits(static_cast<uint32_t>(comment.size()), 8);
        output.WriteData(comment.data(), comment.size());
    }

    std::vector<std::pair<uint32_t, unsigned>> fields;
    Bytes comment;
};

/// A random stream that both forms of a header can describe.
struct Stream
{
    explicit Stream(std::mt19937& random)
        : objectType(1 + random() % 3), index(random() % 13), configuration(random() % 2 ? random() % 8 : 0),
          element(random)
    {
    }

    Bytes ADTS(uint32_t frameLength, bool errorCheck = false) const
    {
        return WriteBytes(
            [&](BitOutput& output)
            {
                output.WriteBits(errorCheck ? 0xFFF0 : 0xFFF1, 16);
                output.WriteBits((objectType - 1) << 6 | index << 2 | configuration >> 2, 8);
                output.WriteBits((configuration & 3) << 30 | frameLength << 13 | 0x7FF << 2, 32);
                if (errorCheck)
                    output.WriteBits(0xC4C5, 16);
                if (configuration == 0)
                    output.WriteBits(5, 3);
                WriteElement(output);
            });
    }

    Bytes ASC() const
    {
        return WriteBytes(
            [&](BitOutput& output)
            {
                output.WriteBits(objectType << 11 | index << 7 | configuration << 3, 16);
                WriteElement(output);
            });
    }

    /// Of HE-AAC: the extension's type, an extension rate that is written out on demand, and the core with a delay, so
    /// that the element begins at a bit of its own.
    Bytes ExtendedASC(uint32_t extension, bool writtenRate, bool delay) const
    {
        return WriteBytes(
            [&](BitOutput& output)
            {
                output.WriteBits(extension << 8 | index << 4 | configuration, 13);
                output.WriteBits(writtenRate ? 15 : 3, 4);
                output.WriteBits(44056, writtenRate ? 24 : 0);
                output.WriteBits(objectType, 5);
                output.WriteBits(delay ? 1 : 0, 2);
                output.WriteBits(1234, delay ? 14 : 0);
                output.WriteBits(0, 1);
                WriteElement(output);
            });
    }

    void WriteElement(BitOutput& output) const
    {
        if (configuration == 0)
            element.Write(output);
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
    Element element;
};

SP<const IBlob> Blob(const Bytes& bytes)
{
    return BlobFF::Create(bytes.data(), bytes.size());
}

AudioSpecificConfig ReadASC(const Bytes& data)
{
    return DataToAudioSpecificConfig(data.data(), data.size());
}

ADTSHeader ReadADTS(const Bytes& data)
{
    return DataToADTSHeader(data.data(), data.size());
}

/// Object type, index and configuration, 13 bits, behind which there is room for whatever follows.
Bytes ASCOf(uint32_t objectType, uint32_t index, uint32_t configuration)
{
    return WriteBits({{objectType, 5}, {index, 4}, {configuration, 4}, {0, 32}, {0, 19}});
}

/// A config with a PCE of nothing.
const SP<const IBlob> EmptyElement = Blob(Bytes(6));

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
        stream.ExpectIn(ReadADTS(adts));
        stream.ExpectIn(ReadADTS(stream.ADTS(length, true)));
        stream.ExpectIn(ReadASC(asc));
        // The element comes through the other form, where it is aligned otherwise, and through its own.
        EXPECT_EQ(Payload(*ADTSHeaderToASCExtradata(Blob(adts))), asc);
        EXPECT_EQ(Payload(*SetADTSFrameLength(ASCExtradataToADTSFixedHeader(Blob(asc)), length)), adts);
        EXPECT_EQ(Payload(*SetADTSFrameLength(ADTSHeaderToData(ReadADTS(adts)), length)), adts);
        const AudioSpecificConfig core = ReadASC(stream.ExtendedASC(random() % 2 ? 5 : 29, random() % 2, random() % 2));
        stream.ExpectIn(core);
        EXPECT_EQ(Payload(*AudioSpecificConfigToData(core)), asc);

        const Bytes frame = adts + Bytes{0x21}, checked = stream.ADTS(length, true) + Bytes{0x21};
        EXPECT_EQ(GetADTSHeaderSize(frame.data(), frame.size()), frame.size() - 1);
        EXPECT_EQ(GetADTSHeaderSize(checked.data(), checked.size()), checked.size() - 1);
    }
}

TEST(AACCodecParser, TruncatedHeadersAreRefused)
{
    std::mt19937 random(8);
    for (int i = 0; i < 20; ++i)
    {
        Stream stream(random);
        stream.configuration = 0;
        const Bytes adts = stream.ADTS(100, i % 2), asc = stream.ExtendedASC(5, i % 2, i % 3);
        EXPECT_EQ(DecodableLengths<ADTSHeader>(
                      [](auto* data, size_t size, auto& out) { out = DataToADTSHeader(data, size); }, adts),
                  std::vector<size_t>());
        EXPECT_EQ(DecodableLengths<AudioSpecificConfig>(
                      [](auto* data, size_t size, auto& out) { out = DataToAudioSpecificConfig(data, size); }, asc),
                  std::vector<size_t>());
        // Ahead of the element the header has a size; within it there is none.
        const size_t fixedSize = i % 2 ? 9 : 7;
        for (size_t size = 2; size < adts.size(); ++size)
        {
            const Bytes part(adts.begin(), adts.begin() + static_cast<ptrdiff_t>(size));
            size_t found = 0;
            EXPECT_EQ(Fault([&] { found = GetADTSHeaderSize(part.data(), part.size()); }),
                      size <= fixedSize ? "" : "IOException");
            EXPECT_EQ(found, size <= fixedSize ? fixedSize : 0);
        }
    }
}

TEST(AACCodecParser, Recognises)
{
    struct Row
    {
        const char* data;
        bool isADTS;
        size_t size;
        bool isPCE;
    };
    for (const Row& row : {Row{"", false, 0, false}, Row{"ff", false, 0, false}, Row{"ff f1", true, 7, false},
                           Row{"ff f0", true, 9, false}, Row{"ff 10", false, 0, false}, Row{"fe ff", false, 0, false},
                           Row{"ff ff 00 00 00 00 00 21", true, 7, false}, Row{"a0", false, 0, true},
                           Row{"bf", false, 0, true}, Row{"c0", false, 0, false}, Row{"9f", false, 0, false}})
    {
        const Bytes data = Hex(row.data);
        EXPECT_EQ(HasADTSHeader(data.data(), data.size()), row.isADTS) << row.data;
        EXPECT_EQ(GetADTSHeaderSize(data.data(), data.size()), row.size) << row.data;
        EXPECT_EQ(HasPCE(data.data(), data.size()), row.isPCE) << row.data;
    }
}

TEST(AACCodecParser, SampleRates)
{
    for (uint8_t i = 0; i < 13; ++i)
        EXPECT_EQ(AudioSpecificConfig::SampleRateToSamplingIndex(AudioSpecificConfig::SamplingIndexToSampleRate(i)), i);
    EXPECT_EQ(AudioSpecificConfig::SampleRateToSamplingIndex(44100), 4);
    EXPECT_EQ(AudioSpecificConfig::SampleRateToSamplingIndex(0), 13);
    EXPECT_THROW(AudioSpecificConfig::SampleRateToSamplingIndex(44000), Exception);
    EXPECT_EQ(AudioSpecificConfig::SamplingIndexToSampleRate(15), 0u);
    EXPECT_THROW(AudioSpecificConfig::SamplingIndexToSampleRate(16), Exception);
}

TEST(AACCodecParser, ADTSFaults)
{
    const auto fault = [](uint32_t sync, uint32_t index, uint32_t length, uint32_t blocks, bool errorCheck)
    {
        const Bytes data = WriteBits({{sync, 12},
                                      {errorCheck ? 0 : 1, 4},
                                      {1, 2},
                                      {index, 4},
                                      {2, 4},
                                      {0, 4},
                                      {length, 13},
                                      {0x7FF, 11},
                                      {blocks, 2}});
        return Fault([&] { ReadADTS(data); });
    };
    EXPECT_EQ(fault(0xFFF, 12, 7, 0, true), "");
    EXPECT_EQ(fault(0xFFF, 0, 8191, 3, false), "");
    EXPECT_EQ(fault(0xFFE, 0, 7, 0, false), "Invalid data - no sync word found");
    EXPECT_EQ(fault(0xFFF, 13, 7, 0, false), "Invalid frequency index");
    EXPECT_EQ(fault(0xFFF, 15, 7, 0, false), "Invalid frequency index");
    EXPECT_EQ(fault(0xFFF, 0, 6, 0, false), "Frame length is smaller than ADTS header size!");
    EXPECT_EQ(fault(0xFFF, 0, 7, 1, true), "Multiple RDBs per frame with CRC");
}

TEST(AACCodecParser, ConfigFaults)
{
    const auto fault = [](const Bytes& data) { return Fault([&] { ReadASC(data); }); };
    for (const uint32_t index : {13u, 14u})
        EXPECT_EQ(fault(ASCOf(2, index, 2)), "Invalid sample rate index");
    EXPECT_EQ(fault(WriteBits({{2, 5}, {15, 4}, {0, 24}, {2, 4}})), "Invalid sample rate");
    for (uint32_t i = 0; i < 16; ++i)
        EXPECT_EQ(fault(ASCOf(2, 4, i)), (i >= 8 && i <= 10) || i == 15 ? "Invalid channel configuration" : "") << i;
    EXPECT_EQ(fault(WriteBits({{2, 5}, {4, 4}, {0, 7}})), "IOException") << "no element";
    try
    {
        ExtractPCEFromASCExtradata(nullptr, 0, 17);
        FAIL();
    }
    catch (const Core::IOException& e)
    {
        EXPECT_EQ(Describe(e), "Invalid PCE data");
    }
}

TEST(AACCodecParser, ObjectTypesAndRatesOfConfigs)
{
    const auto read = [](const std::vector<std::pair<uint32_t, unsigned>>& fields)
    { return ReadASC(WriteBits(fields)); };
    const AudioSpecificConfig speech = read({{31, 5}, {42 - 32, 6}, {15, 4}, {44056, 24}, {1, 4}, {0, 3}});
    EXPECT_EQ(speech.objectType, 42);
    EXPECT_EQ(speech.frequencyIndex, 15);
    EXPECT_EQ(speech.sampleRate, 44056u);
    const AudioSpecificConfig copy = ReadASC(Payload(*AudioSpecificConfigToData(speech)));
    EXPECT_EQ(copy.objectType, 42);
    EXPECT_EQ(copy.sampleRate, 44056u);

    // Behind the extension of an error resilient core stand 4 bits of channels.
    const AudioSpecificConfig bsac = read({{5, 5}, {6, 4}, {0, 4}, {3, 4}, {22, 5}, {2, 4}, {0, 3}, {0, 32}, {0, 32}});
    EXPECT_EQ(bsac.objectType, 22);
    ASSERT_TRUE(bsac.pce);
    EXPECT_EQ(Payload(*bsac.pce), Bytes(6)) << "31 bits of fields, filled, and no comment";

    // ALS has rates that no index names, at one of two places.
    const std::vector<std::pair<uint32_t, unsigned>> head{{31, 5}, {36 - 32, 6}, {4, 4}, {0, 4}, {0, 5}};
    const auto lossless = [&](const std::vector<std::pair<uint32_t, unsigned>>& tail)
    {
        auto fields = head;
        fields.insert(fields.end(), tail.begin(), tail.end());
        return read(fields);
    };
    EXPECT_EQ(lossless({{0x414C53, 24}, {0, 8}, {192000, 32}}).sampleRate, 192000u);
    EXPECT_EQ(lossless({{7, 24}, {0x414C53, 24}, {0, 8}, {192000, 32}}).sampleRate, 192000u);
    EXPECT_EQ(lossless({{7, 24}, {7, 24}}).sampleRate, 44100u);
    EXPECT_EQ(Fault([&] { lossless({{0x414C53, 24}, {0, 8}, {0, 32}}); }), "Invalid sample rate");
}

TEST(AACCodecParser, WhatAFormCannotSay)
{
    const auto toADTS = [](uint8_t type, uint8_t index, uint8_t channels, const SP<const IBlob>& pce = nullptr) {
        return Fault([&] { ASCtoADTS({44100, type, index, channels, pce}); });
    };
    EXPECT_EQ(toADTS(3, 12, 7), "");
    EXPECT_EQ(toADTS(1, 0, 0, EmptyElement), "");
    EXPECT_EQ(toADTS(4, 4, 2), "Given MPEG-4 AOT is not allowed in ADTS");
    EXPECT_EQ(toADTS(2, 15, 2), "Illegal sample rate index for ADTS");
    EXPECT_EQ(toADTS(2, 4, 11), "Invalid channel configuration!");
    const auto toASC = [](uint8_t index, uint8_t channels) {
        return Fault([&] { ADTStoASC({44100, 2, index, 1, channels, nullptr}); });
    };
    EXPECT_EQ(toASC(15, 2), "");
    EXPECT_EQ(toASC(16, 2), "Illegal sample rate index for ASC");

    const std::string missing = "PCE data not found";
    EXPECT_EQ(toADTS(2, 4, 0), missing);
    EXPECT_EQ(toASC(4, 0), missing);
    EXPECT_EQ(Fault([] { AudioSpecificConfigToData({44100, 2, 4, 0, nullptr}); }), missing);
    EXPECT_EQ(Fault([] { ADTSHeaderToData({44100, 2, 4, 1, 0, nullptr}); }), missing);
    // A frame without the element can be read, but says no channels.
    const SP<const IBlob> frame = MakeBlob("ff f1 50 00 01 1f fc 21 00");
    EXPECT_FALSE(DataToADTSHeader(frame->Data(), frame->Size()).pce);
    EXPECT_EQ(Fault([&] { ADTSHeaderToASCExtradata(frame); }), missing);

    const SP<const IBlob> config = MakeBlob("12 10");
    EXPECT_EQ(ADTSHeaderToASCExtradata(config), config);
    EXPECT_EQ(ADTSHeaderToASCExtradata(nullptr), nullptr);
    EXPECT_EQ(Fault([] { ASCExtradataToADTSFixedHeader(nullptr); }), "IOException");
}

TEST(AACCodecParser, FrameLength)
{
    const SP<const IBlob> header = MakeBlob("ff f1 50 83 ff ff fc");
    EXPECT_EQ(ToHex(*SetADTSFrameLength(header, 0)), "ff f1 50 80 00 1f fc");
    EXPECT_EQ(ToHex(*SetADTSFrameLength(header, 0x1555)), "ff f1 50 82 aa bf fc");
    EXPECT_EQ(ToHex(*header), "ff f1 50 83 ff ff fc") << "a copy is changed";
    for (const char* bad : {"", "ff f1 50 80 00 1f", "ff 01 50 80 00 1f fc"})
        EXPECT_EQ(Fault([&] { SetADTSFrameLength(MakeBlob(bad), 9); }),
                  "Given ADTS header is not valid. Frame length cannot be set.");
}

TEST(AACCodecParser, HeadersOfPackets)
{
    const SP<const IBlob> header = MakeBlob("ff f1 50 80 00 1f fc");
    const SP<IDataPacket> raw = MakeVideoPacket("21 22 23", true);
    const SP<IDataPacket> frame = InsertADTSHeader(raw, header, true);
    EXPECT_EQ(ToHex(*frame), "ff f1 50 80 01 5f fc 21 22 23");
    EXPECT_EQ(Payload(*InsertADTSHeader(raw, header, false)), Payload(*frame));
    EXPECT_EQ(Payload(*ExtractADTSHeader(*frame->GetAVPacket())), Payload(*SetADTSFrameLength(header, 10)));
    const SP<IDataPacket> back = RemoveADTSHeader(frame);
    EXPECT_EQ(Payload(*back), Payload(*raw));
    EXPECT_EQ(back->GetData(), frame->GetData() + 7) << "nothing is copied";
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
}

TEST(AACCodecParser, PacketsThatDoNotFit)
{
    const SP<const IBlob> header = MakeBlob("ff f1 50 80 00 1f fc");
    EXPECT_EQ(InsertADTSHeader(MakePacket(Bytes(8184)), header, true)->GetSize(), 8191);
    EXPECT_EQ(Fault([&] { InsertADTSHeader(MakePacket(Bytes(8185)), header, true); }),
              "Packet data is too large for ADTS format!");
    EXPECT_EQ(Fault([] { InsertADTSHeader(MakePacket({1}), nullptr, true); }),
              "Given ADTS header is not valid. Frame length cannot be set.");
    for (const char* empty : {"", "ff f1", "ff f1 50 80 01 5f fc"})
    {
        EXPECT_NE(Fault([&] { RemoveADTSHeader(MakePacket(Hex(empty))); }), "") << empty;
        const SP<IDataPacket> packet = MakePacket(Hex(empty));
        EXPECT_EQ(ExtractADTSHeader(*packet->GetAVPacket()) != nullptr, packet->GetSize() == 7) << empty;
    }
}
