#pragma once

#include "jobs/Times.h"
#include "jobs/reports/JobReport.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// What a conversion did to a track.
struct ConvertTrack
{
    int index = 0;
    std::string kind, codec;               ///< of the source
    std::string encoder;                   ///< empty: copied
    double sourceRate = 0, resultRate = 0; ///< frames per second of pictures; 0 when unknown
    // Items are pictures, blocks of sound or packets; those that a cut leaves out are not among them.
    long long itemsIn = 0, itemsOut = 0;
    long long doubled = 0, dropped = 0; ///< pictures, by changes of the frame rate
};

struct ConvertReport : JobReport
{
    std::string input, output;
    std::vector<Range> intervals; ///< kept ones, of the source's time; empty where nothing was cut
    avTime duration = 0;          ///< of the result
    std::vector<ConvertTrack> tracks;
    double wallSeconds = 0;
};

} // namespace Tessor::Jobs
