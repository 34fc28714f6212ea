#include "ffhost/effects/Resizer.h"

#include "Fnd/Exception.h"
#include "ffhost/effects/Frames.h"
#include "ffhost/effects/PictureView.h"

extern "C"
{
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace Tessor::Host
{

using namespace Proc;

namespace
{

Conf::FrameInfo GetInfo(const AVFrame& frame)
{
    const AVRational aspect = frame.sample_aspect_ratio;
    const bool known = aspect.num > 0 && aspect.den > 0;
    return Conf::FrameInfo(frame.width, frame.height, known ? static_cast<unsigned>(aspect.num) : 1,
                           known ? static_cast<unsigned>(aspect.den) : 1);
}

ResizeGeometry FindGeometry(const SettingsResizer& settings, const Conf::FrameInfo& source, PixFmt format)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    return ResizeGeometry::Find(settings, source, description ? 1 << description->log2_chroma_w : 1,
                                description ? 1 << description->log2_chroma_h : 1);
}

} // namespace

Resizer::Resizer(const SP<const IFactoryDataVideo>& data) : EffectBaseOneInput(data), scaler(SWS_BICUBIC) {}

void Resizer::ReleaseInternalData()
{
    scaler.Clear();
    alphaScaler.Clear();
    pool.Clear();
}

void Resizer::UpdateFormat(SP<Conf::IFormatCodecVideo>& format)
{
    const Conf::FrameInfo source = format->GetFrameInfo();
    if (source.width <= 0 || source.height <= 0)
        return;
    const Conf::FrameInfo output = FindGeometry(settings, source, format->GetPixelFormat()).output;
    format->InitByPixelAspect(static_cast<unsigned>(output.width), static_cast<unsigned>(output.height),
                              output.aspectNum, output.aspectDen);
}

void Resizer::ProcessItem(SP<IDataVideo>& frame)
{
    if (!frame)
        return;
    FramePtr source = ShareFrame(*frame);
    const Conf::FrameInfo info = GetInfo(*source);
    const ResizeGeometry geometry = FindGeometry(settings, info, frame->GetPixFmt());
    if (geometry.output == info)
        return;
    const bool sameSize =
        geometry.from == geometry.to && geometry.output.width == info.width && geometry.output.height == info.height;
    FramePtr target = sameSize ? std::move(source) : Resize(*source, geometry);
    target->sample_aspect_ratio = {static_cast<int>(geometry.output.aspectNum),
                                   static_cast<int>(geometry.output.aspectDen)};
    frame = WrapFrame(std::move(target));
}

FramePtr Resizer::Resize(const AVFrame& source, const ResizeGeometry& geometry)
{
    const auto format = static_cast<AVPixelFormat>(source.format);
    FramePtr target = pool.Get(format, geometry.output.width, geometry.output.height);
    if (av_frame_copy_props(target.get(), &source) < 0)
        throw std::bad_alloc();
    const FramePtr from = ViewPicture(source, geometry.from);
    const FramePtr to = ViewPicture(*target, geometry.to);
    if (AlphaScaler::CanScale(format))
        alphaScaler.Scale(*from, *to);
    else
        scaler.Scale(*from, *to);
    // Behind the scaling, which may write a little past the picture's edge.
    PaintBars(*target, geometry.to);
    return target;
}

} // namespace Tessor::Host
