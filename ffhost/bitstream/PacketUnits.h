#pragma once

#include "Proc/CodecParsers/Nal/LengthPrefixes.h"
#include "Proc/CodecParsers/Nal/NaluTools.h"
#include "Proc/CodecParsers/Nal/StartCode.h"
#include "media/items/IDataPacket.h"

#include <utility>

namespace Tessor::Host
{

/// Calls visit(unit), which tells whether to go on, for each unit of a packet of H.264 or HEVC: after lengths of
/// `lengthSize` bytes, or after start codes when that is 0. There a unit reaches to the end of the packet, so that a
/// slice is not searched for its end. What is malformed ends the walk.
template <class Visit>
void VisitUnits(const uint8_t* data, size_t size, size_t lengthSize, Visit&& visit)
{
    using namespace Proc::CodecParsers;
    if (lengthSize > 0)
    {
        for (size_t at = lengthSize; at <= size;)
        {
            const size_t length = ReadBigEndian(data + at - lengthSize, lengthSize);
            if (length > size - at || !visit(Nalu(data + at, length)))
                return;
            at += length + lengthSize;
        }
        return;
    }
    for (size_t code = FindStartCode(data, size); code < size;)
    {
        const size_t begin = code + NALU_START_CODE_3_BYTE.size();
        if (!visit(Nalu(data + begin, size - begin)))
            return;
        code = FindStartCode(data, size, begin);
    }
}

template <class Visit>
void VisitUnits(const Proc::IDataPacket& packet, size_t lengthSize, Visit&& visit)
{
    VisitUnits(packet.GetData(), static_cast<size_t>(packet.GetSize()), lengthSize, std::forward<Visit>(visit));
}

} // namespace Tessor::Host
