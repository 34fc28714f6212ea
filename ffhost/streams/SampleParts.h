#pragma once

#include "ffhost/io/MediaInfo.h"
#include "ffhost/streams/PartStream.h"

#include <functional>

namespace Tessor::Host
{

/// Parts packets of linear samples at the samples nearest to the times at which they will be cut, so that a cut which
/// takes packets whole is exact to the sample.
class TESSOR_API SampleParts final : public PartStream<Proc::IStreamRaw>
{
public:
    /// Tells the first bound after a time, or one before it where there is none. Asked on the thread that reads, for
    /// each packet anew.
    using NextBound = std::function<avTime(avTime)>;

    /// The parent itself for a track whose packets are no linear samples, or whose times are rounded to more than one.
    static SP<Proc::IStreamRaw> Create(const SP<Proc::IStreamRaw>& parent, const TrackInfo& track, NextBound nextBound);

private:
    SampleParts(const SP<Proc::IStreamRaw>& parent, const TrackInfo& track, NextBound nextBound);

    void Part(const SP<Proc::IDataPacket>& packet, std::deque<SP<Proc::IDataPacket>>& parts) override;

    const NextBound nextBound;
    const long long sampleSize; // bytes, of all channels
    const int rate;
};

} // namespace Tessor::Host
