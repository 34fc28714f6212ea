#include "ffhost/io/FramedTrack.h"

#include "Proc/Filters/Filters/FilterBitStream.h"
#include "Proc/StreamTemplates/StreamImpl.h"
#include "Proc/StreamTemplates/Visitors.h"
#include "media/IFormatCodecVideo.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <glog/logging.h>

namespace Tessor::Host
{

using namespace Proc;

/// The source as the conversion sees it. Knows whether a read that gave nothing met the end or a packet that the
/// conversion did not take.
class PacketGate final : public StreamImpl<IStreamRaw, IStreamRaw>, public RefCountImpl
{
public:
    PacketGate(const SP<IStreamRaw>& source, const SP<Conf::IFormatCodec>& format)
        : StreamImpl(source, false), format(format)
    {
    }

    /// The last read gave a packet.
    bool HasDelivered() const { return delivered; }

    void Initialize(const Core::Property&) override { Throw<FilterException>(TESSOR_HERE, "Method not implemented"); }
    Core::Property GetSettings() const override { return {}; }
    Core::Property GetStatistic() const override { return parentStream->GetStatistic(); }
    MediaType GetMediaType() const override { return parentStream->GetMediaType(); }
    SP<Conf::IFormatCodec> GetFormatCodec() const override { return format; }

private:
    void AcceptInternal(IStreamVisitor& visitor) override
    {
        Visitors::ProcessStandartVisitors(visitor, "PacketGate", FRAME_ALLOC_NONE, nullptr);
    }
    SP<IDataPacket> ReadInternal() override
    {
        delivered = false;
        SP<IDataPacket> packet = parentStream->Read();
        delivered = packet != nullptr;
        if (packet && (packet->GetAVPacket()->flags & AV_PKT_FLAG_TRUSTED) != 0)
        {
            packet = packet->Clone();
            packet->GetAVPacket()->flags ^= AV_PKT_FLAG_TRUSTED;
            packet->GetAVPacket()->flags |= AV_PKT_FLAG_KEY;
        }
        return packet;
    }
    void RequestSeekInternal(avTime target, SP<IStream> partner) override
    {
        parentStream->RequestSeek(target, partner);
    }
    void DoSeekInternal() override { parentStream->DoSeek(); }

    const SP<Conf::IFormatCodec> format;
    bool delivered = false; // by the last read
};

namespace
{

/// Packets of H.264 and HEVC whose framing nothing tells stay as they are.
SettingsFilterBitStream ChooseFraming(const Conf::IFormatCodec& format, const Muxer& muxer, const TrackInfo& info)
{
    const SP<const IBlob> header = format.GetExtradata();
    const bool known = (header && header->Size() > 0) || info.type != MediaType::Video;
    return SettingsFilterBitStream(known ? muxer.GetFraming(info) : SettingsFilterBitStream::STREAM_FORMAT_UNCHANGED);
}

} // namespace

FramedTrack::FramedTrack(const SP<IStreamRaw>& stream, const SP<Conf::IFormatCodec>& format, const Muxer& muxer,
                         const TrackInfo& info)
    : gate(new PacketGate(stream, format)), framed(FilterBitStream::Create(gate, ChooseFraming(*format, muxer, info)))
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
            const SP<IDataPacket> packet = framed->Read();
            if (packet || !gate->HasDelivered())
                return packet;
        }
        catch (const std::bad_alloc&)
        {
            throw;
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
