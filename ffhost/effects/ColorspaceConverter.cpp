#include "ffhost/effects/ColorspaceConverter.h"

#include "ffhost/FormatTags.h"
#include "ffhost/effects/Frames.h"

extern "C"
{
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

// Chroma is interpolated, not repeated, on its way into RGB and back.
constexpr int flags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;

bool HasAlpha(PixFmt format)
{
    return PixFmtDescription::Find(format).HasAlpha();
}

int GetDepth(PixFmt format)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    return description ? description->comp[0].depth : 0;
}

/// The identity matrix is that of RGB, and of no other format (ITU-T H.273, 8.3).
bool IsLeftBehind(int matrix, PixFmt format)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    return matrix == AVCOL_SPC_RGB && description && (description->flags & AV_PIX_FMT_FLAG_RGB) == 0;
}

/// The format that loses least, and what it loses as libavcodec counts it.
std::pair<PixFmt, int> FindBest(const std::vector<PixFmt>& formats, PixFmt source)
{
    std::vector<AVPixelFormat> list;
    for (const PixFmt format : formats)
        list.push_back(static_cast<AVPixelFormat>(format));
    list.push_back(AV_PIX_FMT_NONE);
    int loss = 0;
    const AVPixelFormat best =
        avcodec_find_best_pix_fmt_of_list(list.data(), static_cast<AVPixelFormat>(source), HasAlpha(source), &loss);
    return {static_cast<PixFmt>(best), loss};
}

} // namespace

ColorspaceConverter::ColorspaceConverter(const SP<const IFactoryDataVideo>& data)
    : EffectBaseOneInput(data), scaler(flags)
{
}

void ColorspaceConverter::ReleaseInternalData()
{
    scaler.Clear();
    pool.Clear();
}

void ColorspaceConverter::UpdateFormat(SP<Conf::IFormatCodecVideo>& format)
{
    if (format->GetPixelFormat() == PixFmt::None)
        return;
    format->SetPixelFormat(Choose(format->GetPixelFormat()));
    Core::Property& tree = format->GetProperties();
    if (tree.ChildExists(FormatTags::COLOR_SPACE) &&
        IsLeftBehind(static_cast<int>(tree[FormatTags::COLOR_SPACE].GetInt64()), format->GetPixelFormat()))
        tree.SetChildT<long long>(FormatTags::COLOR_SPACE, AVCOL_SPC_UNSPECIFIED);
}

void ColorspaceConverter::ProcessItem(SP<IDataVideo>& frame)
{
    const PixFmt format = frame ? Choose(frame->GetPixFmt()) : PixFmt::None;
    if (!frame || format == frame->GetPixFmt())
        return;
    const FramePtr source = ShareFrame(*frame);
    FramePtr target = pool.Get(static_cast<AVPixelFormat>(format), source->width, source->height);
    if (av_frame_copy_props(target.get(), source.get()) < 0)
        throw std::bad_alloc();
    // A format may have said what the record did not.
    if (PictureColors::Of(*source).fullRange)
        target->color_range = AVCOL_RANGE_JPEG;
    if (IsLeftBehind(target->colorspace, format))
        target->colorspace = AVCOL_SPC_UNSPECIFIED;
    scaler.Scale(*source, *target);
    frame = WrapFrame(std::move(target));
}

PixFmt ColorspaceConverter::Choose(PixFmt source) const
{
    const std::vector<PixFmt>& accepted = settings.formats;
    if (accepted.empty() || std::find(accepted.begin(), accepted.end(), source) != accepted.end())
        return source;
    // Alpha comes before all else: libavcodec weighs it as one loss among others.
    const bool alpha = HasAlpha(source) && std::any_of(accepted.begin(), accepted.end(), HasAlpha);
    std::vector<PixFmt> candidates, alike; // alike: of the source's depth
    for (const PixFmt format : accepted)
        if (!alpha || HasAlpha(format))
            candidates.push_back(format);
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(alike),
                 [&](PixFmt format) { return GetDepth(format) == GetDepth(source); });
    // Among those that lose nothing libavcodec would also take one that is deeper.
    const auto [best, loss] = FindBest(alike, source);
    return !alike.empty() && loss == 0 ? best : FindBest(candidates, source).first;
}

} // namespace Tessor::Host
