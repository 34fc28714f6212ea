#include "ffhost/bitstream/SoundCounter.h"

#include "Fnd/Time.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace Tessor::Host
{

namespace
{

constexpr AVRational MICROSECONDS = {1, SECOND};
constexpr int64_t SLACK = MILLISECOND;  // by how much times may jitter
constexpr int64_t LONGEST_FILL = 10;    // seconds of silence; what a gap lasts beyond them is left out
constexpr int MPEG_HEADER = 4;          // bytes
constexpr uint8_t WITHOUT_CHECKSUM = 1; // in the second byte of that

/// 0 for what is not linear: libavcodec numbers linear codecs in one range.
int SampleSize(const AVCodecParameters& parameters)
{
    const int channels = parameters.ch_layout.nb_channels;
    const bool linear =
        parameters.codec_id >= AV_CODEC_ID_FIRST_AUDIO && parameters.codec_id < AV_CODEC_ID_ADPCM_IMA_QT;
    const int bits = linear ? av_get_exact_bits_per_sample(parameters.codec_id) : 0;
    return bits % 8 == 0 && channels > 0 ? bits / 8 * channels : 0;
}

/// 0 for codecs whose packets no container counts. libavcodec's function only reads what it takes without const.
int PacketSamples(const AVCodecParameters& parameters)
{
    switch (parameters.codec_id)
    {
    case AV_CODEC_ID_MP2:
    case AV_CODEC_ID_MP3:
    case AV_CODEC_ID_AC3:
        return av_get_audio_frame_duration2(const_cast<AVCodecParameters*>(&parameters), 0);
    default:
        return 0;
    }
}

/// Unsigned samples rest in the middle; the laws of ITU-T G.711 write their 0 with inverted bits.
uint8_t SilentByte(int codec)
{
    return codec == AV_CODEC_ID_PCM_U8      ? 0x80
           : codec == AV_CODEC_ID_PCM_ALAW  ? 0xD5
           : codec == AV_CODEC_ID_PCM_MULAW ? 0xFF
                                            : 0;
}

PacketPtr Allocate(int size)
{
    PacketPtr packet(av_packet_alloc());
    if (!packet || av_new_packet(packet.get(), size) < 0)
        throw std::bad_alloc();
    return packet;
}

} // namespace

bool SoundCounter::Counts(const AVCodecParameters& parameters, AVRational timeBase)
{
    const int samples = SampleSize(parameters) > 0 ? 1 : PacketSamples(parameters);
    return samples > 0 && parameters.sample_rate > 0 &&
           av_cmp_q(timeBase, AVRational{samples, parameters.sample_rate}) == 0;
}

SoundCounter::SoundCounter(const AVCodecParameters& parameters, AVRational timeBase, bool startsAnywhere)
    : codec(parameters.codec_id), timeBase(timeBase), sampleSize(SampleSize(parameters)), awaitsStart(startsAnywhere)
{
}

void SoundCounter::Place(PacketPtr packet, const Sink& sink)
{
    if (std::exchange(awaitsStart, false))
        base = start = av_rescale_q(packet->pts, MICROSECONDS, timeBase);
    // Rounding to ticks moves a time by up to half of one. Within that, and some jitter, samples just go on; what is
    // left over does not add up, for it is measured against all that was written.
    const int64_t tick = std::max<int64_t>(1, av_rescale_q(1, timeBase, MICROSECONDS));
    const int64_t early = packet->pts - av_rescale_q(base + written, timeBase, MICROSECONDS);
    int64_t missing = 0;
    if (std::abs(early) > tick / 2 + SLACK)
        missing = av_rescale_q(packet->pts, MICROSECONDS, timeBase) - base - written;
    const int64_t longest = av_rescale_q(LONGEST_FILL, AVRational{1, 1}, timeBase), second = longest / LONGEST_FILL;
    if (missing > longest)
    {
        // never filled: all that follows is counted from a base that is later by this
        base += missing - longest;
        missing = longest;
        leapt = true;
    }
    else if (leapt && missing < -second)
    {
        // No sound reaches back so far: that leap was a wrong time, and what follows goes on where it stands.
        base += std::exchange(missing, 0);
        leapt = false;
    }
    // Silence by the second: a gap need not fit into memory at once.
    const int64_t portion = IsLinear() ? std::max<int64_t>(1, second) : 1;
    for (; missing > 0; missing -= std::min(portion, missing))
        Hand(MakeFiller(*packet, std::min(portion, missing)), sink);
    // What comes twice. Where it is more than the packet, the next ones are late too, and lose the rest.
    if (missing < 0)
        Skip(*packet, -missing);
    if (packet->size > 0)
        Hand(std::move(packet), sink);
}

/// Leaves out the first ticks of a packet, or all of it where packets are counted.
void SoundCounter::Skip(AVPacket& packet, int64_t ticks) const
{
    const int64_t bytes = IsLinear() ? std::min<int64_t>(packet.size, ticks * sampleSize) : packet.size;
    packet.data += bytes;
    packet.size -= static_cast<int>(bytes);
}

PacketPtr SoundCounter::MakeFiller(const AVPacket& packet, int64_t ticks) const
{
    const int size = IsLinear() ? static_cast<int>(ticks) * sampleSize : packet.size;
    PacketPtr filler = Allocate(size);
    const bool mpeg = (codec == AV_CODEC_ID_MP2 || codec == AV_CODEC_ID_MP3) && size >= MPEG_HEADER;
    if (IsLinear() || mpeg)
        std::memset(filler->data, SilentByte(codec), static_cast<size_t>(size));
    // A header over zeros: no bits are allocated, and the frame is silent. A checksum would be wrong, so that it has
    // none.
    if (!IsLinear())
        std::memcpy(filler->data, packet.data, static_cast<size_t>(mpeg ? MPEG_HEADER : size));
    if (mpeg)
        filler->data[1] |= WITHOUT_CHECKSUM;
    filler->stream_index = packet.stream_index;
    filler->flags = packet.flags;
    return filler;
}

void SoundCounter::Hand(PacketPtr packet, const Sink& sink)
{
    packet->time_base = timeBase;
    // not `base`: the container counts without holes, so that what was never filled has no ticks
    packet->pts = packet->dts = start + written;
    packet->duration = IsLinear() ? packet->size / sampleSize : 1;
    written += packet->duration;
    sink(std::move(packet));
}

} // namespace Tessor::Host
