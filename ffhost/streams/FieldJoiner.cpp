#include "ffhost/streams/FieldJoiner.h"

#include "media/items/DataPacketFF.h"

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

using namespace Proc;

SP<IStreamRaw> FieldJoiner::Create(const SP<IStreamRaw>& parent, const TrackInfo& info,
                                   const SP<Conf::IFormatCodec>& format)
{
    const AVCodecParameters& parameters = *info.parameters;
    if (parameters.codec_id != AV_CODEC_ID_H264 || parameters.field_order == AV_FIELD_PROGRESSIVE)
        return parent;
    return SP<IStreamRaw>(new FieldJoiner(parent, parameters, format->GetExtradata()));
}

SP<IStreamRaw> FieldJoiner::Create(const SP<IStreamRaw>& parent, const TrackInfo& info)
{
    return Create(parent, info, parent->GetFormatCodec());
}

SP<IDataPacket> FieldJoiner::ReadInternal()
{
    const Packet first = next ? next : Fetch();
    const Field field = nextField;
    next = nullptr;
    if (!first || field == Field::Neither)
        return first;
    next = Fetch();
    // a field whose other one is lost stays alone, and the packet after it waits
    if (!next || nextField == Field::Neither || nextField == field)
        return first;
    return Join(*first, *std::exchange(next, nullptr));
}

void FieldJoiner::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    next = nullptr;
    Relay::RequestSeekInternal(target, partner);
}

FieldJoiner::Packet FieldJoiner::Fetch()
{
    const Packet packet = parentStream->Read();
    nextField = packet ? parser.Look(*packet->GetAVPacket()).field : Field::Neither;
    return packet;
}

/// What is said of the picture as a whole is said of its first field.
FieldJoiner::Packet FieldJoiner::Join(const IDataPacket& first, const IDataPacket& second)
{
    AVPacket* const joined = CreatePacket(static_cast<size_t>(first.GetSize()) + static_cast<size_t>(second.GetSize()));
    if (!joined)
        throw std::bad_alloc();
    std::memcpy(joined->data, first.GetData(), static_cast<size_t>(first.GetSize()));
    std::memcpy(joined->data + first.GetSize(), second.GetData(), static_cast<size_t>(second.GetSize()));
    const avTime start = std::min(first.GetPTS(), second.GetPTS());
    const avTime end =
        std::max(AddTime(first.GetPTS(), first.GetDuration()), AddTime(second.GetPTS(), second.GetDuration()));
    const SP<DataPacketFF> packet = DataPacketFF::Create(joined, MediaType::Video, start, first.GetDTS(), end - start);
    if (av_packet_copy_props(joined, first.GetAVPacket()) < 0)
        throw std::bad_alloc();
    // once more: the properties that were copied include the times of the first field alone
    packet->SetPTS(start);
    packet->SetDTS(first.GetDTS());
    packet->SetDuration(end - start);
    packet->SetPosition(first.GetPosition());
    PacketFacts facts = GetFacts(first);
    facts.hiddenKey = facts.hiddenKey || GetFacts(second).hiddenKey;
    packet->SetFacts(std::move(facts));
    return packet;
}

} // namespace Tessor::Host
