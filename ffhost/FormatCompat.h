#pragma once

/// The part of media/FFmpegCompat.h that is about libavformat. Since 6.1 what a container says of a whole track is
/// kept in its codec parameters.

extern "C"
{
#include <libavformat/avformat.h>
}

#include <span>

namespace Tessor::FFmpeg
{

#if LIBAVFORMAT_VERSION_INT >= AV_VERSION_INT(60, 15, 100)
inline std::span<const AVPacketSideData> ListSideData(const AVStream& stream)
{
    return {stream.codecpar->coded_side_data, static_cast<size_t>(stream.codecpar->nb_coded_side_data)};
}
/// Room for an entry; null when there is no memory.
inline uint8_t* NewSideData(AVStream& stream, AVPacketSideDataType type, size_t size)
{
    AVCodecParameters& parameters = *stream.codecpar;
    AVPacketSideData* const entry =
        av_packet_side_data_new(&parameters.coded_side_data, &parameters.nb_coded_side_data, type, size, 0);
    return entry ? entry->data : nullptr;
}
#else
inline std::span<const AVPacketSideData> ListSideData(const AVStream& stream)
{
    return {stream.side_data, static_cast<size_t>(stream.nb_side_data)};
}
/// Room for an entry; null when there is no memory.
inline uint8_t* NewSideData(AVStream& stream, AVPacketSideDataType type, size_t size)
{
    return av_stream_new_side_data(&stream, type, size);
}
#endif

/// Null where the container says nothing of the kind.
inline const AVPacketSideData* FindSideData(const AVStream& stream, AVPacketSideDataType type)
{
    for (const AVPacketSideData& entry : ListSideData(stream))
        if (entry.type == type)
            return &entry;
    return nullptr;
}

} // namespace Tessor::FFmpeg
