#include "ffhost/io/writing/ProgramStream.h"

#include "Fnd/Time.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avio.h>
}

#include <algorithm>

namespace Tessor::Host
{

namespace
{

constexpr int64_t CLOCK_RATE = 90000;    // ticks a second
constexpr int64_t LEAD = CLOCK_RATE / 2; // data may wait in a decoder for up to a second
constexpr int PACK_SIZE = 2048;          // a sector of a DVD
constexpr int LONGEST_HEADER = 14 + 19;  // of a pack and of a PES packet that tells both times
constexpr int PRIVATE_STREAM_1 = 0xBD;
constexpr int64_t LEAST_RATE = 1260000;                 // bytes a second: that of DVD-Video
constexpr int64_t RATE_UNIT = 50;                       // of program_mux_rate
constexpr int64_t GREATEST_RATE = 0x3FFFFF * RATE_UNIT; // 22 bits

bool IsVideo(int id)
{
    return (id & 0xF0) == 0xE0;
}

// How many streams of a kind there are, by the first of their numbers.
template <class Tracks>
int CountKind(const Tracks& tracks, int first, bool substreams)
{
    return static_cast<int>(std::count_if(tracks.begin(), tracks.end(),
                                          [&](const auto& track)
                                          { return ((substreams ? track.substream : track.id) & ~7) == first; }));
}

// The first byte of the data in private_stream_1, by which DVD-Video tells its kinds apart; 0 for streams that have a
// stream_id of their own.
int FirstSubstream(int codec)
{
    switch (codec)
    {
    case AV_CODEC_ID_AC3:
        return 0x80;
    case AV_CODEC_ID_DTS:
        return 0x88;
    case AV_CODEC_ID_PCM_S16BE:
    case AV_CODEC_ID_PCM_DVD:
        return 0xA0;
    case AV_CODEC_ID_DVD_SUBTITLE:
        return 0x20;
    default:
        return 0;
    }
}

// Linear samples of 16 bits, as DVD-Video describes them: emphasis and number of the frame, rate and channels, dynamic
// range, which 0x80 leaves as it is.
std::vector<uint8_t> DescribeSamples(const AVCodecParameters& parameters)
{
    const int rates[] = {48000, 96000, 44100, 32000};
    const auto rate = std::find(std::begin(rates), std::end(rates), parameters.sample_rate) - std::begin(rates);
    const int channels = std::clamp(parameters.ch_layout.nb_channels, 1, 8);
    return {0, static_cast<uint8_t>((rate & 3) << 4 | (channels - 1)), 0x80};
}

} // namespace

int64_t ProgramStream::GetLead()
{
    return LEAD * SECOND / CLOCK_RATE;
}

void ProgramStream::AddTrack(const AVCodecParameters& parameters)
{
    Track track{0, 0, parameters.codec_id, 0, {}, {}};
    const bool video = parameters.codec_type == AVMEDIA_TYPE_VIDEO;
    const int substream = FirstSubstream(parameters.codec_id);
    track.id = video ? 0xE0 : substream ? PRIVATE_STREAM_1 : 0xC0;
    if (substream)
        track.substream = substream + (CountKind(tracks, substream, true) & 7);
    else
        track.id += CountKind(tracks, track.id, false) & 7;
    if (parameters.codec_id == AV_CODEC_ID_PCM_S16BE)
        track.intro = DescribeSamples(parameters);
    // the buffer of Main Profile at Main Level, and some for headers; H.264 has far larger pictures
    constexpr int smallVideo = 230 << 10, largeVideo = 2 << 20, sound = 64 << 10;
    track.bufferSize = !video ? sound : parameters.codec_id == AV_CODEC_ID_H264 ? largeVideo : smallVideo;
    bitRate += parameters.bit_rate;
    tracks.push_back(std::move(track));
}

void ProgramStream::Write(const AVPacket& packet)
{
    Track& track = tracks[static_cast<size_t>(packet.stream_index)];
    // 4: number of the substream and what stands after it (see WritePack)
    const int most = PACK_SIZE - LONGEST_HEADER - 4 - static_cast<int>(track.intro.size());
    for (int offset = 0; offset < packet.size; offset += most)
        WritePack(track, packet, offset, std::min(most, packet.size - offset));
}

void ProgramStream::WritePack(Track& track, const AVPacket& packet, int offset, int size)
{
    const bool anew = !clock;
    Advance(packet, track, size);
    pack.clear();
    PutPackHeader();
    if (anew)
        PutSystemHeader();
    std::vector<uint8_t> intro;
    if (track.substream)
        intro.push_back(static_cast<uint8_t>(track.substream));
    // how many frames begin here, and in two bytes where the first one does: right after these, or nowhere
    if (track.substream >= 0x80)
        intro.insert(intro.end(), {static_cast<uint8_t>(offset == 0), 0, static_cast<uint8_t>(offset == 0)});
    intro.insert(intro.end(), track.intro.begin(), track.intro.end());
    PutPesHeader(track, packet, offset == 0, intro.size() + static_cast<size_t>(size));
    pack.insert(pack.end(), intro.begin(), intro.end());
    pack.insert(pack.end(), packet.data + offset, packet.data + offset + size);
    avio_write(&output, pack.data(), static_cast<int>(pack.size()));
    newest = *clock + static_cast<int64_t>(pack.size()) * CLOCK_RATE / Rate();
}

/// Twice what the tracks take, since pictures vary.
int64_t ProgramStream::Rate() const
{
    return std::clamp(bitRate / 4, LEAST_RATE, GREATEST_RATE);
}

/// Moves the clock to where the decoder's buffer has room, as ISO/IEC 13818-1, 2.5.2 models it: bytes come in as the
/// clock tells, and those of a picture or frame go out all at once when it is decoded.
void ProgramStream::Advance(const AVPacket& packet, Track& track, int size)
{
    int64_t time = std::max(newest.value_or(0), packet.dts - LEAD);
    while (!track.buffer.empty() && (track.buffer.front().dts <= time || track.buffered + size > track.bufferSize))
    {
        time = std::max(time, track.buffer.front().dts);
        track.buffered -= track.buffer.front().size;
        track.buffer.pop_front();
    }
    track.buffer.push_back({packet.dts, size});
    track.buffered += size;
    // What is larger than the rate or the buffer allows has to be there in time all the same.
    clock = std::max(clock.value_or(0), std::min(time, packet.dts));
}

/// ISO/IEC 13818-1, 2.5.3.3: the clock in parts of 3, 15 and 15 bits, each before a marker bit, so that no start code
/// comes about; its extension of 27 MHz stays 0. The rate is that of the multiplex, and the last byte says that no
/// stuffing follows.
void ProgramStream::PutPackHeader()
{
    const uint64_t scr = static_cast<uint64_t>(*clock) & 0x1FFFFFFFF;
    const int64_t rate = Rate() / RATE_UNIT;
    Put(0x000001BA, 4);
    Put(uint64_t{1} << 46 | (scr >> 30) << 43 | uint64_t{1} << 42 | (scr >> 15 & 0x7FFF) << 27 | uint64_t{1} << 26 |
            (scr & 0x7FFF) << 11 | uint64_t{1} << 10 | 1,
        6);
    Put(static_cast<uint64_t>(rate) << 2 | 3, 3);
    Put(0xF8, 1);
}

/// ISO/IEC 13818-1, 2.5.3.5: how many streams there are, and how large a buffer each needs in a decoder.
void ProgramStream::PutSystemHeader()
{
    const int64_t rate = Rate() / RATE_UNIT;
    std::vector<const Track*> listed; // one for all private streams
    for (const Track& track : tracks)
        if (std::none_of(listed.begin(), listed.end(), [&](const Track* other) { return other->id == track.id; }))
            listed.push_back(&track);
    const uint64_t videos = std::count_if(tracks.begin(), tracks.end(), [](const Track& t) { return IsVideo(t.id); });
    const uint64_t sounds = tracks.size() - videos;
    Put(0x000001BB, 4);
    Put(6 + 3 * listed.size(), 2);
    Put(uint64_t{1} << 23 | static_cast<uint64_t>(rate) << 1 | 1, 3);
    Put(std::min<uint64_t>(sounds, 32) << 2, 1);   // neither a fixed rate nor CSPS
    Put(0x20 | std::min<uint64_t>(videos, 16), 1); // no locked rates; marker_bit
    Put(0x7F, 1);                                  // no restriction of packet rates; reserved
    for (const Track* track : listed)
    {
        // in units of 1024 bytes for pictures, of 128 bytes for sound
        const bool large = IsVideo(track->id) || track->id == PRIVATE_STREAM_1;
        Put(static_cast<uint64_t>(track->id), 1);
        Put(0xC000 | (large ? 0x2000U : 0U) | static_cast<unsigned>(track->bufferSize / (large ? 1024 : 128)), 2);
    }
}

/// ISO/IEC 13818-1, 2.4.3.6: the DTS is only told where it differs from the PTS.
void ProgramStream::PutPesHeader(const Track& track, const AVPacket& packet, bool first, size_t payload)
{
    const bool both = first && packet.dts != packet.pts;
    const unsigned fields = !first ? 0 : both ? 10 : 5;
    Put(0x00000100U | static_cast<unsigned>(track.id), 4);
    Put(3 + fields + payload, 2);
    Put(first ? 0x84 : 0x80, 1); // the data begins with a frame
    Put(!first ? 0 : both ? 0xC0 : 0x80, 1);
    Put(fields, 1);
    if (first)
        PutTime(both ? 3 : 2, packet.pts);
    if (both)
        PutTime(1, packet.dts);
}

/// A time of 33 bits, in parts as in the pack header; `mark` says which time it is.
void ProgramStream::PutTime(unsigned mark, int64_t time)
{
    const uint64_t t = static_cast<uint64_t>(time) & 0x1FFFFFFFF;
    Put(uint64_t{mark} << 36 | (t >> 30) << 33 | uint64_t{1} << 32 | (t >> 15 & 0x7FFF) << 17 | uint64_t{1} << 16 |
            (t & 0x7FFF) << 1 | 1,
        5);
}

void ProgramStream::Put(uint64_t value, int bytes)
{
    for (int i = bytes - 1; i >= 0; --i)
        pack.push_back(static_cast<uint8_t>(value >> 8 * i));
}

void ProgramStream::Finish()
{
    avio_wb32(&output, 0x000001B9);
}

} // namespace Tessor::Host
