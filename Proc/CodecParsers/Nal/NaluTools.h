#pragma once

#include "Fnd/DataBitOutput.h"
#include "Proc/CodecParsers/Nal/Nalu.h"
#include "media/items/BlobFF.h"
#include "media/items/IDataPacket.h"

#include <span>
#include <string>

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

/// Writes a run of units as avcC and hvcC have it: their count in that many bits, then each after its 16-bit size.
/// Throws Exception when a number does not fit.
void WriteSizedUnits(const std::vector<Nalu>& units, unsigned countBits, Core::DataBitOutput& output);

/// Bytes that the units take with 4-byte start codes.
size_t AnnexBSize(const std::vector<Nalu>& units);

/// Writes each unit after a 4-byte start code; returns the end of what it wrote.
uint8_t* WriteAnnexB(const std::vector<Nalu>& units, uint8_t* to);

/// A blob with the units after 4-byte start codes.
SP<const IBlob> CreateAnnexBBlob(const std::vector<Nalu>& units);

} // namespace Tessor::Proc::CodecParsers
