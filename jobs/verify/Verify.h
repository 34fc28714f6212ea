#pragma once

#include "jobs/InputFile.h"
#include "jobs/ReadProgress.h"
#include "jobs/verify/KeptTime.h"
#include "jobs/verify/VerifyReport.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Reads both files plainly and judges each of the source's `tracks`, which the output is said to carry: every kept
/// picture and packet is there, once, at its time, and like its source; of those that the source hides the `exposed`
/// ones, too. Nothing checked at all is a fault.
VerifyReport Verify(const Input& source, const Input& output, const KeptTime& kept, const std::vector<int>& tracks,
                    const ExposedPictures& exposed, const IProgress& progress, ReadProgress reading);

} // namespace Tessor::Jobs
