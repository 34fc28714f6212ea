#include "ffhost/effects/PictureView.h"

#include "Fnd/Exception.h"

extern "C"
{
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <bit>

namespace Tessor::Host
{

namespace
{

const AVPixFmtDescriptor& GetDescription(const AVFrame& picture)
{
    return *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
}

/// libavutil paints black opaque.
void ClearAlpha(const AVFrame& picture)
{
    const AVPixFmtDescriptor& description = GetDescription(picture);
    const auto format = static_cast<AVPixelFormat>(picture.format);
    if (!(description.flags & AV_PIX_FMT_FLAG_ALPHA) || !HasPlainComponents(format))
        return;
    const ComponentPlane plane = ComponentPlane::Of(picture, description.nb_components - 1);
    for (int y = 0; y < plane.height; ++y)
        for (int x = 0; x < plane.width; ++x)
        {
            if (description.comp[0].depth > 8)
                plane.At<uint16_t>(x, y) = 0;
            else
                plane.At<uint8_t>(x, y) = 0;
        }
}

void PaintBlack(const AVFrame& picture, const PictureRect& part)
{
    if (part.width <= 0 || part.height <= 0)
        return;
    const FramePtr view = ViewPicture(picture, part);
    const ptrdiff_t strides[4] = {view->linesize[0], view->linesize[1], view->linesize[2], view->linesize[3]};
    av_image_fill_black(view->data, strides, static_cast<AVPixelFormat>(view->format), view->color_range, view->width,
                        view->height);
    ClearAlpha(*view);
}

} // namespace

FramePtr ViewPicture(const AVFrame& picture, const PictureRect& part)
{
    FramePtr view(av_frame_clone(&picture));
    if (!view)
        throw std::bad_alloc();
    view->crop_left = static_cast<size_t>(part.x);
    view->crop_top = static_cast<size_t>(part.y);
    view->crop_right = static_cast<size_t>(picture.width - part.x - part.width);
    view->crop_bottom = static_cast<size_t>(picture.height - part.y - part.height);
    // unaligned: the part begins where it is asked for, not at the next place that vectors like
    if (av_frame_apply_cropping(view.get(), AV_FRAME_CROP_UNALIGNED) < 0)
        Throw<Proc::EffectException>(TESSOR_HERE, "Can't crop a picture");
    return view;
}

void PaintBars(AVFrame& picture, const PictureRect& part)
{
    const int right = part.x + part.width, bottom = part.y + part.height;
    PaintBlack(picture, {0, 0, picture.width, part.y});
    PaintBlack(picture, {0, bottom, picture.width, picture.height - bottom});
    PaintBlack(picture, {0, part.y, part.x, part.height});
    PaintBlack(picture, {right, part.y, picture.width - right, part.height});
}

ComponentPlane ComponentPlane::Of(const AVFrame& picture, int component)
{
    const AVPixFmtDescriptor& description = GetDescription(picture);
    const AVComponentDescriptor& place = description.comp[component];
    // the second component of grey with alpha is that, and RGB shares no samples
    const bool chroma = (component == 1 || component == 2) && !(description.flags & AV_PIX_FMT_FLAG_RGB) &&
                        description.nb_components >= 3;
    return {picture.data[place.plane] + place.offset, picture.linesize[place.plane], place.step,
            AV_CEIL_RSHIFT(picture.width, chroma ? description.log2_chroma_w : 0),
            AV_CEIL_RSHIFT(picture.height, chroma ? description.log2_chroma_h : 0)};
}

bool HasPlainComponents(AVPixelFormat format)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    constexpr uint64_t other = AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL |
                               AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER;
    if (!description || description->flags & other)
        return false;
    const int depth = description->comp[0].depth;
    for (int i = 0; i < description->nb_components; ++i)
        if (description->comp[i].depth != depth || description->comp[i].shift != 0)
            return false;
    const bool foreign = ((description->flags & AV_PIX_FMT_FLAG_BE) != 0) != (std::endian::native == std::endian::big);
    return depth == 8 || (depth > 8 && depth <= 16 && !foreign);
}

} // namespace Tessor::Host
