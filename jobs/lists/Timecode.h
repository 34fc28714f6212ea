#pragma once

#include "Fnd/Time.h"

#include <optional>
#include <string>

namespace Tessor::Jobs
{

/// Counts frames of a constant rate as "HH:MM:SS:FF". At rates that are no whole number (30000/1001) the clock of such
/// names runs slow; the drop frame form ("HH:MM:SS;FF") leaves out names in nine minutes of ten and keeps pace.
class TESSOR_API Timecode
{
public:
    /// The frame rate as a ratio above 0.
    Timecode(int rateNum, int rateDen);

    /// Names can be dropped at this rate: it is 30000/1001 or a multiple.
    bool CanDrop() const { return dropped > 0; }
    /// None for what is no name of a frame at this rate; with `drop`, or a semicolon in it, names are dropped.
    std::optional<long long> ToFrame(const std::string& name, bool drop) const;
    std::string ToName(long long frame, bool drop) const;

    avTime ToTime(long long frame) const;
    /// The nearest frame.
    long long ToFrame(avTime time) const;

private:
    const int rateNum, rateDen;
    const long long nominal; // frames that are counted to a second
    const long long dropped; // names at the start of a minute; 0 where none can be
};

} // namespace Tessor::Jobs
