#include "Proc/Filters/Filters/Cutting/FilterBitStream.h"

#include "host/IEncoder.h"
#include "media/formats/IFormatCodecAudio.h"
#include "media/formats/IFormatCodecVideo.h"
#include "tests/Filters/FakeCodecs.h"
#include "tests/support/Decorators.h"

namespace Tessor::Test
{
namespace
{

using namespace Proc;

const std::string H264 = Conf::IFormatCodecVideo::CODEC_ID_H264;
const std::string HEVC = Conf::IFormatCodecVideo::CODEC_ID_H265;
const std::string AAC = Conf::IFormatCodecAudio::CODEC_ID_AAC;

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

// With lengths of 3 bytes.
const Bytes Avcc3 = Bytes{1, 0x42, 0xC0, 0x1E, 0xFE} + Bytes(Avcc.begin() + 5, Avcc.end());

// The parameter sets of a picture of 64x64 and their hvcC, as an encoder wrote them.
const Bytes Vps{0x40, 0x01, 0x0C, 0x01, 0xFF, 0xFF, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00,
                0x90, 0x00, 0x00, 0x03, 0x00, 0x00, 0x03, 0x00, 0x1E, 0x95, 0x98, 0x09};
const Bytes HevcSps{0x42, 0x01, 0x01, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00, 0x90, 0x00, 0x00, 0x03, 0x00,
                    0x00, 0x03, 0x00, 0x1E, 0xA0, 0x20, 0x81, 0x05, 0x96, 0x56, 0x69, 0x24, 0xCA, 0xE0};
const Bytes HevcPps{0x44, 0x01, 0xC1, 0x72, 0xB4, 0x62, 0x40};
const Bytes HevcAnnexB = Code(Vps) + Code(HevcSps) + Code(HevcPps);
const Bytes Hvcc = []
{
    Bytes header = Bytes{1} + Bytes(20) + Bytes{0xFF, 3};
    for (const auto& [type, unit] : {std::pair<uint8_t, Bytes>{32, Vps}, {33, HevcSps}, {34, HevcPps}})
        header = header + Bytes{type, 0, 1} + Sized(unit, 2);
    return header;
}();

const Bytes AdtsHeader{0xFF, 0xF1, 0x50, 0x80, 0x01, 0x5F, 0xFC}, Asc{0x12, 0x10}, RawFrame{0x21, 0x22, 0x23};

/// Of a packet or a blob, which may be null.
Bytes BytesOf(const auto& item)
{
    return item ? Payload(*item) : Bytes();
}

SettingsFilterBitStream Form(int format)
{
    return SettingsFilterBitStream(static_cast<SettingsFilterBitStream::StreamFormat>(format));
}

/// A key packet at 0 and another at 40 ms.
SP<ScriptedRaw> MakeSource(const std::string& codec, const Bytes& extradata, const Bytes& key = {},
                           const Bytes& other = {}, const char* script = "0K=100 40=101")
{
    const SP<ScriptedRaw> source =
        ScriptedRaw::Create(script, codec == AAC ? MediaType::Audio : MediaType::Video, codec);
    source->SetPayload(100, key);
    source->SetPayload(101, other);
    source->GetFormatCodec()->SetExtradata(MakeExtradata(extradata));
    return source;
}

class LosslessEncoder final : public Hooked<IStreamRaw>, public IEncoderLossless
{
public:
    explicit LosslessEncoder(const SP<IStreamRaw>& parent) : Hooked(parent) {}
    SP<Core::IComputingResource> GetComputingResource() const override { return nullptr; }
};

TEST(FilterBitStream, Conversions)
{
    const Bytes kept{7}, none;
    const Bytes hevcIdr{0x26, 1, 0xAF}, hevcSlice{0x02, 1, 0xD0};
    const Bytes seiIdr = Code(Sei) + Code(Idr), seiSlice = Code(Sei) + Code(Slice);
    const Bytes hevcKey = HevcAnnexB + Code(hevcIdr), adts = AdtsHeader + RawFrame;
    // codec and form; header, key picture and another one, before and after
    const std::tuple<std::string, int, Bytes, Bytes, Bytes, Bytes, Bytes, Bytes> rows[] = {
        {H264, 1, H264AnnexB, Avcc, seiIdr, Sized(Sei, 4) + Sized(Idr, 4), Bytes{0, 0, 1} + Slice, Sized(Slice, 4)},
        {H264, 0, Avcc, H264AnnexB, Sized(Sei, 4) + Sized(Idr, 4), H264AnnexB + seiIdr, Sized(Sei, 4) + Sized(Slice, 4),
         seiSlice},
        {H264, 0, Avcc3, H264AnnexB, Sized(Idr, 3), H264AnnexB + Code(Idr), Sized(Slice, 3), Bytes{0, 0, 1} + Slice},
        {HEVC, 1, HevcAnnexB, none, Code(hevcIdr), Sized(hevcIdr, 4), Code(hevcSlice), Sized(hevcSlice, 4)},
        {HEVC, 0, Hvcc, HevcAnnexB, Sized(hevcIdr, 4), hevcKey, Sized(hevcSlice, 4), Code(hevcSlice)},
        {AAC, 2, AdtsHeader, Asc, adts, RawFrame, adts, RawFrame},
        // what has its form already; key pictures get their headers
        {H264, 0, H264AnnexB, H264AnnexB, Code(Idr), H264AnnexB + Code(Idr), kept, kept},
        {HEVC, 0, HevcAnnexB, HevcAnnexB, Code(hevcIdr), hevcKey, kept, kept},
        {H264, 1, Avcc, Avcc, kept, kept, kept, kept},
        {H264, 2, H264AnnexB, H264AnnexB, kept, kept, kept, kept},  // no AAC
        {AAC, 4, AdtsHeader, none, kept, kept, kept, kept},         // nobody asked
        {AAC, 3, Asc, Asc, RawFrame, RawFrame, RawFrame, RawFrame}, // raw stays, even for ADTS
    };
    for (const auto& [codec, form, header, newHeader, key, newKey, other, newOther] : rows)
    {
        SCOPED_TRACE(codec + " to " + std::to_string(form) + testing::PrintToString(header));
        const auto source = Hooked<IStreamRaw>::Create(MakeSource(codec, header, key, other));
        SP<IDataPacket> given;
        source->map = [&](const SP<IDataPacket>& packet) { return given = packet; };
        const SP<IStreamRawEx> filter = FilterBitStream::Create(source, Form(form));
        const Bytes made = BytesOf(filter->GetFormatCodec()->GetExtradata());
        if (codec == HEVC && form == 1 && newHeader.empty()) // an hvcC says more than its sets
            EXPECT_EQ(made.size(), Hvcc.size());
        else
            EXPECT_EQ(made, newHeader);
        EXPECT_EQ(BytesOf(source->GetFormatCodec()->GetExtradata()), header) << "the parent's format stays";
        for (const auto& [before, after] : {std::pair(key, newKey), {other, newOther}})
        {
            const SP<IDataPacket> packet = filter->Read();
            ASSERT_TRUE(packet);
            EXPECT_EQ(BytesOf(packet), after);
            EXPECT_TRUE(before != after || packet == given) << "what needs no new packet is handed on";
        }
        EXPECT_FALSE(filter->Read());
    }
}

TEST(FilterBitStream, BadPacketsAreDropped)
{
    for (const auto& [codec, header] : {std::pair(H264, Avcc), {HEVC, Hvcc}})
    {
        const SP<ScriptedRaw> source =
            MakeSource(codec, header, Sized(Slice, 4), {0, 0, 0, 9, 0x41}, "0K=100 40=101 80=100");
        const SP<IStreamRawEx> filter = FilterBitStream::Create(source, Form(0));
        EXPECT_TRUE(filter->Read());
        EXPECT_FALSE(filter->Read());
        // Null, but not the end: that is for the source to say.
        EXPECT_LT(source->GetPosition(), source->GetDuration());
        EXPECT_EQ(filter->GetPosition(), 40 * ms) << "the end of what was delivered";
        EXPECT_EQ(BytesOf(filter->Read()), Code(Slice));
        EXPECT_FALSE(filter->Read());
        EXPECT_EQ(source->GetPosition(), source->GetDuration());
    }
}

TEST(FilterBitStream, OtherFailuresPass)
{
    // Faults of AAC packets and of headers are no bad packets.
    const SP<IStreamRaw> aac = FilterBitStream::Create(MakeSource(AAC, AdtsHeader, AdtsHeader), Form(2));
    EXPECT_EQ(ReadAll(aac), "!(RemoveADTSHeader: no data behind the ADTS header)");

    const std::string badHeader = "Bad extra data provided! Can not determine header size.";
    for (const auto& [codec, header, form, failure] : {
             std::tuple(H264, Bytes(), 1, badHeader),
             {HEVC, {}, 1, badHeader},
             {HEVC, {}, 0, ""},
             {H264, {1, 2}, 0, "Not enougth data to determine h264 NALU length size"},
             {AAC, {0xFF, 0xF1, 0x50, 0, 0, 0x1F, 0xFC}, 2, "Frame length is smaller than ADTS header size!"},
         })
    {
        const SP<IStreamRaw> source = MakeSource(codec, header);
        const SettingsFilterBitStream settings = Form(form);
        EXPECT_EQ(TextOf<std::exception>([&] { FilterBitStream::Create(source, settings); }), failure);
    }
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

} // namespace
} // namespace Tessor::Test
