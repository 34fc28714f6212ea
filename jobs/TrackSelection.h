#pragma once

#include "ffhost/io/reading/Demuxer.h"

#include <set>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// A track that takes part.
struct SelectedTrack
{
    int index = 0; ///< in the file
    /// Null for sparse tracks: subtitles and covers, whose packets are met while others are read, and attachments.
    SP<Proc::IStreamRaw> stream;
};

/// The tracks that a text in the form of TrackPattern names, by their indices; all for an empty one.
std::set<int> FindTracks(const Host::MediaInfo& info, const std::string& wanted);

/// Those of the tracks wanted that are picture, sound, subtitles or attachments, by their indices, video first; others
/// are named in a warning.
std::vector<int> ChooseTracks(const Host::MediaInfo& info, const std::string& wanted,
                              std::vector<std::string>& warnings);

/// From then on the track is read, also along with others.
SelectedTrack SelectTrack(Host::Demuxer& demuxer, int index);

/// Selects all that ChooseTracks gives.
TESSOR_API std::vector<SelectedTrack> SelectTracks(Host::Demuxer& demuxer, const std::string& wanted,
                                                   std::vector<std::string>& warnings);

/// Names what reading has met that is no track.
void AddLateStreams(const Host::Demuxer& demuxer, std::vector<std::string>& warnings);

/// What a track is, in a word for reports.
TESSOR_API const char* KindName(MediaType type);
TESSOR_API const char* KindName(const Host::TrackInfo& track);

} // namespace Tessor::Jobs
