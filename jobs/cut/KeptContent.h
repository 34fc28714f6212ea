#pragma once

#include "ffhost/io/reading/Demuxer.h"
#include "jobs/Times.h"

#include <optional>
#include <set>
#include <vector>

namespace Tessor::Jobs
{

/// Tells which tracks of a file have anything in kept ranges.
class KeptContent
{
public:
    KeptContent(const SP<Host::Demuxer>& demuxer, const std::vector<Range>& kept) : demuxer(demuxer), kept(kept) {}

    /// Whether anything of the track lies in the ranges. `stream` is the track's, null for a sparse one, and is moved.
    /// Covers and attachments stand for the whole file.
    bool Holds(const Host::TrackInfo& track, const SP<Proc::IStreamRaw>& stream);

private:
    std::set<int> FindItems() const;

    const SP<Host::Demuxer> demuxer;
    const std::vector<Range> kept;
    std::optional<std::set<int>> items; // sparse tracks that have something there, from the first question on
};

} // namespace Tessor::Jobs
