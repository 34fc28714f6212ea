#include "ffhost/io/writing/FramedTrack.h"

#include "Proc/CodecParsers/AACCodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/Filters/Filters/Cutting/FilterBitStream.h"
#include "Proc/StreamTemplates/NotImplemented.h"
#include "Proc/StreamTemplates/PassThrough.h"
#include "ffhost/bitstream/ParameterSets.h"
#include "ffhost/streams/FieldJoiner.h"
#include "media/formats/IFormatCodecVideo.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <glog/logging.h>
#include <optional>
#include <utility>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

/// Packets of H.264 and HEVC whose framing nothing tells stay as they are.
SettingsFilterBitStream ChooseFraming(const Conf::IFormatCodec& format, const Muxer& muxer, const TrackInfo& info)
{
    const SP<const IBlob> header = format.GetExtradata();
    const bool known = (header && header->Size() > 0) || info.type != MediaType::Video;
    return SettingsFilterBitStream(known ? muxer.GetFraming(info) : SettingsFilterBitStream::STREAM_FORMAT_UNCHANGED);
}

/// Whether a video object layer's header (ISO/IEC 14496-2, start codes 0x20 to 0x2F) stands before the picture.
bool DescribesLayer(const SP<IDataPacket>& packet)
{
    const SP<const IBlob> header = CodecParsers::MPEG4_GetPacketHeaders(packet);
    const uint8_t* const data = header->Data();
    for (size_t i = 3; i < header->Size(); ++i)
        if (data[i - 3] == 0 && data[i - 2] == 0 && data[i - 1] == 1 && data[i] >> 4 == 2)
            return true;
    return false;
}

/// Watches sound of ADTS that loses its headers. A single frame of another configuration (ISO/IEC 13818-7, 6.2.1) than
/// the first one's may be damage; two in a row are a change.
class AdtsWatch
{
public:
    AdtsWatch(const Conf::IFormatCodec& format, const SettingsFilterBitStream& settings, const std::string& output)
        : output(output)
    {
        const SP<const IBlob> header = format.GetExtradata();
        if (header && settings.GetStreamFormatNeeded() == SettingsFilterBitStream::STREAM_FORMAT_RAW_AAC)
            first = Read(header->Data(), header->Size());
    }

    /// Whether the frame can go under the configuration. Throws Core::IOException where another one has begun.
    bool Accept(const IDataPacket& packet)
    {
        const auto configuration = first ? Read(packet.GetData(), static_cast<size_t>(packet.GetSize())) : first;
        const bool same = !configuration || configuration == first;
        if (!same && other)
            Throw<Core::IOException>(TESSOR_HERE, output +
                                                      ": the sound changes its sample rate, profile or channels at " +
                                                      T2S(packet.GetPTS()) + ", and the file can say only one of them");
        other = !same;
        return same;
    }

private:
    /// Profile, sampling frequency index and channel configuration.
    static std::optional<unsigned> Read(const uint8_t* data, size_t size)
    {
        if (size < 4 || !CodecParsers::HasADTSHeader(data, size))
            return std::nullopt;
        // all of the third byte but private_bit, and of the fourth what is left of the channels
        return (data[2] & 0xFDu) << 8 | (data[3] & 0xC0u);
    }

    const std::string output;      // for the message
    std::optional<unsigned> first; // of the header; none: nothing to watch
    bool other = false;            // the last frame had another one
};

} // namespace

/// The source as the conversion sees it. Knows whether a read that gave nothing met the end or a packet that the
/// conversion did not take, and keeps to the parameter sets and configurations that are in force.
class PacketGate final : public PassThrough<IStreamRaw>, public RefCountImpl
{
public:
    PacketGate(const SP<IStreamRaw>& source, const SP<Conf::IFormatCodec>& format,
               const SettingsFilterBitStream& settings, const Muxer& muxer)
        : PassThrough(source, "PacketGate", FRAME_ALLOC_NONE), settings(settings), headersInBand(muxer.IsByteStream()),
          format(format), sets(format->GetCodecID(), format->GetExtradata()), adts(*format, settings, muxer.GetPath()),
          announced(sets.GetVersion())
    {
    }

    /// Reads the packet that the conversion gets next. True when the conversion has to look at the header anew.
    bool Fetch();
    /// The last fetch gave a packet.
    bool HasDelivered() const { return delivered; }
    const SettingsFilterBitStream& GetFraming() const { return settings; }

    void Initialize(const Core::Property&) override { ThrowMethodNotImplemented(TESSOR_HERE); }
    Core::Property GetSettings() const override { return {}; }
    Core::Property GetStatistic() const override { return parentStream->GetStatistic(); }
    MediaType GetMediaType() const override { return parentStream->GetMediaType(); }
    SP<Conf::IFormatCodec> GetFormatCodec() const override { return format; }

private:
    SP<IDataPacket> ReadInternal() override { return std::exchange(fetched, nullptr); }

