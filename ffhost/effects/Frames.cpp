#include "ffhost/effects/Frames.h"

#include "Fnd/Exception.h"
#include "media/FFmpegCompat.h"
#include "media/items/DataAudioFF.h"
#include "media/items/DataVideoFF.h"

extern "C"
{
#include <libavutil/channel_layout.h>
}

#include <algorithm>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

constexpr int row_alignment = 64; // of the widest vectors that libavfilter uses

void CopyPlane(const Details::PlaneTemplate<true>& from, uint8_t* to, ptrdiff_t stride)
{
    for (size_t y = 0; y < from.GetHeight(); ++y)
        std::copy_n(from.GetOffsetPtr(0, y), from.GetRowBytes(), to + static_cast<ptrdiff_t>(y) * stride);
}

FramePtr CopyFrame(const IDataVideo& frame)
{
    FramePtr copy = MakeFrame();
    copy->format = static_cast<int>(frame.GetPixFmt());
    copy->width = frame.GetWidth();
    copy->height = frame.GetHeight();
    FFmpeg::SetInterlaced(*copy, frame.IsInterlaced());
    if (av_frame_get_buffer(copy.get(), row_alignment) < 0)
        Throw<EffectException>(TESSOR_HERE, "Can't allocate a frame");
    for (int i = 0; i < GetPlanesCount(frame); ++i)
        CopyPlane(frame.GetPlane(i), copy->data[i], copy->linesize[i]);
    return copy;
}

/// The record's buffer holds the block, and lets go of it when the last reader does.
void ReleaseBlock(void* block, uint8_t*)
{
    delete static_cast<SP<IDataAudio>*>(block);
}

} // namespace

FramePtr MakeFrame()
{
    FramePtr frame(av_frame_alloc());
    if (!frame)
        throw std::bad_alloc();
    return frame;
}

FramePtr ShareFrame(const IDataVideo& frame)
{
    const auto* record = dynamic_cast<const DataVideoFF*>(&frame);
    FramePtr shared = record ? FramePtr(av_frame_clone(record->GetAVFrame())) : CopyFrame(frame);
    if (!shared)
        throw std::bad_alloc();
    // the item's times, which filters may have changed since the record was decoded; an unknown duration is 0 there
    shared->pts = frame.GetPTS();
    FFmpeg::DurationOf(*shared) = std::max<avTime>(frame.GetDuration(), 0);
    return shared;
}

FramePtr ShareSamples(const SP<IDataAudio>& block)
{
    const AudioRef audio = block->GetConstAudioRef();
    FramePtr frame = MakeFrame();
    frame->format = static_cast<int>(audio.sampleInfo.GetFormat().format);
    frame->sample_rate = audio.sampleInfo.GetSampleRate();
    frame->nb_samples = audio.sampleCount;
    av_channel_layout_from_mask(&frame->ch_layout, ToFFChannelMask(audio.sampleInfo.GetChannelLayout()));
    const Planes planes = GetPlanes(audio);
    std::copy(planes.begin(), planes.end(), frame->data); // no layout has more channels than that has places
    frame->linesize[0] = static_cast<int>(audio.linesize);
    // Read-only, so that filters which write take a copy first.
    auto holder = std::make_unique<SP<IDataAudio>>(block);
    frame->buf[0] = av_buffer_create(audio.data, audio.linesize * planes.size(), ReleaseBlock, holder.get(),
                                     AV_BUFFER_FLAG_READONLY);
    if (!frame->buf[0])
        throw std::bad_alloc();
    holder.release();
    frame->pts = block->GetPTS();
    FFmpeg::DurationOf(*frame) = std::max<avTime>(block->GetDuration(), 0);
    return frame;
}

SP<IDataVideo> WrapFrame(FramePtr frame)
{
    // read first: the item takes the record, also where it throws
    const avTime pts = frame->pts, duration = FFmpeg::DurationOf(*frame);
    try
    {
        const SP<DataVideoFF> item = DataVideoFF::Create(frame.release());
        item->SetPTS(pts);
        item->SetDuration(duration);
        return item;
    }
    catch (const std::invalid_argument& e)
    {
        Throw<EffectException>(TESSOR_HERE, Describe(e));
    }
}

Conf::SampleInfo GetSampleInfo(const AVFrame& frame)
{
    // channels in an order of their own, or of no known place, count as the default layout of their number
    const bool native = frame.ch_layout.order == AV_CHANNEL_ORDER_NATIVE;
    return Conf::SampleInfo(static_cast<Conf::SampleFormats>(frame.format), frame.sample_rate,
                            Conf::FromFFChannelMask(native ? frame.ch_layout.u.mask : 0, frame.ch_layout.nb_channels));
}

SP<IDataAudio> JoinSamples(const std::vector<FramePtr>& frames)
{
    const Conf::SampleInfo info = GetSampleInfo(*frames.front());
    if (info.GetChannelCount() != frames.front()->ch_layout.nb_channels || info.GetFormat().bits == 0)
        Throw<EffectException>(TESSOR_HERE, "No blocks of " + std::to_string(frames.front()->ch_layout.nb_channels) +
                                                " channels in samples of format " +
                                                std::to_string(frames.front()->format));
    int count = 0;
    for (const FramePtr& frame : frames)
        count += frame->nb_samples;
    const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(info, count);
    Planes planes = GetPlanes(block->GetAudioRef());
    int at = 0;
    for (const FramePtr& frame : frames)
    {
        av_samples_copy(planes.data(), frame->extended_data, at, 0, frame->nb_samples, frame->ch_layout.nb_channels,
                        static_cast<AVSampleFormat>(frame->format));
        at += frame->nb_samples;
    }
    return block;
}

AVFrame& MakeWritable(SP<IDataVideo>& frame)
{
    // The item may be held elsewhere, and apart from that its picture may be shared by other items.
    auto* record = dynamic_cast<DataVideoFF*>(frame.get());
    if (!record || frame->GetRefCount() > 1)
    {
        FramePtr shared = ShareFrame(*frame);
        frame = WrapFrame(std::move(shared));
        record = &dynamic_cast<DataVideoFF&>(*frame);
    }
    if (av_frame_make_writable(record->GetAVFrame()) < 0)
        throw std::bad_alloc();
    return *record->GetAVFrame();
}

Planes GetPlanes(const AudioRef& audio)
{
    const bool planar = audio.sampleInfo.GetFormat().planar;
    Planes planes(planar ? static_cast<size_t>(audio.sampleInfo.GetChannelCount()) : 1);
    for (size_t i = 0; i < planes.size(); ++i)
        planes[i] = audio.data + i * audio.linesize;
    return planes;
}

void CopySamples(const AudioRef& from, int fromIndex, const AudioRef& to, int toIndex, int count)
{
    const Planes source = GetPlanes(from);
    Planes target = GetPlanes(to);
    av_samples_copy(target.data(), source.data(), toIndex, fromIndex, count, from.sampleInfo.GetChannelCount(),
                    static_cast<AVSampleFormat>(from.sampleInfo.GetFormat().format));
}

} // namespace Tessor::Host
