#include "Proc/CodecParsers/HEVCCodecParser.h"

#include "Proc/CodecParsers/NaluTools.h"

namespace Tessor::Proc::CodecParsers
{

namespace
{

/// The next `count` bytes of the header, from `at`, which moves behind them.
const uint8_t* Take(std::span<const uint8_t> header, size_t& at, size_t count)
{
    if (count > header.size() - at)
        Throw<Exception>(TESSOR_HERE, "hvcC header is too small");
    const uint8_t* data = header.data() + at;
    at += count;
    return data;
}

std::vector<Nalu> FindHvccUnits(std::span<const uint8_t> header)
{
    constexpr size_t fixedPart = 22; // bytes ahead of the count of arrays
    size_t at = 0;
    Take(header, at, fixedPart);
    std::vector<Nalu> units;
    for (size_t arrays = *Take(header, at, 1); arrays > 0; --arrays)
    {
        Take(header, at, 1); // completeness and type of the units
        for (size_t count = ReadBigEndian(Take(header, at, 2), 2); count > 0; --count)
        {
            const size_t size = ReadBigEndian(Take(header, at, 2), 2);
            units.emplace_back(Take(header, at, size), size);
        }
    }
    return units;
}

} // namespace

SP<const IBlob> HEVC_Extradata_hvcCtoAnnexB(const SP<const IBlob>& extradata)
{
    const auto bytes = BlobBytes(extradata);
    if (bytes.empty() || bytes[0] != 1)
        return extradata;
    return CreateAnnexBBlob(FindHvccUnits(bytes));
}

} // namespace Tessor::Proc::CodecParsers
