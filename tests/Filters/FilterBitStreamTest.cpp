#include "Proc/Filters/Filters/FilterBitStream.h"

#include "Proc/Settings/SettingsStreamMetadataUpdater.h"
#include "host/IEncoder.h"
#include "media/BlobFF.h"
#include "media/IFormatCodecAudio.h"
#include "media/IFormatCodecVideo.h"
#include "tests/support/Conformance.h"
#include "tests/support/ReadAll.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <gtest/gtest.h>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using Bytes = std::vector<uint8_t>;
using Format = SettingsFilterBitStream::StreamFormat;

const std::string H264 = Conf::IFormatCodecVideo::CODEC_ID_H264;
const std::string HEVC = Conf::IFormatCodecVideo::CODEC_ID_H265;
const std::string AAC = Conf::IFormatCodecAudio::CODEC_ID_AAC;

Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes Code(const Bytes& unit)
{
    return Bytes{0, 0, 0, 1} + unit;
}

Bytes Sized(const Bytes& unit, size_t lengthSize)
{
    Bytes prefix(lengthSize);
    prefix.back() = static_cast<uint8_t>(unit.size());
    return prefix + unit;
}

// Headers of either form, and two packets of two units each: a key packet and another.
const Bytes Sps{0x67, 0x42, 0xC0, 0x1E, 0xD9}, Pps{0x68, 0xCB, 0x83};
const Bytes H264AnnexB = Code(Sps) + Code(Pps);
const Bytes Avcc = Bytes{1, 0x42, 0xC0, 0x1E, 0xFF, 0xE1} + Sized(Sps, 2) + Bytes{1} + Sized(Pps, 2);
const Bytes Idr{0x65, 0x88, 0x80}, Slice{0x41, 0x9A}, Sei{0x06, 5};

// The parameter sets of a picture of 64x64 and their hvcC, as an encoder wrote them.
const Bytes Vps{0x40, 0x01, 0x0C, 0x01, 0xFF, 0xFF, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00,
                0x90, 0x00, 0x00, 0x03, 0x00, 0x00, 0x03, 0x00, 0x1E, 0x95, 0x98, 0x09};
const Bytes HevcSps{0x42, 0x01, 0x01, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00, 0x90, 0x00, 0x00, 0x03, 0x00,
                    0x00, 0x03, 0x00, 0x1E, 0xA0, 0x20, 0x81, 0x05, 0x96, 0x56, 0x69, 0x24, 0xCA, 0xE0};
const Bytes HevcPps{0x44, 0x01, 0xC1, 0x72, 0xB4, 0x62, 0x40};
const Bytes HevcAnnexB = Code(Vps) + Code(HevcSps) + Code(HevcPps);
const Bytes Hvcc = []
{
    Bytes header(23);
    header[0] = 1;
    header[21] = 0xFF;
    header[22] = 3;
    for (const auto& [type, unit] : {std::pair<uint8_t, Bytes>{32, Vps}, {33, HevcSps}, {34, HevcPps}})
        header = header + Bytes{type, 0, 1} + Sized(unit, 2);
    return header;
}();

const Bytes AdtsHeader{0xFF, 0xF1, 0x50, 0x80, 0x01, 0x5F, 0xFC}, Asc{0x12, 0x10}, RawFrame{0x21, 0x22, 0x23};

SP<const IBlob> Blob(const Bytes& bytes)
{
    return bytes.empty() ? nullptr : SP<const IBlob>(BlobFF::Create(bytes.data(), bytes.size()));
}

Bytes BytesOf(const SP<const IBlob>& blob)
{
    return blob ? Bytes(blob->Data(), blob->Data() + blob->Size()) : Bytes();
}

Bytes BytesOf(const SP<IDataPacket>& packet)
{
    return packet ? BytesOf(packet->GetBlob()) : Bytes();
}

SettingsFilterBitStream Form(int format)
{
    return SettingsFilterBitStream(static_cast<Format>(format));
}

