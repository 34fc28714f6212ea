#pragma once

#include "Fnd/Export.h"
#include "ffhost/io/MediaInfo.h"

#include <set>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Tracks of a file as users name them: "v:0,a:eng,s,5". Each part has a letter for the kind, v (pictures), a (sound),
/// s (subtitles), t (covers and attachments) or d (data); after a colon a number takes one of the kind, counted from 0,
/// and a language those in it ("und": none is told). A number alone is the place in the file.
class TESSOR_API TrackPattern
{
public:
    /// `option` is what the text was given for, for messages. Throws JobError for what is no such text.
    TrackPattern(const std::string& option, const std::string& text);

    /// The indices of the tracks. Throws JobError where a part names none.
    std::set<int> Find(const Host::MediaInfo& info) const;

private:
    struct Part
    {
        std::string kind;     ///< a letter; empty for a place in the file
        std::string number;   ///< empty: all
        std::string language; ///< empty: all
    };

    static Part ReadPart(const std::string& option, const std::string& text);
    static std::set<int> Find(const Part& part, const Host::MediaInfo& info);

    const std::string option;
    std::vector<Part> parts;
};

} // namespace Tessor::Jobs
