#include "ffhost/codecs/TrackEncoder.h"

#include "Fnd/Exception.h"
#include "tests/ffhost/Items.h"
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

// Encoders take other formats and lengths of blocks; the delay that they tell is what lies in front of the sound.
TEST(TrackEncoder, SoundIsPacketsThatAbutAndTellTheDelay)
{
    for (const char* name : {"aac", "libmp3lame", "libopus", "flac", "ac3", "pcm_s16le"})
    {
        SCOPED_TRACE(name);
        const SampleInfo info = FitSampleInfo(name, {SampleFormats::FloatP, 48000, ChannelLayout::Stereo});
        std::vector<SP<IDataAudio>> blocks;
        long long first = 48000;
        for (const int length : {1000, 7, 20000, 3001, 992})
        {
            blocks.push_back(MakeSound(info, length, first));
            first += length;
        }
        EncoderOptions options;
        options.name = name;
        const SP<IStreamAudio> sound(new ListStream<IStreamAudio>(MakeSoundFormat(info), blocks));
        const SP<TrackEncoder> encoder = CreateTrackEncoder(sound, options);
        avTime end = 1000000 - av_rescale(encoder->GetParameters()->initial_padding, 1000000, 48000);
        while (const SP<IDataPacket> packet = encoder->Read())
        {
            EXPECT_EQ(packet->GetPTS(), end);
            end = AddTime(packet->GetPTS(), packet->GetDuration());
        }
        // all 25,000 samples, and no more than the last frame's padding
        EXPECT_GE(end, 1000000 + av_rescale(25000, 1000000, 48000));
        EXPECT_LT(end, 1000000 + av_rescale(25000 + 2048, 1000000, 48000));
    }
}

TEST(TrackEncoder, PicturesKeepTheirTimesThroughReordering)
{
    std::vector<SP<IDataVideo>> frames;
    std::set<avTime> times, delivered;
    for (int i = 0; i < 40; ++i)
    {
        frames.push_back(MakePicture(PixFmt::YUV420P, 64, 48, i));
        frames.back()->SetPTS(500000 + i * 40000 + (i % 3) * 7000); // a rate that is none
        times.insert(frames.back()->GetPTS());
    }
    EncoderOptions options;
    options.name = "libx264";
    const SP<IStreamVideo> pictures(new PictureList(MakeVideoFormat(PixFmt::YUV420P, 64, 48, 4, 3), frames));
    const SP<TrackEncoder> encoder = CreateTrackEncoder(pictures, options);
    EXPECT_EQ(encoder->GetParameters()->sample_aspect_ratio.num, 4);
    EXPECT_GT(encoder->GetParameters()->extradata_size, 0);
    avTime last = NoTime;
    while (const SP<IDataPacket> packet = encoder->Read())
    {
        EXPECT_TRUE(packet->IsKeyFrame() || !delivered.empty());
        EXPECT_GT(packet->GetDTS(), last);
        EXPECT_LE(packet->GetDTS(), packet->GetPTS());
        last = packet->GetDTS();
        delivered.insert(packet->GetPTS());
    }
    EXPECT_EQ(delivered, times);
}

} // namespace Tessor::Host::Tests
