#pragma once

#include "ffhost/codecs/AvCodec.h"
#include "media/formats/IFormatCodec.h"

#include <atomic>
#include <functional>
#include <memory>

namespace Tessor::Host
{

/// libavcodec's decoder of one track, packets in and frames out. What is damaged is counted and left out, and never a
/// failure. Between two packets all frames are taken, so that the decoder never asks to come back later.
class PacketDecoder
{
public:
    /// Throws CodecFactoryException for a codec without a decoder. `damaged` is counted on beside GetDamagedCount; may
    /// be null.
    explicit PacketDecoder(const SP<Conf::IFormatCodec>& format,
                           const std::shared_ptr<std::atomic<long long>>& damaged = nullptr);

    /// Opens with the format's extradata, times in microseconds and all cores; `prepare` sets what else its kind of
    /// track needs. Throws FilterException.
    void Open(const std::function<void(AVCodecContext&)>& prepare);
    /// Starts afresh, as after a seek. Allowed when closed.
    void Flush();
    void Close();

    /// Null once all packets are in: what the decoder still holds then comes out.
    void Send(const AVPacket* packet);
    /// The next frame, null when there is none before the next packet. Valid until the next call.
    const AVFrame* Receive();

    /// Null while closed.
    const AVCodecContext* GetContext() const { return context.get(); }
    unsigned long GetDamagedCount() const { return damagedCount; }

private:
    void CountDamage();
    /// As libavcodec's decoder wants it; may be null.
    SP<const Proc::IBlob> GetHeader() const;

    const SP<Conf::IFormatCodec> format;
    const AVCodec* const codec;
    const std::shared_ptr<std::atomic<long long>> damaged; // shared with other decoders
    CodecContextPtr context;                               // from Open to Close
    const FramePtr frame;                                  // what the decoder fills
    bool draining = false;                                 // the end was sent
    bool dirty = false;                                    // something was sent since the last start
    unsigned long damagedCount = 0;
};

} // namespace Tessor::Host
