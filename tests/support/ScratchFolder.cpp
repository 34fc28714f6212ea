#include "tests/support/ScratchFolder.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace fs = std::filesystem;

namespace Tessor::Test
{

// Test programs run side by side, and one that crashed may have left its folder.
ScratchFolder::ScratchFolder()
{
    const std::string start = fs::temp_directory_path() / ("tessor-test-" + std::to_string(getpid()) + "-");
    for (int number = 0; path.empty() || !fs::create_directory(path); ++number)
        path = start + std::to_string(number);
}

ScratchFolder::~ScratchFolder()
{
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

std::vector<std::string> ScratchFolder::List() const
{
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(path))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace Tessor::Test
