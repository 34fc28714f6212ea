#pragma once

#include "cli/Times.h"

#include <string>
#include <vector>

namespace Tessor::Cli
{

/// The verdict on a cut file, held against its source.
struct VerifyReport
{
    long long expectedPictures = 0, outputPictures = 0, identicalPictures = 0;
    double lowestRatio = 0;                      ///< dB, infinite when all pictures are identical
    double worstTimeErrorMs = 0;                 ///< of a picture, against its place in the intervals
    long long packets = 0, identicalPackets = 0; ///< of the video
    std::vector<std::string> faults;

    bool IsGood() const { return faults.empty(); }
};

/// Decodes both files and judges: every kept picture is there, in order, at its time, and like its source.
VerifyReport Verify(const std::string& source, const std::string& output, const std::vector<Range>& kept);

} // namespace Tessor::Cli
