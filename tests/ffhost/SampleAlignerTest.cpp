#include "ffhost/io/SampleAligner.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <cstring>
#include <gtest/gtest.h>

namespace Tessor::Host::Tests
{

namespace
{

/// A packet of samples that count up from the one that belongs to its time; 1000 a second.
SP<Proc::IDataPacket> MakeSound(int first, int count)
{
    AVPacket* const packet = Proc::CreatePacket(static_cast<size_t>(count) * 2);
    for (int i = 0; i < count; ++i)
    {
        const auto value = static_cast<int16_t>(first + i + 1);
        std::memcpy(packet->data + 2 * i, &value, 2);
    }
    return Proc::DataPacketFF::Create(packet, MediaType::Audio, first * 1000, first * 1000, count * 1000);
}

/// What comes out for packets of (first, count), as runs "value+count"; 0 is silence.
std::string Aligned(const std::vector<std::pair<int, int>>& sounds)
{
    AVCodecParameters* parameters = avcodec_parameters_alloc();
    parameters->codec_id = AV_CODEC_ID_PCM_S16LE;
    parameters->sample_rate = 1000;
    av_channel_layout_default(&parameters->ch_layout, 1);
    std::optional<SampleAligner> aligner = SampleAligner::Create(*parameters);
    avcodec_parameters_free(&parameters);
    std::string text;
    avTime end = NoTime;
    for (const auto& [first, count] : sounds)
        for (const SP<Proc::IDataPacket>& piece : aligner->Align(MakeSound(first, count)))
        {
            EXPECT_TRUE(end == NoTime || piece->GetPTS() == end);
            EXPECT_EQ(piece->GetDuration(), piece->GetSize() / 2 * 1000);
            end = piece->GetPTS() + piece->GetDuration();
            int16_t value = 0;
            std::memcpy(&value, piece->GetData(), 2);
            text += (text.empty() ? "" : " ") + std::to_string(value) + "+" + std::to_string(piece->GetSize() / 2);
        }
    return text;
}

} // namespace

TEST(SampleAligner, FillsAndTrims)
{
    EXPECT_EQ(Aligned({{0, 10}, {10, 10}}), "1+10 11+10");
    EXPECT_EQ(Aligned({{5, 10}, {18, 10}, {28, 2}}), "6+10 0+3 19+10 29+2");
    EXPECT_EQ(Aligned({{0, 10}, {7, 10}, {12, 5}, {17, 5}}), "1+10 11+7 18+5") << "one of them came twice as a whole";
    EXPECT_EQ(Aligned({{0, 10}, {2510, 10}}), "1+10 0+1000 0+1000 0+500 2511+10");
}

TEST(SampleAligner, OnlyForPlainSamples)
{
    AVCodecParameters* parameters = avcodec_parameters_alloc();
    parameters->sample_rate = 48000;
    av_channel_layout_default(&parameters->ch_layout, 2);
    for (const auto& [codec, plain] : {std::pair{AV_CODEC_ID_PCM_S24BE, true},
                                       {AV_CODEC_ID_PCM_U8, true},
                                       {AV_CODEC_ID_ADPCM_IMA_WAV, false},
                                       {AV_CODEC_ID_AAC, false}})
    {
        parameters->codec_id = codec;
        EXPECT_EQ(SampleAligner::Create(*parameters).has_value(), plain) << avcodec_get_name(codec);
    }
    avcodec_parameters_free(&parameters);
}

} // namespace Tessor::Host::Tests
