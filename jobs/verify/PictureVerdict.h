#pragma once

#include "Fnd/Export.h"
#include "Fnd/Time.h"

#include <map>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Times in the result of pictures that the source hides and the output shows, by the source's tracks.
using ExposedPictures = std::map<int, std::vector<avTime>>;

/// How the decoded pictures of a track compare with those of its source.
struct TESSOR_API PictureVerdict
{
    /// Pictures below this are no copy of their source, in dB.
    static constexpr double LEAST_RATIO = 30;

    long long expected = 0, found = 0, identical = 0;
    double lowestRatio = 0;      ///< dB, infinite when all pictures are identical
    double worstTimeErrorMs = 0; ///< against the place in the intervals
    avTime shift = NoTime;       ///< how much later than expected the whole file lies
    long long withheld = 0;      ///< lost by one of the decoders when size or fields changed; not among the others
    long long disordered = 0;    ///< of the output, whose times contradict the order in which they are shown
    long long damaged = 0;       ///< of the source, as far as they had to be decoded

    /// "124 pictures, 125 expected; ..."; empty when all is as expected.
    std::string DescribeFaults() const;
};

} // namespace Tessor::Jobs
