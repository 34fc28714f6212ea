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

/// The seam behind a time when no picture is shown between the two, otherwise the time itself. Moves the stream.
avTime SkipToSeam(Proc::IStreamRaw& stream, avTime time);

/// The time of the picture that lies in front of a time by no more than the tolerance; otherwise the time itself. Moves
/// the stream.
avTime SnapToPicture(Proc::IStreamRaw& stream, avTime time, avTime tolerance);

} // namespace Tessor::Cli
