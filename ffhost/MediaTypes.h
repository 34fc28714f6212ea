#pragma once

#include "media/formats/MediaType.h"

extern "C"
{
#include <libavutil/avutil.h>
}

namespace Tessor::Host
{

/// None for data, attachments and what FFmpeg does not know.
inline MediaType ToMediaType(AVMediaType type)
{
    switch (type)
    {
    case AVMEDIA_TYPE_VIDEO:
        return MediaType::Video;
    case AVMEDIA_TYPE_AUDIO:
        return MediaType::Audio;
    case AVMEDIA_TYPE_SUBTITLE:
        return MediaType::Subtitle;
    default:
        return MediaType::None;
    }
}

} // namespace Tessor::Host
