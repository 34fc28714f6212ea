#include "Proc/CodecParsers/Nal/Nalu.h"

#include "Proc/CodecParsers/Nal/LengthPrefixes.h"
#include "Proc/CodecParsers/Nal/StartCode.h"

#include <algorithm>
#include <cmath>

namespace Tessor::Proc::CodecParsers
{

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
            // zero_byte of Annex B stands before the prefix; more zeros (trailing_zero_8bits) are left to the unit
            const size_t trimmed = found && data[code - 1] == 0 ? 1 : 0;
            out.emplace_back(data + open, code - trimmed - open);
        }
        open = found ? code + NALU_START_CODE_3_BYTE.size() : size;
    }
}

void InplaceConvertMP4ToAnnexB(uint8_t* data, size_t size, size_t lengthSize)
{
    // a first walk that only checks, so that bad data is not half converted
    WalkMP4Nalus(data, size, lengthSize, [](const uint8_t*, size_t) {});
    const std::vector<uint8_t>& code = lengthSize == 4 ? NALU_START_CODE_4_BYTE : NALU_START_CODE_3_BYTE;
    WalkMP4Nalus(data, size, lengthSize,
                 [&](uint8_t* unit, size_t) { std::copy_n(code.begin(), lengthSize, unit - lengthSize); });
}

uint32_t read_ue(Core::DataBitInput& input)
{
    constexpr unsigned limit = 32;
    unsigned zeros = 0;
    while (zeros < limit && input.ReadBits(1) == 0)
        ++zeros;
    // At the limit the shift wraps, as it does in 32 bits: nothing is added. No standard code is that long, so that
    // damaged data alone gets here.
    const uint32_t offset = (1u << zeros % limit) - 1;
    return input.ReadBits(zeros) + offset;
}

int64_t read_se(Core::DataBitInput& input)
{
    const uint32_t codeNum = read_ue(input);
    // odd numbers stand for positive values, even ones for 0 and the negative ones
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
        // emulation_prevention_three_byte, 7.4.1: an encoder puts it only before bytes up to 3
        const bool prevention = data[pattern + 3] <= 3;
        out.insert(out.end(), data + at, data + pattern + (prevention ? 2 : 4));
        at = pattern + (prevention ? 3 : 4);
    }
    return out;
}

template TESSOR_API void FindMP4Nalus(unsigned char*, size_t, std::vector<std::pair<unsigned char*, size_t>>&, size_t);
template TESSOR_API void FindMP4Nalus(const unsigned char*, size_t, std::vector<Nalu>&, size_t);

} // namespace Tessor::Proc::CodecParsers
