#pragma once

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
};

} // namespace Tessor::Jobs
