#pragma once

#include "media/formats/FormatCodecImpl.h"
#include "media/formats/IFormatCodecAudio.h"

namespace Tessor::Conf
{

class FormatCodecAudio final : public FormatCodecImpl<IFormatCodecAudio>
{
public:
    SampleInfo GetSampleInfo() const override;
    void SetSampleInfo(const SampleInfo& info) override;
    void SetSampleFormat(SampleFormats format) override;
    void SetChannelLayout(ChannelLayout layout) override;

private:
    FormatCodecAudio* CloneInternal() const override { return new FormatCodecAudio(*this); }
};

} // namespace Tessor::Conf
