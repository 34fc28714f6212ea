#pragma once

struct AVPacket;

namespace Tessor::Host
{

/// Takes what a transport stream puts around the segments of DVB subtitles (ETSI EN 300 743, 7.1) off a packet that
/// still has it: libavformat leaves it on the second and later packets that go under one time, and writers put it round
/// every packet.
void StripDvbWrapper(AVPacket& packet);

} // namespace Tessor::Host
