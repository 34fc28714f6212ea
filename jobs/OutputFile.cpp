#include "jobs/OutputFile.h"

#include "jobs/JobError.h"

#include <filesystem>

namespace Tessor::Jobs
{

void CheckOutput(const std::string& output, const std::vector<std::string>& inputs, bool overwrite)
{
    namespace fs = std::filesystem;
    std::error_code ignored;
    for (const std::string& input : inputs)
    {
        // by the file itself, whatever its names are; first, since -y must not help here
        if (fs::equivalent(input, output, ignored))
            throw JobError(JobError::BadRequest, output + ": the output is the input");
    }
    if (fs::is_directory(output, ignored))
        throw JobError(JobError::Failed, output + ": is a folder");
    if (!overwrite && fs::exists(output, ignored))
        throw JobError(JobError::OutputExists, output + ": exists");
}

} // namespace Tessor::Jobs
