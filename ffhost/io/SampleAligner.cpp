#include "ffhost/io/SampleAligner.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <cstring>

namespace Tessor::Host
{

namespace
{

constexpr avTime SECOND = 1000000;

/// Longer gaps are no seams: time is counted anew behind them.
constexpr avTime MAX_GAP = 60 * SECOND;

uint8_t SilenceOf(AVCodecID codec)
{
    switch (codec)
    {
    case AV_CODEC_ID_PCM_U8:
        return 0x80;
    case AV_CODEC_ID_PCM_ALAW:
        return 0xd5;
    case AV_CODEC_ID_PCM_MULAW:
        return 0xff;
    default:
        return 0;
    }
}

bool IsPlain(AVCodecID codec)
{
    return codec >= AV_CODEC_ID_FIRST_AUDIO && codec < AV_CODEC_ID_ADPCM_IMA_QT;
}

} // namespace

std::optional<SampleAligner> SampleAligner::Create(const AVCodecParameters& parameters)
{
    const int bits = av_get_exact_bits_per_sample(parameters.codec_id);
    const int channels = parameters.ch_layout.nb_channels;
    if (!IsPlain(parameters.codec_id) || bits <= 0 || bits % 8 != 0 || channels <= 0 || parameters.sample_rate <= 0)
        return std::nullopt;
    return SampleAligner(parameters.sample_rate, bits / 8 * channels, SilenceOf(parameters.codec_id));
}

std::vector<SP<Proc::IDataPacket>> SampleAligner::Align(const SP<Proc::IDataPacket>& packet)
{
    const int64_t samples = packet->GetSize() / bytes;
    if (packet->GetPTS() == NoTime || samples == 0)
        return {packet};
    if (start == NoTime || std::abs(packet->GetPTS() - Reached()) > MAX_GAP)
    {
        start = packet->GetPTS();
        written = 0;
    }
    const int64_t gap = av_rescale(packet->GetPTS() - Reached(), rate, SECOND);
    if (gap == 0)
    {
        written += samples;
        return {packet};
    }
    std::vector<SP<Proc::IDataPacket>> aligned;
    for (int64_t left = gap; left > 0; left -= std::min<int64_t>(left, rate))
        aligned.push_back(MakePacket(nullptr, std::min<int64_t>(left, rate)));
    const int64_t twice = std::max<int64_t>(-gap, 0);
    if (twice < samples)
        aligned.push_back(MakePacket(packet->GetData() + twice * bytes, samples - twice));
    return aligned;
}

SP<Proc::IDataPacket> SampleAligner::MakePacket(const uint8_t* data, int64_t samples)
{
    const size_t size = static_cast<size_t>(samples * bytes);
    AVPacket* const made = Proc::CreatePacket(size);
    if (data)
        std::memcpy(made->data, data, size);
    else
        std::memset(made->data, silence, size);
    made->flags = AV_PKT_FLAG_KEY;
    const avTime begin = Reached();
    written += samples;
    return Proc::DataPacketFF::Create(made, MediaType::Audio, begin, begin, Reached() - begin);
}

avTime SampleAligner::Reached() const
{
    return AddTime(start, av_rescale(written, SECOND, rate));
}

} // namespace Tessor::Host
