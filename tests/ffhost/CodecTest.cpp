#include "Proc/CodecParsers/H264CodecParser.h"
#include "ffhost/FormatTags.h"
#include "ffhost/codecs/CodecFactory.h"
#include "host/ImplNames.h"
#include "media/items/DataPacketFF.h"
#include "tests/CodecParsers/HeaderTools.h"
#include "tests/CodecParsers/ParameterSetWriter.h"
#include "tests/ffhost/Items.h"
#include "tests/ffhost/Streams.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <set>

namespace Tessor::Host::Tests
{

using namespace Proc;
using Conf::IFormatCodec;
using Conf::IFormatCodecVideo;

namespace
{

constexpr int WIDTH = 352, HEIGHT = 288, COUNT = 40;

using Frames = std::vector<SP<IDataVideo>>;

/// Pictures at an odd start time and the rate of 30000/1001.
Frames MakePictures(PixFmt pixels)
{
    Frames frames;
    for (int n = 0; n < COUNT; ++n)
    {
        frames.push_back(MakePicture(pixels, WIDTH, HEIGHT, n));
        const avTime start = 700123 + 1001LL * n * 1000000 / 30000;
        frames.back()->SetPTS(start);
        frames.back()->SetDuration(700123 + 1001LL * (n + 1) * 1000000 / 30000 - start);
    }
    return frames;
}

SP<IFormatCodecVideo> MakeFormat(const std::string& codec, PixFmt pixels, int reorder)
{
    const SP<IFormatCodecVideo> format = MakeVideoFormat(pixels, WIDTH, HEIGHT, 12, 11);
    format->SetFrameRate(30000, 1001);
    Core::Property& tree = format->GetProperties();
    tree.SetChildT<std::string>(IFormatCodec::TAG_CODEC_ID, codec);
    tree.SetChildT<long long>(FormatTags::REORDER_DEPTH, reorder);
    tree.SetChildT<long long>(IFormatCodec::TAG_BITRATE, 2000000);
    return format;
}

SP<IEncoder> Encode(const SP<IFormatCodecVideo>& format, const Frames& frames)
{
    const SP<IStreamVideo> source(new PictureList(format, frames));
    return CodecFactory::Create()->CreateEncoder(source, format->GetProperties(), ImplNames::FFMPEG, nullptr);
}

Frames Decode(const SP<IFormatCodec>& format, const Packets& packets)
{
    return ReadItems(*CodecFactory::Create()->CreateDecoder(SP<IStreamRaw>(new PacketList(format, packets)), ""));
}

/// Pictures at their places, which abut and are those that were encoded.
void CheckDecoded(const Frames& decoded, const Frames& frames, double psnr)
{
    ASSERT_EQ(decoded.size(), frames.size());
    for (size_t i = 0; i < decoded.size(); ++i)
    {
        EXPECT_EQ(decoded[i]->GetPTS(), frames[i]->GetPTS());
        EXPECT_EQ(decoded[i]->GetDuration(), frames[i]->GetDuration());
        EXPECT_GE(FindPsnr(*frames[i], *decoded[i]), psnr) << i;
    }
}

/// A packet for each of the frames, in an order that decoders can follow.
void CheckPackets(const Packets& packets, const Frames& frames, int reorder)
{
    ASSERT_EQ(packets.size(), frames.size());
    EXPECT_TRUE(packets[0]->IsKeyFrame());
    std::map<avTime, avTime> times, expected;
    avTime lastDts = NoTime;
    for (size_t i = 0; i < packets.size(); ++i)
    {
        const avTime pts = packets[i]->GetPTS(), dts = packets[i]->GetDTS();
        EXPECT_LT(lastDts, dts);
        EXPECT_LE(dts, pts);
        lastDts = dts;
        times[pts] = packets[i]->GetDuration();
        expected[frames[i]->GetPTS()] = frames[i]->GetDuration();
        EXPECT_LE(std::count_if(packets.begin(), packets.begin() + static_cast<int>(i),
                                [&](const auto& before) { return before->GetPTS() > pts; }),
                  reorder);
    }
    EXPECT_EQ(times, expected);
}

} // namespace

struct EncodeCase
{
    const char* name;
    std::string codec;
    PixFmt pixels;
    int reorder; // that the source has
    double psnr; // that every picture must reach
    std::string special = "";
    int fieldOrder = AV_FIELD_UNKNOWN;
};

using EncodeTest = testing::TestWithParam<EncodeCase>;

TEST_P(EncodeTest, OnePacketAFrameThatDecodesToIt)
{
    const EncodeCase& c = GetParam();
    const SP<IFormatCodecVideo> format = MakeFormat(c.codec, c.pixels, c.reorder);
    Core::Property& tree = format->GetProperties();
    tree.SetChildT<long long>(FormatTags::FIELD_ORDER, c.fieldOrder);
    Core::Property options(IFormatCodec::TAG_CODEC_OPTIONS_ENCODE);
    if (!c.special.empty())
        options.SetChildT<std::string>(IFormatCodecVideo::TAG_FF_SPECIAL_OPTS, c.special);
    tree.SetChild(IFormatCodec::TAG_CODEC_OPTIONS_ENCODE, options);

    const Frames frames = MakePictures(c.pixels);
    const SP<IEncoder> encoder = Encode(format, frames);
    if (c.codec == "h264")
    {
        // readers of a file that begins with these pictures expect all of it to be reordered as deep as they tell
        Proc::CodecParsers::SPS_decoded sps;
        const SP<const Proc::IBlob> header = encoder->GetFormatCodec()->GetExtradata();
        Proc::CodecParsers::DecodeSPS(header->Data(), header->Size(), sps);
        EXPECT_EQ(sps.vui_parameters.max_num_reorder_frames, static_cast<uint32_t>(c.reorder));
    }
    for (int pass = 0; pass < 2; ++pass) // the second after a seek
    {
        Tessor::Test::Seek(encoder, 0);
        const Packets packets = ReadItems<IStreamRaw>(*encoder);
        CheckPackets(packets, frames, c.reorder);
        CheckDecoded(Decode(encoder->GetFormatCodec(), packets), frames, c.psnr);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Codecs, EncodeTest,
    testing::Values(EncodeCase{"H264", "h264", PixFmt::YUV420P, 0, 38},
                    EncodeCase{"H264Reordered", "h264", PixFmt::YUV420P, 2, 38,
                               "x264opts;sps-id=1:ref=4:qp=26:chroma-qp-offset=3:weightp=0"},
                    EncodeCase{"H264Cavlc", "h264", PixFmt::YUV420P, 1, 38,
                               "x264opts;sps-id=1:qp=40:chroma-qp-offset=3:no-cabac:weightp=2"},
                    EncodeCase{"H264Interlaced", "h264", PixFmt::YUV420P, 1, 38, "x264opts;sps-id=1", AV_FIELD_TT},
                    EncodeCase{"H264FullChroma", "h264", PixFmt::YUV444P, 1, 38},
                    EncodeCase{"H264FullRange", "h264", PixFmt::YUVJ420P, 1, 38},
                    EncodeCase{"Mpeg2Interlaced", "mpeg2video", PixFmt::YUV420P, 1, 36, "", AV_FIELD_TT},
                    EncodeCase{"Theora", "theora", PixFmt::YUV420P, 0, 36}),
    [](const auto& info) { return info.param.name; });

TEST(EncoderTest, UnitsFitIntoTheLengthsOfTheSource)
{
    const SP<IDataVideo> noise = MakePicture(PixFmt::YUV420P, WIDTH, HEIGHT, 0);
    std::minstd_rand random;
    for (size_t y = 0; y < HEIGHT; ++y)
        std::generate_n(noise->GetPlane(0).GetOffsetPtr(0, y), WIDTH, [&] { return static_cast<uint8_t>(random()); });
    noise->SetPTS(0);
    noise->SetDuration(40000);
    const SP<IFormatCodecVideo> format = MakeFormat("h264", PixFmt::YUV420P, 0);
    RecodeOptions finest;
    finest.quality = 2;
    const auto encode = [&](uint8_t lengthByte)
    {
        Tessor::Test::Bytes header = Tessor::Test::H264Fields().AvcC();
        header[4] = lengthByte;
        format->SetExtradata(Tessor::Test::MakeBlob(header));
        const SP<IStreamVideo> source(new PictureList(format, {noise}));
        return CodecFactory::Create({}, finest)
            ->CreateEncoder(source, format->GetProperties(), ImplNames::FFMPEG, nullptr);
    };
    EXPECT_THROW(encode(0xFC), CodecFactoryException) << "of one byte";
    const SP<IDataPacket> packet = encode(0xFD)->Read();
    std::vector<Proc::CodecParsers::Nalu> units;
    Proc::CodecParsers::FindAnnexBNalus(packet->GetData(), static_cast<size_t>(packet->GetSize()), units);
    EXPECT_GT(packet->GetSize(), 65535);
    for (const auto& unit : units)
        EXPECT_LT(unit.second, 65536u);
}

// What is seen is what consumers that fold repeats compare.
TEST(DecoderTest, StillPicturesDifferAndAreNotCopiedUnasked)
{
    const SP<IFormatCodecVideo> format = MakeFormat("h264", PixFmt::YUV420P, 0);
    Frames still = MakePictures(PixFmt::YUV420P);
    for (const SP<IDataVideo>& frame : still)
        frame->Fill(Color(200, 100, 50, 255));
    const SP<IEncoder> encoder = Encode(format, still);
    const SP<PacketList> source(new PacketList(encoder->GetFormatCodec(), ReadItems<IStreamRaw>(*encoder)));
    const Frames first = ReadItems(*CodecFactory::Create()->CreateDecoder(source, ""));
    ASSERT_EQ(first.size(), still.size());
    for (size_t i = 1; i < first.size(); ++i)
        EXPECT_EQ(*first[i]->GetPlane(0).GetOffsetPtr(0, 0) ^ *first[i - 1]->GetPlane(0).GetOffsetPtr(0, 0), 1) << i;

    Tessor::Test::Seek(source, 0);
    const Frames shared =
        ReadItems(*CodecFactory::Create({.wanted = {}, .distinct = false})->CreateDecoder(source, ""));
    CheckDecoded(shared, first, 70);
    for (size_t i = 1; i < shared.size(); ++i)
        EXPECT_NE(shared[i]->GetPlane(0).GetOffsetPtr(0, 0), shared[i - 1]->GetPlane(0).GetOffsetPtr(0, 0));
}

TEST(DecoderTest, DamagedPacketsAreCountedNotFatal)
{
    const SP<IEncoder> encoder = Encode(MakeFormat("h264", PixFmt::YUV420P, 0), MakePictures(PixFmt::YUV420P));
    const Packets packets = ReadItems<IStreamRaw>(*encoder);
    for (size_t i = 5; i < 8; ++i)
    {
        ASSERT_EQ(av_packet_make_writable(packets[i]->GetAVPacket()), 0);
        std::memset(packets[i]->GetAVPacket()->data, 0x5A, static_cast<size_t>(packets[i]->GetSize()));
    }
    const SP<IStreamVideo> decoder =
        CodecFactory::Create()->CreateDecoder(SP<IStreamRaw>(new PacketList(encoder->GetFormatCodec(), packets)), "");
    EXPECT_GE(ReadItems(*decoder).size(), packets.size() - 3);
    EXPECT_GE(std::prev(decoder->GetStatistic().end())->operator[]("Damaged").GetInt64(), 3);
}

TEST(DecoderTest, PicturesWhoseTimesStandStillAreShownOneAfterTheOther)
{
    const SP<IEncoder> encoder = Encode(MakeFormat("h264", PixFmt::YUV420P, 0), MakePictures(PixFmt::YUV420P));
    const Packets packets = ReadItems<IStreamRaw>(*encoder);
    const avTime start = packets.front()->GetPTS();
    for (size_t i = 0; i < packets.size(); ++i)
    {
        packets[i]->SetPTS(start + static_cast<avTime>(i) * MILLISECOND);
        packets[i]->SetDTS(packets[i]->GetPTS());
        packets[i]->SetDuration(40 * MILLISECOND);
    }
    const SP<IStreamVideo> decoder =
        CodecFactory::Create()->CreateDecoder(SP<IStreamRaw>(new PacketList(encoder->GetFormatCodec(), packets)), "");
    const Frames frames = ReadItems(*decoder);
    ASSERT_EQ(frames.size(), packets.size());
    EXPECT_EQ(frames.back()->GetPTS() - start,
              8 * MILLISECOND + static_cast<avTime>(packets.size() - 9) * 40 * MILLISECOND);
}

} // namespace Tessor::Host::Tests
