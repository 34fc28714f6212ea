#pragma once

#include "ffhost/io/MediaInfo.h"
#include "ffhost/io/reading/SourceFile.h"
#include "ffhost/io/reading/TrackClock.h"

#include <vector>

namespace Tessor::Host
{

/// What only the packets of a track tell.
struct TrackMeasure
{
    avTime end = NoTime; ///< counted from the origin; NoTime for a track that has ended before the tail
};

struct FileMeasure
{
    std::vector<TrackMeasure> tracks;
    ClockJumps jumps; ///< all of the file
};

/// Measures every audio, video and subtitle track from its last packets: only the tail of the file is read where that
/// can be, all of it where it has no times of its own or where its clock jumps. Afterwards the file is rewound and
/// nothing is selected.
FileMeasure MeasureFile(SourceFile& file, const MediaInfo& info);

} // namespace Tessor::Host
