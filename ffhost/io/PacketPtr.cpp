#include "ffhost/io/PacketPtr.h"

extern "C"
{
#include <libavcodec/packet.h>
}

namespace Tessor::Host
{

void PacketDeleter::operator()(AVPacket* packet) const
{
    av_packet_free(&packet);
}

} // namespace Tessor::Host
