#include "ffhost/streams/SoundParts.h"

#include "ffhost/effects/Frames.h"
#include "media/audio/AudioTime.h"
#include "media/items/DataAudioFF.h"

#include <algorithm>
#include <iterator>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

SP<IDataAudio> TakeSamples(const SP<IDataAudio>& block, long long from, long long count)
{
    if (count == block->GetSampleCount())
        return block;
    const SP<DataAudioFF> part = DataAudioFF::CreateBySampleCount(block->GetSampleInfo(), static_cast<int>(count));
    CopySamples(block->GetConstAudioRef(), static_cast<int>(from), part->GetAudioRef(), 0, static_cast<int>(count));
    return part;
}

} // namespace

SP<IStreamAudio> SoundParts::Create(const SP<IStreamAudio>& parent, const std::vector<avTime>& bounds)
{
    return SP<IStreamAudio>(new SoundParts(parent, bounds));
}

SoundParts::SoundParts(const SP<IStreamAudio>& parent, const std::vector<avTime>& bounds)
    : PartStream(parent, "SoundParts", bounds)
{
}

SP<IDataAudio> SoundParts::ReadInternal()
{
    const SP<IDataAudio> part = PartStream::ReadInternal();
    if (part)
        reached = part->GetPTS();
    return part;
}

void SoundParts::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    // What lies ahead is read up to, and parts that wait are kept. What lies before takes a new start, for samples are
    // counted from the first.
    stays = reached && target >= *reached;
    if (stays)
        return;
    reached.reset();
    nextSample.reset();
    PartStream::RequestSeekInternal(0, partner);
}

void SoundParts::DoSeekInternal()
{
    if (!stays)
        PartStream::DoSeekInternal();
}

void SoundParts::Part(const SP<IDataAudio>& block, std::deque<SP<IDataAudio>>& parts)
{
    const auto sampleAt = [rate = block->GetSampleRate()](avTime time) { return Duration2SampleCount(time, rate); };
    // Of the first block the time tells its number; after that samples are counted, as blocks abut.
    const long long first = nextSample.value_or(sampleAt(block->GetPTS()));
    const long long last = first + block->GetSampleCount();
    const avTime blockEnd = AddTime(block->GetPTS(), block->GetDuration());
    nextSample = last;
    auto bound = std::partition_point(bounds.begin(), bounds.end(), [&](avTime b) { return sampleAt(b) <= first; });
    // What begins with the sample of a bound begins at the bound, and so does what ends with it end there.
    const bool begins = bound != bounds.begin() && sampleAt(*std::prev(bound)) == first;
    avTime start = begins ? *std::prev(bound) : block->GetPTS();
    for (long long from = first; from < last;)
    {
        const bool ends = bound != bounds.end() && sampleAt(*bound) <= last;
        const long long to = ends ? sampleAt(*bound) : last;
        parts.push_back(TakeSamples(block, from - first, to - from));
        parts.back()->SetPTS(start);
        parts.back()->SetDuration((ends ? *bound : blockEnd) - start);
        // bounds closer together than samples are one
        for (; bound != bounds.end() && sampleAt(*bound) <= to; ++bound)
            start = *bound;
        from = to;
    }
}

} // namespace Tessor::Host
