#include "ffhost/effects/AudioFormatter.h"

#include "Fnd/Exception.h"
#include "Proc/Settings/IPreset.h"
#include "ffhost/effects/Frames.h"
#include "ffhost/effects/Resampler.h"
#include "media/items/DataAudioFF.h"

#include <algorithm>
#include <limits>

namespace Tessor::Host
{

using namespace Proc;

void AudioFormatter::Initialize(const Core::Property& settings)
{
    if (settings.GetName() != CLASS_ID)
        Throw<AlgorithmException>(TESSOR_HERE,
                                  "Algorithm was initialized with incorrect class (" + settings.GetName() + ")!");
}

Core::Property AudioFormatter::GetSettings() const
{
    Core::Property settings(CLASS_ID);
    settings.SetChild(IPreset::KEY_TYPE_ID, "");
    return settings;
}

void AudioFormatter::Push(SP<IDataAudio>& block)
{
    // Taken from the caller, so that a block which nobody else holds can pass uncopied.
    const SP<IDataAudio> taken = std::move(block);
    block.reset();
    if (!taken || taken->GetSampleCount() == 0)
        return;
    if (!time.isInit())
        time.Reset(taken->GetPTS() != NoTime ? taken->GetPTS() : defaultStart);
    blocks.push_back(taken);
}

SP<IDataAudio> AudioFormatter::Get(avTime duration, bool flush)
{
    if (duration <= 0)
        Throw<AlgorithmException>(TESSOR_HERE, "Blocks of " + T2S(duration) + " can't be cut");
    if (blocks.empty())
        return nullptr;
    const long long held = CountHeld(), length = FindLength(duration);
    const bool formatEnds = blocks.back()->GetSampleInfo() != blocks.front()->GetSampleInfo();
    if (held < length && !flush && !formatEnds)
        return nullptr;
    askedTime = AddTime(askedTime, duration);
    const SP<IDataAudio> result = Take(static_cast<int>(std::min(held, length)));
    // what this block is short of is not owed: the next one begins a row of its own
    if (held < length)
        StartGrid();
    return result;
}

void AudioFormatter::Reset(avTime newTime)
{
    blocks.clear();
    firstUsed = 0;
    time.Reset(NoTime);
    defaultStart = newTime;
    StartGrid();
}

void AudioFormatter::Convert(const Conf::SampleInfo& format)
{
    const auto fits = [&](const SP<IDataAudio>& block) { return block->GetSampleInfo() == format; };
    if (std::all_of(blocks.begin(), blocks.end(), fits))
        return;
    // A run of one format at a time, each by a conversion of its own. The null block drains it.
    std::deque<SP<IDataAudio>> converted;
    while (!blocks.empty())
    {
        SP<IDataAudio> run = Gather(static_cast<int>(CountHeld())), rest;
        Resampler resampler(nullptr);
        resampler.Init(format);
        for (SP<IDataAudio>* part : {&run, &rest})
            if (resampler.Process(*part); *part)
                converted.push_back(*part);
    }
    blocks = std::move(converted);
    StartGrid();
}

long long AudioFormatter::CountHeld() const
{
    long long count = -firstUsed;
    for (const SP<IDataAudio>& block : blocks)
    {
        if (block->GetSampleInfo() != blocks.front()->GetSampleInfo())
            break;
        count += block->GetSampleCount();
    }
    return count;
}

long long AudioFormatter::FindLength(avTime duration) const
{
    // Rounded once from the start of the grid, so that blocks of 1/25 s at 44100 Hz and their kin never drift.
    const long long end = Duration2SampleCount(AddTime(askedTime, duration), blocks.front()->GetSampleRate());
    // No duration is too short for a sample, and no block longer than can be counted.
    return std::clamp<long long>(end - givenCount, 1, std::numeric_limits<int>::max());
}

SP<IDataAudio> AudioFormatter::Take(int count)
{
    const SP<IDataAudio> result = Gather(count);
    givenCount += count;
    // no time at all where neither blocks nor a reset had one
    result->SetPTS(time.GetTime());
    time.AddSamples(result->GetSampleRate(), static_cast<unsigned long long>(count));
    if (time.isInit())
        result->SetDuration(time.GetTime() - result->GetPTS());
    return result;
}

SP<IDataAudio> AudioFormatter::Gather(int count)
{
    const SP<IDataAudio> first = blocks.front();
    if (firstUsed == 0 && first->GetSampleCount() == count)
    {
        blocks.pop_front();
        // it is about to be stamped, which another holder must not see
        return first->GetRefCount() > 1 ? first->Clone(0) : first;
    }
    const SP<DataAudioFF> result = DataAudioFF::CreateBySampleCount(first->GetSampleInfo(), count);
    const AudioRef target = result->GetAudioRef();
    for (int done = 0; done < count;)
    {
        const IDataAudio& block = *blocks.front();
        const int part = std::min(count - done, block.GetSampleCount() - firstUsed);
        CopySamples(block.GetConstAudioRef(), firstUsed, target, done, part);
        done += part;
        firstUsed += part;
        if (firstUsed == block.GetSampleCount())
        {
            blocks.pop_front();
            firstUsed = 0;
        }
    }
    return result;
}

void AudioFormatter::StartGrid()
{
    askedTime = 0;
    givenCount = 0;
}

} // namespace Tessor::Host