/// A key packet at 0 and another at 40 ms.
SP<ScriptedRaw> MakeSource(const std::string& codec, const Bytes& extradata, const Bytes& key = {},
                           const Bytes& other = {})
{
    const bool video = codec == H264 || codec == HEVC;
    const SP<ScriptedRaw> source =
        ScriptedRaw::Create("0K=100 40=101", video ? MediaType::Video : MediaType::Audio, codec);
    source->SetPayload(100, key);
    source->SetPayload(101, other);
    source->GetFormatCodec()->SetExtradata(Blob(extradata));
    return source;
}

/// Notes what it hands on.
class Tap final : public PassThrough<IStreamRaw>
{
public:
    explicit Tap(const SP<IStreamRaw>& parent) : PassThrough(parent) {}

    const IDataPacket* packet = nullptr; // the one handed on last
    const uint8_t* data = nullptr;       // its bytes
    SP<IDataPacket> sharer;              // set by share
    bool share = false;

private:
    SP<IDataPacket> ReadInternal() override
    {
        const SP<IDataPacket> read = parentStream->Read();
        packet = read.get();
        data = read ? read->GetData() : nullptr;
        sharer = share && read ? read->Clone() : nullptr;
        return read;
    }
};

class LosslessEncoder final : public PassThrough<IStreamRaw>, public IEncoderLossless
{
public:
    explicit LosslessEncoder(const SP<IStreamRaw>& parent) : PassThrough(parent) {}
    SP<Core::IComputingResource> GetComputingResource() const override { return nullptr; }
};

std::string Failure(const std::function<void()>& call)
{
    try
    {
        call();
    }
    catch (const FilterException& e)
    {
        return "FilterException: " + Describe(e);
    }
    catch (const std::exception& e)
    {
        return Describe(e);
    }
    return "";
}

const std::string BadHeader = "FilterException: Bad extra data provided! Can not determine header size.";

} // namespace

TEST(FilterBitStream, Conforms)
{
    for (const int form : {0, 2, 4}) // without a header there are no lengths
        CheckConformance<IStreamRaw>("0K 40 80 120K 160", [form](const SP<IStreamRaw>& source)
                                     { return FilterBitStream::Create(source, Form(form)); });
}

