#include "ffhost/codecs/PacketDecoder.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/AACCodecParser.h"
#include "ffhost/Log.h"
#include "ffhost/codecs/Threads.h"

#include <cstring>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

constexpr AVRational MICROSECONDS = {1, SECOND};

/// With libavcodec's padding, which its bit readers read.
void SetExtradata(AVCodecContext& context, const IBlob& extradata)
{
    context.extradata = static_cast<uint8_t*>(av_mallocz(extradata.Size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!context.extradata)
        throw std::bad_alloc();
    std::memcpy(context.extradata, extradata.Data(), extradata.Size());
    context.extradata_size = static_cast<int>(extradata.Size());
}

} // namespace

PacketDecoder::PacketDecoder(const SP<Conf::IFormatCodec>& format,
                             const std::shared_ptr<std::atomic<long long>>& damaged)
    : format(format), codec(avcodec_find_decoder(FindCodecID(format->GetProperties()))), damaged(damaged),
      frame(av_frame_alloc())
{
    if (!frame)
        throw std::bad_alloc();
    if (!codec)
        Throw<CodecFactoryException>(TESSOR_HERE, "No decoder for " + format->GetCodecID());
}

void PacketDecoder::Open(const std::function<void(AVCodecContext&)>& prepare)
{
    CodecContextPtr opening(avcodec_alloc_context3(codec));
    if (!opening)
        throw std::bad_alloc();
    opening->pkt_timebase = MICROSECONDS;
    opening->thread_count = GetThreadCount();
    const SP<const IBlob> header = GetHeader();
    if (header && header->Size())
        SetExtradata(*opening, *header);
    prepare(*opening);
    const FFmpegErrorCapture errors;
    const int result = avcodec_open2(opening.get(), codec, nullptr);
    if (result < 0)
        Throw<FilterException>(TESSOR_HERE,
                               std::string("Can't open the decoder ") + codec->name + ": " + errors.GetText(result));
    context = std::move(opening);
    draining = dirty = false;
}

// For ADTS the demuxer has the head of the first frame as header. The decoder wants an AudioSpecificConfig or nothing:
// it reads the heads of the packets. Channels that no number stands for are told by the first packet alone, which it
// may not be given.
SP<const IBlob> PacketDecoder::GetHeader() const
{
    using namespace CodecParsers;
    const SP<const IBlob> header = format->GetExtradata();
    if (!header || codec->id != AV_CODEC_ID_AAC || !HasADTSHeader(header->Data(), header->Size()))
        return header;
    return DataToADTSHeader(header->Data(), header->Size()).pce ? ADTSHeaderToASCExtradata(header) : nullptr;
}

void PacketDecoder::Flush()
{
    if (context && dirty)
        avcodec_flush_buffers(context.get());
    draining = dirty = false;
}

void PacketDecoder::Close()
{
    context.reset();
    draining = dirty = false;
}

void PacketDecoder::Send(const AVPacket* packet)
{
    // Without bytes libavcodec would take it for the end.
    if (packet && packet->size == 0)
        return;
    draining = !packet;
    dirty = true;
    const int result = avcodec_send_packet(context.get(), packet);
    if (result == AVERROR(ENOMEM))
        throw std::bad_alloc(); // the packet is as good as ever
    if (result < 0 && result != AVERROR_EOF)
        CountDamage();
}

void PacketDecoder::CountDamage()
{
    ++damagedCount;
    if (damaged)
        ++*damaged;
}

const AVFrame* PacketDecoder::Receive()
{
    for (;;)
    {
        const int result = avcodec_receive_frame(context.get(), frame.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return nullptr;
        if (result == AVERROR(ENOMEM))
            throw std::bad_alloc();
        const bool corrupt = result >= 0 && ((frame->flags & AV_FRAME_FLAG_CORRUPT) || frame->decode_error_flags);
        if (result < 0 || corrupt)
            CountDamage();
        if (result >= 0)
            return frame.get();
        // While draining a failure belongs to one frame, and others follow. Otherwise the packet has been used up.
        if (!draining)
            return nullptr;
    }
}

} // namespace Tessor::Host
