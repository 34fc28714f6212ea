#include "media/items/ColorPainter.h"

#include "Fnd/Exception.h"

extern "C"
{
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>
#include <string_view>

namespace Tessor::Proc::Details
{

namespace
{

/// Whether each component fills a byte of its own, in main memory.
bool IsPaintable(const AVPixFmtDescriptor& description)
{
    constexpr uint64_t other_layouts =
        AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BAYER;
    if ((description.flags & other_layouts) != 0 || description.nb_components == 0)
        return false;
    return std::all_of(description.comp, description.comp + description.nb_components,
                       [](const AVComponentDescriptor& c) { return c.depth == 8 && c.shift == 0; });
}

const AVPixFmtDescriptor* RequirePaintable(PixFmt format)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    if (!description || !IsPaintable(*description))
        Throw<Exception>(TESSOR_HERE, std::string("Can't fill a frame of format ") +
                                          (description ? description->name : std::to_string(static_cast<int>(format))));
    return description;
}

uint8_t Round(double value)
{
    // chroma of full range reaches 255.5
    return static_cast<uint8_t>(std::clamp(std::lround(value), 0L, 255L));
}

/// ITU-R BT.601.
std::array<uint8_t, 3> ToYuv(const Color& color, bool fullRange)
{
    constexpr double red = 0.299, green = 0.587, blue = 0.114;
    const double y = red * color.r + green * color.g + blue * color.b;
    const double cb = (color.b - y) / (2 * (1 - blue));
    const double cr = (color.r - y) / (2 * (1 - red));
    // limited range: luma from 16 to 235, chroma from 16 to 240 with its middle at 128
    const double lumaScale = fullRange ? 1 : 219.0 / 255;
    const double chromaScale = fullRange ? 1 : 224.0 / 255;
    return {Round((fullRange ? 0 : 16) + y * lumaScale), Round(128 + cb * chromaScale), Round(128 + cr * chromaScale)};
}

} // namespace

ColorPainter::ColorPainter(const Color& color, PixFmt format, bool fullRange) : description(RequirePaintable(format))
{
    const bool grey = description->nb_components <= 2;
    // these formats carry their range in the name, whatever the frame says
    const bool jpeg = std::string_view(description->name).starts_with("yuvj");
    const bool rgb = (description->flags & AV_PIX_FMT_FLAG_RGB) != 0;
    const std::array<uint8_t, 3> yuv = ToYuv(color, fullRange || jpeg || grey);
    components = rgb ? std::array<uint8_t, 4>{color.r, color.g, color.b, color.a}
                     : std::array<uint8_t, 4>{yuv[0], yuv[1], yuv[2], color.a};
    // of grey formats, the second component is the alpha
    if (grey)
        components[1] = color.a;
}

void ColorPainter::Paint(int index, const PlaneTemplate<false>& plane) const
{
    uint8_t* const first = plane.GetOffsetPtr(0, 0);
    // bytes that hold no component, as in rgb0, stand for an opaque alpha
    std::fill_n(first, plane.GetRowBytes(), uint8_t{255});
    for (int i = 0; i < description->nb_components; ++i)
    {
        const AVComponentDescriptor& component = description->comp[i];
        if (component.plane != index)
            continue;
        for (size_t x = static_cast<size_t>(component.offset); x < plane.GetRowBytes();
             x += static_cast<size_t>(component.step))
            first[x] = components[static_cast<size_t>(i)];
    }
    // all rows are alike, and a copy is faster than single bytes
    for (size_t y = 1; y < plane.GetHeight(); ++y)
        std::copy_n(first, plane.GetRowBytes(), plane.GetOffsetPtr(0, y));
}

} // namespace Tessor::Proc::Details
