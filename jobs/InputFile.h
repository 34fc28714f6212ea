#pragma once

#include "ffhost/io/reading/Demuxer.h"
#include "jobs/IProgress.h"

#include <string>

namespace Tessor::Jobs
{

/// Opens a file for a job: cancelled, it can't be read any more. The progress outlives the demuxer.
SP<Host::Demuxer> OpenInput(const std::string& path, const IProgress& progress);

} // namespace Tessor::Jobs
