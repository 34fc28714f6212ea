#pragma once

#include "ffhost/io/reading/Demuxer.h"
#include "jobs/IProgress.h"

#include <string>

namespace Tessor::Jobs
{

/// A file to read, and how.
struct Input
{
    Input(std::string path, Host::DemuxerSettings reading = {}) : path(std::move(path)), reading(std::move(reading)) {}

    std::string path;
    Host::DemuxerSettings reading;
};

/// Opens a file for a job: cancelled, it can't be read any more. The progress outlives the demuxer.
SP<Host::Demuxer> OpenInput(const Input& input, const IProgress& progress);

} // namespace Tessor::Jobs
