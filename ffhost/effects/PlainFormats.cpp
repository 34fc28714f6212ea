#include "ffhost/effects/PlainFormats.h"

#include "ffhost/effects/PictureView.h"

extern "C"
{
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace Tessor::Host
{

const Proc::SettingsColorspaceConverter& GetPlainFormats()
{
    // Asked once: what libswscale can do does not change.
    static const Proc::SettingsColorspaceConverter settings = []
    {
        std::vector<PixFmt> formats;
        const AVPixFmtDescriptor* description = nullptr;
        while ((description = av_pix_fmt_desc_next(description)))
        {
            const AVPixelFormat format = av_pix_fmt_desc_get_id(description);
            if (HasPlainComponents(format) && sws_isSupportedInput(format) && sws_isSupportedOutput(format))
                formats.push_back(static_cast<PixFmt>(format));
        }
        return Proc::SettingsColorspaceConverter(formats);
    }();
    return settings;
}

} // namespace Tessor::Host
