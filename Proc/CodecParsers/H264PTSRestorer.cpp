#include "Proc/CodecParsers/H264PTSRestorer.h"

namespace Tessor::Proc::CodecParsers
{

namespace
{

/// time + count * step; unknown when either time is, or when the product leaves the range.
avTime AddSteps(avTime time, int64_t count, avTime step)
{
    avTime span = 0;
    if (step == NoTime || __builtin_mul_overflow(count, step, &span))
        return NoTime;
    return AddTime(time, span);
}

} // namespace

void H264PTSRestorer::Push(const SP<const IDataPacket>& packet)
{
    if (!packet && pending.empty())
        return;
    Entry entry{packet, H264_SLICE_UNKNOWN, {}};
    if (packet)
    {
        entry.sliceType = GetH264Type(packet, isMp4, lengthSize).second;
        entry.times = {packet->GetPTS(), packet->GetDTS()};
    }
    if (!pending.empty() && entry.sliceType != H264_SLICE_B)
    {
        if (entry.times.dts == NoTime)
            entry.times.dts = EstimateDTS();
        FillPendingDTS(entry.times.dts);
        FinishPending(entry.times.dts);
    }
    if (packet)
        pending.push_back(entry);
}

std::pair<SP<const IDataPacket>, ExternalTS> H264PTSRestorer::Pull()
{
    if (finished.empty())
        return {};
    const Entry oldest = finished.front();
    finished.pop_front();
    return {oldest.packet, oldest.times};
}

void H264PTSRestorer::Reset()
{
    pending.clear();
    finished.clear();
}

/// DTS of the packet behind the group, from the first one known within it.
avTime H264PTSRestorer::EstimateDTS() const
{
    auto stepsLeft = static_cast<int64_t>(pending.size());
    for (const Entry& entry : pending)
    {
        if (entry.times.dts != NoTime)
            return AddSteps(entry.times.dts, stepsLeft, pending.front().packet->GetDuration());
        --stepsLeft;
    }
    return NoTime;
}

/// Counts unknown DTS back from the end of the group.
void H264PTSRestorer::FillPendingDTS(avTime groupEnd)
{
    const avTime step = pending.front().packet->GetDuration();
    int64_t steps = -static_cast<int64_t>(pending.size());
    for (Entry& entry : pending)
    {
        if (entry.times.dts == NoTime)
            entry.times.dts = AddSteps(groupEnd, steps, step);
        ++steps;
    }
}

void H264PTSRestorer::FinishPending(avTime groupEnd)
{
    // A reference picture at the head plays behind the B pictures that follow it in decoding order.
    const bool referenceFirst = pending.front().sliceType != H264_SLICE_B;
    for (Entry& entry : pending)
    {
        const bool reference = referenceFirst && &entry == &pending.front();
        entry.times.pts = SubTime(reference ? groupEnd : entry.times.dts, entry.packet->GetDuration());
    }
    finished.splice(finished.end(), pending);
}

} // namespace Tessor::Proc::CodecParsers
