#include "ffhost/io/reading/Truncation.h"

extern "C"
{
#include <libavformat/avformat.h>
}

#include <algorithm>

namespace Tessor::Host
{

namespace
{

// Headers round, and leave out or count in what is hidden.
constexpr avTime TOLERANCE = 1 * SECOND;
constexpr avTime TOLERATED_PART = 100;

/// The time of the first packet in the index, of those at its end, that is not wholly there; NoTime when all are.
avTime FindFirstMissing(AVStream& stream, long long fileSize)
{
    avTime first = NoTime;
    for (int i = avformat_index_get_entries_count(&stream) - 1; i >= 0; --i)
    {
        const AVIndexEntry* const entry = avformat_index_get_entry(&stream, i);
        if (entry->pos <= fileSize - std::max(entry->size, 1))
            break;
        first = av_rescale_q(entry->timestamp, stream.time_base, AVRational{1, AV_TIME_BASE});
    }
    return first;
}

/// By the index, that of all tracks.
avTime FindBreak(const SourceFile& file)
{
    const long long size = file.GetProgress().second;
    avTime first = NoTime;
    for (int i = 0; i < file.StreamCount(); ++i)
        if (const avTime missing = FindFirstMissing(file.Stream(i), size); missing != NoTime)
            first = first == NoTime ? missing : std::min(first, missing);
    return first;
}

/// An index of all packets tells by itself whether they are there. Other durations may be mere estimates.
bool TellsDuration(const AVFormatContext& context)
{
    return context.duration > 0 && context.duration_estimation_method == AVFMT_DURATION_FROM_STREAM;
}

} // namespace

Damage FindTruncation(const SourceFile& file, const MediaInfo& info, avTime end)
{
    if (const avTime missing = FindBreak(file); missing != NoTime)
    {
        const avTime start = std::max<avTime>(SubTime(missing, info.origin), 0);
        return {0, end != NoTime ? std::min(start, end) : start, std::max(info.duration, end)};
    }
    if (file.IsIndexed() || !TellsDuration(file.Context()) || end == NoTime)
        return {};
    const avTime tolerance = std::max(TOLERANCE, info.duration / TOLERATED_PART);
    return info.duration - end > tolerance ? Damage{0, end, info.duration} : Damage{};
}

} // namespace Tessor::Host
