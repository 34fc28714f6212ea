#include "ffhost/codecs/Decoder.h"

#include "Fnd/Exception.h"
#include "Fnd/Statistics.h"
#include "Fnd/TimerSimple.h"
#include "Proc/StreamTemplates/Visitors.h"
#include "ffhost/FormatTags.h"
#include "media/FFmpegCompat.h"
#include "media/items/IPacketFacts.h"

extern "C"
{
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <cstring>

namespace Tessor::Host
{

using namespace Proc;
using Conf::IFormatCodecVideo;

namespace
{

constexpr AVRational MICROSECONDS = {1, SECOND};

/// When neither packets nor neighbours tell.
constexpr avTime DEFAULT_DURATION = 40 * MILLISECOND;

/// Pictures nearer to the one before than this part of their duration stand where it stands; more of them in a row than
/// this have times that stand still, and are shown one after the other.
constexpr int CROWDED_PART = 16;
constexpr int MOST_CROWDED = 8;

SP<IFormatCodecVideo> CloneVideoFormat(const SP<IStreamRaw>& source)
{
    const SP<Conf::IFormatCodec> format = source->GetFormatCodec();
    const auto* video = dynamic_cast<const IFormatCodecVideo*>(format.get());
    if (!video)
        Throw<CodecFactoryException>(TESSOR_HERE, "The stream to decode is no video");
    return video->Clone();
}

/// Whether all rows of all planes are, as far as they are seen.
bool AreEqual(const AVFrame& a, const AVFrame& b)
{
    if (a.format != b.format || a.width != b.width || a.height != b.height)
        return false;
    const AVPixelFormat format = static_cast<AVPixelFormat>(a.format);
    const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(format);
    for (int i = 0; i < av_pix_fmt_count_planes(format); ++i)
    {
        const int rows = i == 1 || i == 2 ? AV_CEIL_RSHIFT(a.height, description->log2_chroma_h) : a.height;
        const auto bytes = static_cast<size_t>(av_image_get_linesize(format, a.width, i));
        for (ptrdiff_t y = 0; y < rows; ++y)
            if (std::memcmp(a.data[i] + y * a.linesize[i], b.data[i] + y * b.linesize[i], bytes) != 0)
                return false;
    }
    return true;
}

/// The frame's own picture, or a copy.
FramePtr Share(const AVFrame& source, bool copied)
{
    FramePtr shared(av_frame_clone(&source));
    if (!shared || (copied && av_frame_make_writable(shared.get()) < 0))
        throw std::bad_alloc();
    return shared;
}

} // namespace

SP<IStreamVideo> Decoder::Create(const SP<IStreamRaw>& source, const DecoderOptions& options)
{
    return SP<IStreamVideo>(new Decoder(source, options));
}

Decoder::Decoder(const SP<IStreamRaw>& source, const DecoderOptions& options)
    : PassThrough(source, "Decoder"), format(CloneVideoFormat(source)),
      traits(PictureTraits::Of(format->GetProperties())), options(options), codec(format, options.damaged)
{
}

void Decoder::Prepare(AVCodecContext& context) const
{
    if (options.threads > 0)
        context.thread_count = options.threads;
    const Core::Property& tree = format->GetProperties();
    const Conf::FrameInfo info = format->GetFrameInfo();
    context.width = info.width;
    context.height = info.height;
    context.pix_fmt = static_cast<AVPixelFormat>(format->GetPixelFormat());
    ApplyPictureProperties(tree, context);
    context.field_order = traits.fields;
    // By the container's name of a codec some decoders know variants of it, and faults of encoders.
    context.bits_per_coded_sample = static_cast<int>(GetNumber(tree, FormatTags::BITS_PER_CODED_SAMPLE, 0));
    context.codec_tag = static_cast<unsigned>(GetNumber(tree, FormatTags::CODEC_TAG, 0));
    // A decoder that finds the depth out by itself has delivered its first pictures too early by then.
    context.has_b_frames = static_cast<int>(GetNumber(tree, FormatTags::REORDER_DEPTH, 0));
    // A group that starts at a recovery point is shown from its first picture on.
    context.flags |= AV_CODEC_FLAG_OUTPUT_CORRUPT;
    context.flags2 |= AV_CODEC_FLAG2_SHOW_ALL;
    // No guessing of the reorder depth: a group is short, and a wrong guess costs pictures.
    if (context.codec_id == AV_CODEC_ID_H264)
        context.strict_std_compliance = FF_COMPLIANCE_STRICT;
}

void Decoder::Reset()
{
    codec.Flush();
    ready.clear();
    leadInTimes.clear();
    lastDistinct.reset();
    fresh = true;
    drained = false;
    lastStart = lastEnd = newestTime = NoTime;
    crowded = 0;
}

SP<IDataVideo> Decoder::ReadInternal()
{
    SP<DataVideoFF> frame = TakeReady();
    while (frame && options.wanted && !options.wanted(frame->GetPTS()))
        frame = TakeReady();
    // Only what is delivered counts: nobody folds the repeat of a picture that was left out.
    if (frame && options.distinct)
        SetApart(*frame->GetAVFrame());
    return frame;
}

SP<DataVideoFF> Decoder::TakeReady()
{
    // Two: the end of a frame is the start of the one after it.
    FillReady(2);
    if (ready.empty())
        return nullptr;
    const SP<DataVideoFF> frame = ready.front();
    ready.pop_front();
    if (!ready.empty())
        frame->SetDuration(ready.front()->GetPTS() - frame->GetPTS());
    return frame;
}

void Decoder::FillReady(size_t count)
{
    const Core::TimerSimple timer(decodeTime);
    if (!codec.GetContext())
        codec.Open([this](AVCodecContext& context) { Prepare(context); });
    while (ready.size() < count && !drained)
    {
        SendNextPacket();
        TakeFrames();
    }
}

void Decoder::SendNextPacket()
{
    const SP<IDataPacket> packet = parentStream->Read();
    if (packet && fresh)
        SendLeadIn(*packet);
    fresh = false;
    drained = !packet;
    // What comes from the source itself is wanted, whatever was decoded for its sake.
    if (packet)
        leadInTimes.erase(packet->GetPTS());
    codec.Send(packet ? packet->GetAVPacket() : nullptr);
}

void Decoder::SendLeadIn(const IDataPacket& packet)
{
    for (const SP<IDataPacket>& before : GetFacts(packet).leadIn)
    {
        leadInTimes.insert(before->GetPTS());
        codec.Send(before->GetAVPacket());
        TakeFrames(); // a decoder that is full takes no more
    }
}

void Decoder::TakeFrames()
{
    while (const AVFrame* decoded = codec.Receive())
        Deliver(*decoded);
}

void Decoder::Deliver(const AVFrame& decoded)
{
    // the best effort takes the place of a missing PTS by what the decoder knows of its packets
    const avTime time = decoded.pts != AV_NOPTS_VALUE ? decoded.pts : decoded.best_effort_timestamp;
    if (time != NoTime && leadInTimes.count(time))
        return;
    ++decodedCount;
    // What waits for an encoder shall not depend on what libavcodec goes on to do with its memory: Theora's decoder has
    // been seen to change pictures after it had delivered them.
    FramePtr picture = Share(decoded, options.distinct || decoded.data[0] == lastPicture);
    lastPicture = decoded.data[0];
    traits.Settle(*picture);
    const SP<DataVideoFF> frame = DataVideoFF::Create(picture.release());
    frame->SetDuration(GetFrameDuration(decoded));
    frame->SetPTS(FindPlace(time, frame->GetDuration()));
    lastStart = frame->GetPTS();
    lastEnd = lastStart + frame->GetDuration();
    ready.push_back(frame);
}

// Consumers fold pictures that look alike, and whether a picture does is seen in its samples alone: a repeat is coded
// like any other, and libavcodec decodes it to memory of its own. Of moving pictures only the first row is compared.
// The picture before was changed if it was a repeat itself, so that of several repeats every other one is changed.
void Decoder::SetApart(AVFrame& picture)
{
    if (lastDistinct && AreEqual(picture, *lastDistinct))
    {
        if (av_frame_make_writable(&picture) < 0)
            throw std::bad_alloc();
        picture.data[0][0] ^= 1;
    }
    lastDistinct = Share(picture, false);
}

avTime Decoder::FindPlace(avTime time, avTime duration)
{
    if (time == NoTime)
        return lastEnd == NoTime ? 0 : lastEnd;
    disorderedCount += time < newestTime;
    newestTime = std::max(newestTime, time);
    if (lastStart == NoTime)
        return time;
    crowded = time - lastStart <= duration / CROWDED_PART ? crowded + 1 : 0;
    if (crowded > MOST_CROWDED)
        return lastEnd;
    // Out of order in a damaged stream: right after the one before, so that those that follow keep their places.
    return std::max(time, lastStart + 1);
}

// The packet's word, or the stream's. It holds for the last frame alone, for all others reach to the next one.
avTime Decoder::GetFrameDuration(const AVFrame& decoded) const
{
    if (FFmpeg::DurationOf(decoded) > 0)
        return FFmpeg::DurationOf(decoded);
    const AVRational rate = codec.GetContext()->framerate;
    return rate.num > 0 && rate.den > 0 ? std::max<avTime>(av_rescale_q(1, av_inv_q(rate), MICROSECONDS), 1)
                                        : DEFAULT_DURATION;
}

void Decoder::RequestSeekInternal(avTime target, SP<IStream>)
{
    Reset();
    // The source asks this decoder for its result once the seek is done.
    parentStream->RequestSeek(target, SP<IStream>(this));
}

void Decoder::ReleaseInternalData()
{
    PassThrough::ReleaseInternalData();
    Reset();
    codec.Close();
}

void Decoder::AcceptInternal(IStreamVisitor& visitor)
{
    Visitors::ProcessStandartVisitors(visitor, "Decoder", FRAME_ALLOC_CPU, this);
}

Core::Property Decoder::GetStatistic() const
{
    Core::Property statistic = parentStream->GetStatistic();
    Core::Property record = Core::MakeStatistics("virtual Core::Property Tessor::Host::Decoder::GetStatistic() const",
                                                 decodeTime, decodedCount);
    record.SetChildT<long long>("Damaged", static_cast<long long>(codec.GetDamagedCount()));
    record.SetChildT<long long>("Disordered", disorderedCount);
    statistic.Add(record);
    return statistic;
}

} // namespace Tessor::Host
