#pragma once

#include "Fnd/Export.h"
#include "Proc/Settings/CutTimeline.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "ffhost/io/reading/Demuxer.h"
#include "jobs/Times.h"

#include <functional>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// What times mean in a file. `video` gives its first video track, null where there is none; it is asked, and read
/// once, only when a time is given as a frame.
TimeContext MakeTimeContext(const Host::MediaInfo& info, std::function<SP<Proc::IStreamRaw>()> video);

/// The ranges of a file that are to be kept, or what is left of it without those to remove: exactly one of the two is
/// given. A range that ends beyond the end of the file is shortened, with a warning. Throws JobError for what is not
/// understood or leaves nothing.
std::vector<AskedRange> ReadKeptRanges(const RangeList& keep, const RangeList& remove, const Host::MediaInfo& info,
                                       const TimeContext& context, std::vector<std::string>& warnings);

/// The same for a file none of whose tracks has to be read for it: what counts frames opens it again. Frames are those
/// of the first video track that `tracks`, a text in the form of TrackPattern, names, or else of the first one.
std::vector<AskedRange> ReadKeptRanges(const RangeList& keep, const RangeList& remove, const Host::Demuxer& demuxer,
                                       const std::string& tracks, std::vector<std::string>& warnings);

/// The cut that keeps these ranges of a file and deletes the rest. Ranges that reach the duration hold all that comes
/// later, for there is no seam at their end, and with `keepsLead` a first one from 0 on all that comes earlier.
TESSOR_API Proc::CutTimeline KeepRanges(const std::vector<Range>& kept, avTime duration, bool keepsLead = true);

/// What a cut keeps of a file of that duration.
std::vector<Range> GetKeptRanges(const Proc::CutTimeline& cut, avTime duration);

/// The source's chapters where the cut puts them, without those of which nothing is kept.
std::vector<Host::ChapterInfo> MapChapters(const Host::MediaInfo& source, const Proc::CutTimeline& cut);

} // namespace Tessor::Jobs
