#pragma once

#include "jobs/cut/PacketJudge.h"
#include "jobs/cut/PictureJudge.h"

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

/// Reads both files plainly and judges each of the source's `tracks`, which the output is said to carry: every kept
/// picture and packet is there, once, at its time, and like its source; of those that the source hides the `exposed`
/// ones, too. Nothing checked at all is a fault.
TESSOR_API VerifyReport Verify(const std::string& source, const std::string& output, const KeptTime& kept,
                               const std::vector<int>& tracks, const ExposedPictures& exposed,
                               const IProgress& progress);

} // namespace Tessor::Jobs
