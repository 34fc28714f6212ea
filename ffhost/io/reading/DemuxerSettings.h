#pragma once

#include <functional>

namespace Tessor::Host
{

/// How a file is read.
struct DemuxerSettings
{
    /// Comes before each packet that is read from the file, the opening's survey included, on the thread that reads.
    /// What it throws ends that read. Outlives the demuxer.
    std::function<void()> checkpoint = nullptr;
};

} // namespace Tessor::Host
