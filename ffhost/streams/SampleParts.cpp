#include "ffhost/streams/SampleParts.h"

#include "ffhost/bitstream/PacketForm.h"
#include "media/audio/AudioTime.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <algorithm>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

SP<IDataPacket> TakeSamples(const IDataPacket& packet, long long offset, long long size)
{
    SP<IDataPacket> part = packet.Clone();
    AVPacket& bytes = *part->GetAVPacket(); // they stay shared
    bytes.data += offset;
    bytes.size = static_cast<int>(size);
    return part;
}

} // namespace

SP<IStreamRaw> SampleParts::Create(const SP<IStreamRaw>& parent, const TrackInfo& track, NextBound nextBound)
{
    const bool exact = PacketForm(track).IsLinear() && track.timeBaseNum == 1 &&
                       track.timeBaseDen % track.parameters->sample_rate == 0;
    if (!parent || !exact)
        return parent;
    return SP<IStreamRaw>(new SampleParts(parent, track, std::move(nextBound)));
}

SampleParts::SampleParts(const SP<IStreamRaw>& parent, const TrackInfo& track, NextBound nextBound)
    : PartStream(parent, "SampleParts", {}), nextBound(std::move(nextBound)),
      sampleSize(static_cast<long long>(PacketForm(track).GetSampleSize())), rate(track.parameters->sample_rate)
{
}

void SampleParts::Part(const SP<IDataPacket>& packet, std::deque<SP<IDataPacket>>& parts)
{
    const avTime first = packet->GetPTS(), end = AddTime(first, packet->GetDuration());
    const long long count = packet->GetSize() / sampleSize;
    const auto add = [&](long long from, long long to, avTime start, avTime stop)
    {
        parts.push_back(TakeSamples(*packet, from * sampleSize, (to - from) * sampleSize));
        parts.back()->SetPTS(start);
        parts.back()->SetDTS(start);
        parts.back()->SetDuration(stop - start);
    };
    avTime start = first;
    long long from = 0;
    // What begins with the sample of a bound begins at the bound; bounds closer together than samples are one.
    for (avTime bound = start; end != NoTime && (bound = nextBound(bound)) > start && bound < end;)
    {
        const long long to = std::min(Duration2SampleCount(bound - first, rate), count);
        if (to > from)
            add(from, to, start, bound);
        from = to;
        start = bound;
    }
    if (from == 0 && start == first)
        parts.push_back(packet);
    else if (from < count)
        add(from, count, start, end);
}

} // namespace Tessor::Host
