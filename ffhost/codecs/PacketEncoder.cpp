#include "ffhost/codecs/PacketEncoder.h"

#include "Fnd/Exception.h"
#include "ffhost/Log.h"

namespace Tessor::Host
{

AVPacket* PacketEncoder::Receive(const std::function<void()>& feed)
{
    AVPacket* packet = av_packet_alloc();
    // frees what `packet` points to: nothing any more where it is handed out
    const std::unique_ptr<AVPacket*, void (*)(AVPacket**)> guard(&packet, av_packet_free);
    if (!packet)
        throw std::bad_alloc();
    const FFmpegErrorCapture errors;
    int result = 0;
    while ((result = avcodec_receive_packet(context.get(), packet)) == AVERROR(EAGAIN))
        feed();
    if (result == AVERROR_EOF)
        return nullptr;
    Check(result, errors);
    return std::exchange(packet, nullptr);
}

void PacketEncoder::Send(const AVFrame* frame)
{
    const FFmpegErrorCapture errors;
    Check(avcodec_send_frame(context.get(), frame), errors);
}

void PacketEncoder::Check(int result, const FFmpegErrorCapture& errors) const
{
    if (result < 0)
        Throw<Proc::EncoderException>(TESSOR_HERE, std::string(context->codec->name) + ": " + errors.GetText(result));
}

} // namespace Tessor::Host
