#include "jobs/cut/Groups.h"

#include "Proc/Filters/Filters/Cutting/PacketQueue.h"
#include "ffhost/FormatTags.h"
#include "jobs/SeekTo.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace Tessor::Jobs
{

namespace
{

bool IsHidden(const Proc::IDataPacket& packet)
{
    return (packet.GetAVPacket()->flags & AV_PKT_FLAG_DISCARD) != 0;
}

/// Calls back for each packet from a time on, until the callback says false or the stream ends.
template <class Callback>
void ForEachPacket(Proc::IStreamRaw& stream, avTime from, Callback callback)
{
    SeekTo(stream, from);
    while (const SP<Proc::IDataPacket> packet = stream.Read())
        if (!callback(*packet))
            return;
}

} // namespace

bool Group::IsTooLarge() const
{
    return bytes > Proc::PacketQueue::maxBytes || std::cmp_greater(pictures.size(), Proc::PacketQueue::maxPackets);
}

void AddToGroups(std::vector<Group>& groups, const Proc::IDataPacket& packet)
{
    const avTime time = packet.GetPTS();
    if (groups.empty() || packet.IsKeyFrame())
    {
        if (!groups.empty())
            groups.back().end = packet.GetPosition();
        groups.push_back({.start = packet.GetPosition(), .entry = time, .end = NoTime, .pictures = {}});
    }
    Group& group = groups.back();
    group.reordered |= !group.pictures.empty() && time < group.pictures.back();
    group.pictures.push_back(time);
    if (IsHidden(packet))
        group.hidden.push_back(time);
    group.bytes += packet.GetSize();
    group.end = std::max(group.end, AddTime(time, packet.GetDuration()));
}

std::vector<Group> ScanGroups(Proc::IStreamRaw& stream, ReadProgress& reading)
{
    std::vector<Group> groups;
    ForEachPacket(stream, 0,
                  [&](const Proc::IDataPacket& packet)
                  {
                      AddToGroups(groups, packet);
                      reading.Reach(packet.GetPTS());
                      return true;
                  });
    return groups;
}

bool HasPacketIn(Proc::IStreamRaw& stream, avTime start, avTime end)
{
    bool found = false;
    ForEachPacket(stream, start,
                  [&](const Proc::IDataPacket& packet)
                  {
                      // Packets come in decoding order, and nothing is shown before it is decoded: past the end there
                      // is no way back.
                      const avTime time = packet.GetPTS() != NoTime ? packet.GetPTS() : packet.GetDTS();
                      found = time >= start && time < end;
                      return !found && packet.GetDTS() < end;
                  });
    return found;
}

std::vector<avTime> ScanPictureTimes(Proc::IStreamRaw& stream)
{
    std::vector<avTime> times;
    ForEachPacket(stream, 0,
                  [&](const Proc::IDataPacket& packet)
                  {
                      if (packet.GetPTS() != NoTime)
                          times.push_back(packet.GetPTS());
                      return true;
                  });
    std::sort(times.begin(), times.end());
    return times;
}

// A seek lands there (Demuxer).
avTime FindEntry(Proc::IStreamRaw& stream, avTime time)
{
    SeekTo(stream, time);
    const SP<Proc::IDataPacket> packet = stream.Read();
    return packet ? packet->GetPTS() : NoTime;
}

avTime FindLateEntry(Proc::IStreamRaw& stream)
{
    bool late = false;
    avTime entry = NoTime;
    ForEachPacket(stream, 0,
                  [&](const Proc::IDataPacket& packet)
                  {
                      if (packet.IsKeyFrame())
                          entry = late ? packet.GetPTS() : NoTime;
                      late = true;
                      return !packet.IsKeyFrame();
                  });
    return entry;
}

avTime FindHiddenLead(Proc::IStreamRaw& stream)
{
    avTime lead = 0;
    ForEachPacket(stream, 0,
                  [&](const Proc::IDataPacket& packet)
                  {
                      if (IsHidden(packet))
                          lead = std::max(lead, SubTime(0, packet.GetPTS()));
                      // What an edit list hides at a start is shifted below 0; beyond, all is shown.
                      return packet.GetDTS() < 0;
                  });
    return lead;
}

std::string FindCutObstacle(Proc::IStreamRaw& stream)
{
    const SP<Conf::IFormatCodec> format = stream.GetFormatCodec();
    const Core::Property& tree = std::as_const(*format).GetProperties();
    const std::string& refusal = Host::FormatTags::REFUSE_RECODE;
    if (tree.ChildExists(refusal) && !tree[refusal].GetString().empty())
        return tree[refusal].GetString();
    bool open = false;
    int keys = 0;
    avTime key = NoTime;
    // as far as the search for an encoder reads
    ForEachPacket(stream, 0,
                  [&](const Proc::IDataPacket& packet)
                  {
                      open |= key != NoTime && packet.GetPTS() < key;
                      key = packet.IsKeyFrame() ? packet.GetPTS() : key;
                      keys += packet.IsKeyFrame();
                      return !open && keys < 3;
                  });
    return open ? "open groups of pictures" : "no encoder writes packets that fit the stream";
}

} // namespace Tessor::Jobs
