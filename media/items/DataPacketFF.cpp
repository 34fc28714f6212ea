#include "media/items/DataPacketFF.h"

#include "Fnd/Exception.h"

extern "C"
{
#include <libavcodec/packet.h>
#include <libavutil/avutil.h>
}

#include <limits>

namespace Tessor::Proc
{

static_assert(NoTime == AV_NOPTS_VALUE);

AVPacket* CreatePacket(size_t size)
{
    if (size > static_cast<size_t>(std::numeric_limits<int>::max()))
        return nullptr;
    AVPacket* packet = av_packet_alloc();
    if (packet && av_new_packet(packet, static_cast<int>(size)) < 0)
        av_packet_free(&packet);
    return packet;
}

SP<DataPacketFF> DataPacketFF::Create(AVPacket* packet, MediaType type, long long pts, long long dts,
                                      long long duration)
{
    if (!packet)
        Throw<std::invalid_argument>(TESSOR_HERE, "packet is NULL.");
    // owned from here on, so that each throw below frees it
    SP<DataPacketFF> result(new DataPacketFF(packet, type));
    if (packet->size < 0 || (packet->size > 0 && !packet->data))
        Throw<std::invalid_argument>(TESSOR_HERE, "A packet without its payload");
    if (av_packet_make_refcounted(packet) < 0)
        Throw<Exception>(TESSOR_HERE, "Can't allocate new AVPacket");
    packet->pts = pts;
    packet->dts = dts;
    packet->duration = duration;
    packet->time_base = AVRational{1, SECOND};
    return result;
}

const PacketFacts& GetFacts(const IDataPacket& packet)
{
    static const PacketFacts none;
    const auto* keeper = dynamic_cast<const IPacketFacts*>(&packet);
    return keeper ? keeper->GetFacts() : none;
}

DataPacketFF::DataPacketFF(AVPacket* packet, MediaType type) : packet(packet), type(type) {}

DataPacketFF::~DataPacketFF()
{
    AVPacket* owned = packet;
    av_packet_free(&owned);
}

avTime DataPacketFF::GetDuration() const
{
    return packet->duration;
}

void DataPacketFF::SetDuration(avTime duration)
{
    packet->duration = duration;
}

avTime DataPacketFF::GetPTS() const
{
    return packet->pts;
}

void DataPacketFF::SetPTS(avTime pts)
{
    // a position keeps its distance from the PTS, as far as there is one
    if (packet->pts != NoTime && pts != NoTime)
        position = AddTime(position, SubTime(pts, packet->pts));
    packet->pts = pts;
}

void DataPacketFF::TrimStart(avTime)
{
    Throw<Exception>(TESSOR_HERE, "A compressed packet can't be trimmed");
}

size_t DataPacketFF::GetMemorySize() const
{
    return static_cast<size_t>(packet->size);
}

void DataPacketFF::TrimEnd(avTime)
{
    Throw<Exception>(TESSOR_HERE, "A compressed packet can't be trimmed");
}

avTime DataPacketFF::GetDTS() const
{
    return packet->dts;
}

void DataPacketFF::SetDTS(avTime dts)
{
    packet->dts = dts;
}

avTime DataPacketFF::GetPosition() const
{
    if (position != NoTime)
        return position;
    return packet->pts != NoTime ? packet->pts : packet->dts;
}

bool DataPacketFF::IsKeyFrame() const
{
    return (packet->flags & AV_PKT_FLAG_KEY) != 0;
}

int DataPacketFF::GetSize() const
{
    return packet->size;
}

SP<IDataPacket> DataPacketFF::Clone() const
{
    AVPacket* copy = av_packet_clone(packet);
    if (!copy)
        Throw<Exception>(TESSOR_HERE, "Can't allocate new AVPacket");
    SP<DataPacketFF> clone(new DataPacketFF(copy, type));
    clone->position = position;
    clone->facts = facts;
    return clone;
}

SP<const IBlob> DataPacketFF::GetBlob() const
{
    return SP<const IBlob>(this);
}

void DataPacketFF::SetPosition(avTime newPosition)
{
    position = newPosition;
}

void DataPacketFF::HideKey()
{
    facts.hiddenKey = facts.hiddenKey || IsKeyFrame();
    packet->flags &= ~AV_PKT_FLAG_KEY;
}

const uint8_t* DataPacketFF::GetData() const
{
    return packet->data;
}

const uint8_t* DataPacketFF::Data() const
{
    return packet->data;
}

uint8_t* DataPacketFF::Data()
{
    return packet->data;
}

size_t DataPacketFF::Size() const
{
    return static_cast<size_t>(packet->size);
}

} // namespace Tessor::Proc
