#include "ffhost/codecs/AudioEncoder.h"

#include "Fnd/Exception.h"
#include "Fnd/Statistics.h"
#include "Fnd/TimerSimple.h"
#include "ffhost/FormatTags.h"
#include "ffhost/Log.h"
#include "ffhost/codecs/EncoderTable.h"
#include "host/ComputingResourceManager.h"
#include "media/items/DataPacketFF.h"

extern "C"
{
#include <libavutil/audio_fifo.h>
#include <libavutil/intreadwrite.h>
}

#include <cstring>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

SP<Conf::IFormatCodecAudio> MakeFormat(const IStreamAudio& source, const AVCodecContext& context)
{
    const SP<Conf::IFormatCodecAudio> format = source.GetFormatCodec()->Clone();
    format->GetProperties().SetChildT<std::string>(Conf::IFormatCodec::TAG_CODEC_ID,
                                                   avcodec_get_name(context.codec_id));
    format->GetProperties().SetChildT<long long>(FormatTags::CODEC_ID, context.codec_id);
    format->SetExtradata(CopyExtradata(context));
    return format;
}

} // namespace

void AudioEncoder::Deleter::operator()(AVAudioFifo* fifo) const
{
    av_audio_fifo_free(fifo);
}

// Opened at once: a muxer asks for header and delay before the first packet.
AudioEncoder::AudioEncoder(const SP<IStreamAudio>& source, const EncoderOptions& options)
    : PassThrough(source, "AudioEncoder"), options(options), info(source->GetFormatCodec()->GetSampleInfo()),
      codec(Open()), frameSize(codec.GetContext()->frame_size), parameters(MakeParameters(*codec.GetContext())),
      format(MakeFormat(*source, *codec.GetContext())), resource(Core::ComputingResourceManager::TakeFakeResource()),
      fifo(av_audio_fifo_alloc(codec.GetContext()->sample_fmt, info.GetChannelCount(), std::max(frameSize, 1)))
{
    if (!fifo)
        throw std::bad_alloc();
}

CodecContextPtr AudioEncoder::Open() const
{
    const AVCodec* encoder = avcodec_find_encoder_by_name(options.name.c_str());
    CodecContextPtr context(encoder ? avcodec_alloc_context3(encoder) : nullptr);
    if (!context)
        Throw<CodecFactoryException>(TESSOR_HERE, "The encoder " + options.name + " is missing");
    context->sample_rate = info.GetSampleRate();
    context->sample_fmt = static_cast<AVSampleFormat>(info.GetFormat().format);
    av_channel_layout_from_mask(&context->ch_layout, Conf::ToFFChannelMask(info.GetChannelLayout()));
    context->time_base = {1, info.GetSampleRate()};
    SetQuality(*context);
    // Frames that lean on those before them (the bit reservoir) could not do without the run-in.
    if (!options.runIn && encoder->id == AV_CODEC_ID_MP3)
        SetOption(*context, "reservoir", "0");
    if (options.header)
        context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    const FFmpegErrorCapture capture;
    const int result = avcodec_open2(context.get(), encoder, nullptr);
    if (result < 0)
        Throw<EncoderException>(TESSOR_HERE, "Can't open the encoder " + options.name + ": " + capture.GetText(result));
    return context;
}

void AudioEncoder::SetQuality(AVCodecContext& context) const
{
    const EncoderRow& row = FindEncoder(options.name);
    const int samples = info.GetSampleRate();
    const bool usual = options.bitRate <= 0;
    if (usual && row.quality >= 0 && (samples < 16000 || samples > 48000))
    {
        context.flags |= AV_CODEC_FLAG_QSCALE;
        context.global_quality = row.quality * FF_QP2LAMBDA;
        return;
    }
    const int most = samples < 32000 && row.mostLowBitRate ? row.mostLowBitRate : row.mostBitRate;
    const int64_t rate = int64_t{row.channelBitRate} * info.GetChannelCount();
    context.bit_rate = !usual ? options.bitRate : most ? std::min<int64_t>(rate, most) : rate;
}

SP<IDataPacket> AudioEncoder::ReadInternal()
{
    const Core::TimerSimple timer(encodeTime);
    if (!codec.GetContext())
        codec.Replace(Open());
    while (AVPacket* packet = codec.Receive([this] { SendNextFrame(); }))
    {
        const bool hidden = !options.runIn && IsRunIn(*packet);
        const SP<IDataPacket> item = ToItem(packet); // which owns the packet
        if (hidden)
            continue;
        ++packetCount;
        return item;
    }
    return nullptr;
}

void AudioEncoder::SendNextFrame()
{
    const FramePtr frame = frameSize > 0 ? CollectFrame() : WrapBlock();
    if (!frame)
        return codec.Send(nullptr); // the end
    frame->pts = sentCount;
    sentCount += frame->nb_samples;
    codec.Send(frame.get());
}

FramePtr AudioEncoder::MakeFrame(int sampleCount) const
{
    const AVCodecContext& context = *codec.GetContext();
    FramePtr frame(av_frame_alloc());
    if (!frame || av_channel_layout_copy(&frame->ch_layout, &context.ch_layout) < 0)
        throw std::bad_alloc();
    frame->nb_samples = sampleCount;
    frame->format = context.sample_fmt;
    frame->sample_rate = context.sample_rate;
    return frame;
}

