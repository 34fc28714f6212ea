#include "ffhost/io/reading/HeaderSurvey.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "Proc/CodecParsers/Nal/StartCode.h"
#include "ffhost/bitstream/ParameterSets.h"
#include "ffhost/io/PacketPtr.h"
#include "media/formats/IFormatCodecVideo.h"
#include "media/items/BlobFF.h"

extern "C"
{
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <glog/logging.h>
#include <optional>
#include <string_view>

namespace Tessor::Host
{

using namespace Proc;
using namespace Proc::CodecParsers;

namespace
{

// Sets stand in front of the first picture, or never come.
constexpr int MAX_PACKETS = 300;
constexpr int64_t MAX_BYTES = 32 << 20;

/// 4-byte lengths come first: what they fit, shorter ones don't.
constexpr size_t LENGTH_SIZES[] = {4, 3, 2, 1};

bool IsHEVC(const AVCodecParameters& parameters)
{
    return parameters.codec_id == AV_CODEC_ID_HEVC;
}

std::string CodecOf(const AVCodecParameters& parameters)
{
    return IsHEVC(parameters) ? Conf::IFormatCodecVideo::CODEC_ID_H265 : Conf::IFormatCodecVideo::CODEC_ID_H264;
}

/// Whether lengths divide a packet into units, down to its last byte; the upper bit of a unit (forbidden_zero_bit)
/// tells that what was taken for lengths is none.
bool FitsLengths(const AVPacket& packet, size_t lengthSize)
try
{
    std::vector<Nalu> units;
    // the template is there for bytes that may and that may not be changed
    FindMP4Nalus(const_cast<const uint8_t*>(packet.data), static_cast<size_t>(packet.size), units, lengthSize);
    return std::none_of(units.begin(), units.end(), [](const Nalu& unit) { return (*unit.first & 0x80) != 0; });
}
catch (const std::logic_error&)
{
    return false;
}

/// 0: start codes; none where the packet has neither these nor lengths.
std::optional<size_t> FindLengthSize(const AVPacket& packet)
{
    for (const size_t lengthSize : LENGTH_SIZES)
        if (FitsLengths(packet, lengthSize))
            return lengthSize;
    const auto size = static_cast<size_t>(packet.size);
    const size_t code = FindStartCode(packet.data, size);
    const bool atHead = code < size && std::all_of(packet.data, packet.data + code, [](uint8_t b) { return b == 0; });
    return atHead ? std::optional<size_t>(0) : std::nullopt;
}

/// A header that tells nothing but the framing: lengthSizeMinusOne of a configuration record of ISO/IEC 14496-15
/// without sets, or start codes, two of them, as less is too short for the parsers.
SP<const IBlob> MakeBareHeader(bool hevc, size_t lengthSize)
{
    std::vector<uint8_t> bytes{0, 0, 1, 0, 0, 1};
    if (lengthSize > 0)
    {
        bytes.assign(hevc ? 23 : 7, 0);
        bytes[0] = 1;
        bytes[hevc ? 21 : 4] = static_cast<uint8_t>(lengthSize - 1);
    }
    return BlobFF::Create(bytes.data(), bytes.size());
}

/// A track whose header gives no sets, and the sets that its packets bring.
class SetlessTrack
{
public:
    SetlessTrack(const AVCodecParameters& parameters, const std::string& fault, bool malformed)
        : fault(fault), malformed(malformed), hevc(IsHEVC(parameters)), codec(CodecOf(parameters))
    {
    }

    bool IsDone() const { return packets >= MAX_PACKETS || header; }
    void Look(PacketPtr packet)
    try
    {
        ++packets;
        if (!sets)
        {
            const std::optional<size_t> lengthSize = packet->size > 0 ? FindLengthSize(*packet) : std::nullopt;
            if (!lengthSize)
                return;
            sets.emplace(codec, MakeBareHeader(hevc, *lengthSize));
        }
        // the sets alone are wanted: any times will do
        sets->Follow(*DataPacketFF::Create(packet.release(), MediaType::Video, 0, 0, 1));
        if (sets->AreComplete() && !header)
            header = sets->MakeHeader();
    }
    catch (const Exception& e)
    {
        VLOG(31) << "A packet that may have brought parameter sets is left out: " << e.what();
    }

    /// None where the container's own header is as good.
    std::optional<FoundHeader> Conclude() const
    {
        if (header)
            return FoundHeader{fault, {header->Data(), header->Data() + header->Size()}};
        return malformed ? std::optional<FoundHeader>({fault, {}}) : std::nullopt;
    }

private:
    const std::string fault;
    const bool malformed; // not even its framing can be taken from the header
    const bool hevc;
    const std::string codec;
    std::optional<ParameterSets> sets; // from the first packet on whose framing is known
    SP<const IBlob> header;            // of the sets, once they are complete
    int packets = 0;                   // seen
};

/// Writers that have a header put it where it belongs; others have it in packets, where libavformat looks.
bool NeedsHeader(const AVFormatContext& context)
{
    const std::string_view name = context.iformat->name;
    return name.find("mp4") != name.npos || name.find("matroska") != name.npos;
}

/// None for a track that is not of H.264 or HEVC and for one with a good header.
std::optional<SetlessTrack> FindSetless(const AVFormatContext& context, const AVCodecParameters& parameters)
{
    const bool known = IsHEVC(parameters) || parameters.codec_id == AV_CODEC_ID_H264;
    if (!known || (parameters.extradata_size <= 0 && !NeedsHeader(context)))
        return std::nullopt;
    if (parameters.extradata_size <= 0)
        return SetlessTrack(parameters, "there is none", true);
    const SP<const IBlob> header = BlobFF::Create(parameters.extradata, static_cast<size_t>(parameters.extradata_size));
    const ParameterSets sets(CodecOf(parameters), header);
    if (sets.AreComplete())
        return std::nullopt;
    const bool isNone = sets.AreBehindStartCodes() && FindStartCode(header->Data(), header->Size()) == header->Size();
    return SetlessTrack(parameters, sets.GetFault().empty() ? "it lacks parameter sets" : sets.GetFault(),
                        isNone || !sets.GetFault().empty());
}

} // namespace

bool SurveyHeaders(AVFormatContext& context, std::map<int, FoundHeader>& found)
{
    std::map<int, SetlessTrack> tracks;
    for (unsigned i = 0; i < context.nb_streams; ++i)
        if (const auto track = FindSetless(context, *context.streams[i]->codecpar))
            tracks.emplace(static_cast<int>(i), *track);
    if (tracks.empty())
        return false;
    context.flags |= AVFMT_FLAG_NOPARSE; // packets as they lie in the file
    const int64_t end = avio_tell(context.pb) + MAX_BYTES;
    const auto isDone = [](const auto& entry) { return entry.second.IsDone(); };
    while (!std::all_of(tracks.begin(), tracks.end(), isDone) && avio_tell(context.pb) < end)
    {
        PacketPtr packet(av_packet_alloc());
        const int code = packet ? av_read_frame(&context, packet.get()) : AVERROR(ENOMEM);
        if (code == AVERROR(ENOMEM))
            throw std::bad_alloc();
        if (code < 0)
            break;
        const auto track = tracks.find(packet->stream_index);
        if (track != tracks.end() && !track->second.IsDone())
            track->second.Look(std::move(packet));
    }
    for (const auto& [index, track] : tracks)
        if (auto header = track.Conclude())
            found.emplace(index, std::move(*header));
    return true;
}

} // namespace Tessor::Host
