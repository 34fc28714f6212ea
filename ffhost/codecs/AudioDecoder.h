#pragma once

#include "Proc/StreamTemplates/IStreamAudio.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/PassThrough.h"
#include "ffhost/GapLimit.h"
#include "ffhost/codecs/PacketDecoder.h"
#include "ffhost/codecs/SampleConverter.h"
#include "media/audio/AudioTime.h"
#include "media/items/DataAudioFF.h"

#include <atomic>
#include <deque>

namespace Tessor::Host
{

/// A decoder of sound over libavcodec: blocks in the sample format of the codec, planes in one buffer.
///
/// Blocks abut exactly, and their times follow the samples: the clock starts at the first packet's time, and the times
/// of later packets only correct it where they are off by more than rounding and jitter. A gap is filled with silence
/// then, and what comes twice is dropped, so that the sound stays with the pictures; more in a row than can come twice
/// is sound whose times stand still, and goes on. Priming that the container tells is dropped, and so is what lies
/// before time 0. A gap that is longer than the limit is closed instead: a wrong time would write silence for hours.
/// All that follows comes earlier by it, until times are back where they were before.
///
/// A seek is exact: decoding begins early enough for codecs whose packets lean on those before them, and the first
/// block begins with the sample at the target.
///
/// Packets that can't be decoded are counted and left out; they leave a gap. When the format of the samples changes in
/// mid-stream, the rest is brought to the one that the stream declares.
///
/// Threads: as StreamImpl says.
class TESSOR_API AudioDecoder final : public Proc::PassThrough<Proc::IStreamRaw, Proc::IStreamAudio>,
                                      public RefCountImpl
{
public:
    /// Throws CodecFactoryException for a codec without a decoder, for sources that are not sound or tell no format.
    static SP<Proc::IStreamAudio> Create(const SP<Proc::IStreamRaw>& source, const GapLimit& gaps = {});

private:
    AudioDecoder(const SP<Proc::IStreamRaw>& source, const GapLimit& gaps);

    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    Core::Property GetStatistic() const override;
    SP<Conf::IFormatCodecAudio> GetFormatCodec() const override { return format->Clone(); }
    avTime GetDuration() const override
    {
        return SubTime(GetTrackDuration(format->GetProperties(), parentStream->GetDuration()), closed);
    }
    void ReleaseInternalData() override;

    SP<Proc::IDataAudio> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<IStream> partner) override;

    void Prepare(AVCodecContext& context) const;
    void Reset(avTime newTarget);
    /// Sends one packet, or the end, to the decoder, and makes its frames ready.
    void DecodeNext();
    void Deliver(const AVFrame& decoded);
    /// Samples at the start of a frame that are not to be delivered. Adds silence in front of it where time is missing.
    int64_t Place(avTime time, int sampleCount);
    int64_t PlaceFirst(avTime time, int sampleCount);
    /// How far a packet's time lies after the end of the sound, closed gaps left out; below 0 before it.
    avTime MeasureOff(avTime time);
    bool IsWrong(avTime time, avTime off) const;
    int64_t DropRepeated(avTime length, int sampleCount);
    void CloseGap(avTime length);
    void AddSilence(avTime length);
    void AddBlock(const AVFrame& decoded, int64_t skipped);
    SP<Proc::DataAudioFF> TakeSilence();

    /// What is ready: a block, or so many samples of silence, which are made when they are read.
    struct Piece
    {
        SP<Proc::DataAudioFF> block; // null: silence
        Proc::AudioTime start;
        long long silence = 0;
    };

    const SP<Conf::IFormatCodecAudio> format;
    const Conf::SampleInfo info; // of all blocks
    const GapLimit gaps;
    PacketDecoder codec;       // open from the first read to a release
    SampleConverter converter; // of frames in another format
    std::deque<Piece> ready;
    Proc::AudioTime clock;         // where the next block starts; uninitialised until the first one after a seek
    avTime target = 0;             // what lies before it is dropped
    std::atomic<avTime> closed{0}; // gaps since the last seek: what times are late by; any thread asks for the length
    avTime lastClosed = 0;         // the last one of them; 0 once it has turned out to be none
    int64_t repeated = 0;          // samples dropped since times agreed last
    bool drained = false;          // the source has ended and the decoder has been emptied
    unsigned long blockCount = 0;  // statistics
    unsigned long misplacedCount = 0; // statistics: frames whose time could not be followed
    long long decodeTime = 0;         // statistics, microseconds
};

} // namespace Tessor::Host
