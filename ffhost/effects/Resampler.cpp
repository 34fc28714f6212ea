#include "ffhost/effects/Resampler.h"

#include "Fnd/Exception.h"
#include "ffhost/ErrorText.h"
#include "ffhost/Log.h"
#include "ffhost/effects/Frames.h"
#include "media/items/DataAudioFF.h"

extern "C"
{
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <climits>

namespace Tessor::Host
{

using namespace Proc;
using Conf::SampleInfo;

namespace
{

/// As many as the input lasts, and on to the end of a plane's line: blocks of that size need not be shortened, which
/// moves planes.
int GetUsualCount(const AudioRef& input, const SampleInfo& target)
{
    const int64_t exact =
        av_rescale_rnd(input.sampleCount, target.GetSampleRate(), input.sampleInfo.GetSampleRate(), AV_ROUND_UP);
    const int count = static_cast<int>(std::min<int64_t>(exact, INT_MAX / 2));
    const size_t one =
        target.GetFormat().bits / 8 * static_cast<size_t>(target.GetFormat().planar ? 1 : target.GetChannelCount());
    return static_cast<int>(GetAudioLinesize(target, count) / one);
}

/// Either may be null.
SP<IDataAudio> Join(const SP<IDataAudio>& first, const SP<IDataAudio>& second)
{
    if (!first || !second)
        return first ? first : second;
    const int head = first->GetSampleCount(), tail = second->GetSampleCount();
    const SP<DataAudioFF> joined = DataAudioFF::CreateBySampleCount(first->GetSampleInfo(), head + tail);
    CopySamples(first->GetConstAudioRef(), 0, joined->GetAudioRef(), 0, head);
    CopySamples(second->GetConstAudioRef(), 0, joined->GetAudioRef(), head, tail);
    return joined;
}

void CheckInput(const SampleInfo& info)
{
    if (info.GetSampleRate() <= 0 || info.GetFormat().bits == 0 || info.GetChannelCount() == 0)
        Throw<EffectException>(TESSOR_HERE, "Can't resample sound of " + std::to_string(info.GetChannelCount()) +
                                                " channels at " + std::to_string(info.GetSampleRate()) + " Hz");
}

} // namespace

void Resampler::Deleter::operator()(SwrContext* context) const
{
    swr_free(&context);
}

void Resampler::UpdateFormat(SP<Conf::IFormatCodecAudio>& format)
{
    format->SetSampleInfo(FindOutput(format->GetSampleInfo()));
}

void Resampler::Init(const SampleInfo& output)
{
    settings.rate = std::max(output.GetSampleRate(), 0);
    // the settings' numbers have "as the source" in front
    settings.format = static_cast<ResampleOutput::Format>(static_cast<int>(output.GetFormat().format) + 1);
    settings.layout = output.GetChannelLayout();
}

void Resampler::Reset()
{
    context.reset();
    clock.Reset();
}

void Resampler::ProcessItem(SP<IDataAudio>& block)
{
    if (!block)
    {
        block = Drain();
        if (block)
            clock.Stamp(*block, NoTime);
        clock.Reset();
        return;
    }
    const SampleInfo input = block->GetSampleInfo();
    const SampleInfo output = FindOutput(input);
    CheckInput(input);
    SP<IDataAudio> tail;
    if (context && (input != source || output != target))
    {
        tail = Drain();
        if (output != target)
            tail.reset(); // no block can hold both
    }
    if (block->GetSampleCount() == 0)
        block = tail;
    else if (input == output)
        block = tail ? Join(tail, block) : block;
    else
    {
        if (!context)
            Open(input, output);
        // What comes out first was held, and lies that long before the block. The base of the delay is microseconds
        // here.
        const avTime held = swr_get_delay(context.get(), SECOND);
        const avTime claimed = SubTime(block->GetPTS(), held);
        block = Join(tail, Convert(block->GetConstAudioRef()));
        if (block)
            clock.Stamp(*block, tail ? NoTime : claimed);
        return;
    }
    // Passed as it is, with its own times, but for what came before.
    if (tail)
        clock.Stamp(*block, NoTime);
    clock.Reset();
}

SampleInfo Resampler::FindOutput(const SampleInfo& input) const
{
    const SampleInfo wanted = settings.GetSampleInfo();
    const bool format = wanted.GetFormat().bits != 0;
    return SampleInfo(format ? wanted.GetFormat().format : input.GetFormat().format,
                      wanted.GetSampleRate() > 0 ? wanted.GetSampleRate() : input.GetSampleRate(),
                      wanted.GetChannelCount() > 0 ? wanted.GetChannelLayout() : input.GetChannelLayout());
}

void Resampler::Open(const SampleInfo& input, const SampleInfo& output)
{
    const FFmpegErrorCapture capture;
    AVChannelLayout layouts[2] = {};
    av_channel_layout_from_mask(&layouts[0], ToFFChannelMask(output.GetChannelLayout()));
    av_channel_layout_from_mask(&layouts[1], ToFFChannelMask(input.GetChannelLayout()));
    SwrContext* opened = nullptr;
    int result = swr_alloc_set_opts2(
        &opened, &layouts[0], static_cast<AVSampleFormat>(output.GetFormat().format), output.GetSampleRate(),
        &layouts[1], static_cast<AVSampleFormat>(input.GetFormat().format), input.GetSampleRate(), 0, nullptr);
    std::unique_ptr<SwrContext, Deleter> owned(opened);
    if (result >= 0)
        result = swr_init(opened);
    if (result < 0)
        Throw<EffectException>(TESSOR_HERE, "Can't resample: " + capture.GetText(result));
    context = std::move(owned);
    source = input;
    target = output;
}

/// Null where the conversion needs more for a sample. An empty view drains: libswresample then invents what its filter
/// wants after the last sample.
SP<IDataAudio> Resampler::Convert(const AudioRef& input)
{
    int room = swr_get_out_samples(context.get(), input.sampleCount);
    // Its bound is high; what finds no place it keeps for the next block.
    if (input.sampleCount > 0)
        room = std::min(room, GetUsualCount(input, target));
    if (room <= 0)
        return nullptr;
    const SP<DataAudioFF> block = pool.Get(target, room);
    Planes planes = GetPlanes(block->GetAudioRef());
    const Planes from = input.sampleCount > 0 ? GetPlanes(input) : Planes();
    const int count = swr_convert(context.get(), planes.data(), room,
                                  from.empty() ? nullptr : const_cast<const uint8_t**>(from.data()), input.sampleCount);
    if (count < 0)
        Throw<EffectException>(TESSOR_HERE, "Can't resample: " + DescribeError(count));
    if (count == 0)
        return nullptr;
    if (count < room)
        block->Shorten(count);
    return block;
}

SP<IDataAudio> Resampler::Drain()
{
    SP<IDataAudio> whole;
    while (context)
    {
        const SP<IDataAudio> part = Convert(AudioRef());
        if (!part)
            context.reset();
        whole = Join(whole, part);
    }
    return whole;
}

} // namespace Tessor::Host
