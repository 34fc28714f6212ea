#pragma once

#include "Proc/Filters/Filters/Cutting/FilterCutController.h"
#include "Proc/Settings/CutTimeline.h"
#include "Proc/StreamTemplates/IStreamAudio.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/IStreamVideo.h"
#include "jobs/Times.h"

#include <vector>

namespace Tessor::Jobs
{

/// Cuts decoded tracks of a file, to the picture and to the sample; a picture that a range begins or ends in is part of
/// it for as long as it is seen there.
///
/// What is decoded can be parted anywhere, so that there is nothing for the tracks to agree on: each has a controller
/// of its own. Its source belongs to it alone, too, for it is sought over stretches that are left out, while the other
/// tracks are read on threads of their own.
class DecodedCut
{
public:
    /// Ranges in order, which is what is kept of a file of that duration.
    DecodedCut(const std::vector<Range>& ranges, avTime duration);

    SP<Proc::IStreamVideo> Cut(const SP<Proc::IStreamVideo>& source) const;
    SP<Proc::IStreamAudio> Cut(const SP<Proc::IStreamAudio>& source) const;
    /// Sound that is copied: by whole packets, as far as they can't be parted.
    SP<Proc::IStreamRaw> Cut(const SP<Proc::IStreamRaw>& source) const;

    /// Whether anything is kept of what lasts from `start` to `end`; NoTime is the file's own.
    bool Keeps(avTime start, avTime end) const;

    const std::vector<Range>& GetRanges() const { return ranges; }
    /// For what is mapped: tracks that are copied, and chapters.
    const Proc::CutTimeline& GetTimeline() const { return timeline; }

private:
    SP<Proc::FilterCutController> MakeController() const;

    const std::vector<Range> ranges;
    const Proc::CutTimeline timeline;
    std::vector<avTime> bounds; // where kept and deleted time meet
};

} // namespace Tessor::Jobs
