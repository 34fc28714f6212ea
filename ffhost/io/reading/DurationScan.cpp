#include "ffhost/io/reading/DurationScan.h"

#include "ffhost/io/reading/ClockSurvey.h"
#include "ffhost/io/reading/TrackTimes.h"

extern "C"
{
#include <libavformat/avformat.h>
}

#include <algorithm>

namespace Tessor::Host
{

namespace
{

constexpr avTime FIRST_TAIL = 5 * SECOND; // holds packets of all tracks of most files; four times as much each time

/// Reads to the end with the times that packets get later, as those of the container leave out what only these tell:
/// lengths of last packets, times of AVI, jumps of the clock.
class TailReader
{
public:
    TailReader(SourceFile& file, const MediaInfo& info) : file(file), info(info)
    {
        ClockJumps* const clock = file.Context().iformat->flags & AVFMT_TS_DISCONT ? &jumps : nullptr;
        const bool onlySparse =
            std::none_of(info.tracks.begin(), info.tracks.end(), [](const TrackInfo& t) { return t.IsDense(); });
        for (const TrackInfo& track : info.tracks)
        {
            // gaps between subtitles are as long as jumps of a clock, where they have no durations anyway
            const bool subtitle = track.type == MediaType::Subtitle && (!clock || onlySparse);
            const bool followed = track.IsDense() || (subtitle && onlySparse);
            times.push_back(followed ? std::make_unique<TrackTimes>(track, info.origin, clock) : nullptr);
            if (followed || subtitle)
                file.Select(track.index);
            if (!followed)
                continue;
            anchor = anchor < 0 || (track.type == MediaType::Video && !anchorIsVideo) ? track.index : anchor;
            anchorIsVideo = anchorIsVideo || track.type == MediaType::Video;
        }
    }

    FileMeasure Measure()
    {
        FileMeasure measure{std::vector<TrackMeasure>(info.tracks.size()), {}};
        if (anchor >= 0 && !ReadTail(measure.tracks))
        {
            file.Rewind();
            ReadToEnd(measure.tracks, true);
            if (jumps.shifts.size() > 1)
                jumps.entries = std::move(entries);
            measure.jumps = std::move(jumps);
        }
        return measure;
    }

private:
    bool ReadTail(std::vector<TrackMeasure>& ends)
    {
        if (file.IsElementary() || info.duration == NoTime || HasClockJump(file, anchor))
            return false;
        for (avTime tail = FIRST_TAIL; tail < info.duration; tail *= 4)
            if (file.Seek(anchor, info.origin + info.duration - tail) && ReadToEnd(ends, false))
                return true;
        return false;
    }

    // True when the track that was sought by was met.
    bool ReadToEnd(std::vector<TrackMeasure>& ends, bool fromStart)
    {
        for (auto& track : times)
            if (track)
                track->Reset(fromStart);
        while (PacketPtr packet = file.Read())
        {
            const auto index = static_cast<size_t>(packet->stream_index);
            if (!times[index])
            {
                ends[index].end = std::max(ends[index].end, EndOf(*packet, info.tracks[index]));
                continue;
            }
            times[index]->Push(std::move(packet));
            Collect(index, ends);
        }
        for (size_t i = 0; i < times.size(); ++i)
        {
            if (!times[i])
                continue;
            times[i]->Finish();
            Collect(i, ends);
        }
        return ends[static_cast<size_t>(anchor)].end != NoTime;
    }

    avTime EndOf(const AVPacket& packet, const TrackInfo& track) const
    {
        // subtitles are only measured so where no clock jumps
        const TrackClock clock(AVRational{track.timeBaseNum, track.timeBaseDen}, info.origin, nullptr);
        const avTime length = clock.ToTime(std::max<int64_t>(packet.duration, 0)) - clock.ToTime(0);
        return AddTime(clock.ToTime(packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts), length);
    }

    void Collect(size_t index, std::vector<TrackMeasure>& ends)
    {
        while (const SP<Proc::DataPacketFF> packet = times[index]->Pull())
        {
            const bool shown = (packet->GetAVPacket()->flags & AV_PKT_FLAG_DISCARD) == 0;
            // what an edit list hides does not make a track longer
            if (shown)
                ends[index].end = std::max(ends[index].end, AddTime(packet->GetPTS(), packet->GetDuration()));
            if (static_cast<int>(index) == anchor && packet->IsKeyFrame() && packet->GetAVPacket()->pos >= 0)
                entries.push_back({packet->GetDTS(), packet->GetAVPacket()->pos});
        }
    }

    SourceFile& file;
    const MediaInfo& info;
    ClockJumps jumps;
    std::vector<ClockJumps::Entry> entries;         // of the anchor
    std::vector<std::unique_ptr<TrackTimes>> times; // null for what need not be followed
    int anchor = -1;                                // the track to seek by
    bool anchorIsVideo = false;
};

} // namespace

FileMeasure MeasureFile(SourceFile& file, const MediaInfo& info)
{
    FileMeasure measured = TailReader(file, info).Measure();
    file.SelectNone();
    file.Rewind();
    return measured;
}

} // namespace Tessor::Host
