#include "ffhost/effects/Resizer.h"

#include "Fnd/Exception.h"
#include "ffhost/FormatTags.h"
#include "ffhost/effects/Frames.h"
#include "ffhost/effects/PictureView.h"
#include "ffhost/effects/PlainFormats.h"
#include "media/FFmpegCompat.h"

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

/// Otherwise pictures of that geometry are the source's, whose pixels have another shape.
bool IsRedrawn(const ResizeGeometry& geometry, const Conf::FrameInfo& source)
{
    return geometry.from != geometry.to || geometry.output.width != source.width ||
           geometry.output.height != source.height;
}

/// Whether every row, of chroma too, stays in its field.
bool KeepsFields(const ResizeGeometry& geometry, PixFmt format)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    const int rows = 2 << (description ? description->log2_chroma_h : 0);
    return geometry.from.height == geometry.to.height && (geometry.from.y - geometry.to.y) % rows == 0;
}

} // namespace

Resizer::Resizer(const SP<const IFactoryDataVideo>& data) : EffectBaseOneInput(data), scaler(SWS_BICUBIC), plain(data)
{
    plain.Initialise(GetPlainFormats());
}

void Resizer::ReleaseInternalData()
{
    scaler.Clear();
    alphaScaler.Clear();
    plain.ReleaseInternalData();
    pool.Clear();
}

void Resizer::UpdateFormat(SP<Conf::IFormatCodecVideo>& format)
{
    const Conf::FrameInfo source = format->GetFrameInfo();
    if (source.width <= 0 || source.height <= 0)
        return;
    // by the steps that a picture takes in ProcessItem, so that the format tells what comes
    const ResizeGeometry geometry = FindGeometry(settings, source, format->GetPixelFormat());
    const Conf::FrameInfo& output = geometry.output;
    if (IsRedrawn(geometry, source))
        plain.UpdateFormat(format);
    Core::Property& tree = format->GetProperties();
    if (!KeepsFields(geometry, format->GetPixelFormat()) && IsInterlaced(GetNumber(tree, FormatTags::FIELD_ORDER, 0)))
        tree.SetChildT<long long>(FormatTags::FIELD_ORDER, FormatTags::FIELD_ORDER_PROGRESSIVE);
    format->InitByPixelAspect(static_cast<unsigned>(output.width), static_cast<unsigned>(output.height),
                              output.aspectNum, output.aspectDen);
}

void Resizer::ProcessItem(SP<IDataVideo>& frame)
{
    if (!frame)
        return;
    FramePtr picture = ShareFrame(*frame);
    const Conf::FrameInfo info = GetInfo(*picture);
    const ResizeGeometry geometry = FindGeometry(settings, info, frame->GetPixFmt());
    if (geometry.output == info)
        return;
    // Otherwise only the shape of a pixel changes, which the record tells.
    if (IsRedrawn(geometry, info))
    {
        plain.Process(frame);
        picture = Resize(*ShareFrame(*frame), geometry);
    }
    picture->sample_aspect_ratio = {static_cast<int>(geometry.output.aspectNum),
                                    static_cast<int>(geometry.output.aspectDen)};
    frame = WrapFrame(std::move(picture));
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
    // After the scaling, which may write a little past the picture's edge.
    PaintBars(*target, geometry.to);
    if (!KeepsFields(geometry, static_cast<PixFmt>(format)))
    {
        FFmpeg::SetInterlaced(*target, false);
        FFmpeg::SetTopFieldFirst(*target, false);
    }
    return target;
}

} // namespace Tessor::Host
