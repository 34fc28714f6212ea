#include "Proc/CodecParsers/NaluTools.h"

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
