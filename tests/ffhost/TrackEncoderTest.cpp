#include "ffhost/codecs/TrackEncoder.h"

#include "Fnd/Exception.h"
#include "media/DataAudioFF.h"
#include "media/DataVideoFF.h"
#include "tests/ffhost/Streams.h"

#include <gtest/gtest.h>

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <set>

namespace Tessor::Host::Tests
{

using namespace Proc;
using Conf::ChannelLayout;
using Conf::SampleFormats;
using Conf::SampleInfo;

namespace
{

SP<IStreamAudio> MakeSound(const SampleInfo& info, const std::vector<int>& lengths, avTime start)
{
    const SP<Conf::IFormatCodecAudio> format = Conf::IFormatCodecAudio::Create();
    format->SetSampleInfo(info);
    std::vector<SP<IDataAudio>> blocks;
    for (const int length : lengths)
    {
        const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(info, length);
        block->SetPTS(start);
        start += block->GetDuration();
        blocks.push_back(block);
    }
    return SP<IStreamAudio>(new ListStream<IStreamAudio>(format, blocks));
}

/// Pictures at the given times.
SP<IStreamVideo> MakePictures(const std::vector<avTime>& times)
{
    const SP<Conf::IFormatCodecVideo> format = Conf::IFormatCodecVideo::Create();
    format->InitByPixelAspect(64, 48, 4, 3);
    format->SetPixelFormat(PixFmt::YUV420P);
    format->SetFrameRate(25, 1);
    std::vector<SP<IDataVideo>> frames;
    for (const avTime time : times)
    {
        const SP<DataVideoFF> frame = DataVideoFF::Create(PixFmt::YUV420P, Conf::FrameInfo(64, 48), nullptr);
        frame->SetPTS(time);
        frame->SetDuration(40000);
        frames.push_back(frame);
    }
    return SP<IStreamVideo>(new PictureList(format, frames));
}

} // namespace

TEST(TrackEncoder, SoundIsPacketsThatAbutAndTellTheDelay)
{
    for (const char* name : {"aac", "libmp3lame", "libopus", "flac", "ac3", "pcm_s16le"})
    {
        const SampleInfo info = FitSampleInfo(name, {SampleFormats::FloatP, 48000, ChannelLayout::Stereo});
        EncoderOptions options;
        options.name = name;
        const SP<TrackEncoder> encoder =
            CreateTrackEncoder(MakeSound(info, {1000, 7, 20000, 3001, 992}, 1000000), options);
        const std::shared_ptr<const AVCodecParameters> told = encoder->GetParameters();
        avTime end = NoTime;
        while (const SP<IDataPacket> packet = encoder->Read())
        {
            if (end == NoTime)
            {
                EXPECT_EQ(packet->GetPTS(), 1000000 - av_rescale(told->initial_padding, 1000000, 48000)) << name;
            }
            else
            {
                EXPECT_EQ(packet->GetPTS(), end) << name;
            }
            end = AddTime(packet->GetPTS(), packet->GetDuration());
        }
        // all 25,000 samples, and no more than the last frame's padding
        EXPECT_GE(end, 1000000 + av_rescale(25000, 1000000, 48000)) << name;
        EXPECT_LT(end, 1000000 + av_rescale(25000 + 2048, 1000000, 48000)) << name;
    }
}

TEST(TrackEncoder, PicturesKeepTheirTimesThroughReordering)
{
    std::vector<avTime> times;
    for (int i = 0; i < 40; ++i)
        times.push_back(500000 + i * 40000 + (i % 3) * 7000); // a rate that is none
    EncoderOptions options;
    options.name = "libx264";
    const SP<TrackEncoder> encoder = CreateTrackEncoder(MakePictures(times), options);
    EXPECT_EQ(encoder->GetParameters()->sample_aspect_ratio.num, 4);
    EXPECT_GT(encoder->GetParameters()->extradata_size, 0);
    std::set<avTime> delivered;
    avTime last = NoTime;
    bool first = true;
    while (const SP<IDataPacket> packet = encoder->Read())
    {
        EXPECT_TRUE(!first || packet->IsKeyFrame());
        EXPECT_TRUE(first || packet->GetDTS() > last);
        EXPECT_LE(packet->GetDTS(), packet->GetPTS());
        last = packet->GetDTS();
        first = false;
        delivered.insert(packet->GetPTS());
    }
    EXPECT_EQ(delivered, std::set<avTime>(times.begin(), times.end()));
}

TEST(TrackEncoder, FitsTheFormatsOfSamples)
{
    struct Row
    {
        const char* encoder;
        SampleInfo source, wanted;
    };
    const Row rows[] = {
        {"aac",
         {SampleFormats::S16, 44100, ChannelLayout::Stereo},
         {SampleFormats::FloatP, 44100, ChannelLayout::Stereo}},
        {"libopus",
         {SampleFormats::FloatP, 44100, ChannelLayout::Stereo},
         {SampleFormats::Float, 48000, ChannelLayout::Stereo}},
        {"libmp3lame",
         {SampleFormats::FloatP, 96000, ChannelLayout::L5_1},
         {SampleFormats::FloatP, 48000, ChannelLayout::Stereo}},
        {"flac", {SampleFormats::S16P, 44100, ChannelLayout::Mono}, {SampleFormats::S16, 44100, ChannelLayout::Mono}},
        {"pcm_s16le",
         {SampleFormats::FloatP, 22050, ChannelLayout::L5_1},
         {SampleFormats::S16, 22050, ChannelLayout::L5_1}},
    };
    for (const Row& row : rows)
        EXPECT_TRUE(FitSampleInfo(row.encoder, row.source) == row.wanted) << row.encoder;
}

TEST(TrackEncoder, RefusesByNameAndSaysWhatThereIs)
{
    EncoderOptions options;
    options.name = "libnone";
    try
    {
        ChooseEncoder("out.mp3", MediaType::Audio, options);
        FAIL();
    }
    catch (const CodecFactoryException& e)
    {
        EXPECT_NE(Describe(e).find("\"libnone\""), std::string::npos);
        EXPECT_NE(Describe(e).find("libmp3lame"), std::string::npos);
        EXPECT_EQ(Describe(e).find("flac"), std::string::npos);
    }
    EXPECT_EQ(ChooseEncoder("out.webm", MediaType::Audio, {}).name, "libopus");
    EXPECT_FALSE(HasPlaceFor("out.mp3", MediaType::Video));
}

} // namespace Tessor::Host::Tests
