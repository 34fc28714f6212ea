#include "jobs/PreviousOutput.h"

#include <filesystem>
#include <unistd.h>

namespace Tessor::Jobs
{

namespace fs = std::filesystem;

PreviousOutput::PreviousOutput(const std::string& output)
{
    std::error_code error;
    // a link stays, as it does when it is written through
    place = fs::weakly_canonical(output, error).string();
    existed = fs::exists(place, error);
    if (!fs::is_regular_file(place, error))
        return;
    const fs::path path(place);
    const std::string name = "." + path.filename().string() + "." + std::to_string(getpid()) + "-old.tessor-part";
    const fs::path beside = path.parent_path() / name;
    fs::create_hard_link(path, beside, error);
    if (!error)
        aside = beside.string();
}

PreviousOutput::~PreviousOutput()
{
    std::error_code ignored;
    if (!aside.empty())
        fs::remove(aside, ignored);
}

void PreviousOutput::PutBack() const
{
    std::error_code ignored;
    if (!aside.empty())
        fs::rename(aside, place, ignored);
    else if (!existed && fs::is_regular_file(place, ignored))
        fs::remove(place, ignored);
}

} // namespace Tessor::Jobs
