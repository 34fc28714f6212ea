#pragma once

#include "ffhost/io/writing/PartFile.h"

#include <optional>
#include <string>

namespace Tessor::Jobs
{

/// What stood at a place before a job writes there, kept for as long as this lives: who judges a result after it is
/// complete can still put the old file back. It is kept as a second, hidden name in the same folder; a file system
/// without hard links keeps none, and then PutBack leaves the new file.
class PreviousOutput
{
public:
    /// To be called before the new file is at its place. Devices and pipes are left alone.
    explicit PreviousOutput(const std::string& output);

    /// Removes the new file, and puts the old one in its place where there was one.
    void PutBack();

private:
    const std::string output;
    const bool existed;
    std::optional<Host::PartFile> aside; // the old file's other name
};

} // namespace Tessor::Jobs
