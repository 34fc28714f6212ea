#include "Proc/CodecParsers/MPEG1_2PTSRestorer.h"

#include "Proc/CodecParsers/MPEG2CodecParser.h"

#include <iterator>

namespace Tessor::Proc::CodecParsers
{

void MPEG1_2PTSRestorer::Push(const SP<const IDataPacket>& packet)
{
    if (!packet)
    {
        if (!pending.empty())
            Finish(AddTime(pending.back().second.dts, pending.back().first->GetDuration()));
        return;
    }
    Entry entry{packet, {packet->GetPTS(), packet->GetDTS()}};
    const bool timed = entry.second.pts != NoTime;
    if (timed && !pending.empty() && GetMPEG1_2FrameType(packet) == MPEG_PICTURE_B)
    {
        pending.push_back(std::move(entry));
        return;
    }
    if (!pending.empty())
        Finish(entry.second.dts);
    (timed ? finished : pending).push_back(std::move(entry));
}

std::pair<SP<const IDataPacket>, ExternalTS> MPEG1_2PTSRestorer::Pull()
{
    if (finished.empty())
        return {};
    Entry oldest = std::move(finished.front());
    finished.pop_front();
    return oldest;
}

void MPEG1_2PTSRestorer::Reset()
{
    pending.clear();
    finished.clear();
}

// Everything pending is finished once the oldest, the only one without a time of its own, is given one.
void MPEG1_2PTSRestorer::Finish(avTime oldestPts)
{
    pending.front().second.pts = oldestPts;
    std::move(pending.begin(), pending.end(), std::back_inserter(finished));
    pending.clear();
}

} // namespace Tessor::Proc::CodecParsers
