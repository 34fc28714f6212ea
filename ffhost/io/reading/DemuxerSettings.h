#pragma once

#include <functional>
#include <string>

namespace Tessor::Host
{

/// How a file is read.
struct DemuxerSettings
{
    /// Comes before each packet that is read from the file, and before each block while it is opened, on the thread
    /// that reads. What it throws ends that read, or the opening. Outlives the demuxer.
    std::function<void()> checkpoint = nullptr;
    /// An input is one file. With this, what it names may be opened as well (the parts of a playlist), as far as it
    /// lies in the input's folder or below, links and steps upwards resolved.
    bool allowReferences = false;
    /// libavformat's names of the formats that may be read, with commas between them; empty: all but those that open
    /// other files without asking.
    std::string formats = {};
};

} // namespace Tessor::Host
