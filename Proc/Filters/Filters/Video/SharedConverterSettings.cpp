#include "Proc/Filters/Filters/Video/SharedConverterSettings.h"

extern "C"
{
#include <libavutil/pixdesc.h>
}

#include <bit>

namespace Tessor::Proc
{

namespace
{

/// Planes of whole samples in the machine's order, without alpha.
bool IsPlanarAndOpaque(const AVPixFmtDescriptor& description)
{
    constexpr uint64_t other = AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM |
                               AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER;
    const bool planar = (description.flags & AV_PIX_FMT_FLAG_PLANAR) || description.nb_components == 1;
    const bool bigEndian = (description.flags & AV_PIX_FMT_FLAG_BE) != 0;
    const bool foreign = description.comp[0].depth > 8 && bigEndian != (std::endian::native == std::endian::big);
    return planar && !foreign && !(description.flags & other) && description.comp[0].depth >= 8;
}

} // namespace

const SettingsColorspaceConverter& GetSharedConverterSettings()
{
    static const SettingsColorspaceConverter settings = []
    {
        std::vector<PixFmt> formats;
        const AVPixFmtDescriptor* description = nullptr;
        while ((description = av_pix_fmt_desc_next(description)))
            if (IsPlanarAndOpaque(*description))
                formats.push_back(static_cast<PixFmt>(av_pix_fmt_desc_get_id(description)));
        // RGBA stands before its siblings, so that it is the one for other formats with alpha
        formats.insert(formats.end(), {PixFmt::RGBA, PixFmt::BGRA, PixFmt::ARGB, PixFmt::ABGR});
        return SettingsColorspaceConverter(formats);
    }();
    return settings;
}

} // namespace Tessor::Proc
