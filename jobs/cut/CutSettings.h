#pragma once

#include "ffhost/codecs/RecodeOptions.h"
#include "jobs/Times.h"

#include <string>

namespace Tessor::Jobs
{

/// What is to be cut; exactly one of `keep` and `remove` is not empty.
struct CutSettings
{
    std::string input;
    std::string output; ///< its name tells the container; a plan can do without
    RangeList keep, remove;
    bool overwrite = false;
    bool verify = false; ///< the result is decoded and held against the source
    /// A file to write what is kept to, as a cut list; empty: none. Its name tells the format, unless `listFormat`
    /// does.
    std::string listOutput = {};
    std::string listFormat = {};
    Host::RecodeOptions recode; ///< of groups that a cut runs through; refused where one of the tracks can't have it
};

} // namespace Tessor::Jobs
