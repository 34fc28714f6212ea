#pragma once

/// What FFmpeg has renamed or replaced since 5.1, under one name for all versions: libavutil and libavcodec here,
/// libavformat in ffhost/FormatCompat.h. Nothing else looks at versions.

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

#include <cstdint>

// 6.1 took the prefix away that profiles had from the first.
#if LIBAVCODEC_VERSION_INT < AV_VERSION_INT(60, 26, 100)
#define AV_PROFILE_UNKNOWN FF_PROFILE_UNKNOWN
#define AV_PROFILE_MPEG2_422 FF_PROFILE_MPEG2_422
#define AV_PROFILE_MPEG2_SIMPLE FF_PROFILE_MPEG2_SIMPLE
#define AV_PROFILE_MPEG4_ADVANCED_SIMPLE FF_PROFILE_MPEG4_ADVANCED_SIMPLE
#define AV_PROFILE_H264_CONSTRAINED FF_PROFILE_H264_CONSTRAINED
#define AV_PROFILE_H264_INTRA FF_PROFILE_H264_INTRA
#define AV_LEVEL_UNKNOWN FF_LEVEL_UNKNOWN
#endif

namespace Tessor::FFmpeg
{

// ---- frames

#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 30, 100)
inline int64_t& DurationOf(AVFrame& frame)
{
    return frame.duration;
}
inline int64_t DurationOf(const AVFrame& frame)
{
    return frame.duration;
}
#else
inline int64_t& DurationOf(AVFrame& frame)
{
    return frame.pkt_duration;
}
inline int64_t DurationOf(const AVFrame& frame)
{
    return frame.pkt_duration;
}
#endif

// Since 6.1 what was a field each is a flag.
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(58, 7, 100)
inline void SetFlag(AVFrame& frame, int flag, bool value)
{
    frame.flags = value ? frame.flags | flag : frame.flags & ~flag;
}
inline bool IsInterlaced(const AVFrame& frame)
{
    return (frame.flags & AV_FRAME_FLAG_INTERLACED) != 0;
}
inline void SetInterlaced(AVFrame& frame, bool value)
{
    SetFlag(frame, AV_FRAME_FLAG_INTERLACED, value);
}
inline bool IsTopFieldFirst(const AVFrame& frame)
{
    return (frame.flags & AV_FRAME_FLAG_TOP_FIELD_FIRST) != 0;
}
inline void SetTopFieldFirst(AVFrame& frame, bool value)
{
    SetFlag(frame, AV_FRAME_FLAG_TOP_FIELD_FIRST, value);
}
inline void SetKeyFrame(AVFrame& frame, bool value)
{
    SetFlag(frame, AV_FRAME_FLAG_KEY, value);
}
#else
inline bool IsInterlaced(const AVFrame& frame)
{
    return frame.interlaced_frame != 0;
}
inline void SetInterlaced(AVFrame& frame, bool value)
{
    frame.interlaced_frame = value;
}
inline bool IsTopFieldFirst(const AVFrame& frame)
{
    return frame.top_field_first != 0;
}
inline void SetTopFieldFirst(AVFrame& frame, bool value)
{
    frame.top_field_first = value;
}
inline void SetKeyFrame(AVFrame& frame, bool value)
{
    frame.key_frame = value;
}
#endif

// ---- what an encoder takes: lists with an end mark as libavcodec has it; null where it takes all

#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100)
template <class T>
const T* ListConfig(const AVCodec& codec, AVCodecConfig config)
{
    const void* list = nullptr;
    const int result = avcodec_get_supported_config(nullptr, &codec, config, 0, &list, nullptr);
    return result < 0 ? nullptr : static_cast<const T*>(list);
}
inline const AVPixelFormat* ListPixelFormats(const AVCodec& codec)
{
    return ListConfig<AVPixelFormat>(codec, AV_CODEC_CONFIG_PIX_FORMAT);
}
inline const AVRational* ListFrameRates(const AVCodec& codec)
{
    return ListConfig<AVRational>(codec, AV_CODEC_CONFIG_FRAME_RATE);
}
inline const int* ListSampleRates(const AVCodec& codec)
{
    return ListConfig<int>(codec, AV_CODEC_CONFIG_SAMPLE_RATE);
}
inline const AVSampleFormat* ListSampleFormats(const AVCodec& codec)
{
    return ListConfig<AVSampleFormat>(codec, AV_CODEC_CONFIG_SAMPLE_FORMAT);
}
inline const AVChannelLayout* ListChannelLayouts(const AVCodec& codec)
{
    return ListConfig<AVChannelLayout>(codec, AV_CODEC_CONFIG_CHANNEL_LAYOUT);
}
#else
inline const AVPixelFormat* ListPixelFormats(const AVCodec& codec)
{
    return codec.pix_fmts;
}
inline const AVRational* ListFrameRates(const AVCodec& codec)
{
    return codec.supported_framerates;
}
inline const int* ListSampleRates(const AVCodec& codec)
{
    return codec.supported_samplerates;
}
inline const AVSampleFormat* ListSampleFormats(const AVCodec& codec)
{
    return codec.sample_fmts;
}
inline const AVChannelLayout* ListChannelLayouts(const AVCodec& codec)
{
    return codec.ch_layouts;
}
#endif

} // namespace Tessor::FFmpeg