    SP<IDataPacket> AddHeader(const SP<IDataPacket>& packet) const;
    SP<IDataPacket> FollowSets(const SP<IDataPacket>& packet);

    const SettingsFilterBitStream settings;
    const bool headersInBand;      // the container has no other place for them
    SP<Conf::IFormatCodec> format; // with the header in force when that is the filter's to write
    ParameterSets sets;
    AdtsWatch adts;
    SP<IDataPacket> fetched; // not yet read
    unsigned announced;      // version of `sets` in `format`
    bool delivered = false;  // by the last fetch
};

// `delivered` is set between what fails for the source, which ends the track, and what fails for this packet alone.
bool PacketGate::Fetch()
{
    delivered = false;
    SP<IDataPacket> packet = parentStream->Read();
    fetched = nullptr;
    if (!packet)
        return false;
    if (GetFacts(*packet).hiddenKey)
    {
        packet = packet->Clone(); // the original may be the lead-in or the queue of somebody else
        packet->GetAVPacket()->flags |= AV_PKT_FLAG_KEY;
    }
    const bool accepted = adts.Accept(*packet);
    delivered = true;
    if (!accepted)
        Throw<Exception>(TESSOR_HERE, "A frame of another configuration.");
    fetched = FollowSets(AddHeader(packet));
    // the filter puts the sets of its header in front of key packets, and has to be told those in force
    const bool stale = settings.GetStreamFormatNeeded() == SettingsFilterBitStream::STREAM_FORMAT_ANNEX_B &&
                       fetched->IsKeyFrame() && announced != sets.GetVersion();
    if (!stale)
        return false;
    format = format->Clone();
    format->SetExtradata(sets.MakeHeader());
    announced = sets.GetVersion();
    return true;
}

/// Without a header of its own an MPEG-4 stream is nothing that a decoder could begin with.
SP<IDataPacket> PacketGate::AddHeader(const SP<IDataPacket>& packet) const
{
    const bool mpeg4 = format->GetCodecID() == Conf::IFormatCodecVideo::CODEC_ID_MPEG4;
    if (!headersInBand || !mpeg4 || !packet->IsKeyFrame() || !format->GetExtradata())
        return packet;
    return DescribesLayer(packet) ? packet : CodecParsers::MPEG4_AddPacketHeader(packet, format->GetExtradata());
}

/// The packet with the sets in force, where a decoder that enters there would look for them in vain.
SP<IDataPacket> PacketGate::FollowSets(const SP<IDataPacket>& packet)
{
    using Carried = ParameterSets::Carried;
    const Carried carried = sets.Follow(*packet);
    const bool newHeader = carried != Carried::All && ParameterSets::HasNewHeader(*packet) && sets.HaveChanged();
    // In Annex B the filter adds them to packets that have none at all, and to all that come from lengths.
    const bool annexB = settings.GetStreamFormatNeeded() == SettingsFilterBitStream::STREAM_FORMAT_ANNEX_B;
    const bool missed = annexB ? packet->IsKeyFrame() && carried == Carried::Some && sets.AreBehindStartCodes()
                               : sets.AreMissed(*packet, carried);
    return missed || newHeader ? sets.Prepend(packet) : packet;
}

FramedTrack::FramedTrack(const SP<IStreamRaw>& stream, const SP<Conf::IFormatCodec>& format, const Muxer& muxer,
                         const TrackInfo& info)
    : gate(new PacketGate(muxer.IsByteStream() ? stream : FieldJoiner::Create(stream, info, format), format,
                          ChooseFraming(*format, muxer, info), muxer)),
      framed(FilterBitStream::Create(gate, gate->GetFraming()))
{
}

FramedTrack::~FramedTrack() = default;
FramedTrack::FramedTrack(FramedTrack&&) noexcept = default;
FramedTrack& FramedTrack::operator=(FramedTrack&&) noexcept = default;

SP<IDataPacket> FramedTrack::Read()
{
    for (;;)
    {
        try
        {
            if (gate->Fetch())
                framed->Initialize(gate->GetFraming());
            const SP<IDataPacket> packet = framed->Read();
            if (packet || !gate->HasDelivered())
                return packet;
        }
        catch (const std::bad_alloc&)
        {
            throw; // no fault of the packet
        }
        catch (const std::exception& e)
        {
            if (!gate->HasDelivered())
                throw;
            LOG(WARNING) << "Dropping bad packet. " << e.what();
        }
        ++damaged;
    }
}

} // namespace Tessor::Host
