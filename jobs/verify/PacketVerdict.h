#pragma once

#include "Fnd/Export.h"

#include <string>

namespace Tessor::Jobs
{

/// How the packets of a track that were found compare with those that were expected.
struct TESSOR_API PacketVerdict
{
    long long expected = 0, found = 0;
    long long identical = 0; ///< found that carry what an expected one does, wherever they lie
    long long doubled = 0;   ///< found once more often than expected
    long long missing = 0;   ///< expected that were not found
    long long misplaced = 0; ///< found elsewhere than expected
    long long foreign = 0;   ///< found that carry something else than every expected one
    long long adjusted = 0;  ///< left out or put in where that is allowed
    double worstTimeErrorMs = 0;

    long long CountFaults() const { return doubled + missing + misplaced + foreign; }
    /// "of 423 packets 3 missing, 1 doubled"; empty when all is as expected.
    std::string DescribeFaults() const;
};

} // namespace Tessor::Jobs
