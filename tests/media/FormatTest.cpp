#include "media/formats/IFormatCodecVideo.h"
#include "media/formats/SampleInfo.h"

extern "C"
{
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
}

#include <gtest/gtest.h>

using namespace Tessor;
using namespace Tessor::Conf;

TEST(FormatCodec, RatiosAreReducedAndBadOnesLeftOut)
{
    const SP<IFormatCodecVideo> format = IFormatCodecVideo::Create();
    const std::tuple<unsigned, unsigned, FrameInfo> aspects[] = {
        {32, 30, FrameInfo(720, 576, 16, 15)}, {0, 1, FrameInfo(720, 576, 1, 1)}, {1, 0, FrameInfo(720, 576)}};
    for (const auto& [num, den, expected] : aspects)
    {
        format->InitByPixelAspect(720, 576, num, den);
        EXPECT_EQ(format->GetFrameInfo(), expected);
    }
    for (const auto& [num, den] : {std::pair(0u, 1u), {25u, 0u}})
    {
        format->SetFrameRate(60000, 2002);
        EXPECT_EQ(format->GetProperties()[IFormatCodecVideo::TAG_FPS].GetRatio(), Core::Property::Ratio(30000, 1001));
        format->SetFrameRate(num, den);
        EXPECT_FALSE(format->GetProperties().ChildExists(IFormatCodecVideo::TAG_FPS));
    }
}

TEST(FormatCodec, MergeReachesTheTypedValues)
{
    const SP<IFormatCodecVideo> format = IFormatCodecVideo::Create();
    format->InitByPixelAspect(720, 576, 16, 15);
    format->SetPixelFormat(PixFmt::NV12);
    Core::Property changes("any name");
    changes[IFormatCodecVideo::TAG_WIDTH] = 640;
    changes[IFormatCodecVideo::TAG_ASPECT] = Core::Property::Ratio(-4, 3);
    format->Merge(changes);
    EXPECT_EQ(format->GetFrameInfo(), FrameInfo(640, 576));
    EXPECT_EQ(format->GetPixelFormat(), PixFmt::NV12);
    EXPECT_THROW(format->Merge(changes[IFormatCodecVideo::TAG_WIDTH]), Core::MethodIsNotApplicable);
    EXPECT_EQ(format->GetFrameInfo(), FrameInfo(640, 576)) << "the tree is still there";
}

TEST(SampleInfo, FormatsAreFFmpegs)
{
    for (int i = 0; i < 10; ++i)
    {
        const auto native = static_cast<AVSampleFormat>(i);
        const SampleFormatDescription& ours = SampleFormatDescription::Find(static_cast<SampleFormats>(i));
        EXPECT_EQ(ours.bits, av_get_bytes_per_sample(native) * 8);
        EXPECT_EQ(ours.planar, av_sample_fmt_is_planar(native) != 0);
        EXPECT_EQ(static_cast<int>(ours.planarCounterpart),
                  ours.planar ? av_get_packed_sample_fmt(native) : av_get_planar_sample_fmt(native));
    }
    for (const int unknown : {-7, -1, 10})
        EXPECT_EQ(SampleFormatDescription::Find(static_cast<SampleFormats>(unknown)).bits, 0);
}

TEST(SampleInfo, MergesToTheBetterOfTwo)
{
    using F = SampleFormats;
    using L = ChannelLayout;
    const SampleInfo unset(F::None, -1, L::None);
    const struct
    {
        SampleInfo a, b, expected;
    } rows[] = {
        {{F::None, 0, L::None}, unset, {F::None, 0, L::None}},
        {{F::S16, 44100, L::L5_1}, {F::Float, 48000, L::Stereo}, {F::Float, 48000, L::L5_1}},
        {{F::S16, 48000, L::Stereo}, {F::S16P, 44100, L::Stereo}, {F::S16, 48000, L::Stereo}},
        {{F::S32, 8000, L::Mono}, {F::FloatP, 8000, L::Mono}, {F::FloatP, 8000, L::Mono}},
        {{F::U8, 8000, L::Mono}, {F::U8P, 8000, L::Mono}, {F::S16, 8000, L::Mono}},
        {{F::U8P, 8000, L::Mono}, {F::U8, 8000, L::Mono}, {F::S16P, 8000, L::Mono}},
    };
    for (const auto& row : rows)
    {
        SampleInfo merged = row.a;
        merged.MergeWith(row.b);
        EXPECT_EQ(merged, row.expected) << &row - rows;
    }
}

TEST(ChannelLayout, MatchesFFmpegsMasks)
{
    for (int i = 0; i <= 8; ++i)
    {
        const auto layout = static_cast<ChannelLayout>(i);
        const uint64_t mask = ToFFChannelMask(layout);
        EXPECT_EQ(GetChannelCount(layout), i);
        EXPECT_EQ(__builtin_popcountll(mask), i);
        EXPECT_EQ(FromFFChannelMask(mask, i), layout);
        EXPECT_EQ(FromFFChannelMask(0, i), layout);
    }
    const char* const names[] = {"mono", "stereo", "2.1", "quad", "5.0", "5.1", "6.1(back)", "7.1"};
    for (int i = 0; i < 8; ++i)
    {
        AVChannelLayout named{};
        ASSERT_EQ(av_channel_layout_from_string(&named, names[i]), 0);
        EXPECT_EQ(ToFFChannelMask(static_cast<ChannelLayout>(i + 1)), named.u.mask) << names[i];
    }
    // an unknown layout takes the one of its channel count
    EXPECT_EQ(FromFFChannelMask(AV_CH_LAYOUT_5POINT1, 6), ChannelLayout::L5_1);
    EXPECT_EQ(FromFFChannelMask(AV_CH_LAYOUT_4POINT0, 4), ChannelLayout::Quad);
    EXPECT_EQ(FromFFChannelMask(0, 17), ChannelLayout::None);
}
