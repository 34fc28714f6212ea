#pragma once

#include <functional>

namespace Tessor::Host
{

/// How a file is read.
struct DemuxerSettings
{
    /// Comes before each packet that is read from the file, and before each block while it is opened, on the thread
    /// that reads. What it throws ends that read, or the opening. Outlives the demuxer.
    std::function<void()> checkpoint = nullptr;
};

} // namespace Tessor::Host
