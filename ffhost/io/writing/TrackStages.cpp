#include "ffhost/io/writing/TrackStages.h"

#include "Fnd/Time.h"
#include "ffhost/bitstream/FlacFrames.h"
#include "ffhost/bitstream/SoundCounter.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <cstdlib>
#include <new>
#include <optional>
#include <utility>

namespace Tessor::Host
{

namespace
{

/// By how many ticks two times may differ that were rounded apart from each other.
constexpr int ROUNDING = 2;

/// Repeats of one picture: where libavformat fills gaps itself, it takes no more.
constexpr int64_t MOST_FILLED = 60000;

avTime ToTime(int64_t ticks, AVRational timeBase)
{
    return av_rescale_q(ticks, timeBase, AVRational{1, SECOND});
}

/// The same of two times of a track that were rounded in the source or here.
int64_t RoundingOf(const TrackInfo& source, AVRational timeBase)
{
    const AVRational ticks{source.timeBaseNum * ROUNDING, source.timeBaseDen};
    return std::max<int64_t>(ROUNDING, av_rescale_q_rnd(1, ticks, timeBase, AV_ROUND_UP));
}

/// In ticks: what the codec says, since a duration from the source may be rounded to that one's ticks. A rate that is
/// not that of the samples shows in lengths that are far from the source's.
int64_t SoundLength(const AVCodecParameters& parameters, const AVPacket& packet)
{
    const int samples = av_get_audio_frame_duration2(const_cast<AVCodecParameters*>(&parameters), packet.size);
    if (samples <= 0 || parameters.sample_rate <= 0)
        return packet.duration;
    const int64_t length = av_rescale_q(samples, AVRational{1, parameters.sample_rate}, packet.time_base);
    const bool likely = packet.duration <= 0 || std::abs(length - packet.duration) <= packet.duration / 2;
    return likely ? length : packet.duration;
}

/// Readers that count pictures show the one before again for an empty packet.
PacketPtr MakeEmpty(const AVPacket& like, int64_t time)
{
    PacketPtr empty(av_packet_alloc());
    if (!empty)
        throw std::bad_alloc();
    empty->stream_index = like.stream_index;
    empty->time_base = like.time_base;
    empty->pts = empty->dts = time;
    empty->duration = 1;
    return empty;
}

/// The last stage of all tracks.
class ToSink final : public PacketStage
{
public:
    explicit ToSink(IPacketSink& sink) : sink(sink) {}

    void Push(PacketPtr packet) override { sink.Hand(*packet); }
    void Finish() override {}

private:
    IPacketSink& sink;
};

class InnerStage : public PacketStage
{
public:
    explicit InnerStage(std::unique_ptr<PacketStage> next) : next(std::move(next)) {}

    void Finish() override { next->Finish(); }

protected:
    const std::unique_ptr<PacketStage> next;
};

/// Where libavformat divides the length of a track by its packets. It is told the time from the first packet to the
/// last, which is how long all but the last one take.
class MeasuredLength final : public InnerStage
{
public:
    MeasuredLength(std::unique_ptr<PacketStage> next, AVStream& stream) : InnerStage(std::move(next)), stream(stream) {}

    void Push(PacketPtr packet) override
    {
        if (stream.start_time == AV_NOPTS_VALUE)
            stream.start_time = packet->pts;
        stream.duration = packet->pts - stream.start_time;
        next->Push(std::move(packet));
    }

private:
    AVStream& stream;
};

/// Where frames of FLAC tell their times by numbers, those begin at 0, and the header tells how many samples there are.
class NumberedFrames final : public InnerStage
{
public:
    NumberedFrames(std::unique_ptr<PacketStage> next, const AVCodecParameters& parameters)
        : InnerStage(std::move(next)), parameters(parameters)
    {
    }

    void Push(PacketPtr packet) override
    {
        frames.Number(*packet);
        std::swap(last, packet);
        if (packet)
            next->Push(std::move(packet));
    }

    void Finish() override
    {
        if (last && frames.AreRenumbered())
            AddHeader(*last);
        if (last)
            next->Push(std::move(last));
        InnerStage::Finish();
    }

private:
    /// libavformat writes it over the one at the start of the file.
    void AddHeader(AVPacket& packet) const
    {
        const std::vector<uint8_t> header = frames.MakeStreamInfo(parameters.extradata, parameters.extradata_size);
        uint8_t* const data =
            header.empty() ? nullptr : av_packet_new_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, header.size());
        if (data)
            std::copy(header.begin(), header.end(), data);
    }

    const AVCodecParameters& parameters;
    FlacFrames frames;
    PacketPtr last; // waits for the next one or the end, whose header goes with it
};

/// Sound that has no times but those that its samples or packets make up is kept at its place.
class CountedSound final : public InnerStage
{
public:
    CountedSound(std::unique_ptr<PacketStage> next, const AVStream& stream, bool startsAnywhere)
        : InnerStage(std::move(next)), counter(*stream.codecpar, stream.time_base, startsAnywhere)
    {
    }

    void Push(PacketPtr packet) override
    {
        counter.Place(std::move(packet), [this](PacketPtr counted) { next->Push(std::move(counted)); });
    }

private:
    SoundCounter counter;
};

/// Where only the ends of pages are timed (RFC 3533, 6), a packet's end is the next one's beginning. One for which that
/// is not so by its samples gets a page of its own, so that no other is moved by it. So does the one after, for readers
/// may take its length from the one before, and a first one whose time is not told.
class EndedPages final : public InnerStage
{
public:
    EndedPages(std::unique_ptr<PacketStage> next, const TrackInfo& source, bool beginsAtZero, IPacketSink& sink)
        : InnerStage(std::move(next)), source(source), beginsAtZero(beginsAtZero), sink(sink)
    {
    }

