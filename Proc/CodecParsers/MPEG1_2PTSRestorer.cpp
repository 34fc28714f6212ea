#include "Proc/CodecParsers/MPEG1_2PTSRestorer.h"

#include "Proc/CodecParsers/MPEG2CodecParser.h"

namespace Tessor::Proc::CodecParsers
{

void MPEG1_2PTSRestorer::Push(const SP<const IDataPacket>& packet)
{
    if (!packet)
    {
        entries.Finish();
        return;
    }
    const bool timed = packet->GetPTS() != NoTime;
    const bool between = timed && entries.IsWaiting() && GetMPEG1_2FrameType(packet) == MPEG_PICTURE_B;
    entries.Push({{packet->GetPTS(), packet->GetDTS()}, packet, packet->GetDuration()}, between);
}

std::pair<SP<const IDataPacket>, ExternalTS> MPEG1_2PTSRestorer::Pull()
{
    Entry oldest;
    entries.Pull(oldest);
    return {oldest.packet, oldest};
}

void MPEG1_2PTSRestorer::Reset()
{
    entries.Reset();
}

} // namespace Tessor::Proc::CodecParsers
