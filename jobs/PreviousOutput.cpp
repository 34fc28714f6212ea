#include "jobs/PreviousOutput.h"

#include <filesystem>

namespace Tessor::Jobs
{

namespace fs = std::filesystem;

namespace
{

bool Exists(const std::string& path)
{
    std::error_code ignored;
    return fs::exists(path, ignored);
}

bool IsRegular(const std::string& path)
{
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

} // namespace

PreviousOutput::PreviousOutput(const std::string& output)
    : output(output), existed(Exists(output)), aside(IsRegular(output) ? Host::PartFile::LinkTo(output) : std::nullopt)
{
}

void PreviousOutput::PutBack()
{
    std::error_code ignored;
    if (aside)
        aside->Move(true);
    else if (!existed && IsRegular(output))
        // a link stays, as it does when it is written through
        fs::remove(fs::canonical(output, ignored), ignored);
}

} // namespace Tessor::Jobs
