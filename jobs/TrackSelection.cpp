#include "jobs/TrackSelection.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tessor::Jobs
{

namespace
{

bool IsUndecodable(const Host::TrackInfo& track)
{
    const SP<const Proc::IBlob> header = track.format ? track.format->GetExtradata() : nullptr;
    return !track.headerFault.empty() && (!header || header->Size() == 0);
}

} // namespace

std::vector<SelectedTrack> SelectTracks(Host::Demuxer& demuxer, std::vector<std::string>& warnings)
{
    const std::vector<Host::TrackInfo>& infos = demuxer.GetInfo().tracks;
    std::vector<SelectedTrack> tracks;
    for (const Host::TrackInfo& track : infos)
    {
        if (IsUndecodable(track))
            warnings.push_back(fmt::format("{}: track {} ({}, {}) is left out: its header is unusable ({}), and its "
                                           "packets bring no parameter sets",
                                           demuxer.GetInfo().path, track.index, KindName(track), track.codecName,
                                           track.headerFault));
        else if (track.IsDense())
            tracks.push_back({track.index, demuxer.GetStream(track.index)});
        else if (track.type == MediaType::Subtitle || track.attachedPicture || track.attachment)
            tracks.push_back({track.index, nullptr});
        else
            warnings.push_back(fmt::format("track {} ({}) is left out: it is neither picture, sound nor subtitles",
                                           track.index, track.codecName));
        const bool sparse = !tracks.empty() && tracks.back().index == track.index && !tracks.back().stream;
        if (sparse && !track.attachment)
            demuxer.SelectSparse(track.index);
    }
    std::stable_partition(tracks.begin(), tracks.end(),
                          [&](const SelectedTrack& track)
                          { return track.stream && infos[track.index].type == MediaType::Video; });
    return tracks;
}

void AddLateStreams(const Host::Demuxer& demuxer, std::vector<std::string>& warnings)
{
    for (const Host::LateStream& stream : demuxer.GetLateStreams())
        warnings.push_back(
            fmt::format("stream 0x{:x} ({}) is left out: it begins at {}, beyond where streams are searched", stream.id,
                        stream.codecName, T2S(stream.start)));
}

const char* KindName(const Host::TrackInfo& track)
{
    if (track.attachment)
        return "attachment";
    if (track.attachedPicture)
        return "cover";
    switch (track.type)
    {
    case MediaType::Video:
        return "video";
    case MediaType::Audio:
        return "audio";
    case MediaType::Subtitle:
        return "subtitle";
    case MediaType::None:
        break;
    }
    return "other";
}

} // namespace Tessor::Jobs
