#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "ffhost/FormatTags.h"
#include "ffhost/codecs/CodecFactory.h"
#include "host/ImplNames.h"
#include "media/DataPacketFF.h"
#include "media/DataVideoFF.h"
#include "tests/ffhost/RawFile.h"
#include "tests/ffhost/Streams.h"

#include <gtest/gtest.h>

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <cmath>
#include <cstring>
#include <iostream>

namespace Tessor::Host::Tests
{

using namespace Proc;
using Conf::IFormatCodec;
using Conf::IFormatCodecVideo;

namespace
{

constexpr int WIDTH = 352, HEIGHT = 288, COUNT = 40;

using Frames = std::vector<SP<IDataVideo>>;
using Packets = std::vector<SP<IDataPacket>>;

/// A textured pattern that moves, with a block of changing brightness.
SP<IDataVideo> MakePicture(PixFmt pixels, int number)
{
    const SP<DataVideoFF> frame = DataVideoFF::Create(pixels, Conf::FrameInfo(WIDTH, HEIGHT), nullptr);
    for (int i = 0; i < GetPlanesCount(*frame); ++i)
    {
        const auto plane = frame->GetPlane(i);
        for (size_t y = 0; y < plane.GetHeight(); ++y)
            for (size_t x = 0; x < plane.GetRowBytes(); ++x)
            {
                const double wave = std::sin((static_cast<double>(x) + 2 * number) / 9.0) *
                                    std::cos((static_cast<double>(y) - number) / (7.0 + i));
                const bool block = (x / 40 + y / 40) % 5 == 0;
                *plane.GetOffsetPtr(x, y) = static_cast<uint8_t>(128 + 60 * wave + (block ? (number * 5) % 60 : 0));
            }
    }
    return frame;
}

/// Pictures at an odd start time and the rate of 30000/1001.
Frames MakePictures(PixFmt pixels)
{
    Frames frames;
    for (int n = 0; n < COUNT; ++n)
    {
        frames.push_back(MakePicture(pixels, n));
        const avTime start = 700123 + 1001LL * n * 1000000 / 30000;
        frames.back()->SetPTS(start);
        frames.back()->SetDuration(700123 + 1001LL * (n + 1) * 1000000 / 30000 - start);
    }
    return frames;
}

SP<IFormatCodecVideo> MakeFormat(const std::string& codec, PixFmt pixels, int reorder)
{
    const SP<IFormatCodecVideo> format = IFormatCodecVideo::Create();
    format->InitByPixelAspect(WIDTH, HEIGHT, 12, 11);
    format->SetPixelFormat(pixels);
    format->SetFrameRate(30000, 1001);
    Core::Property& tree = format->GetProperties();
    tree.SetChildT<std::string>(IFormatCodec::TAG_CODEC_ID, codec);
    tree.SetChildT<long long>(FormatTags::REORDER_DEPTH, reorder);
    tree.SetChildT<long long>(IFormatCodec::TAG_BITRATE, 2000000);
    return format;
}

template <class Stream>
std::vector<SP<typename Stream::Item>> ReadAll(const SP<Stream>& stream)
{
    std::vector<SP<typename Stream::Item>> items;
    while (const auto item = stream->Read())
        items.push_back(item);
    return items;
}

double Psnr(const IDataVideo& a, const IDataVideo& b)
{
    double error = 0, count = 0;
    for (int i = 0; i < GetPlanesCount(a); ++i)
    {
        const auto left = a.GetPlane(i), right = b.GetPlane(i);
        for (size_t y = 0; y < left.GetHeight(); ++y)
            for (size_t x = 0; x < left.GetRowBytes(); ++x)
            {
                const double d = double(*left.GetOffsetPtr(x, y)) - *right.GetOffsetPtr(x, y);
                error += d * d;
                ++count;
            }
    }
    return error == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * count / error);
}

double LowestPsnr(const Frames& a, const Frames& b)
{
    double lowest = 99;
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        lowest = std::min(lowest, Psnr(*a[i], *b[i]));
    return lowest;
}

SP<IStreamVideo> Decode(const SP<IFormatCodec>& format, const Packets& packets)
{
    return CodecFactory::Create()->CreateDecoder(SP<IStreamRaw>(new PacketList(format, packets)), "");
}

SP<IEncoder> Encode(const SP<IFormatCodecVideo>& format, const Frames& frames, const Core::Property& recode)
{
    const SP<IStreamVideo> source(new PictureList(format, frames));
    return CodecFactory::Create()->CreateEncoder(source, recode, ImplNames::FFMPEG, nullptr);
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

class EncodeTest : public testing::TestWithParam<EncodeCase>
{
};

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
    const SP<IEncoder> encoder = Encode(format, frames, tree);
    if (c.codec == std::string("h264"))
    {
        // readers of a file that begins with these pictures expect all of it to be reordered as deep as they tell
        Proc::CodecParsers::SPS_decoded sps;
        const SP<const Proc::IBlob> header = encoder->GetFormatCodec()->GetExtradata();
        Proc::CodecParsers::DecodeSPS(header->Data(), header->Size(), sps);
        EXPECT_EQ(sps.vui_parameters.max_num_reorder_frames, static_cast<uint32_t>(c.reorder));
    }
    for (int pass = 0; pass < 2; ++pass) // the second after a seek
    {
        encoder->RequestSeek(0, nullptr);
        encoder->DoSeek();
        const Packets packets = ReadAll<IStreamRaw>(encoder);
        ASSERT_EQ(packets.size(), frames.size());
        EXPECT_TRUE(packets[0]->IsKeyFrame());
        std::map<avTime, avTime> times;
        avTime lastDts = NoTime;
        int depth = 0;
        for (size_t i = 0; i < packets.size(); ++i)
        {
            const avTime pts = packets[i]->GetPTS(), dts = packets[i]->GetDTS();
            EXPECT_LT(lastDts, dts);
            EXPECT_LE(dts, pts);
            lastDts = dts;
            times[pts] = packets[i]->GetDuration();
            int before = 0; // pictures that are decoded earlier and shown later
            for (size_t k = 0; k < i; ++k)
                before += packets[k]->GetPTS() > pts;
            depth = std::max(depth, before);
        }
        EXPECT_LE(depth, c.reorder);
        ASSERT_EQ(times.size(), frames.size());
        auto expected = frames.begin();
        for (const auto& [pts, duration] : times)
        {
            EXPECT_EQ(pts, (*expected)->GetPTS());
            EXPECT_EQ(duration, (*expected)->GetDuration());
            ++expected;
        }

        const Frames decoded = ReadAll(Decode(encoder->GetFormatCodec(), packets));
        ASSERT_EQ(decoded.size(), frames.size());
        for (size_t i = 0; i < decoded.size(); ++i)
            EXPECT_EQ(decoded[i]->GetPTS(), frames[i]->GetPTS());
        EXPECT_GE(LowestPsnr(frames, decoded), c.psnr);
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
                    EncodeCase{"Mpeg1", "mpeg1video", PixFmt::YUV420P, 1, 36},
                    EncodeCase{"Mpeg2", "mpeg2video", PixFmt::YUV420P, 1, 36},
                    EncodeCase{"Mpeg2Interlaced", "mpeg2video", PixFmt::YUV420P, 1, 36, "", AV_FIELD_TT},
                    EncodeCase{"Mpeg2Low", "mpeg2video", PixFmt::YUV422P, 0, 36},
                    EncodeCase{"Mpeg4", "mpeg4", PixFmt::YUV420P, 0, 36},
                    EncodeCase{"Mpeg4Reordered", "mpeg4", PixFmt::YUV420P, 1, 36},
                    EncodeCase{"H263", "h263", PixFmt::YUV420P, 0, 36},
                    EncodeCase{"Wmv2", "wmv2", PixFmt::YUV420P, 0, 36},
                    EncodeCase{"Vp8", "vp8", PixFmt::YUV420P, 0, 36}, EncodeCase{"Vp9", "vp9", PixFmt::YUV420P, 0, 36},
                    EncodeCase{"Theora", "theora", PixFmt::YUV420P, 0, 36}),
    [](const auto& info) { return info.param.name; });

struct GroupCase
{
    const char* clip;
    size_t first; // of the key frames, the group to take
    double psnr;
};

class GroupTest : public testing::TestWithParam<GroupCase>
{
};

TEST_P(GroupTest, RealGroupsSurviveDecodingAndEncoding)
{
    const GroupCase& c = GetParam();
    const std::string clip = FindClip(c.clip);
    if (clip.empty())
        GTEST_SKIP() << "no clip";
    const RawFile file = ReadRawFile(clip);
    const auto track = std::find_if(file.tracks.begin(), file.tracks.end(),
                                    [](const auto& t) { return t.info.type == MediaType::Video; });
    Packets group;
    size_t keys = 0;
    for (const SP<IDataPacket>& packet : track->packets)
    {
        keys += packet->IsKeyFrame();
        if (keys == c.first)
            group.push_back(packet);
    }
    ASSERT_FALSE(group.empty());
    const SP<IFormatCodec> format = track->info.format;
    Core::Property& tree = format->GetProperties();
    tree.SetChildT<long long>(FormatTags::REORDER_DEPTH, track->info.parameters->video_delay);
    tree.SetChildT<long long>(FormatTags::FIELD_ORDER, track->info.parameters->field_order);
    tree.SetChildT(IFormatCodecVideo::TAG_FPS,
                   Core::Property::Ratio(track->info.frameRateNum, track->info.frameRateDen));

    const SP<IStreamVideo> decoder = Decode(format, group);
    const Frames frames = ReadAll(decoder);
    ASSERT_EQ(frames.size(), group.size());
    for (size_t i = 0; i + 1 < frames.size(); ++i)
        EXPECT_EQ(frames[i]->GetPTS() + frames[i]->GetDuration(), frames[i + 1]->GetPTS());
    EXPECT_GT(frames.back()->GetDuration(), 0);

    const SP<IEncoder> encoder = CodecFactory::Create()->CreateEncoder(decoder, tree, ImplNames::FFMPEG, nullptr);
    encoder->RequestSeek(0, nullptr);
    encoder->DoSeek();
    const Packets packets = ReadAll<IStreamRaw>(encoder);
    ASSERT_EQ(packets.size(), group.size());
    const Frames again = ReadAll(Decode(encoder->GetFormatCodec(), packets));
    ASSERT_EQ(again.size(), frames.size());
    const double psnr = LowestPsnr(frames, again);
    EXPECT_GE(psnr, c.psnr);
    size_t before = 0, after = 0;
    for (size_t i = 0; i < group.size(); ++i)
    {
        before += static_cast<size_t>(group[i]->GetSize());
        after += static_cast<size_t>(packets[i]->GetSize());
    }
    RecordProperty("psnr", std::to_string(psnr));
    RecordProperty("growth", std::to_string(static_cast<double>(after) / static_cast<double>(before)));
    std::cout << c.clip << " psnr " << psnr << " growth " << double(after) / double(before) << "\n";
}

INSTANTIATE_TEST_SUITE_P(
    Clips, GroupTest,
    testing::Values(GroupCase{"h264-high-closedgop-bframes-aac.mp4", 2, 38},
                    GroupCase{"h264-high-cinemascope-aac51.mp4", 2, 38},
                    GroupCase{"h264-baseline-cavlc-aac.mp4", 2, 38}, GroupCase{"h264-join-first-aac.mp4", 2, 38},
                    GroupCase{"h264-vfr-screen.mp4", 2, 38}, GroupCase{"h264-high-annexb-aac.ts", 2, 38},
                    GroupCase{"mpeg2-mp2.m2ts", 2, 32}, GroupCase{"mpeg1-es-nasa.mpg", 1, 32},
                    GroupCase{"mpeg4sp-85s-aac.mov", 2, 32}, GroupCase{"h263-amr.3gp", 2, 32},
                    GroupCase{"vp9-opus.webm", 2, 32}, GroupCase{"theora-vorbis.ogv", 2, 32},
                    GroupCase{"wmv2-wmav2-letterbox.wmv", 1, 32}, GroupCase{"vp8-alpha.webm", 1, 32}),
    [](const auto& info)
    {
        std::string name = info.param.clip;
        std::replace_if(
            name.begin(), name.end(), [](unsigned char ch) { return !std::isalnum(ch); }, '_');
        return name;
    });

/// What a consumer that folds repeats does: whole rows, padding included.
std::string WholeRows(const IDataVideo& frame)
{
    std::string rows;
    for (int i = 0; i < GetPlanesCount(frame); ++i)
    {
        const auto plane = frame.GetPlane(i);
        rows.append(reinterpret_cast<const char*>(plane.GetOffsetPtr(0, 0)),
                    static_cast<size_t>(plane.GetStride()) * plane.GetHeight());
    }
    return rows;
}

TEST(DecoderTest, StillPicturesDifferAndSeeksStartAfresh)
{
    const SP<IFormatCodecVideo> format = MakeFormat("h264", PixFmt::YUV420P, 0);
    Frames still = MakePictures(PixFmt::YUV420P);
    for (size_t i = 1; i < still.size(); ++i)
    {
        const SP<IDataVideo> same = still[0]->Clone(0);
        same->SetPTS(still[i]->GetPTS());
        same->SetDuration(still[i]->GetDuration());
        still[i] = same;
    }
    const SP<IEncoder> encoder = Encode(format, still, format->GetProperties());
    const Packets packets = ReadAll<IStreamRaw>(encoder);
    const SP<PacketList> source(new PacketList(encoder->GetFormatCodec(), packets));
    const SP<IStreamVideo> decoder = CodecFactory::Create()->CreateDecoder(source, "");
    const Frames first = ReadAll(decoder);
    ASSERT_EQ(first.size(), still.size());
    for (size_t i = 0; i < first.size(); ++i)
    {
        const auto plane = first[i]->GetPlane(0);
        EXPECT_GE(plane.GetStride() - static_cast<ptrdiff_t>(plane.GetRowBytes()), 16);
        EXPECT_TRUE(i == 0 || WholeRows(*first[i - 1]) != WholeRows(*first[i]));
    }

    const Frames shared =
        ReadAll(CodecFactory::Create({.wanted = {}, .distinct = false})
                    ->CreateDecoder(SP<IStreamRaw>(new PacketList(encoder->GetFormatCodec(), packets)), ""));
    ASSERT_EQ(shared.size(), still.size());
    EXPECT_EQ(LowestPsnr(first, shared), 99);
    for (size_t i = 1; i < shared.size(); ++i)
        EXPECT_NE(shared[i]->GetPlane(0).GetOffsetPtr(0, 0), shared[i - 1]->GetPlane(0).GetOffsetPtr(0, 0));

    decoder->RequestSeek(0, nullptr);
    EXPECT_EQ(source->TakePartner(), SP<IStream>(decoder));
    decoder->DoSeek();
    EXPECT_EQ(ReadAll(decoder).size(), still.size());
}

TEST(DecoderTest, LeadInIsDecodedAndDropped)
{
    // A group of P pictures only decodes behind the key picture that it leans on.
    const SP<IFormatCodecVideo> format = MakeFormat("mpeg4", PixFmt::YUV420P, 0);
    const Frames frames = MakePictures(PixFmt::YUV420P);
    const SP<IEncoder> encoder = Encode(format, frames, format->GetProperties());
    const Packets packets = ReadAll<IStreamRaw>(encoder);
    const Packets lead(packets.begin(), packets.begin() + 10), own(packets.begin() + 10, packets.end());
    dynamic_cast<DataPacketFF&>(*own[0]).SetLeadIn(lead);
    const Frames decoded = ReadAll(Decode(encoder->GetFormatCodec(), own));
    ASSERT_EQ(decoded.size(), own.size());
    EXPECT_EQ(decoded[0]->GetPTS(), frames[10]->GetPTS());
    EXPECT_GE(LowestPsnr(decoded, Frames(frames.begin() + 10, frames.end())), 36);
}

TEST(DecoderTest, DamagedPacketsAreCountedNotFatal)
{
    const SP<IFormatCodecVideo> format = MakeFormat("h264", PixFmt::YUV420P, 0);
    const SP<IEncoder> encoder = Encode(format, MakePictures(PixFmt::YUV420P), format->GetProperties());
    Packets packets = ReadAll<IStreamRaw>(encoder);
    for (size_t i = 5; i < 8; ++i)
    {
        packets[i] = packets[i]->Clone();
        AVPacket* record = packets[i]->GetAVPacket();
        ASSERT_EQ(av_packet_make_writable(record), 0);
        std::memset(record->data, 0x5A, static_cast<size_t>(record->size));
    }
    const SP<IStreamVideo> decoder = Decode(encoder->GetFormatCodec(), packets);
    EXPECT_GE(ReadAll(decoder).size(), packets.size() - 3);
    EXPECT_GE(decoder->GetStatistic().begin()->operator[]("Damaged").GetInt64(), 3);
}

TEST(EncoderTest, RefusesWhatCannotStandBesideTheSource)
{
    const auto failure = [](const std::string& codec, PixFmt pixels, const std::string& profile,
                            const std::string& refusal) -> std::string
    {
        const SP<IFormatCodecVideo> format = MakeFormat(codec, pixels, 0);
        Core::Property options(IFormatCodec::TAG_CODEC_OPTIONS_ENCODE);
        options.SetChildT<std::string>(IFormatCodec::TAG_PROFILE, profile);
        format->GetProperties().SetChild(IFormatCodec::TAG_CODEC_OPTIONS_ENCODE, options);
        format->GetProperties().SetChildT<std::string>(FormatTags::REFUSE_RECODE, refusal);
        try
        {
            Encode(format, {}, format->GetProperties());
        }
        catch (const CodecFactoryException& e)
        {
            return Describe(e);
        }
        return "";
    };
    EXPECT_EQ(failure("h264", PixFmt::YUV420P, "main", ""), "");
    EXPECT_EQ(failure("h264", PixFmt::YUV420P, "main", "identifier 1 is taken"), "identifier 1 is taken");
    EXPECT_EQ(failure("h264", PixFmt::YUV420P, IFormatCodecVideo::TAG_X264_PROFILE_EXTENDED, ""),
              "libx264 knows no extended profile");
    EXPECT_EQ(failure("vp8", PixFmt::YUVA420P, "", ""), "libvpx can't encode pixels of the format yuva420p");
    EXPECT_EQ(failure("mpeg4", PixFmt::YUV444P, "", ""), "mpeg4 can't encode pixels of the format yuv444p");
    EXPECT_EQ(failure("h265", PixFmt::YUV420P, "", ""), "No encoder for hevc");
}

} // namespace Tessor::Host::Tests
