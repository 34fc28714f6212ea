#pragma once

#include "jobs/IProgress.h"
#include "jobs/Times.h"
#include "jobs/split/SplitSettings.h"

#include <vector>

namespace Tessor::Jobs
{

/// The pieces that a file falls into at key pictures that no picture shown before needs, so that none is encoded anew.
/// Where there are no such, each piece has all that is shown in it, which the cut may encode anew or widen. Sound
/// follows the first video track; without one, pieces end with packets of the first track of sound.
/// Chapters without a place of their own are warned of.
std::vector<AskedRange> FindPieces(const SplitSettings& settings, const IProgress& progress,
                                   std::vector<std::string>& warnings);

} // namespace Tessor::Jobs
