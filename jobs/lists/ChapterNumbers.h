#pragma once

#include "ffhost/io/MediaInfo.h"
#include "jobs/Times.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// The chapters that "2,4-6" names, counted from 1, or that have the text as their title, whatever its case. The
/// option's name stands in messages. Throws JobError where there is no such chapter.
TESSOR_API std::vector<AskedRange> ParseChapters(const std::string& option, const std::string& text,
                                                 const Host::MediaInfo& info);

} // namespace Tessor::Jobs
