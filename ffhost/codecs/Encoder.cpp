#include "ffhost/codecs/Encoder.h"

#include "Fnd/Exception.h"
#include "Fnd/Statistics.h"
#include "Fnd/TimerSimple.h"
#include "ffhost/codecs/EncoderSetup.h"
#include "host/ComputingResourceManager.h"
#include "media/FFmpegCompat.h"
#include "media/items/BlobFF.h"
#include "media/items/DataPacketFF.h"
#include "media/items/DataVideoFF.h"

extern "C"
{
#include <libavutil/imgutils.h>
}

namespace Tessor::Host
{

using namespace Proc;
using Conf::IFormatCodec;
using Conf::IFormatCodecVideo;

namespace
{

/// How many times are kept of frames before the one whose packet came last: a DTS is one of those, and no encoder
/// delays its packets by as many.
constexpr int64_t KEPT_TIMES = 64;

const std::string ENCODER_NAME = "EncoderName";

/// A record over planes of a frame that is not FFmpeg's.
FramePtr CopyRecord(const IDataVideo& frame)
{
    FramePtr record(av_frame_alloc());
    if (!record)
        throw std::bad_alloc();
    record->format = static_cast<int>(frame.GetPixFmt());
    record->width = frame.GetWidth();
    record->height = frame.GetHeight();
    FFmpeg::SetInterlaced(*record, frame.IsInterlaced());
    if (av_frame_get_buffer(record.get(), 0) < 0)
        throw std::bad_alloc();
    for (int i = 0; i < GetPlanesCount(frame); ++i)
    {
        const auto plane = frame.GetPlane(i);
        av_image_copy_plane(record->data[i], record->linesize[i], plane.GetOffsetPtr(0, 0),
                            static_cast<int>(plane.GetStride()), static_cast<int>(plane.GetRowBytes()),
                            static_cast<int>(plane.GetHeight()));
    }
    return record;
}

} // namespace

SP<IEncoder> Encoder::Create(const SP<IStreamVideo>& source, const Core::Property& recodeFormat,
                             const SP<Core::IComputingResource>& resource, const RecodeOptions& options,
                             const UseCallback& onEnd)
{
    auto setup = std::make_unique<EncoderSetup>(source->GetFormatCodec(), recodeFormat, options);
    return SP<IEncoder>(new Encoder(source, std::move(setup), recodeFormat, resource, onEnd));
}

SP<TrackEncoder> Encoder::Create(const SP<IStreamVideo>& source, std::unique_ptr<const VideoSetup> setup,
                                 const Core::Property& changes)
{
    return SP<TrackEncoder>(new Encoder(source, std::move(setup), changes, nullptr, {}));
}

Encoder::Encoder(const SP<IStreamVideo>& source, std::unique_ptr<const VideoSetup> newSetup,
                 const Core::Property& changes, const SP<Core::IComputingResource>& resource, const UseCallback& onEnd)
    : PassThrough(source, "Encoder"), setup(std::move(newSetup)), codec(setup->Open()),
      frameRate(codec.GetContext()->framerate),
      // more than one where a setup has a finer time base than a frame
      frameTicks(std::max<int64_t>(av_rescale_q(1, av_inv_q(frameRate), codec.GetContext()->time_base), 1)),
      format(source->GetFormatCodec()->Clone()), parameters(MakeParameters(*codec.GetContext())),
      resource(resource ? resource : Core::ComputingResourceManager::TakeFakeResource()), onEnd(onEnd)
{
    format->Merge(changes);
    format->GetProperties().SetChildT<std::string>(ENCODER_NAME, setup->GetEncoderName());
    format->SetExtradata(CopyExtradata(*codec.GetContext()));
}

Encoder::~Encoder()
{
    if (onEnd && packetCount > 0)
        onEnd(setup->GetEncoderName(), encodeTime);
}

SP<IDataPacket> Encoder::ReadInternal()
{
    const Core::TimerSimple timer(encodeTime);
    // Opened as the one before, so that the header in the format is this one's, too.
    if (!codec.GetContext())
        codec.Replace(setup->Open());
    AVPacket* packet = codec.Receive([this] { SendNextFrame(); });
    if (!packet)
        return nullptr;
    ++packetCount;
    return ToItem(packet);
}

void Encoder::SendNextFrame()
{
    const SP<IDataVideo> frame = parentStream->Read();
    if (!frame)
        return codec.Send(nullptr);
    const FramePtr record = ToRecord(*frame);
    if (!Fits(*record))
        Adapt(*record);
    SetFields(*record);
    record->pts = frameCount * frameTicks;
    // The decoder's decisions are not the encoder's.
    record->pict_type = AV_PICTURE_TYPE_NONE;
    FFmpeg::SetKeyFrame(*record, false);
    record->quality = codec.GetContext()->global_quality; // with a constant quantiser each frame brings it
    times[frameCount++] = {frame->GetPTS(), frame->GetDuration()};
    codec.Send(record.get());
}

FramePtr Encoder::ToRecord(const IDataVideo& frame) const
{
    // a record of its own, for times and types are set on it, over the same picture, which encoders only read
    const auto* known = dynamic_cast<const DataVideoFF*>(&frame);
    FramePtr record = known ? FramePtr(av_frame_clone(known->GetAVFrame())) : CopyRecord(frame);
    if (!record)
        throw std::bad_alloc();
    return record;
}

bool Encoder::Fits(const AVFrame& record) const
{
    const AVCodecContext& context = *codec.GetContext();
    // fields may come and go from picture to picture, but the first one tells what is meant
    return record.width == context.width && record.height == context.height && record.format == context.pix_fmt &&
           (frameCount > 0 || setup->KeepsFields(record));
}

// Only before the first frame: later on there are packets which need the header that stands.
void Encoder::Adapt(const AVFrame& record)
{
    std::unique_ptr<const VideoSetup> other = frameCount == 0 ? setup->ForPicture(record) : nullptr;
    if (!other)
        Throw<EncoderException>(TESSOR_HERE, setup->GetEncoderName() +
                                                 ": the size or format of the pictures changes at " +
                                                 T2S(record.pts == AV_NOPTS_VALUE ? NoTime : record.pts));
    setup = std::move(other);
    codec.Replace(setup->Open());
    parameters = MakeParameters(*codec.GetContext());
    format->SetExtradata(CopyExtradata(*codec.GetContext()));
}

// A decoder tells of each picture how it was coded, and interlaced sources have progressive ones among theirs. The
// stream's order holds for all, so that the encoder does not go back and forth.
void Encoder::SetFields(AVFrame& record) const
{
    const AVCodecContext& context = *codec.GetContext();
    if (!(context.flags & AV_CODEC_FLAG_INTERLACED_DCT))
        return;
    FFmpeg::SetInterlaced(record, true);
    FFmpeg::SetTopFieldFirst(record, context.field_order == AV_FIELD_TT || context.field_order == AV_FIELD_BT);
}

SP<IDataPacket> Encoder::ToItem(AVPacket* packet)
{
    const int64_t number = packet->pts / frameTicks;
    const auto own = times.find(number);
    const Times result = own != times.end() ? own->second : Times{GetTime(number), NoTime};
    // Times before the first frame are negative: rounded down, as the others are, not towards zero.
    const int64_t place = packet->dts >= 0 ? packet->dts / frameTicks : -((frameTicks - 1 - packet->dts) / frameTicks);
    const avTime dts = packet->dts == AV_NOPTS_VALUE ? NoTime : GetTime(place);
    times.erase(times.begin(), times.lower_bound(number - KEPT_TIMES));
    // whatever the source's times are, no container takes a DTS above the PTS
    return DataPacketFF::Create(packet, MediaType::Video, result.pts, std::min(dts, result.pts), result.duration);
}

avTime Encoder::GetTime(int64_t number) const
{
    if (times.empty())
        return NoTime;
    const auto found = times.find(number);
    if (found != times.end())
        return found->second.pts;
    // outside of what was sent frames are evenly spaced
    const auto& [nearest, known] = number < times.begin()->first ? *times.begin() : *times.rbegin();
    return AddTime(known.pts, av_rescale_q(number - nearest, av_inv_q(frameRate), {1, SECOND}));
}

/// An encoder that has seen frames starts afresh: few can be flushed.
void Encoder::Reset()
{
    if (frameCount)
        codec.Replace(nullptr);
    times.clear();
    frameCount = 0;
}

void Encoder::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    Reset();
    parentStream->RequestSeek(target, partner);
}

void Encoder::ReleaseInternalData()
{
    PassThrough::ReleaseInternalData();
    Reset();
    codec.Replace(nullptr);
}

Core::Property Encoder::GetStatistic() const
{
    Core::Property statistic = parentStream->GetStatistic();
    statistic.Add(Core::MakeStatistics("virtual Core::Property Tessor::Host::Encoder::GetStatistic() const", encodeTime,
                                       packetCount));
    return statistic;
}

} // namespace Tessor::Host
