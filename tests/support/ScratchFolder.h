#pragma once

#include <string>
#include <vector>

namespace Tessor::Test
{

/// A folder of its own for a test, removed with all that is in it.
class ScratchFolder
{
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string operator/(const std::string& name) const { return path + "/" + name; }
    const std::string& Path() const { return path; }
    /// The names of what it holds, sorted.
    std::vector<std::string> List() const;

private:
    std::string path;
};

} // namespace Tessor::Test
