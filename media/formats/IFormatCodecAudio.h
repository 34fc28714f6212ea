#pragma once

#include "media/formats/IFormatCodec.h"
#include "media/formats/SampleInfo.h"

namespace Tessor::Conf
{

/// The format of an audio stream.
class TESSOR_API IFormatCodecAudio : public virtual IFormatCodec
{
public:
    inline static const std::string TAG_SAMPLE_RATE = "SampleRate";       ///< int64, Hz
    inline static const std::string TAG_SAMPLE_FORMAT = "SampleFormat";   ///< int64, SampleFormats
    inline static const std::string TAG_CHANNEL_LAYOUT = "ChannelLayout"; ///< int64, ChannelLayout

    inline static const std::string CODEC_ID_AAC = "aac";
    inline static const std::string CODEC_ID_AAC_LATM = "aac_latm";

    static SP<IFormatCodecAudio> Create();
    SP<IFormatCodecAudio> Clone() const { return SP<IFormatCodecAudio>(CloneInternal()); }

    virtual SampleInfo GetSampleInfo() const = 0;
    virtual void SetSampleInfo(const SampleInfo& info) = 0;
    virtual void SetSampleFormat(SampleFormats format) = 0;
    virtual void SetChannelLayout(ChannelLayout layout) = 0;

private:
    IFormatCodecAudio* CloneInternal() const override = 0;
};

} // namespace Tessor::Conf
