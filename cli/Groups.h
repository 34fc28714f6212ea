#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"

#include <vector>

namespace Tessor::Cli
{

/// A group of pictures as a stream delivers it.
struct Group
{
    avTime start = 0; ///< what it shows begins here
    avTime entry = 0; ///< presentation time of its key picture
    avTime end = 0;   ///< and ends here
    long long pictures = 0;
    long long bytes = 0;
    bool reordered = false; ///< decoding order differs from the order of display

    /// Pictures are shown before the key picture: they need the group before.
    bool IsOpen() const { return start < entry; }
};

/// All groups of a compressed video stream, from its start. Moves the stream.
std::vector<Group> ScanGroups(Proc::IStreamRaw& stream);

/// Presentation times of all pictures, in the order of display. Moves the stream.
std::vector<avTime> ScanPictureTimes(Proc::IStreamRaw& stream);

/// The last entry point (time of a key picture) at or before the time; the first one when there is none. Moves the
/// stream.
avTime FindEntry(Proc::IStreamRaw& stream, avTime time);

/// The first seam between two groups at or behind the time, NoTime when none follows. Moves the stream.
avTime FindSeam(Proc::IStreamRaw& stream, avTime time);

/// How a time is moved to a picture, all in microseconds.
struct SnapLimits
{
    avTime tolerance = 0; ///< a picture this little in front of the time is meant by it
    avTime longest = 0;   ///< a time is moved forward by no more
    avTime rounding = 0;  ///< how much too late the container's ticks may tell a picture's time
};

/// The start of the first picture at or behind a time, or the end of the last one; the time itself where that is too
/// far away. Behind it all pictures are whole, so that those of two pieces abut as evenly as they did in the source.
/// Times that ticks have rounded are moved in front of all that they may stand for, but for key pictures, whose groups
/// are kept as they are. Moves the stream.
avTime SnapToPicture(Proc::IStreamRaw& stream, avTime time, const SnapLimits& limits);

} // namespace Tessor::Cli
