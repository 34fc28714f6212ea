#include "ffhost/io/reading/AdtsSurvey.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/AACCodecParser.h"

extern "C"
{
#include <libavcodec/codec_par.h>
#include <libavcodec/packet.h>
}

#include <set>

namespace Tessor::Host
{

namespace
{

/// A track that begins after that many bytes was not found by libavformat either.
constexpr long long LONGEST_SEARCH = 32 << 20;

/// Null where the packet does not begin with a sound frame.
SP<const Proc::IBlob> ReadHeader(const AVPacket& packet)
try
{
    const SP<const Proc::IBlob> header = Proc::CodecParsers::ExtractADTSHeader(packet);
    if (header)
        // for what it throws: a packet torn by damage may only look like a frame
        Proc::CodecParsers::DataToADTSHeader(header->Data(), header->Size());
    return header;
}
catch (const Exception&)
{
    return nullptr;
}

} // namespace

void FindAdtsHeaders(SourceFile& file, MediaInfo& info)
{
    std::set<int> wanted;
    for (const TrackInfo& track : info.tracks)
        if (track.parameters->codec_id == AV_CODEC_ID_AAC && track.parameters->extradata_size == 0)
            wanted.insert(track.index);
    if (wanted.empty())
        return;
    for (const int index : wanted)
        file.Select(index);
    while (!wanted.empty() && file.GetProgress().first < LONGEST_SEARCH)
    {
        const PacketPtr packet = file.Read();
        if (!packet)
            break;
        const SP<const Proc::IBlob> header = wanted.count(packet->stream_index) ? ReadHeader(*packet) : nullptr;
        if (!header)
            continue;
        info.tracks[static_cast<size_t>(packet->stream_index)].format->SetExtradata(header);
        wanted.erase(packet->stream_index);
    }
    file.SelectNone();
    file.Rewind();
}

} // namespace Tessor::Host
