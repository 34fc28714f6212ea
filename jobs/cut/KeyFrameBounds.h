#pragma once

#include "jobs/Times.h"
#include "jobs/cut/CutSettings.h"
#include "jobs/cut/GroupCache.h"

#include <functional>
#include <string>

namespace Tessor::Jobs
{

/// Brings bounds of ranges to where groups of a video track begin, where the group that they lie in can't be cut.
class KeyFrameBounds
{
public:
    /// `staysWhole` tells whether the group that shows a time does; `track` names the track and why.
    KeyFrameBounds(GroupCache& groups, avTime duration, std::function<bool(avTime)> staysWhole, std::string track)
        : groups(groups), duration(duration), staysWhole(std::move(staysWhole)), track(std::move(track))
    {
    }

    /// The range may be empty then. Outward ones stay as they are. Throws JobError where it is not to be moved. Moves
    /// the stream.
    Range Bring(const Range& range, Snap snap) const;

private:
    /// Where a bound can be, on both sides of the time; the time itself where it can stay.
    struct Sides
    {
        avTime before, after;
    };

    Sides FindStarts(avTime time) const;
    Sides FindEnds(avTime time) const;
    avTime Choose(avTime time, const Sides& sides, Snap snap, avTime inward) const;

    GroupCache& groups;
    const avTime duration;
    const std::function<bool(avTime)> staysWhole;
    const std::string track; // for the message
};

} // namespace Tessor::Jobs
