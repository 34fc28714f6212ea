#pragma once

#include "ffhost/io/MediaInfo.h"

#include <vector>

namespace Tessor::Host
{

/// The end of every audio and video track (of the subtitles where there is neither), counted from the origin, measured from its last packets: only the tail of
/// the file is read where that can be, all of it where it has no times of its own. NoTime for tracks that have ended
/// before the tail, and for all others. Reads through a context of its own.
std::vector<avTime> MeasureEnds(const std::string& path, const MediaInfo& info);

} // namespace Tessor::Host
