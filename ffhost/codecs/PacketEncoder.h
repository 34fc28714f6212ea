#pragma once

#include "ffhost/codecs/AvCodec.h"

#include <functional>

namespace Tessor::Host
{

class FFmpegErrorCapture;

/// libavcodec's encoder: frames in, packets out. Throws EncoderException with the encoder's name.
class PacketEncoder
{
public:
    explicit PacketEncoder(CodecContextPtr context) : context(std::move(context)) {}

    /// The next packet, which the caller owns; null at the end. `feed` is called whenever a frame is wanted, and sends
    /// one, or null when there are no more.
    AVPacket* Receive(const std::function<void()>& feed);
    void Send(const AVFrame* frame);

    /// A new encoder, or null for none: few of libavcodec's can be flushed.
    void Replace(CodecContextPtr newContext) { context = std::move(newContext); }
    AVCodecContext* GetContext() const { return context.get(); }

private:
    void Check(int result, const FFmpegErrorCapture& errors) const;

    CodecContextPtr context;
};

} // namespace Tessor::Host
