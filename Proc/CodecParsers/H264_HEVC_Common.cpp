#include "Proc/CodecParsers/H264_HEVC_Common.h"

#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "Proc/CodecParsers/NaluTools.h"
#include "Proc/CodecParsers/PacketTools.h"
#include "Proc/CodecParsers/StartCode.h"
#include "media/IFormatCodecVideo.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <cmath>

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
void FindMP4Nalus(T* data, size_t size, std::vector<std::pair<T*, size_t>>& out, size_t lengthSize)
{
    WalkMP4Nalus(data, size, lengthSize, [&out](T* unit, size_t unitSize) { out.emplace_back(unit, unitSize); });
}

void FindAnnexBNalus(const uint8_t* data, size_t size, std::vector<Nalu>& out)
{
    size_t open = 0; // start of the unit that waits for its end; 0 when none does
    while (open < size)
    {
        const size_t code = FindStartCode(data, size, open);
        const bool found = code < size;
        if (open > 0)
        {
            const size_t trimmed = found && data[code - 1] == 0 ? 1 : 0;
            out.emplace_back(data + open, code - trimmed - open);
        }
        open = found ? code + NALU_START_CODE_3_BYTE.size() : size;
    }
}

void InplaceConvertMP4ToAnnexB(uint8_t* data, size_t size, size_t lengthSize)
{
    WalkMP4Nalus(data, size, lengthSize, [](const uint8_t*, size_t) {});
    const std::vector<uint8_t>& code = lengthSize == 4 ? NALU_START_CODE_4_BYTE : NALU_START_CODE_3_BYTE;
    WalkMP4Nalus(data, size, lengthSize,
                 [&](uint8_t* unit, size_t) { std::copy_n(code.begin(), lengthSize, unit - lengthSize); });
}

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

uint32_t read_ue(Core::DataBitInput& input)
{
    constexpr unsigned limit = 32;
    unsigned zeros = 0;
    while (zeros < limit && input.ReadBits(1) == 0)
        ++zeros;
    // At the limit the shift wraps, as it does in 32 bits: nothing is added.
    const uint32_t offset = (1u << zeros % limit) - 1;
    return input.ReadBits(zeros) + offset;
}

int64_t read_se(Core::DataBitInput& input)
{
    const uint32_t codeNum = read_ue(input);
    const auto magnitude = static_cast<int64_t>(std::ceil(codeNum / 2.0));
    return codeNum % 2 == 0 ? -magnitude : magnitude;
}

std::vector<uint8_t> RemoveEmulationByte(const uint8_t* data, size_t size)
{
    std::vector<uint8_t> out;
    out.reserve(size);
    for (size_t at = 0; at < size;)
    {
        const size_t pattern = FindZeroZero(data, size, 3, at);
        // At the very end the 03 stays: there is no byte that it could protect.
        if (size - pattern < 4)
        {
            out.insert(out.end(), data + at, data + size);
            break;
        }
        const bool prevention = data[pattern + 3] <= 3;
        out.insert(out.end(), data + at, data + pattern + (prevention ? 2 : 4));
        at = pattern + (prevention ? 3 : 4);
    }
    return out;
}

template TESSOR_API void FindMP4Nalus(unsigned char*, size_t, std::vector<std::pair<unsigned char*, size_t>>&, size_t);
template TESSOR_API void FindMP4Nalus(const unsigned char*, size_t, std::vector<Nalu>&, size_t);
template TESSOR_API SP<IDataPacket> InplaceConvertMP4ToAnnexB(SP<IDataPacket>, size_t);
template TESSOR_API SP<const IDataPacket> InplaceConvertMP4ToAnnexB(SP<const IDataPacket>, size_t);
template TESSOR_API SP<IDataPacket> Mp4toAnnexB(const SP<IDataPacket>&, size_t, const SP<const IBlob>,
                                                const std::string&);
template TESSOR_API SP<const IDataPacket> Mp4toAnnexB(const SP<const IDataPacket>&, size_t, const SP<const IBlob>,
                                                      const std::string&);
template TESSOR_API SP<IDataPacket> AnnexBtoMp4(const SP<IDataPacket>&, size_t);
template TESSOR_API SP<const IDataPacket> AnnexBtoMp4(const SP<const IDataPacket>&, size_t);

} // namespace Tessor::Proc::CodecParsers
