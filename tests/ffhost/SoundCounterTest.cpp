#include "ffhost/io/SoundCounter.h"

#include <gtest/gtest.h>

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <memory>
#include <random>

namespace Tessor::Host::Tests
{

struct CountCase
{
    AVCodecID codec;
    int samples; // a packet
    int bytes;   // a packet
    AVRational tick;
    int64_t within; // microseconds
    bool startsAnywhere = false;
};

using SoundCounterTest = testing::TestWithParam<CountCase>;

// Pieces of no whole number of packets, one after the other, and a late start: the error must not add up.
TEST_P(SoundCounterTest, StaysInPlaceOverManySeams)
{
    const CountCase& c = GetParam();
    constexpr int rate = 48000;
    const std::unique_ptr<AVCodecParameters, void (*)(AVCodecParameters*)> parameters(
        avcodec_parameters_alloc(), [](AVCodecParameters* p) { avcodec_parameters_free(&p); });
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = c.codec;
    parameters->sample_rate = rate;
    av_channel_layout_default(&parameters->ch_layout, 2);
    ASSERT_TRUE(SoundCounter::Counts(*parameters, c.tick));
    SoundCounter counter(*parameters, c.tick, c.startsAnywhere);

    std::mt19937 dice(7);
    const int64_t length = 1000000LL * c.samples / rate;
    int64_t start = 90000;
    int64_t counted = c.startsAnywhere ? av_rescale_q(start, {1, 1000000}, c.tick) : 0;
    for (int piece = 0; piece < 200; ++piece)
    {
        const int64_t packets = 1 + static_cast<int64_t>(dice() % 30);
        for (int64_t i = 0; i < packets; ++i)
        {
            PacketPtr packet(av_packet_alloc());
            ASSERT_EQ(av_new_packet(packet.get(), c.bytes), 0);
            packet->pts = start + i * length;
            const int64_t wanted = packet->pts;
            int64_t last = AV_NOPTS_VALUE, lastBytes = 0;
            counter.Place(std::move(packet),
                          [&](AVPacket& out)
                          {
                              EXPECT_EQ(out.pts, counted);
                              counted += out.duration;
                              last = av_rescale_q(out.pts, c.tick, {1, 1000000});
                              lastBytes = out.size;
                          });
            // what was cut begins later, and what was left out is not there to be off
            if (last != AV_NOPTS_VALUE && lastBytes == c.bytes)
            {
                EXPECT_NEAR(last, wanted, static_cast<double>(c.within));
            }
        }
        start += packets * length - static_cast<int64_t>(dice() % static_cast<unsigned>(length)) + length / 2;
    }
}

INSTANTIATE_TEST_SUITE_P(Codecs, SoundCounterTest,
                         testing::Values(CountCase{AV_CODEC_ID_MP3, 1152, 384, {1152, 48000}, 13100},
                                         CountCase{AV_CODEC_ID_AC3, 1536, 768, {1536, 48000}, 17100},
                                         CountCase{AV_CODEC_ID_PCM_S16LE, 960, 3840, {1, 48000}, 1100},
                                         CountCase{AV_CODEC_ID_PCM_S16LE, 960, 3840, {1, 48000}, 1100, true}));

} // namespace Tessor::Host::Tests
