#include "ffhost/codecs/AudioDecoder.h"

#include "Fnd/Exception.h"
#include "Fnd/Statistics.h"
#include "Fnd/TimerSimple.h"
#include "ffhost/FormatTags.h"

#include <cstring>
#include <utility>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

/// Times of packets that are off by less are rounded or jittery ones.
constexpr avTime TOLERANCE = 50 * MILLISECOND;

/// A packet further back than this is not one that came twice: its time is wrong.
constexpr avTime LONGEST_OVERLAP = SECOND;

/// How much is decoded before a seek's target: the bit reservoir of MPEG layer 3 reaches back by nine frames, which is
/// the longest of all codecs.
constexpr avTime PRE_ROLL = 400 * MILLISECOND;

/// Silence is made in blocks of at most this many samples.
constexpr long long SILENT_BLOCK = 4096;

SP<Conf::IFormatCodecAudio> CloneAudioFormat(const SP<IStreamRaw>& source)
{
    const SP<Conf::IFormatCodec> format = source->GetFormatCodec();
    const auto* audio = dynamic_cast<const Conf::IFormatCodecAudio*>(format.get());
    if (!audio)
        Throw<CodecFactoryException>(TESSOR_HERE, "The stream to decode is no sound");
    const Conf::SampleInfo info = audio->GetSampleInfo();
    if (info.GetSampleRate() <= 0 || info.GetFormat().bits == 0 || info.GetChannelCount() == 0)
        Throw<CodecFactoryException>(TESSOR_HERE, "The samples of " + audio->GetCodecID() + " are of no known format");
    return audio->Clone();
}

} // namespace

SP<IStreamAudio> AudioDecoder::Create(const SP<IStreamRaw>& source, const GapLimit& gaps)
{
    return SP<IStreamAudio>(new AudioDecoder(source, gaps));
}

AudioDecoder::AudioDecoder(const SP<IStreamRaw>& source, const GapLimit& gaps)
    : PassThrough(source, "AudioDecoder"), format(CloneAudioFormat(source)), info(format->GetSampleInfo()), gaps(gaps),
      codec(format), converter(info)
{
}

void AudioDecoder::Prepare(AVCodecContext& context) const
{
    // Codecs without a header of their own are decoded by what the container tells.
    context.sample_rate = info.GetSampleRate();
    context.sample_fmt = static_cast<AVSampleFormat>(info.GetFormat().format);
    av_channel_layout_from_mask(&context.ch_layout, Conf::ToFFChannelMask(info.GetChannelLayout()));
    const Core::Property& tree = format->GetProperties();
    context.block_align = static_cast<int>(GetNumber(tree, FormatTags::BLOCK_ALIGN, 0));
    context.bits_per_coded_sample = static_cast<int>(GetNumber(tree, FormatTags::BITS_PER_CODED_SAMPLE, 0));
    context.codec_tag = static_cast<unsigned>(GetNumber(tree, FormatTags::CODEC_TAG, 0));
    context.bit_rate = GetNumber(tree, Conf::IFormatCodec::TAG_BITRATE, 0);
}

void AudioDecoder::Reset(avTime newTarget)
{
    // Closed, not flushed: some decoders keep what overlaps with the next packet, so that the same seek would not
    // always give the same samples.
    codec.Close();
    converter.Reset();
    ready.clear();
    clock.Reset(NoTime);
    target = newTarget;
    closed = 0;
    lastClosed = 0;
    repeated = 0;
    drained = false;
}

SP<IDataAudio> AudioDecoder::ReadInternal()
{
    const Core::TimerSimple timer(decodeTime);
    if (!codec.GetContext())
        codec.Open([this](AVCodecContext& context) { Prepare(context); });
    while (ready.empty() && !drained)
        DecodeNext();
    if (ready.empty())
        return nullptr;
    ++blockCount;
    if (!ready.front().block)
        return TakeSilence();
    const SP<DataAudioFF> block = ready.front().block;
    ready.pop_front();
    return block;
}

void AudioDecoder::DecodeNext()
{
    const SP<IDataPacket> packet = parentStream->Read();
    drained = !packet;
    codec.Send(packet ? packet->GetAVPacket() : nullptr);
    while (const AVFrame* decoded = codec.Receive())
        Deliver(*decoded);
}

void AudioDecoder::Deliver(const AVFrame& decoded)
{
    // The converted frame has no time of its own.
    const FramePtr converted = converter.Convert(decoded);
    const AVFrame& frame = converted ? *converted : decoded;
    const int64_t skipped = Place(decoded.pts != AV_NOPTS_VALUE ? decoded.pts : NoTime, frame.nb_samples);
    if (skipped < frame.nb_samples)
        AddBlock(frame, skipped);
}

// Until the first block after a seek has come the clock stands still, and the packet's time is believed. From then on
// samples are counted, and times are only asked whether they still agree.
int64_t AudioDecoder::Place(avTime time, int sampleCount)
{
    if (clock.GetTime() == NoTime)
        return PlaceFirst(time, sampleCount);
    const avTime off = MeasureOff(time);
    if (off >= -TOLERANCE)
        repeated = 0;
    if (off >= -TOLERANCE && off <= TOLERANCE)
        return 0;
    // The sound goes on where it was.
    if (IsWrong(time, off))
    {
        ++misplacedCount;
        return 0;
    }
    if (off < 0)
        return DropRepeated(-off, sampleCount);
    if (off > gaps.longest)
        CloseGap(off);
    else
        AddSilence(off);
    return 0;
}

