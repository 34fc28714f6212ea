#include "cli/Groups.h"

#include "cli/Interrupt.h"

#include <algorithm>
#include <cstdlib>
#include <set>

namespace Tessor::Cli
{

namespace
{

void Seek(Proc::IStreamRaw& stream, avTime time)
{
    stream.RequestSeek(time, nullptr);
    stream.DoSeek();
}

/// Calls back for each packet from a time on, until the callback says false or the stream ends.
template <class Callback>
void ForEachPacket(Proc::IStreamRaw& stream, avTime from, Callback callback)
{
    Seek(stream, from);
    while (const SP<Proc::IDataPacket> packet = stream.Read())
    {
        ThrowIfInterrupted();
        if (!callback(*packet))
            return;
    }
}

} // namespace

std::vector<Group> ScanGroups(Proc::IStreamRaw& stream)
{
    std::vector<Group> groups;
    avTime lastPts = NoTime;
    ForEachPacket(stream, 0,
                  [&](const Proc::IDataPacket& packet)
                  {
                      if (groups.empty() || packet.IsKeyFrame())
                      {
                          if (!groups.empty())
                              groups.back().end = packet.GetPosition();
                          groups.push_back({packet.GetPosition(), packet.GetPTS(), NoTime});
                          lastPts = NoTime;
                      }
                      Group& group = groups.back();
                      ++group.pictures;
                      group.bytes += packet.GetSize();
                      group.reordered |= lastPts != NoTime && packet.GetPTS() < lastPts;
                      lastPts = packet.GetPTS();
                      group.end = std::max(group.end, AddTime(packet.GetPTS(), packet.GetDuration()));
                      return true;
                  });
    return groups;
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

avTime FindEntry(Proc::IStreamRaw& stream, avTime time)
{
    Seek(stream, time);
    const SP<Proc::IDataPacket> packet = stream.Read();
    return packet ? packet->GetPTS() : NoTime;
}

avTime FindSeam(Proc::IStreamRaw& stream, avTime time)
{
    avTime seam = NoTime;
    bool entered = false;
    // the group that ends at the seam has to be read as well: a group that is entered tells its key picture only
    ForEachPacket(stream, time - 1,
                  [&](const Proc::IDataPacket& packet)
                  {
                      if (entered && packet.IsKeyFrame() && packet.GetPosition() >= time)
                          seam = packet.GetPosition();
                      entered = true;
                      return seam == NoTime;
                  });
    return seam;
}

avTime SkipToSeam(Proc::IStreamRaw& stream, avTime time)
{
    avTime first = NoTime;
    std::set<avTime> seams;
    ForEachPacket(stream, time,
                  [&](const Proc::IDataPacket& packet)
                  {
                      const avTime pts = packet.GetPTS();
                      if (packet.IsKeyFrame())
                          seams.insert(packet.GetPosition());
                      if (pts != NoTime && pts >= time && (first == NoTime || pts < first))
                          first = pts;
                      // nothing behind can be shown earlier
                      return first == NoTime || packet.GetDTS() == NoTime || packet.GetDTS() <= first;
                  });
    return seams.count(first) ? first : time;
}

avTime SnapToPicture(Proc::IStreamRaw& stream, avTime time, avTime tolerance)
{
    avTime snapped = time;
    ForEachPacket(stream, time,
                  [&](const Proc::IDataPacket& packet)
                  {
                      const avTime pts = packet.GetPTS();
                      if (pts != NoTime && pts < time && pts >= time - tolerance)
                          snapped = pts;
                      // behind the time in decoding order, and not for its reordering alone
                      return packet.GetDTS() == NoTime || packet.GetDTS() <= time;
                  });
    return snapped;
}

} // namespace Tessor::Cli
