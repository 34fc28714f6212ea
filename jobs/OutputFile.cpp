#include "jobs/OutputFile.h"

#include "Fnd/Exception.h"
#include "ffhost/codecs/Inventory.h"
#include "ffhost/io/Container.h"
#include "ffhost/io/writing/PartFile.h"
#include "jobs/JobError.h"

#include <filesystem>
#include <fmt/format.h>

namespace Tessor::Jobs
{

namespace
{

void CheckContainer(const std::string& output)
{
    if (Host::Container::Guess(output).GetFormat())
        return;
    const std::vector<std::string> usual = Host::ListUsualExtensions();
    throw JobError(JobError::BadRequest,
                   fmt::format("{}: no container of that name can be written; the usual names end with {}", output,
                               fmt::join(usual, ", ")));
}

} // namespace

void CheckOutput(const std::string& output, const std::vector<std::string>& inputs, bool overwrite)
{
    CheckContainer(output);
    CheckPlace(output, inputs, overwrite);
}

void CheckPlace(const std::string& output, const std::vector<std::string>& inputs, bool overwrite)
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

void CheckOutputEncoder(const std::string& output, MediaType type, const Host::EncoderOptions& options)
{
    try
    {
        Host::CheckEncoder(output, type, options);
    }
    catch (const Exception& e)
    {
        throw JobError(JobError::BadRequest, Describe(e));
    }
}

void FinishOutput(Host::Muxer& muxer)
{
    try
    {
        muxer.Finish();
    }
    catch (const Host::OutputExistsException& e)
    {
        throw JobError(JobError::OutputExists, Describe(e));
    }
}

} // namespace Tessor::Jobs
