#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/IStreamVideoDecoder.h"
#include "Proc/StreamTemplates/PassThrough.h"
#include "ffhost/codecs/DecoderOptions.h"
#include "ffhost/codecs/PacketDecoder.h"
#include "ffhost/codecs/PictureTraits.h"
#include "media/items/DataVideoFF.h"

#include <deque>
#include <set>

namespace Tessor::Host
{

/// A video decoder over libavcodec. One frame for each picture, in the order of presentation, with PTS and a duration
/// above 0; frames abut exactly, each reaching to the next one. After a seek of the source decoding starts afresh; at
/// its end the decoder is drained, so that no reordered picture is lost. Damaged pictures are delivered and counted,
/// packets that can't be decoded are counted and left out. So are pictures counted whose times contradict the order in
/// which they are shown: they are delivered right after the one before, and where times stand still one after the
/// other.
///
/// When the first packet after a seek has a lead-in (PacketFacts), that is decoded first and its pictures are dropped:
/// leading pictures of an open group are then whole.
///
/// A still picture is delivered once for each time it was shown. Where pictures are to be distinct each lies in memory
/// of its own, and one that is shown again differs from the one before in the last bit of a sample, so that it stays a
/// frame of the result for consumers that fold repeats.
///
/// Otherwise they lie where libavcodec decoded them, and it may still predict others from them: whoever changes one
/// takes a copy first. Two in a row never lie in the same place, even where libavcodec delivers one a second time.
///
/// The format is the source's, extradata included, so that an encoder after it can match what the source was made with;
/// pictures say of themselves what it says, as PictureTraits settles it.
///
/// Threads: as StreamImpl says.
class Decoder final : public Proc::PassThrough<Proc::IStreamRaw, Proc::IStreamVideoDecoder>, public RefCountImpl
{
public:
    /// Throws CodecFactoryException for a codec without a decoder and for sources that are not video.
    static SP<Proc::IStreamVideo> Create(const SP<Proc::IStreamRaw>& source, const DecoderOptions& options = {});

private:
    Decoder(const SP<Proc::IStreamRaw>& source, const DecoderOptions& options);

    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    Core::Property GetStatistic() const override;
    SP<Conf::IFormatCodecVideo> GetFormatCodec() const override { return format; }
    avTime GetDuration() const override
    {
        return GetTrackDuration(format->GetProperties(), parentStream->GetDuration());
    }
    void ReleaseInternalData() override;

    void AcceptInternal(Proc::IStreamVisitor& visitor) override;
    SP<Proc::IDataVideo> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<IStream> partner) override;

    void Prepare(AVCodecContext& context) const;
    void Reset();
    void SetApart(AVFrame& picture);
    /// The next picture, wanted or not; null at the end.
    SP<Proc::DataVideoFF> TakeReady();
    /// Sends packets and takes frames until at least `count` are ready or the source has ended.
    void FillReady(size_t count);
    void SendNextPacket();
    void SendLeadIn(const Proc::IDataPacket& packet);
    void TakeFrames();
    void Deliver(const AVFrame& decoded);
    avTime FindPlace(avTime time, avTime duration);
    avTime GetFrameDuration(const AVFrame& decoded) const;

    const SP<Conf::IFormatCodecVideo> format;
    const PictureTraits traits;
    const DecoderOptions options;
    PacketDecoder codec;                     // open from the first read to a release
    std::deque<SP<Proc::DataVideoFF>> ready; // decoded, not yet delivered
    std::set<avTime> leadInTimes;            // of pictures that are decoded for the sake of others only
    bool fresh = true;                       // nothing was sent since the last reset
    bool drained = false;                    // the source has ended and the decoder has been emptied
    const uint8_t* lastPicture = nullptr;    // where libavcodec had the picture delivered last
    avTime lastStart = NoTime;               // of the picture decoded last
    avTime lastEnd = NoTime;                 // where one without a time starts
    avTime newestTime = NoTime;              // the latest that a picture has told since the last reset
    int crowded = 0;                         // of the newest pictures, how many have the time of the one before
    FramePtr lastDistinct;                   // the picture delivered last, where pictures are to be distinct
    unsigned long decodedCount = 0;          // statistics
    long long disorderedCount = 0;           // statistics
    long long decodeTime = 0;                // statistics, microseconds
};

} // namespace Tessor::Host
