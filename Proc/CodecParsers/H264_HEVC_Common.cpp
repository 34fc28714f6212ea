#include "Proc/CodecParsers/H264_HEVC_Common.h"

#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "Proc/CodecParsers/Nal/LengthPrefixes.h"
#include "Proc/CodecParsers/Nal/NaluTools.h"
#include "Proc/CodecParsers/PacketTools.h"
#include "media/formats/IFormatCodecVideo.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <algorithm>

namespace Tessor::Proc::CodecParsers
{

namespace
{

/// The low `count` bytes of the value, big-endian; returns their end.
uint8_t* WriteBigEndian(size_t value, size_t count, uint8_t* to)
{
    for (size_t i = count; i > 0; --i)
        *to++ = static_cast<uint8_t>(value >> 8 * (i - 1));
    return to;
}

} // namespace

template <class T>
SP<T> InplaceConvertMP4ToAnnexB(SP<T> packet, size_t lengthSize)
{
    const auto bytes = PacketBytes(*packet);
    // Malformed packets stay as they are, even in the memory that they share.
    WalkMP4Nalus(bytes.data(), bytes.size(), lengthSize, [](const uint8_t*, size_t) {});
    AVPacket* record = packet->GetAVPacket();
    if (!bytes.empty() && av_packet_make_writable(record) < 0)
        Throw<Exception>(TESSOR_HERE, "Can't allocate new AVPacket");
    InplaceConvertMP4ToAnnexB(record->data, bytes.size(), lengthSize);
    return packet;
}

template <class T>
SP<T> Mp4toAnnexB(const SP<T>& packet, size_t lengthSize, const SP<const IBlob> extradata, const std::string& codecId)
{
    if (lengthSize == 0)
        Throw<std::logic_error>(TESSOR_HERE, "Invalid header size");
    // a start code fits into such a length: most packets are converted without a new allocation
    if (lengthSize >= 3 && !packet->IsKeyFrame())
        return InplaceConvertMP4ToAnnexB(packet, lengthSize);
    return InsertAnnexBHeader(packet, lengthSize, extradata, codecId);
}

SP<IDataPacket> InsertAnnexBHeader(const SP<const IDataPacket> packet, size_t lengthSize,
                                   const SP<const IBlob> extradata, const std::string& codecId)
{
    const SP<const IBlob> header = codecId == Conf::IFormatCodecVideo::CODEC_ID_H264
                                       ? H264_Extradata_Mp4toAnnexB(extradata)
                                       : HEVC_Extradata_hvcCtoAnnexB(extradata);
    const auto bytes = PacketBytes(*packet);
    std::vector<Nalu> units;
    FindMP4Nalus(bytes.data(), bytes.size(), units, lengthSize);
    const auto head = packet->IsKeyFrame() ? BlobBytes(header) : std::span<const uint8_t>();
    const SP<DataPacketFF> result = CreatePacketLike(*packet, head.size() + AnnexBSize(units));
    WriteAnnexB(units, std::copy(head.begin(), head.end(), result->Data()));
    return result;
}

template <class T>
SP<T> AnnexBtoMp4(const SP<T>& packet, size_t lengthSize)
{
    if (!packet)
        return nullptr;
    if (lengthSize > 4)
        Throw<std::logic_error>(TESSOR_HERE, "Invalid header size");
    const auto bytes = PacketBytes(*packet);
    std::vector<Nalu> units;
    FindAnnexBNalus(bytes.data(), bytes.size(), units);
    // a length of 0 is a fault in MP4 form, where two start codes side by side are none
    std::erase_if(units, [](const Nalu& unit) { return unit.second == 0; });
    size_t size = 0;
    for (const Nalu& unit : units)
        size += lengthSize + unit.second;
    const SP<DataPacketFF> result = CreatePacketLike(*packet, size, PropsFault::Ignore);
    uint8_t* to = result->Data();
    for (const Nalu& unit : units)
        to = std::copy_n(unit.first, unit.second, WriteBigEndian(unit.second, lengthSize, to));
    return result;
}

template TESSOR_API SP<IDataPacket> InplaceConvertMP4ToAnnexB(SP<IDataPacket>, size_t);
template TESSOR_API SP<const IDataPacket> InplaceConvertMP4ToAnnexB(SP<const IDataPacket>, size_t);
template TESSOR_API SP<IDataPacket> Mp4toAnnexB(const SP<IDataPacket>&, size_t, const SP<const IBlob>,
                                                const std::string&);
template TESSOR_API SP<const IDataPacket> Mp4toAnnexB(const SP<const IDataPacket>&, size_t, const SP<const IBlob>,
                                                      const std::string&);
template TESSOR_API SP<IDataPacket> AnnexBtoMp4(const SP<IDataPacket>&, size_t);
template TESSOR_API SP<const IDataPacket> AnnexBtoMp4(const SP<const IDataPacket>&, size_t);

} // namespace Tessor::Proc::CodecParsers
