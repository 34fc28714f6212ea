#pragma once

#include "Proc/StreamTemplates/IStreamVideo.h"
#include "Proc/StreamTemplates/PassThrough.h"
#include "ffhost/codecs/PacketEncoder.h"
#include "ffhost/codecs/RecodeOptions.h"
#include "ffhost/codecs/TrackEncoder.h"
#include "ffhost/codecs/VideoSetup.h"

#include <functional>
#include <map>

namespace Tessor::Host
{

/// A video encoder over libavcodec: exactly one packet for each frame of the source, a key packet first. Its format
/// stands from the start, with the header in the extradata and the encoder's name under "EncoderName".
///
/// Frames are numbered and encoded at the constant rate of the format; a packet's PTS is exactly that of its frame. A
/// DTS is the PTS of the frame with the packet's place in decoding order, less the encoder's delay.
///
/// Streams may change their pictures where a key picture comes. An encoder that stands in for that of a source and
/// finds the first frame unlike the source's format begins anew for that frame: its format then has the new header,
/// which the packets need in front.
///
/// Throws EncoderException when a frame can't be encoded. Threads: as StreamImpl says.
class Encoder final : public Proc::PassThrough<Proc::IStreamVideo, TrackEncoder>, public RefCountImpl
{
public:
    /// Told at the end of an encoder that has delivered packets: its name and the microseconds that it worked.
    using UseCallback = std::function<void(const std::string& name, long long time)>;

    /// One that stands in for the encoder of a source: throws EncoderException when opening fails,
    /// CodecFactoryException for what this encoder can't match.
    static SP<Proc::IEncoder> Create(const SP<Proc::IStreamVideo>& source, const Core::Property& recodeFormat,
                                     const SP<Core::IComputingResource>& resource, const RecodeOptions& options = {},
                                     const UseCallback& onEnd = {});
    /// One of any setup; `changes`: where the format of its packets differs from the source's.
    static SP<TrackEncoder> Create(const SP<Proc::IStreamVideo>& source, std::unique_ptr<const VideoSetup> setup,
                                   const Core::Property& changes);
    ~Encoder() override;

private:
    Encoder(const SP<Proc::IStreamVideo>& source, std::unique_ptr<const VideoSetup> setup,
            const Core::Property& changes, const SP<Core::IComputingResource>& resource, const UseCallback& onEnd);

    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    Core::Property GetStatistic() const override;
    void ReleaseInternalData() override;
    MediaType GetMediaType() const override { return MediaType::Video; }
    SP<Conf::IFormatCodec> GetFormatCodec() const override { return format; }
    SP<Core::IComputingResource> GetComputingResource() const override { return resource; }
    const std::string& GetEncoderName() const override { return setup->GetEncoderName(); }
    std::shared_ptr<const AVCodecParameters> GetParameters() const override { return parameters; }

    SP<Proc::IDataPacket> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<IStream> partner) override;

    void Reset();
    /// Sends the next frame of the source, or the end, to the encoder.
    void SendNextFrame();
    bool Fits(const AVFrame& record) const;
    void Adapt(const AVFrame& record);
    void SetFields(AVFrame& record) const;
    FramePtr ToRecord(const Proc::IDataVideo& frame) const;
    SP<Proc::IDataPacket> ToItem(AVPacket* packet);
    /// The time of frame `number`, which may lie before the first or after the last that was sent.
    avTime GetTime(int64_t number) const;

    struct Times
    {
        avTime pts, duration;
    };

    std::unique_ptr<const VideoSetup> setup; // another one from a first frame on that the source's doesn't fit
    PacketEncoder codec;                     // without a context from a reset to the next read
    const AVRational frameRate;
    const int64_t frameTicks;                            // of the encoder, a frame
    const SP<Conf::IFormatCodecVideo> format;            // of the packets
    std::shared_ptr<const AVCodecParameters> parameters; // of the encoder of `setup`
    const SP<Core::IComputingResource> resource;
    const UseCallback onEnd;
    std::map<int64_t, Times> times; // of frames by number; those whose packets are out are dropped after the delay
    int64_t frameCount = 0;         // frames sent since the last reset
    unsigned long packetCount = 0;  // statistics
    long long encodeTime = 0;       // statistics, microseconds
};

} // namespace Tessor::Host
