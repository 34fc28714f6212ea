#include "ffhost/bitstream/PacketForm.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/AACCodecParser.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "ffhost/bitstream/FlacFrames.h"
#include "ffhost/bitstream/SoundCounter.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <array>
#include <string_view>

namespace Tessor::Host
{

using namespace Proc::CodecParsers;

namespace
{

// Stretches of linear samples: about a thousand samples, so that few are hurt by a fault and few are counted.
constexpr uint64_t STRETCH_ENDS_BELOW = uint64_t{1} << 54; // one hash in 1024
constexpr size_t LONGEST_STRETCH = 4096;

/// Prints are compared within one run, so that the library's own hash will do.
uint64_t HashOf(const uint8_t* data, size_t size)
{
    return std::hash<std::string_view>()({reinterpret_cast<const char*>(data), size});
}

/// Depends on the order. The factor is 2^64 over the golden ratio, which spreads small differences over all bits.
uint64_t Combine(uint64_t hash, uint64_t next)
{
    return (hash ^ next) * 0x9E3779B97F4A7C15;
}

size_t SampleSizeOf(const AVCodecParameters* parameters)
{
    // libavcodec numbers linear codecs in one range; blocks of DVD and Blu-ray have headers, and tell no exact bits
    const bool linear = parameters && parameters->codec_id >= AV_CODEC_ID_FIRST_AUDIO &&
                        parameters->codec_id < AV_CODEC_ID_ADPCM_IMA_QT;
    const int bits = linear ? av_get_exact_bits_per_sample(parameters->codec_id) : 0;
    return bits % 8 == 0 ? static_cast<size_t>(bits / 8 * parameters->ch_layout.nb_channels) : 0;
}

size_t LengthSizeOf(int codec, const TrackInfo& track)
{
    const SP<const Proc::IBlob> header = track.format ? track.format->GetExtradata() : nullptr;
    if (!header || header->Size() == 0)
        return 0;
    return codec == AV_CODEC_ID_H264   ? GetAvccNALULengthSize(header->Data(), header->Size())
           : codec == AV_CODEC_ID_HEVC ? GetHvccNALULengthSize(header->Data(), header->Size())
                                       : 0;
}

bool IsSlice(int codec, const Nalu& unit)
{
    if (unit.second == 0)
        return false;
    // slices and their partitions (ITU-T H.264, Table 7-1), and all VCL units (ITU-T H.265, Table 7-1)
    const unsigned type = codec == AV_CODEC_ID_H264 ? unit.first[0] & 0x1F : unit.first[0] >> 1 & 0x3F;
    return codec == AV_CODEC_ID_H264 ? type >= H264_NALU_SLICE && type <= H264_NALU_IDR : type < 32;
}

/// first_mb_in_slice of 0, first_slice_segment_in_pic_flag: the bit after the unit's header.
bool BeginsPicture(int codec, const Nalu& slice)
{
    const size_t header = codec == AV_CODEC_ID_H264 ? 1 : 2;
    return slice.second > header && (slice.first[header] & 0x80) != 0;
}

} // namespace

PacketForm::PacketForm(const TrackInfo& track)
    : codec(track.parameters ? track.parameters->codec_id : AV_CODEC_ID_NONE),
      sampleSize(SampleSizeOf(track.parameters.get())), sampleRate(track.parameters ? track.parameters->sample_rate : 0)
{
    try
    {
        lengthSize = LengthSizeOf(codec, track);
    }
    catch (const Exception&)
    {
        // a header that nobody can read: packets then count as they are
    }
}

bool PacketForm::IsCounted(const TrackInfo& track)
{
    return track.type == MediaType::Audio && track.parameters &&
           SoundCounter::Counts(*track.parameters, {track.timeBaseNum, track.timeBaseDen});
}

// Pages of Ogg tell where they end (granule position, RFC 3533). libavformat counts back from there to where the first
// one begins, but not for FLAC.
bool PacketForm::BeginsUntold(const MediaInfo& file, const TrackInfo& track)
{
    return file.container == "ogg" && track.parameters && track.parameters->codec_id == AV_CODEC_ID_FLAC;
}

// Elementary streams do not, whose containers are named after the codec, and files of sound alone.
bool PacketForm::TellsTimes(const MediaInfo& file)
{
    constexpr std::array<std::string_view, 6> soundAlone{"mp3", "wav", "w64", "aiff", "caf", "au"};
    if (std::find(soundAlone.begin(), soundAlone.end(), file.container) != soundAlone.end())
        return false;
    const AVInputFormat* format = av_find_input_format(file.container.c_str());
    const bool elementary = std::any_of(file.tracks.begin(), file.tracks.end(),
                                        [&](const TrackInfo& track) { return track.codecName == file.container; });
    return !elementary && format && (format->flags & AVFMT_NOTIMESTAMPS) == 0;
}

void PacketForm::Add(const Proc::IDataPacket& packet, avTime time, std::vector<PacketPrint>& prints)
{
    if (IsLinear())
        return AddSamples(packet, time, prints);
    const std::vector<Picture> pictures = FindContent(packet);
    // two fields that share a packet last half of it each
    const avTime length = packet.GetDuration() / std::max<avTime>(static_cast<avTime>(pictures.size()), 1);
    for (const Picture& picture : pictures)
    {
        uint64_t hash = 0;
        size_t size = 0;
        for (const Bytes& bytes : picture)
        {
            hash = Combine(hash, HashOf(bytes.first, bytes.second));
            size += bytes.second;
        }
        if (size > 0)
            prints.push_back({hash, time, length});
        time = AddTime(time, length);
    }
}

void PacketForm::Finish(std::vector<PacketPrint>& prints)
{
    stretch.length = LengthOf(stretchLength);
    if (std::exchange(stretchLength, 0) > 0)
        prints.push_back(stretch);
}

std::vector<PacketForm::Picture> PacketForm::FindContent(const Proc::IDataPacket& packet) const
{
    const uint8_t* data = packet.GetData();
    const auto size = static_cast<size_t>(packet.GetSize());
    if (codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC)
        return FindSlices(packet);
    // Timed text begins with the length of its text (3GPP TS 26.245): an empty one clears what was shown.
    if (codec == AV_CODEC_ID_MOV_TEXT && size == 2 && data[0] == 0 && data[1] == 0)
        return {};
    // its number is that of its place in the stream, and so is its sum
    if (codec == AV_CODEC_ID_FLAC)
    {
        const auto [begin, end] = FlacFrames::FindSound(data, packet.GetSize());
        return {{{data + begin, static_cast<size_t>(end - begin)}}};
    }
    const size_t head = codec == AV_CODEC_ID_AAC ? GetADTSHeaderSize(data, size) : 0;
    return {{{data + std::min(head, size), size - std::min(head, size)}}};
}

std::vector<PacketForm::Picture> PacketForm::FindSlices(const Proc::IDataPacket& packet) const
{
    const uint8_t* data = packet.GetData();
    const auto size = static_cast<size_t>(packet.GetSize());
    std::vector<Nalu> units;
    try
    {
        if (lengthSize > 0)
            FindMP4Nalus(data, size, units, lengthSize);
        else
            FindAnnexBNalus(data, size, units);
    }
    catch (const std::logic_error&)
    {
        units.clear(); // bytes that form no units count as they are
    }
    std::vector<Picture> pictures;
    for (Nalu unit : units)
    {
        if (!IsSlice(codec, unit))
            continue;
        if (pictures.empty() || BeginsPicture(codec, unit))
            pictures.emplace_back();
        // a slice ends with its stop bit: zeros after it come and go with the framing
        while (unit.second > 0 && unit.first[unit.second - 1] == 0)
            --unit.second;
        pictures.back().push_back(unit);
    }
    return pictures.empty() ? std::vector<Picture>{{{data, size}}} : pictures;
}

// A stretch ends where the last samples say so, wherever it began: two files agree again right after a difference. Each
// sample shifts `recentSamples` by a bit, so that one of 64 samples ago has no part in it any more. In silence or a
// steady tone no place is like no other, and stretches end by their length.
void PacketForm::AddSamples(const Proc::IDataPacket& packet, avTime time, std::vector<PacketPrint>& prints)
{
    const size_t count = static_cast<size_t>(packet.GetSize()) / sampleSize;
    for (size_t i = 0; i < count; ++i)
    {
        if (stretchLength == 0)
            stretch = {0, AddTime(time, LengthOf(i)), 0};
        const uint64_t sample = Combine(HashOf(packet.GetData() + i * sampleSize, sampleSize), 0);
        stretch.hash = Combine(stretch.hash, sample);
        recentSamples = (recentSamples << 1) + sample;
        if (++stretchLength >= LONGEST_STRETCH || recentSamples < STRETCH_ENDS_BELOW)
            Finish(prints);
    }
}

avTime PacketForm::LengthOf(size_t samples) const
{
    return av_rescale(static_cast<int64_t>(samples), AV_TIME_BASE, sampleRate);
}

} // namespace Tessor::Host
