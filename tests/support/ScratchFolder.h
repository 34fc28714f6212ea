#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdlib.h>
#include <string>
#include <system_error>
#include <vector>

namespace Tessor::Test
{

/// The bytes of a file.
inline std::string Slurp(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// A folder of its own for a test, removed with all that is in it.
class ScratchFolder
{
public:
    ScratchFolder() : path(std::filesystem::temp_directory_path() / "tessor-test-XXXXXX")
    {
        if (!mkdtemp(path.data()))
            throw std::system_error(errno, std::generic_category(), path);
    }
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string operator/(const std::string& name) const { return path + "/" + name; }
    const std::string& Path() const { return path; }
    /// The names of what it holds, sorted.
    std::vector<std::string> List() const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            names.insert(entry.path().filename());
        return {names.begin(), names.end()};
    }

private:
    std::string path;
};

} // namespace Tessor::Test