TEST(FilterBitStream, Conversions)
{
    const Bytes unchanged{7};
    struct Row
    {
        const char* name;
        const std::string& codec;
        int form;
        Bytes header, newHeader;
        Bytes key, newKey;
        Bytes other, newOther;
    };
    const Bytes hevcIdr{0x26, 1, 0xAF}, hevcSlice{0x02, 1, 0xD0};
    const Row rows[] = {
        {"H.264 to MP4", H264, 1, H264AnnexB, Avcc, Code(Sei) + Code(Idr), Sized(Sei, 4) + Sized(Idr, 4),
         Bytes{0, 0, 1} + Slice, Sized(Slice, 4)},
        {"H.264 to Annex B", H264, 0, Avcc, H264AnnexB, Sized(Sei, 4) + Sized(Idr, 4),
         H264AnnexB + Code(Sei) + Code(Idr), Sized(Sei, 4) + Sized(Slice, 4), Code(Sei) + Code(Slice)},
        {"HEVC to MP4",
         HEVC,
         1,
         HevcAnnexB,
         {},
         Code(hevcIdr),
         Sized(hevcIdr, 4),
         Code(hevcSlice),
         Sized(hevcSlice, 4)},
        {"HEVC to Annex B", HEVC, 0, Hvcc, HevcAnnexB, Sized(hevcIdr, 4), HevcAnnexB + Code(hevcIdr),
         Sized(hevcSlice, 4), Code(hevcSlice)},
        {"ADTS to raw", AAC, 2, AdtsHeader, Asc, AdtsHeader + RawFrame, RawFrame, AdtsHeader + RawFrame, RawFrame},
        {"H.264 stays Annex B", H264, 0, H264AnnexB, H264AnnexB, Code(Idr), H264AnnexB + Code(Idr), Code(Slice),
         Code(Slice)},
        {"H.264 has its sets", H264, 0, H264AnnexB, H264AnnexB, H264AnnexB + Code(Idr), H264AnnexB + Code(Idr), {}, {}},
        {"HEVC stays Annex B", HEVC, 0, HevcAnnexB, HevcAnnexB, Code(hevcIdr), HevcAnnexB + Code(hevcIdr),
         Code(hevcSlice), Code(hevcSlice)},
        {"H.264 without header", H264, 0, {}, {}, Code(Idr), Code(Idr), unchanged, unchanged},
        {"avcC stays", H264, 1, Avcc, Avcc, unchanged, unchanged, unchanged, unchanged},
        {"hvcC stays", HEVC, 1, Hvcc, Hvcc, unchanged, unchanged, unchanged, unchanged},
        {"H.264 as AAC", H264, 2, H264AnnexB, H264AnnexB, unchanged, unchanged, unchanged, unchanged},
        {"unasked H.264", H264, 4, Avcc, Avcc, unchanged, unchanged, unchanged, unchanged},
        {"unasked ADTS", AAC, 4, AdtsHeader, {}, unchanged, unchanged, unchanged, unchanged},
        {"ADTS stays", AAC, 3, AdtsHeader, {}, AdtsHeader + RawFrame, AdtsHeader + RawFrame, unchanged, unchanged},
        {"raw stays, even for ADTS", AAC, 3, Asc, Asc, RawFrame, RawFrame, RawFrame, RawFrame},
        {"raw stays", AAC, 2, Asc, Asc, RawFrame, RawFrame, RawFrame, RawFrame},
        {"AAC without header", AAC, 2, {}, {}, AdtsHeader, AdtsHeader, RawFrame, RawFrame},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.name);
        const SP<Tap> tap(new Tap(MakeSource(row.codec, row.header, row.key, row.other)));
        const SP<IStreamRawEx> filter = FilterBitStream::Create(tap, Form(row.form));
        const Bytes header = BytesOf(filter->GetFormatCodec()->GetExtradata());
        if (std::string(row.name) != "HEVC to MP4") // an hvcC says more than its sets
            EXPECT_EQ(header, row.newHeader);
        else
            EXPECT_EQ(header.size(), Hvcc.size());
        EXPECT_EQ(BytesOf(tap->GetFormatCodec()->GetExtradata()), row.header) << "the parent's format stays";
        for (const auto& [before, after] : {std::pair(row.key, row.newKey), {row.other, row.newOther}})
        {
            const SP<IDataPacket> packet = filter->Read();
            ASSERT_TRUE(packet);
            EXPECT_EQ(BytesOf(packet), after);
            EXPECT_EQ(packet.get() == tap->packet, before == after || (row.form == 0 && !packet->IsKeyFrame()))
                << "what needs no new packet is handed on";
        }
        EXPECT_FALSE(filter->Read());
    }
}

TEST(FilterBitStream, LengthsOfAllSizes)
{
    for (size_t lengthSize = 1; lengthSize <= 4; ++lengthSize)
    {
        Bytes header = Avcc;
        header[4] = static_cast<uint8_t>(0xFC | (lengthSize - 1));
        const SP<Tap> tap(new Tap(MakeSource(H264, header, Sized(Idr, lengthSize), Sized(Slice, lengthSize))));
        const SP<IStreamRawEx> filter = FilterBitStream::Create(tap, Form(0));
        EXPECT_EQ(BytesOf(filter->Read()), H264AnnexB + Code(Idr));
        const SP<IDataPacket> packet = filter->Read();
        EXPECT_EQ(BytesOf(packet), lengthSize == 3 ? Bytes({0, 0, 1}) + Slice : Code(Slice));
        EXPECT_EQ(packet->GetData() == tap->data, lengthSize >= 3) << "in place, where the start code fits";
    }
}