// Past the track's end, further back than what comes twice, or standing still, so that everything would come twice.
bool AudioDecoder::IsWrong(avTime time, avTime off) const
{
    const avTime duration = AddTime(GetDuration(), closed);
    return off > 0 ? duration != NoTime && time > duration
                   : off < -LONGEST_OVERLAP || repeated >= Duration2SampleCount(LONGEST_OVERLAP, info.GetSampleRate());
}

int64_t AudioDecoder::DropRepeated(avTime length, int sampleCount)
{
    const int64_t dropped = std::min<int64_t>(Duration2SampleCount(length, info.GetSampleRate()), sampleCount);
    repeated += dropped;
    return dropped;
}

int64_t AudioDecoder::PlaceFirst(avTime time, int sampleCount)
{
    const int rate = info.GetSampleRate();
    // counted from the packet's own time on, so that it is rounded once, and not at the target as well
    const avTime start = time != NoTime ? time : target;
    const long long early = start < target ? Duration2SampleCount(target - start, rate) : 0;
    if (early >= sampleCount)
        return sampleCount;
    clock.Reset(start);
    clock.AddSamples(rate, static_cast<unsigned long long>(early));
    return early;
}

avTime AudioDecoder::MeasureOff(avTime time)
{
    if (time == NoTime)
        return 0;
    const avTime off = SubTime(SubTime(time, closed), clock.GetTime());
    const avTime before = AddTime(off, lastClosed);
    if (off >= -LONGEST_OVERLAP || before < -LONGEST_OVERLAP || before > gaps.longest)
        return off;
    // Where it was before the last gap: only the times in between were wrong.
    closed -= std::exchange(lastClosed, 0);
    return before;
}

void AudioDecoder::CloseGap(avTime length)
{
    lastClosed = length;
    closed = AddTime(closed, length);
    if (gaps.closed)
        gaps.closed(clock.GetTime(), length);
}

void AudioDecoder::AddSilence(avTime length)
{
    const long long count = Duration2SampleCount(length, info.GetSampleRate());
    ready.push_back({nullptr, clock, count});
    clock.AddSamples(info.GetSampleRate(), static_cast<unsigned long long>(count));
}

void AudioDecoder::AddBlock(const AVFrame& decoded, int64_t skipped)
{
    const int count = decoded.nb_samples - static_cast<int>(skipped);
    const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(info, count);
    // libavcodec has each plane in memory of its own, a block has them one after the other
    const AudioRef target = block->GetAudioRef();
    const bool planar = info.GetFormat().planar;
    const size_t channels = static_cast<size_t>(info.GetChannelCount());
    const size_t step = static_cast<size_t>(info.GetFormat().bits / 8) * (planar ? 1 : channels);
    for (size_t plane = 0; plane < (planar ? channels : 1); ++plane)
        std::memcpy(target.data + plane * target.linesize,
                    decoded.extended_data[plane] + static_cast<size_t>(skipped) * step,
                    static_cast<size_t>(count) * step);
    // from one reading of the clock to the next, so that blocks abut
    block->SetPTS(clock.GetTime());
    clock.AddSamples(info.GetSampleRate(), static_cast<unsigned long long>(count));
    block->SetDuration(clock.GetTime() - block->GetPTS());
    ready.push_back({block, {}, 0});
}

SP<DataAudioFF> AudioDecoder::TakeSilence()
{
    Piece& piece = ready.front();
    const long long count = std::min(piece.silence, SILENT_BLOCK);
    const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(info, static_cast<int>(count));
    block->FillSilence();
    block->SetPTS(piece.start.GetTime());
    piece.start.AddSamples(info.GetSampleRate(), static_cast<unsigned long long>(count));
    block->SetDuration(piece.start.GetTime() - block->GetPTS());
    piece.silence -= count;
    if (piece.silence <= 0)
        ready.pop_front();
    return block;
}

void AudioDecoder::RequestSeekInternal(avTime newTarget, SP<IStream>)
{
    // What is decoded on the way to the target, and what lies before time 0, is dropped by Place.
    const avTime wanted = std::max<avTime>(newTarget, 0);
    Reset(wanted);
    parentStream->RequestSeek(std::max<avTime>(wanted - PRE_ROLL, 0), SP<IStream>(this));
}

void AudioDecoder::ReleaseInternalData()
{
    PassThrough::ReleaseInternalData();
    Reset(target);
}

Core::Property AudioDecoder::GetStatistic() const
{
    Core::Property statistic = parentStream->GetStatistic();
    Core::Property record = Core::MakeStatistics(
        "virtual Core::Property Tessor::Host::AudioDecoder::GetStatistic() const", decodeTime, blockCount);
    record.SetChildT<long long>("Damaged", static_cast<long long>(codec.GetDamagedCount()));
    record.SetChildT<long long>("Misplaced", static_cast<long long>(misplacedCount));
    statistic.Add(record);
    return statistic;
}

} // namespace Tessor::Host
