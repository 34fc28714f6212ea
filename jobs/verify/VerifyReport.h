#pragma once

#include "jobs/verify/PacketVerdict.h"
#include "jobs/verify/PictureVerdict.h"

#include <optional>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// The verdict on a track.
struct TrackVerdict
{
    int index = 0; ///< in the source
    std::string kind, codec;
    std::string unchecked;                  ///< why nothing is said of it; empty where something is
    std::optional<PictureVerdict> pictures; ///< of video
    std::optional<PacketVerdict> packets;   ///< of all that is checked; of video some may be encoded anew
};

/// The verdict on a cut file, held against its source.
struct TESSOR_API VerifyReport
{
    std::vector<TrackVerdict> tracks;
    std::vector<std::string> faults;

    bool IsGood() const { return faults.empty(); }
    /// All video tracks taken together.
    PictureVerdict SumPictures() const;
    PacketVerdict SumVideoPackets() const;
};

} // namespace Tessor::Jobs