TEST(FilterBitStream, BytesOfOthersStay)
{
    const Bytes packet = Sized(Slice, 4);
    const SP<Tap> tap(new Tap(MakeSource(H264, Avcc, Sized(Idr, 4), packet)));
    const SP<IStreamRawEx> filter = FilterBitStream::Create(tap, Form(0));
    filter->Read();
    tap->share = true;
    EXPECT_EQ(BytesOf(filter->Read()), Code(Slice));
    EXPECT_EQ(BytesOf(tap->sharer), packet);
}

TEST(FilterBitStream, ThereAndBack)
{
    const Bytes key = Code(Sei) + Code(Idr), other = Code(Sei) + Code(Slice);
    const SP<IStreamRaw> mp4 = FilterBitStream::Create(MakeSource(H264, H264AnnexB, key, other), Form(1));
    const SP<IStreamRaw> back = FilterBitStream::Create(mp4, Form(0));
    EXPECT_EQ(BytesOf(back->GetFormatCodec()->GetExtradata()), H264AnnexB);
    EXPECT_EQ(BytesOf(back->Read()), H264AnnexB + key);
    EXPECT_EQ(BytesOf(back->Read()), other);
    EXPECT_EQ(ReadAll(FilterBitStream::Create(MakeSource(H264, H264AnnexB, key, other), Form(1))), "0K 40 E");
}

TEST(FilterBitStream, BadPacketsAreDropped)
{
    for (const auto& [codec, header] : {std::pair(H264, Avcc), {HEVC, Hvcc}})
    {
        const SP<ScriptedRaw> source = ScriptedRaw::Create("0K=100 40=101 80=100", MediaType::Video, codec);
        source->SetPayload(100, Sized(Slice, 4));
        source->SetPayload(101, {0, 0, 0, 9, 0x41});
        source->GetFormatCodec()->SetExtradata(Blob(header));
        const SP<IStreamRawEx> filter = FilterBitStream::Create(source, Form(0));
        EXPECT_TRUE(filter->Read());
        EXPECT_FALSE(filter->Read());
        // Null, but not the end: that is for the source to say.
        EXPECT_FALSE(filter->IsTerminated());
        EXPECT_EQ(source->GetPosition(), 80 * ms);
        EXPECT_LT(source->GetPosition(), source->GetDuration());
        EXPECT_EQ(filter->GetPosition(), 40 * ms) << "the end of what was delivered";
        EXPECT_EQ(BytesOf(filter->Read()), Code(Slice));
        EXPECT_FALSE(filter->Read());
        EXPECT_EQ(source->GetPosition(), source->GetDuration());
        const Core::Property statistic = filter->GetStatistic();
        EXPECT_EQ((*(statistic.begin() + 1))["count"].GetInt64(), 2) << "what was delivered";
    }
}

TEST(FilterBitStream, OtherFailuresPass)
{
    // Faults of AAC packets and of headers are no bad packets.
    const SP<IStreamRaw> aac = FilterBitStream::Create(MakeSource(AAC, AdtsHeader, AdtsHeader), Form(2));
    EXPECT_EQ(Failure([&] { aac->Read(); }), "RemoveADTSHeader: no data behind the ADTS header");

    const auto create = [](const std::string& codec, const Bytes& header, int form)
    { return Failure([&] { FilterBitStream::Create(MakeSource(codec, header), Form(form)); }); };
    EXPECT_EQ(create(H264, {}, 1), BadHeader);
    EXPECT_EQ(create(HEVC, {}, 1), BadHeader);
    EXPECT_EQ(create(HEVC, {}, 0), "");
    EXPECT_EQ(create(H264, {1, 2}, 0), "Not enougth data to determine h264 NALU length size");
    EXPECT_EQ(create(H264, Code(Sps), 1), "No sps or pps found!");
    EXPECT_EQ(create(HEVC, Code(Vps), 1), "Can't find nalu of type 33");
    EXPECT_EQ(create(AAC, AdtsHeader, 4), "");
    EXPECT_EQ(create(AAC, {0xFF, 0xF1, 0x50, 0, 0, 0x1F, 0xFC}, 2), "Frame length is smaller than ADTS header size!");
}