    void Push(PacketPtr packet) override
    {
        std::swap(waiting, packet);
        if (packet)
            End(std::move(packet), waiting->pts);
    }

    void Finish() override
    {
        if (waiting)
            next->Push(std::move(waiting));
        InnerStage::Finish();
    }

private:
    void End(PacketPtr packet, int64_t end)
    {
        const bool untold = std::exchange(first, false) && packet->pts != 0 && beginsAtZero;
        const bool abuts = std::abs(packet->pts + packet->duration - end) <= RoundingOf(source, packet->time_base);
        const bool alone = std::exchange(parted, !abuts) || !abuts || untold;
        if (!alone)
        {
            next->Push(std::move(packet));
            return;
        }
        packet->duration = end - packet->pts;
        sink.Flush();
        next->Push(std::move(packet));
        sink.Flush();
    }

    const TrackInfo& source;
    const bool beginsAtZero; // readers don't look back from the end that the first page tells
    IPacketSink& sink;
    PacketPtr waiting;   // its end is told by the next packet, which is still to come
    bool first = true;   // no packet has ended yet
    bool parted = false; // the packet before ends elsewhere than by its samples
};

/// Where there is no time below zero: a subtitle may begin before everything else.
class FromZero final : public InnerStage
{
public:
    using InnerStage::InnerStage;

    void Push(PacketPtr packet) override
    {
        packet->pts = std::max<int64_t>(packet->pts, 0);
        next->Push(std::move(packet));
    }
};

/// Where packets of sound go in groups under the time of the first (the PES packets of ISO/IEC 13818-1, 2.4.3.7), those
/// that do not abut go into groups of their own.
class GroupedSound final : public InnerStage
{
public:
    GroupedSound(std::unique_ptr<PacketStage> next, const TrackInfo& source, const AVCodecParameters& parameters,
                 IPacketSink& sink)
        : InnerStage(std::move(next)), source(source), parameters(parameters), sink(sink)
    {
    }

    void Push(PacketPtr packet) override
    {
        const bool abuts = end && std::abs(packet->pts - *end) <= RoundingOf(source, packet->time_base);
        if (end && !abuts)
            sink.Flush();
        end = (abuts ? *end : packet->pts) + SoundLength(parameters, *packet);
        next->Push(std::move(packet));
    }

private:
    const TrackInfo& source;
    const AVCodecParameters& parameters;
    IPacketSink& sink;
    std::optional<int64_t> end; // of what came since the last flush, from the first packet on
};

/// Where pictures are counted, and libavformat fills no gaps between them. What would be filled without end is a wrong
/// time.
class FilledGaps final : public InnerStage
{
public:
    FilledGaps(std::unique_ptr<PacketStage> next, IPacketSink& sink) : InnerStage(std::move(next)), sink(sink) {}

    void Push(PacketPtr packet) override
    {
        if (end && packet->pts - *end > MOST_FILLED)
            sink.Refuse("one picture stands for " + T2S(ToTime(packet->pts - *end, packet->time_base)) +
                        ", too long for a container that repeats it as often as pictures come");
        if (end)
            for (int64_t time = *end; time < packet->pts; ++time)
                next->Push(MakeEmpty(*packet, time));
        end = packet->pts + 1;
        next->Push(std::move(packet));
    }

private:
    IPacketSink& sink;
    std::optional<int64_t> end; // of the last packet, from the first one on
};

/// Where libavformat fills the gaps between pictures, but not the one before the first.
class FilledStart final : public InnerStage
{
public:
    using InnerStage::InnerStage;

    void Push(PacketPtr packet) override
    {
        if (std::exchange(first, false) && packet->dts > 0)
            next->Push(MakeEmpty(*packet, 0));
        next->Push(std::move(packet));
    }

private:
    bool first = true; // no packet has come yet
};

} // namespace

bool IsCountedSound(const Container& container, const AVStream& stream)
{
    return container.CountsSound() && SoundCounter::Counts(*stream.codecpar, stream.time_base);
}

std::unique_ptr<PacketStage> MakeTrackStages(const Container& container, const TrackInfo& source,
                                             const AVCodecParameters& parameters, AVStream& stream, IPacketSink& sink)
{
    const bool sound = source.type == MediaType::Audio;
    // from the last to the first
    std::unique_ptr<PacketStage> first = std::make_unique<ToSink>(sink);
    if (container.IsPlainFlac() && sound)
        first = std::make_unique<NumberedFrames>(std::move(first), parameters);
    if (container.DividesLength())
        first = std::make_unique<MeasuredLength>(std::move(first), stream);
    if (IsCountedSound(container, stream))
        first = std::make_unique<CountedSound>(std::move(first), stream, !container.CountsPackets());
    if (container.TellsEnds() && sound)
        first =
            std::make_unique<EndedPages>(std::move(first), source, container.BeginsAtZero(parameters.codec_id), sink);
    if (container.GetOrigin() == Container::Origin::Presentation)
        first = std::make_unique<FromZero>(std::move(first));
    if (container.SharesTimes() && sound)
        first = std::make_unique<GroupedSound>(std::move(first), source, parameters, sink);
    if (container.CountsPictures() && !sound)
        first = std::make_unique<FilledGaps>(std::move(first), sink);
    if (container.CountsPackets() && source.type == MediaType::Video)
        first = std::make_unique<FilledStart>(std::move(first));
    return first;
}

} // namespace Tessor::Host