FramePtr AudioEncoder::CollectFrame()
{
    while (av_audio_fifo_size(fifo.get()) < frameSize)
        if (const SP<IDataAudio> block = ReadBlock())
            Push(*block);
        else
            break;
    const int held = av_audio_fifo_size(fifo.get());
    if (held == 0)
        return nullptr;
    // Only the last frame is shorter, and the encoder fills it up.
    FramePtr frame = MakeFrame(std::min(held, frameSize));
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        throw std::bad_alloc();
    av_audio_fifo_read(fifo.get(), reinterpret_cast<void**>(frame->extended_data), frame->nb_samples);
    return frame;
}

FramePtr AudioEncoder::WrapBlock()
{
    SP<IDataAudio> block = ReadBlock();
    while (block && block->GetConstAudioRef().sampleCount == 0)
        block = ReadBlock();
    if (!block)
        return nullptr;
    const AudioRef samples = block->GetConstAudioRef();
    FramePtr frame = MakeFrame(samples.sampleCount);
    const int planes = CountPlanes();
    for (int plane = 0; plane < planes; ++plane)
        frame->data[plane] = samples.data + static_cast<size_t>(plane) * samples.linesize;
    frame->linesize[0] = static_cast<int>(samples.linesize);
    auto holder = std::make_unique<SP<IDataAudio>>(block);
    const auto release = [](void* held, uint8_t*) { delete static_cast<SP<IDataAudio>*>(held); };
    frame->buf[0] = av_buffer_create(samples.data, samples.linesize * static_cast<size_t>(planes), release,
                                     holder.get(), AV_BUFFER_FLAG_READONLY);
    if (!frame->buf[0])
        throw std::bad_alloc();
    static_cast<void>(holder.release()); // the buffer's now
    return frame;
}

SP<IDataAudio> AudioEncoder::ReadBlock()
{
    const SP<IDataAudio> block = ended ? nullptr : parentStream->Read();
    ended = !block;
    if (!block)
        return nullptr;
    if (!(block->GetSampleInfo() == info))
        Throw<EncoderException>(TESSOR_HERE, options.name + ": the format of the sound changes");
    if (start == NoTime)
        start = block->GetPTS() != NoTime ? block->GetPTS() : 0; // the only time that is asked for: blocks abut
    return block;
}

void AudioEncoder::Push(const IDataAudio& block)
{
    const AudioRef samples = block.GetConstAudioRef();
    void* planes[AV_NUM_DATA_POINTERS] = {};
    for (int plane = 0; plane < CountPlanes(); ++plane)
        planes[plane] = samples.data + static_cast<size_t>(plane) * samples.linesize;
    if (av_audio_fifo_write(fifo.get(), planes, samples.sampleCount) < 0)
        throw std::bad_alloc();
}

/// Up to AV_NUM_DATA_POINTERS: none of our layouts has more channels.
int AudioEncoder::CountPlanes() const
{
    return info.GetFormat().planar ? info.GetChannelCount() : 1;
}

avTime AudioEncoder::ToTime(int64_t sample) const
{
    return AddTime(start, av_rescale(sample, SECOND, info.GetSampleRate()));
}

SP<IDataPacket> AudioEncoder::ToItem(AVPacket* packet)
{
    const avTime pts = ToTime(packet->pts);
    // FLAC's encoder ends with a packet of nothing but the completed header. Without a duration it is a whole frame.
    const int64_t length = packet->duration > 0 || packet->size == 0 ? packet->duration : frameSize;
    if (length > 0 && length < frameSize)
        HidePadding(*packet, frameSize - length);
    return DataPacketFF::Create(packet, MediaType::Audio, pts, pts, ToTime(packet->pts + length) - pts);
}

/// Tells that a decoder makes more samples of the packet than there were.
void AudioEncoder::HidePadding(AVPacket& packet, int64_t samples)
{
    constexpr size_t size = 10, place = 4; // samples to skip at the start, at the end, and two reasons
    if (av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, nullptr))
        return;
    uint8_t* skip = av_packet_new_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, size);
    if (!skip)
        throw std::bad_alloc();
    std::memset(skip, 0, size);
    AV_WL32(skip + place, static_cast<uint32_t>(samples));
}

/// All but a few samples lie before the first of the sound. MP3's delay of 1105, for one, is 47 short of a packet of
/// 1152: those are given up, for the whole packet would delay all of the sound.
bool AudioEncoder::IsRunIn(const AVPacket& packet) const
{
    return packet.pts < 0 && packet.pts + packet.duration <= packet.duration / 8;
}

void AudioEncoder::Reset()
{
    // One that was sent nothing yet is as good as new.
    if (start != NoTime || ended)
        codec.Replace(nullptr);
    av_audio_fifo_reset(fifo.get());
    start = NoTime;
    sentCount = 0;
    ended = false;
}

void AudioEncoder::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    Reset();
    parentStream->RequestSeek(target, partner);
}

void AudioEncoder::ReleaseInternalData()
{
    PassThrough::ReleaseInternalData();
    Reset();
    codec.Replace(nullptr);
}

Core::Property AudioEncoder::GetStatistic() const
{
    Core::Property statistic = parentStream->GetStatistic();
    statistic.Add(Core::MakeStatistics("virtual Core::Property Tessor::Host::AudioEncoder::GetStatistic() const",
                                       encodeTime, packetCount));
    return statistic;
}

} // namespace Tessor::Host
