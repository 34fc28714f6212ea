#include "media/formats/FormatCodecAudio.h"

namespace Tessor::Conf
{

SP<IFormatCodecAudio> IFormatCodecAudio::Create()
{
    return SP<IFormatCodecAudio>(new FormatCodecAudio);
}

SampleInfo FormatCodecAudio::GetSampleInfo() const
{
    return SampleInfo(static_cast<SampleFormats>(GetInt64(TAG_SAMPLE_FORMAT, static_cast<int>(SampleFormats::None))),
                      static_cast<int>(GetInt64(TAG_SAMPLE_RATE, 0)),
                      static_cast<ChannelLayout>(GetInt64(TAG_CHANNEL_LAYOUT, static_cast<int>(ChannelLayout::None))));
}

void FormatCodecAudio::SetSampleInfo(const SampleInfo& info)
{
    properties.SetChildT<long long>(TAG_SAMPLE_RATE, info.GetSampleRate());
    SetSampleFormat(info.GetFormat().format);
    SetChannelLayout(info.GetChannelLayout());
}

void FormatCodecAudio::SetSampleFormat(SampleFormats format)
{
    properties.SetChildT<long long>(TAG_SAMPLE_FORMAT, static_cast<long long>(format));
}

void FormatCodecAudio::SetChannelLayout(ChannelLayout layout)
{
    properties.SetChildT<long long>(TAG_CHANNEL_LAYOUT, static_cast<long long>(layout));
}

} // namespace Tessor::Conf
