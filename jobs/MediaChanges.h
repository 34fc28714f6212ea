#pragma once

#include "Fnd/Export.h"
#include "ffhost/io/MediaInfo.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// What a result says otherwise than its source. Tracks are named in the form of TrackPattern, as the source has them.
struct MediaChanges
{
    struct TrackText
    {
        std::string tracks, text;
    };

    std::string defaults = {};             ///< tracks that players choose, instead of others of their kinds
    std::vector<TrackText> languages = {}; ///< of three letters (ISO 639-2), which all containers can tell
    std::vector<TrackText> titles = {};    ///< an empty text: none
    bool noChapters = false;
    bool noTags = false;  ///< neither the file's nor, but for languages, its tracks'
    Host::Tags tags = {}; ///< of the file, also beside noTags; an empty text: none
};

/// The source as the result is to tell of it. Throws JobError.
TESSOR_API Host::MediaInfo ApplyChanges(const Host::MediaInfo& source, const MediaChanges& changes);

/// What of the changes a file of that name, or of that format, can't tell, beside tags and chapters, which its muxer
/// misses; for a warning.
std::vector<std::string> FindLosses(const MediaChanges& changes, const std::string& output, const std::string& format);

} // namespace Tessor::Jobs
