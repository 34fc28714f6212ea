#pragma once

#include "Proc/Settings/CutTimeline.h"
#include "media/items/IDataPacket.h"

#include <vector>

namespace Tessor::Jobs
{

/// Cuts a track whose items stand alone in time: subtitles, covers. An item that a cut runs through is shortened to
/// what is kept of it. An item without a duration stands until the next one, or the end: the last one before a kept
/// stretch is moved to its start.
class TESSOR_API SparseTrack
{
public:
    /// The packet's share of the result, in order; often empty. Packets come in order of time; after them comes null.
    std::vector<SP<Proc::IDataPacket>> Push(const SP<Proc::IDataPacket>& packet, const Proc::CutTimeline& cut);

private:
    SP<Proc::IDataPacket> standing; // the last item without a duration, while deleted time has swallowed its start
};

} // namespace Tessor::Jobs
