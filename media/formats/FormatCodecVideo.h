#pragma once

#include "media/formats/FormatCodecImpl.h"
#include "media/formats/IFormatCodecVideo.h"

namespace Tessor::Conf
{

class FormatCodecVideo final : public FormatCodecImpl<IFormatCodecVideo>
{
public:
    FrameInfo GetFrameInfo() const override;
    PixFmt GetPixelFormat() const override;
    void SetPixelFormat(PixFmt format) override;
    void SetFrameRate(unsigned num, unsigned den) override;
    void InitByPixelAspect(unsigned width, unsigned height, unsigned aspectNum, unsigned aspectDen) override;

private:
    FormatCodecVideo* CloneInternal() const override { return new FormatCodecVideo(*this); }
};

} // namespace Tessor::Conf
