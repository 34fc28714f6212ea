#pragma once

#include "Proc/StreamTemplates/IStreamAudio.h"
#include "Proc/StreamTemplates/PassThrough.h"
#include "ffhost/codecs/PacketEncoder.h"
#include "ffhost/codecs/TrackEncoder.h"
#include "media/audio/AudioTime.h"

struct AVAudioFifo;

namespace Tessor::Host
{

/// An encoder of sound over libavcodec. Blocks of any length go in, and are cut into the frames of the codec. Times
/// count the samples from the first block on: packets abut exactly, and the first lies before the sound by the
/// encoder's delay.
///
/// Throws EncoderException when the sound can't be encoded or its format changes. Threads: as StreamImpl says.
class AudioEncoder final : public Proc::PassThrough<Proc::IStreamAudio, TrackEncoder>, public RefCountImpl
{
public:
    AudioEncoder(const SP<Proc::IStreamAudio>& source, const EncoderOptions& options);

private:
    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    Core::Property GetStatistic() const override;
    void ReleaseInternalData() override;
    MediaType GetMediaType() const override { return MediaType::Audio; }
    SP<Conf::IFormatCodec> GetFormatCodec() const override { return format; }
    SP<Core::IComputingResource> GetComputingResource() const override { return resource; }
    const std::string& GetEncoderName() const override { return options.name; }
    std::shared_ptr<const AVCodecParameters> GetParameters() const override { return parameters; }

    SP<Proc::IDataPacket> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<IStream> partner) override;

    CodecContextPtr Open() const;
    void SetQuality(AVCodecContext& context) const;
    void Reset();
    /// Sends the next frame, or the end, to the encoder.
    void SendNextFrame();
    FramePtr MakeFrame(int sampleCount) const;
    /// A frame of the codec's length, or what is left; null at the end.
    FramePtr CollectFrame();
    /// For a codec that takes any number of samples the next block, in its own memory; null at the end.
    FramePtr WrapBlock();
    /// Null at the end.
    SP<Proc::IDataAudio> ReadBlock();
    int CountPlanes() const;
    void Push(const Proc::IDataAudio& block);
    SP<Proc::IDataPacket> ToItem(AVPacket* packet);
    static void HidePadding(AVPacket& packet, int64_t samples);
    bool IsRunIn(const AVPacket& packet) const;
    avTime ToTime(int64_t sample) const;

    struct Deleter
    {
        void operator()(AVAudioFifo* fifo) const;
    };

    const EncoderOptions options;
    const Conf::SampleInfo info; // of the blocks
    PacketEncoder codec;         // without a context from a reset to the next read
    const int frameSize;         // samples; 0: any number
    const std::shared_ptr<const AVCodecParameters> parameters;
    const SP<Conf::IFormatCodecAudio> format; // of the packets
    const SP<Core::IComputingResource> resource;
    const std::unique_ptr<AVAudioFifo, Deleter> fifo; // samples that wait for a frame to be full
    avTime start = NoTime;                            // of the first block since a reset
    int64_t sentCount = 0;                            // samples sent since a reset
    bool ended = false;                               // the source has
    unsigned long packetCount = 0;                    // statistics
    long long encodeTime = 0;                         // statistics, microseconds
};

} // namespace Tessor::Host
