#include "ffhost/io/DurationScan.h"

#include "ffhost/io/ClockSurvey.h"
#include "ffhost/io/TrackTimes.h"

extern "C"
{
#include <libavformat/avformat.h>
}

#include <algorithm>

namespace Tessor::Host
{

namespace
{

constexpr avTime FIRST_TAIL = 5000000;
constexpr int ADTS_HEADER_BYTES = 7;

bool IsDense(const TrackInfo& track)
{
    return (track.type == MediaType::Video || track.type == MediaType::Audio) && !track.attachedPicture;
}

bool BeginsWithAdts(const TrackInfo& track, const Proc::IDataPacket& packet)
{
    return track.parameters->codec_id == AV_CODEC_ID_AAC && track.parameters->extradata_size == 0 &&
           packet.GetSize() >= ADTS_HEADER_BYTES && packet.GetData()[0] == 0xff && (packet.GetData()[1] & 0xf6) == 0xf0;
}

class TailReader
{
public:
    TailReader(const std::string& path, const MediaInfo& info) : file(path), info(info)
    {
        ClockJumps* const clock = file.Context().iformat->flags & AVFMT_TS_DISCONT ? &jumps : nullptr;
        const bool onlySparse = std::none_of(info.tracks.begin(), info.tracks.end(), IsDense);
        for (const TrackInfo& track : info.tracks)
        {
            const bool measured = IsDense(track) || (onlySparse && track.type == MediaType::Subtitle);
            times.push_back(measured ? std::make_unique<TrackTimes>(track, info.origin, clock) : nullptr);
            if (!measured)
                continue;
            file.Select(track.index);
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

    void Collect(size_t index, std::vector<TrackMeasure>& ends)
    {
        while (const SP<Proc::DataPacketFF> packet = times[index]->Pull())
        {
            ends[index].end = std::max(ends[index].end, AddTime(packet->GetPTS(), packet->GetDuration()));
            if (static_cast<int>(index) == anchor && packet->IsKeyFrame() && packet->GetAVPacket()->pos >= 0)
                entries.push_back({packet->GetDTS(), packet->GetAVPacket()->pos});
            if (ends[index].adts.empty() && BeginsWithAdts(info.tracks[index], *packet))
                ends[index].adts.assign(packet->GetData(), packet->GetData() + ADTS_HEADER_BYTES);
        }
    }

    SourceFile file;
    const MediaInfo& info;
    ClockJumps jumps;
    std::vector<ClockJumps::Entry> entries;         // of the anchor
    std::vector<std::unique_ptr<TrackTimes>> times; // null for what is neither audio nor video
    int anchor = -1;                                // the track to seek by
    bool anchorIsVideo = false;
};

} // namespace

FileMeasure MeasureFile(const std::string& path, const MediaInfo& info)
{
    return TailReader(path, info).Measure();
}

} // namespace Tessor::Host
