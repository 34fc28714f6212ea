#include "ffhost/codecs/PacketEncoder.h"

#include "Fnd/Exception.h"

namespace Tessor::Host
{

AVPacket* PacketEncoder::Receive(const std::function<void()>& feed)
{
    AVPacket* packet = av_packet_alloc();
    const std::unique_ptr<AVPacket*, void (*)(AVPacket**)> guard(&packet, av_packet_free);
    if (!packet)
        throw std::bad_alloc();
    int result = 0;
    while ((result = avcodec_receive_packet(context.get(), packet)) == AVERROR(EAGAIN))
        feed();
    if (result == AVERROR_EOF)
        return nullptr;
    Check(result);
    return std::exchange(packet, nullptr);
}

void PacketEncoder::Send(const AVFrame* frame)
{
    Check(avcodec_send_frame(context.get(), frame));
}

void PacketEncoder::Check(int result) const
{
    if (result < 0)
        Throw<Proc::EncoderException>(TESSOR_HERE, std::string(context->codec->name) + ": " + AvError(result));
}

} // namespace Tessor::Host
