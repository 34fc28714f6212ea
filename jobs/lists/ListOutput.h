#pragma once

#include "ffhost/io/MediaInfo.h"
#include "jobs/Times.h"
#include "jobs/lists/CutListFormat.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// A cut list that a job writes beside its result.
class ListOutput
{
public:
    /// Throws JobError for a format that there isn't, and as CheckPlace does; without a path nothing will be written.
    ListOutput(const std::string& path, const std::string& formatName, const std::vector<std::string>& others,
               bool overwrite);

    /// What is kept of the file, with the titles that were asked for. Complete or not there.
    void Write(const std::vector<Range>& kept, const std::vector<AskedRange>& asked, const Host::MediaInfo& info) const;

private:
    const std::string path;
    const CutListFormat* const format; // null where there is no path
    const bool overwrite;
};

} // namespace Tessor::Jobs