TEST(FilterBitStream, KeepsWhatAPacketIs)
{
    const SP<ScriptedRaw> source = ScriptedRaw::Create("80K:20d40p60=100", MediaType::Video, H264);
    source->SetPayload(100, Code(Idr));
    source->GetFormatCodec()->SetExtradata(Blob(H264AnnexB));
    for (int form = 0; form < 2; ++form)
    {
        Seek(source, 0);
        const SP<IDataPacket> packet = FilterBitStream::Create(source, Form(form))->Read();
        EXPECT_TRUE(packet->IsKeyFrame());
        EXPECT_EQ(packet->GetPTS(), 80 * ms);
        EXPECT_EQ(packet->GetDTS(), 40 * ms);
        EXPECT_EQ(packet->GetDuration(), 20 * ms);
        EXPECT_EQ(packet->GetPosition(), 60 * ms);
    }
}

TEST(FilterBitStream, InitializeStartsFromTheParentsHeader)
{
    const SP<ScriptedRaw> source = MakeSource(H264, Avcc, Sized(Idr, 4), Sized(Slice, 4));
    const SP<IStreamRawEx> filter = FilterBitStream::Create(source, Form(0));
    filter->Initialize(Form(0));
    EXPECT_EQ(BytesOf(filter->Read()), H264AnnexB + Code(Idr));
    filter->Initialize(Form(1));
    EXPECT_EQ(BytesOf(filter->GetFormatCodec()->GetExtradata()), Avcc);
    EXPECT_EQ(BytesOf(filter->Read()), Sized(Slice, 4));
    EXPECT_THROW(filter->Initialize(SettingsStreamMetadataUpdater()), std::bad_cast);
    EXPECT_THROW(FilterBitStream::Create(source, SettingsStreamMetadataUpdater()), std::bad_cast);
}

TEST(FilterBitStream, LosslessEncodersOfAudioGetTheHeaderThemselves)
{
    const auto formats = [](const SP<IStreamRaw>& parent)
    {
        const SP<Conf::IFormatCodec> shown = FilterBitStream::Create(parent, Form(2))->GetFormatCodec();
        return std::pair(shown == parent->GetFormatCodec(), BytesOf(shown->GetExtradata()));
    };
    const auto encoder = [](const SP<IStreamRaw>& source) { return SP<IStreamRaw>(new LosslessEncoder(source)); };
    EXPECT_EQ(formats(encoder(MakeSource(AAC, AdtsHeader))), std::pair(true, Asc));
    EXPECT_EQ(formats(MakeSource(AAC, AdtsHeader)), std::pair(false, Asc));
    EXPECT_EQ(formats(encoder(MakeSource(H264, Avcc))), std::pair(false, Avcc));
}

TEST(FilterBitStream, RetiredFormsAndSettings)
{
    const SP<ScriptedRaw> source = MakeSource(H264, {});
    const SP<IStreamRawEx> filter = FilterBitStream::Create(source, SettingsFilterBitStream());
    EXPECT_EQ(Failure([&] { filter->Initialize(Core::Property("X")); }), "FilterException: Deprecated method");
    EXPECT_EQ(Failure([&] { filter->GetSettings(); }), "FilterException: Deprecated method");
    EXPECT_EQ(filter->GetMediaType(), MediaType::Video);
    EXPECT_TRUE(Form(1).IsEqualTo(Form(1)));
    EXPECT_FALSE(Form(1).IsEqualTo(Form(2)));
    EXPECT_THROW(Form(1).IsEqualTo(SettingsStreamMetadataUpdater()), std::bad_cast);
    Visitors::InfoCollector names;
    filter->Accept(names);
    EXPECT_EQ(names.GetElements(), (std::vector<std::string>{"FilterBitStream", "Scripted"}));
}

} // namespace Tessor::Test
