#include "media/formats/FormatCodecVideo.h"

#include <algorithm>

namespace Tessor::Conf
{

SP<IFormatCodecVideo> IFormatCodecVideo::Create()
{
    return SP<IFormatCodecVideo>(new FormatCodecVideo);
}

FrameInfo FormatCodecVideo::GetFrameInfo() const
{
    const Core::Property::Ratio aspect =
        properties.ChildExists(TAG_ASPECT) ? properties[TAG_ASPECT].GetRatio() : Core::Property::Ratio(1);
    // a tree from outside may hold any ratio; FrameInfo takes 0 for unknown
    const auto positive = [](long long value) { return static_cast<unsigned>(std::max(value, 0LL)); };
    return FrameInfo(static_cast<int>(GetInt64(TAG_WIDTH, 0)), static_cast<int>(GetInt64(TAG_HEIGHT, 0)),
                     positive(aspect.numerator()), positive(aspect.denominator()));
}

PixFmt FormatCodecVideo::GetPixelFormat() const
{
    return static_cast<PixFmt>(GetInt64(TAG_PIXEL_FORMAT, static_cast<int>(PixFmt::None)));
}

void FormatCodecVideo::SetPixelFormat(PixFmt format)
{
    properties.SetChildT<long long>(TAG_PIXEL_FORMAT, static_cast<long long>(format));
}

void FormatCodecVideo::SetFrameRate(unsigned num, unsigned den)
{
    // an unknown rate has no child: 0 would be taken for one
    if (num == 0 || den == 0)
        properties.RemoveChild(TAG_FPS);
    else
        properties.SetChildT(TAG_FPS, Core::Property::Ratio(num, den));
}

void FormatCodecVideo::InitByPixelAspect(unsigned width, unsigned height, unsigned aspectNum, unsigned aspectDen)
{
    // through a FrameInfo, which reduces the aspect and makes an unknown one 1:1
    const FrameInfo info(static_cast<int>(width), static_cast<int>(height), aspectNum, aspectDen);
    properties.SetChildT<long long>(TAG_WIDTH, width);
    properties.SetChildT<long long>(TAG_HEIGHT, height);
    properties.SetChildT(TAG_ASPECT, Core::Property::Ratio(info.aspectNum, info.aspectDen));
}

} // namespace Tessor::Conf
