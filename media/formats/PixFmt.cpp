#include "media/formats/PixFmt.h"

#include "Fnd/Exception.h"

extern "C"
{
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>

namespace Tessor
{

namespace
{

constexpr bool Same(PixFmt ours, AVPixelFormat theirs)
{
    return static_cast<int>(ours) == static_cast<int>(theirs);
}

static_assert(Same(PixFmt::None, AV_PIX_FMT_NONE));
static_assert(Same(PixFmt::YUV420P, AV_PIX_FMT_YUV420P));
static_assert(Same(PixFmt::YUYV422, AV_PIX_FMT_YUYV422));
static_assert(Same(PixFmt::RGB24, AV_PIX_FMT_RGB24));
static_assert(Same(PixFmt::BGR24, AV_PIX_FMT_BGR24));
static_assert(Same(PixFmt::YUV422P, AV_PIX_FMT_YUV422P));
static_assert(Same(PixFmt::YUV444P, AV_PIX_FMT_YUV444P));
static_assert(Same(PixFmt::GRAY8, AV_PIX_FMT_GRAY8));
static_assert(Same(PixFmt::PAL8, AV_PIX_FMT_PAL8));
static_assert(Same(PixFmt::YUVJ420P, AV_PIX_FMT_YUVJ420P));
static_assert(Same(PixFmt::YUVJ422P, AV_PIX_FMT_YUVJ422P));
static_assert(Same(PixFmt::YUVJ444P, AV_PIX_FMT_YUVJ444P));
static_assert(Same(PixFmt::NV12, AV_PIX_FMT_NV12));
static_assert(Same(PixFmt::ARGB, AV_PIX_FMT_ARGB));
static_assert(Same(PixFmt::RGBA, AV_PIX_FMT_RGBA));
static_assert(Same(PixFmt::ABGR, AV_PIX_FMT_ABGR));
static_assert(Same(PixFmt::BGRA, AV_PIX_FMT_BGRA));
static_assert(Same(PixFmt::YUVA420P, AV_PIX_FMT_YUVA420P));

} // namespace

PixFmt PixFmtDescription::FindByName(const std::string& name)
{
    return static_cast<PixFmt>(av_get_pix_fmt(name.c_str()));
}

PixFmtDescription PixFmtDescription::Find(PixFmt format)
{
    const int value = static_cast<int>(format);
    // a value beyond those that an enumeration was made for may not even be looked at
    const AVPixelFormat native =
        value >= 0 && value < AV_PIX_FMT_NB ? static_cast<AVPixelFormat>(value) : AV_PIX_FMT_NONE;
    const AVPixFmtDescriptor* found = av_pix_fmt_desc_get(native);
    if (!found)
        Throw<std::invalid_argument>(TESSOR_HERE, "No pixel format " + std::to_string(value));
    PixFmtDescription result;
    result.format = format;
    result.name = found->name;
    // FFmpeg counts only planes that hold components, and a palette holds none
    result.planes = (found->flags & AV_PIX_FMT_FLAG_PAL) != 0 ? 2 : std::max(av_pix_fmt_count_planes(native), 0);
    result.alpha = (found->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    for (int i = 0; i < found->nb_components; ++i)
        result.depth = std::max(result.depth, found->comp[i].depth);
    return result;
}

size_t PixFmtDescription::GetAllPlanesFullSize(int width, int height) const
{
    if (width == 0 || height == 0)
        return 0;
    const int size = av_image_get_buffer_size(static_cast<AVPixelFormat>(format), width, height, 1);
    if (size < 0)
        Throw<std::invalid_argument>(TESSOR_HERE, "No frame of " + std::to_string(width) + "x" +
                                                      std::to_string(height) + " pixels of " + name);
    return static_cast<size_t>(size);
}

} // namespace Tessor
