#pragma once

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
    ~PreviousOutput();
    PreviousOutput(const PreviousOutput&) = delete;
    PreviousOutput& operator=(const PreviousOutput&) = delete;

    /// Removes the new file, and puts the old one in its place where there was one.
    void PutBack() const;

private:
    std::string place; // the output with links resolved
    std::string aside; // the old file's other name; empty where it has none
    bool existed = false;
};

} // namespace Tessor::Jobs
