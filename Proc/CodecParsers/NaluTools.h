#pragma once

#include "Fnd/DataBitOutput.h"
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "media/BlobFF.h"

#include <span>
#include <stdexcept>

/// What the parsers of H.264 and HEVC share behind their interfaces.
namespace Tessor::Proc::CodecParsers
{

/// The bytes of a blob; none for null.
inline std::span<const uint8_t> BlobBytes(const SP<const IBlob>& blob)
{
    return blob ? std::span(blob->Data(), blob->Size()) : std::span<const uint8_t>();
}

/// The payload of a packet.
inline std::span<const uint8_t> PacketBytes(const IDataPacket& packet)
{
    return {packet.GetData(), static_cast<size_t>(packet.GetSize())};
}

/// A blob of that size. Throws Exception "Can't create BlobFF" when memory is missing.
SP<BlobFF> CreateBlob(size_t size);

/// A blob of those bytes. Throws as CreateBlob.
SP<const IBlob> CreateBlobOf(const std::string& bytes);

/// The units of a packet in Annex B form.
std::vector<Nalu> FindPacketNalus(const IDataPacket& packet);

/// A packet (Annex B) with the extradata in front; the packet itself when a unit of it is a parameter set.
SP<IDataPacket> InsertParameterSets(const SP<IDataPacket>& packet, const IBlob& extradata,
                                    bool (*isParameterSet)(const Nalu&));

/// Writes a run of units as avcC and hvcC have it: their count in that many bits, then each behind its 16-bit size.
/// Throws Exception when a number does not fit.
void WriteSizedUnits(const std::vector<Nalu>& units, unsigned countBits, Core::DataBitOutput& output);

/// Bytes that the units take behind 4-byte start codes.
size_t AnnexBSize(const std::vector<Nalu>& units);

/// Writes each unit behind a 4-byte start code; returns the end of what it wrote.
uint8_t* WriteAnnexB(const std::vector<Nalu>& units, uint8_t* to);

/// A blob with the units behind 4-byte start codes.
SP<const IBlob> CreateAnnexBBlob(const std::vector<Nalu>& units);

/// Big-endian number of `count` bytes.
inline size_t ReadBigEndian(const uint8_t* data, size_t count)
{
    size_t value = 0;
    for (size_t i = 0; i < count; ++i)
        value = value << 8 | data[i];
    return value;
}

/// Calls visit(unit, size) for each unit of length-prefixed data, without keeping a list. A unit is visited before its
/// end is checked: look at its bytes only once the walk is over, or on data that has been walked before. Throws as
/// FindMP4Nalus.
template <class T, class Visit>
void WalkMP4Nalus(T* data, size_t size, size_t lengthSize, Visit&& visit)
{
    for (size_t at = 0; at < size;)
    {
        const size_t left = size - at;
        if (lengthSize > left)
            Throw<std::logic_error>(TESSOR_HERE, "out of range");
        const size_t unitSize = ReadBigEndian(data + at, lengthSize);
        if (lengthSize == 0 || lengthSize > 4 || unitSize == 0)
            Throw<std::logic_error>(TESSOR_HERE, "bad naluSize");
        visit(data + at + lengthSize, unitSize);
        if (unitSize > left - lengthSize)
            Throw<std::logic_error>(TESSOR_HERE, "out of range");
        at += lengthSize + unitSize;
    }
}

} // namespace Tessor::Proc::CodecParsers
