#include "cli/OutputFile.h"

#include "cli/UserError.h"

#include <filesystem>

namespace Tessor::Cli
{

void CheckOutput(const std::string& output, const std::vector<std::string>& inputs, bool overwrite)
{
    namespace fs = std::filesystem;
    std::error_code ignored;
    for (const std::string& input : inputs)
    {
        if (fs::equivalent(input, output, ignored))
            throw UserError(ExitCode::Usage, output + ": the output is the input");
    }
    if (fs::is_directory(output, ignored))
        throw UserError(ExitCode::Failed, output + ": is a folder");
    if (!overwrite && fs::exists(output, ignored))
        throw UserError(ExitCode::OutputExists, output + ": exists (-y overwrites it)");
}

} // namespace Tessor::Cli
