#include "Proc/CodecParsers/Nal/NaluTools.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/PacketTools.h"

#include <algorithm>

namespace Tessor::Proc::CodecParsers
{

SP<BlobFF> CreateBlob(size_t size)
{
    try
    {
        return BlobFF::Create(size);
    }
    catch (const std::bad_alloc&)
    {
        Throw<Exception>(TESSOR_HERE, "Can't create BlobFF");
    }
}

SP<const IBlob> CreateBlobOf(const std::string& bytes)
{
    const SP<BlobFF> blob = CreateBlob(bytes.size());
    std::copy(bytes.begin(), bytes.end(), blob->Data());
    return blob;
}

std::vector<Nalu> FindPacketNalus(const IDataPacket& packet)
{
    std::vector<Nalu> units;
    const auto bytes = PacketBytes(packet);
    FindAnnexBNalus(bytes.data(), bytes.size(), units);
    return units;
}

SP<IDataPacket> InsertParameterSets(const SP<IDataPacket>& packet, const IBlob& extradata,
                                    bool (*isParameterSet)(const Nalu&))
{
    const std::vector<Nalu> units = FindPacketNalus(*packet);
    if (std::any_of(units.begin(), units.end(), isParameterSet))
        return packet;
    return PrependToPacket(packet, extradata.Data(), extradata.Size());
}

void WriteSizedUnits(const std::vector<Nalu>& units, unsigned countBits, Core::DataBitOutput& output)
{
    constexpr unsigned sizeBits = 16;
    // readers could not tell a number that was cut short from a true one
    if (units.size() >> countBits != 0)
        Throw<Exception>(TESSOR_HERE, "Too many NALUs for the header");
    output.WriteBits(static_cast<uint32_t>(units.size()), countBits);
    for (const auto& [data, size] : units)
    {
        if (size >> sizeBits != 0)
            Throw<Exception>(TESSOR_HERE, "NALU is too big for the header");
        output.WriteBits(static_cast<uint32_t>(size), sizeBits);
        output.WriteData(data, size);
    }
}

size_t AnnexBSize(const std::vector<Nalu>& units)
{
    size_t size = 0;
    for (const Nalu& unit : units)
        size += NALU_START_CODE_4_BYTE.size() + unit.second;
    return size;
}

uint8_t* WriteAnnexB(const std::vector<Nalu>& units, uint8_t* to)
{
    for (const auto& [data, size] : units)
    {
        to = std::copy(NALU_START_CODE_4_BYTE.begin(), NALU_START_CODE_4_BYTE.end(), to);
        to = std::copy_n(data, size, to);
    }
    return to;
}

SP<const IBlob> CreateAnnexBBlob(const std::vector<Nalu>& units)
{
    const SP<BlobFF> blob = CreateBlob(AnnexBSize(units));
    WriteAnnexB(units, blob->Data());
    return blob;
}

} // namespace Tessor::Proc::CodecParsers
