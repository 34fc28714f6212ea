#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"
#include "jobs/ReadProgress.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Where one group ends and the next one begins.
struct Seam
{
    avTime position = NoTime; ///< what the next one shows begins here; NoTime: there is none
    avTime entry = NoTime;    ///< presentation time of its key picture
};

/// A group of pictures as a stream delivers it.
struct TESSOR_API Group
{
    avTime start = 0; ///< what it shows begins here
    avTime entry = 0; ///< presentation time of its key picture
    avTime end = 0;   ///< and ends here
    long long bytes = 0;
    bool reordered = false;          ///< decoding order differs from the order of display
    std::vector<avTime> pictures;    ///< presentation times, in decoding order
    std::vector<avTime> hidden = {}; ///< those among them that are decoded, but not shown
    Seam next = {};                  ///< what FindGroup met first after the time; where it begins, the group ends

    /// Pictures are shown before the key picture: they need the group before.
    bool IsOpen() const { return start < entry; }
    /// The cut takes it in parts, which can be copied, but not re-encoded.
    bool IsTooLarge() const;
};

/// Adds a packet to the groups that those before it made.
void AddToGroups(std::vector<Group>& groups, const Proc::IDataPacket& packet);

/// All groups of a compressed video stream, from its start. Moves the stream.
TESSOR_API std::vector<Group> ScanGroups(Proc::IStreamRaw& stream, ReadProgress& reading);

/// Whether a packet is presented from `start` to before `end`. Moves the stream.
bool HasPacketIn(Proc::IStreamRaw& stream, avTime start, avTime end);

/// Presentation times of all pictures, in the order of display. Moves the stream.
std::vector<avTime> ScanPictureTimes(Proc::IStreamRaw& stream);

/// The last entry point (time of a key picture) at or before the time; the first one when there is none. Moves the
/// stream.
avTime FindEntry(Proc::IStreamRaw& stream, avTime time);

/// The first key picture of a stream that begins with other ones, which nobody can decode; NoTime for all others. Moves
/// the stream.
avTime FindLateEntry(Proc::IStreamRaw& stream);

/// How far before 0 a stream begins with what is decoded, but neither shown nor heard. Moves the stream.
avTime FindHiddenLead(Proc::IStreamRaw& stream);

/// Why a video stream that can't be cut anywhere can't: its groups can't be re-encoded. Moves the stream.
std::string FindCutObstacle(Proc::IStreamRaw& stream);

} // namespace Tessor::Jobs
