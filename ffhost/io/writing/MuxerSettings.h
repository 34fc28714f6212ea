#pragma once

#include <functional>
#include <string>

namespace Tessor::Host
{

/// How a file is written.
struct MuxerSettings
{
    std::string format = {}; ///< libavformat's name of the container; empty: the file's name tells it
    bool overwrite = false;  ///< what is at the place when the file is complete
    /// In MP4 and its kin, on disk: the index lies before the packets, so that players need not load all of the file
    /// before they begin.
    bool indexFirst = true;
    std::string datesOf = {}; ///< a file whose dates the new one gets; empty: none
    /// Comes while what reads the output, at the other end of a pipe, is waited for. What it throws ends the writing.
    /// Outlives the muxer.
    std::function<void()> checkpoint = nullptr;
};

} // namespace Tessor::Host
