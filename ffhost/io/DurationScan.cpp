#include "ffhost/io/DurationScan.h"

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
    TailReader(SourceFile& file, const MediaInfo& info) : file(file), info(info)
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

    std::vector<TrackMeasure> Measure()
    {
        std::vector<TrackMeasure> ends(info.tracks.size());
        if (anchor < 0)
            return ends;
        if (!file.IsElementary() && info.duration != NoTime)
            for (avTime tail = FIRST_TAIL; tail < info.duration; tail *= 4)
                if (file.Seek(anchor, info.origin + info.duration - tail) && ReadToEnd(ends, false))
                    return ends;
        file.Rewind();
        ReadToEnd(ends, true);
        return ends;
    }

private:
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
            if (ends[index].adts.empty() && BeginsWithAdts(info.tracks[index], *packet))
                ends[index].adts.assign(packet->GetData(), packet->GetData() + ADTS_HEADER_BYTES);
        }
    }

    SourceFile& file;
    const MediaInfo& info;
    ClockJumps jumps;
    std::vector<std::unique_ptr<TrackTimes>> times; // null for what is neither audio nor video
    int anchor = -1;                                // the track to seek by
    bool anchorIsVideo = false;
};

} // namespace

std::vector<TrackMeasure> MeasureTracks(SourceFile& file, const MediaInfo& info)
{
    std::vector<TrackMeasure> measures = TailReader(file, info).Measure();
    file.SelectNone();
    file.Rewind();
    return measures;
}

} // namespace Tessor::Host
