#include "jobs/TrackSelection.h"

#include "jobs/TrackPattern.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tessor::Jobs
{

namespace
{

/// Neither the container nor the packets have told what a decoder needs.
bool IsUndecodable(const Host::TrackInfo& track)
{
    const SP<const Proc::IBlob> header = track.format ? track.format->GetExtradata() : nullptr;
    return !track.headerFault.empty() && (!header || header->Size() == 0);
}

/// Where MP4 keeps the titles of chapters (QuickTime's track reference "chap"), which are carried over as chapters.
bool IsChapterText(const Host::TrackInfo& track, const Host::MediaInfo& info)
{
    return !info.chapters.empty() && track.type == MediaType::None && track.codecName == "bin_data" &&
           info.container.find("mp4") != std::string::npos;
}

} // namespace

std::set<int> FindTracks(const Host::MediaInfo& info, const std::string& wanted)
{
    if (!wanted.empty())
        return TrackPattern("--tracks", wanted).Find(info);
    std::set<int> all;
    for (const Host::TrackInfo& track : info.tracks)
        all.insert(track.index);
    return all;
}

std::vector<int> ChooseTracks(const Host::MediaInfo& info, const std::string& wanted,
                              std::vector<std::string>& warnings)
{
    std::vector<int> chosen;
    for (const int index : FindTracks(info, wanted))
    {
        const Host::TrackInfo& track = info.tracks[static_cast<size_t>(index)];
        if (IsUndecodable(track))
            warnings.push_back(fmt::format("{}: track {} ({}, {}) is left out: its header is unusable ({}), and its "
                                           "packets bring no parameter sets",
                                           info.path, track.index, KindName(track), track.codecName,
                                           track.headerFault));
        else if (track.IsDense() || track.type == MediaType::Subtitle || track.attachedPicture || track.attachment)
            chosen.push_back(track.index);
        else if (!IsChapterText(track, info))
            warnings.push_back(fmt::format("track {} ({}) is left out: it is neither picture, sound nor subtitles",
                                           track.index, track.codecName));
    }
    std::stable_partition(chosen.begin(), chosen.end(),
                          [&](int index)
                          {
                              const Host::TrackInfo& track = info.tracks[static_cast<size_t>(index)];
                              return track.IsDense() && track.type == MediaType::Video;
                          });
    return chosen;
}

SelectedTrack SelectTrack(Host::Demuxer& demuxer, int index)
{
    const Host::TrackInfo& track = demuxer.GetInfo().tracks[static_cast<size_t>(index)];
    if (track.IsDense())
        return {index, demuxer.GetStream(index)};
    if (!track.attachment)
        demuxer.SelectSparse(index);
    return {index, nullptr};
}

std::vector<SelectedTrack> SelectTracks(Host::Demuxer& demuxer, const std::string& wanted,
                                        std::vector<std::string>& warnings)
{
    std::vector<SelectedTrack> tracks;
    for (const int index : ChooseTracks(demuxer.GetInfo(), wanted, warnings))
        tracks.push_back(SelectTrack(demuxer, index));
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
    return track.attachedPicture ? "cover" : KindName(track.type);
}

const char* KindName(MediaType type)
{
    switch (type)
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
