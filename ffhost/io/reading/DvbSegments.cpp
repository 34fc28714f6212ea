#include "ffhost/io/reading/DvbSegments.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <cstdint>

namespace Tessor::Host
{

namespace
{

// PES_data_field and subtitling_segment of ETSI EN 300 743
constexpr int PREFIX = 2; // data identifier, number of the subtitle stream
constexpr uint8_t DATA_IDENTIFIER = 0x20, SYNC = 0x0F, END_MARKER = 0xFF;
constexpr int SEGMENT_HEADER = 6; // sync byte, type, page, and in the last two bytes the length of what follows

} // namespace

void StripDvbWrapper(AVPacket& packet)
{
    // a packet without the wrapper begins with a segment
    if (packet.size <= PREFIX || packet.data[0] != DATA_IDENTIFIER || packet.data[1] != 0)
        return;
    packet.data += PREFIX;
    packet.size -= PREFIX;
    int at = 0;
    while (packet.size - at >= SEGMENT_HEADER && packet.data[at] == SYNC)
        at += SEGMENT_HEADER + (packet.data[at + 4] << 8 | packet.data[at + 5]);
    if (at < packet.size && packet.data[at] == END_MARKER)
        packet.size = at;
}

} // namespace Tessor::Host
