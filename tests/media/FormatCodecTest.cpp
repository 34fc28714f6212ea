#include "media/BlobFF.h"
#include "media/IFormatCodecAudio.h"
#include "media/IFormatCodecSubtitle.h"
#include "media/IFormatCodecVideo.h"

#include <gtest/gtest.h>

using namespace Tessor;
using namespace Tessor::Conf;

TEST(FormatCodec, ClonesHaveTheirOwnTreeAndShareExtradata)
{
    const SP<IFormatCodecVideo> format = IFormatCodecVideo::Create();
    EXPECT_EQ(format->GetCodecID(), IFormatCodec::CODEC_ID_NONE);
    format->GetProperties()[IFormatCodec::TAG_CODEC_ID] = IFormatCodecVideo::CODEC_ID_H264;
    format->SetExtradata(Proc::BlobFF::Create(size_t{8}));
    const SP<IFormatCodecVideo> clone = format->Clone();
    const SP<IFormatCodec> neutral = SP<const IFormatCodec>(format)->Clone();
    ASSERT_NE(dynamic_cast<IFormatCodecVideo*>(neutral.get()), nullptr);
    clone->GetProperties()[IFormatCodec::TAG_CODEC_ID] = IFormatCodecVideo::CODEC_ID_VP8;
    EXPECT_EQ(format->GetCodecID(), "h264");
    EXPECT_EQ(neutral->GetCodecID(), "h264");
    EXPECT_EQ(clone->GetExtradata(), format->GetExtradata());
    clone->SetExtradata(nullptr);
    EXPECT_NE(format->GetExtradata(), nullptr);
    EXPECT_EQ(clone->GetRefCount(), 1);
}

TEST(FormatCodec, RatiosAreReducedAndBadOnesLeftOut)
{
    const struct
    {
        unsigned num, den;
        FrameInfo expected;
    } rows[] = {
        {32, 30, FrameInfo(720, 576, 16, 15)},
        {0, 1, FrameInfo(720, 576, 1, 1)},
        {1, 0, FrameInfo(720, 576)},
    };
    for (const auto& row : rows)
    {
        const SP<IFormatCodecVideo> format = IFormatCodecVideo::Create();
        EXPECT_EQ(format->GetFrameInfo(), FrameInfo(0, 0));
        EXPECT_EQ(format->GetPixelFormat(), PixFmt::None);
        format->InitByPixelAspect(720, 576, row.num, row.den);
        EXPECT_EQ(format->GetFrameInfo(), row.expected);
    }
    const SP<IFormatCodecVideo> format = IFormatCodecVideo::Create();
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
}

TEST(FormatCodec, ClonesKeepTheSampleInfo)
{
    const SP<IFormatCodecAudio> audio = IFormatCodecAudio::Create();
    EXPECT_EQ(audio->GetSampleInfo(), SampleInfo());
    for (int sampleFormat = -1; sampleFormat < 10; ++sampleFormat)
    {
        const SampleInfo info(static_cast<SampleFormats>(sampleFormat), 44100, ChannelLayout::L5_1);
        audio->SetSampleInfo(info);
        EXPECT_EQ(audio->Clone()->GetSampleInfo(), info);
    }
    EXPECT_EQ(IFormatCodecSubtitle::Create()->Clone()->GetSubtitleHeader(), "");
}
