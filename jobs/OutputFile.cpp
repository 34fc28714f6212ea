#include "jobs/OutputFile.h"

#include "Fnd/Exception.h"
#include "ffhost/codecs/Inventory.h"
#include "ffhost/io/Container.h"
#include "ffhost/io/StandardStreams.h"
#include "ffhost/io/writing/PartFile.h"
#include "jobs/JobError.h"

#include <filesystem>
#include <fmt/format.h>

namespace Tessor::Jobs
{

namespace fs = std::filesystem;

namespace
{

/// What might be taken instead of the one that was refused.
std::string ListUsual(const std::string& output, const std::string& format)
{
    if (format.empty() && !Host::IsStandardStream(output))
        return fmt::format("the usual names end with {}", fmt::join(Host::ListUsualExtensions(), ", "));
    std::vector<std::string> names;
    for (const Host::ContainerEntry& entry : Host::ListContainers())
        if (entry.usual && (entry.streamed || !Host::IsStandardStream(output)))
            names.push_back(entry.name);
    return fmt::format("usual ones here: {}", fmt::join(names, ", "));
}

void CheckContainer(const std::string& output, const std::string& format)
{
    try
    {
        Host::Container::Require(output, format);
    }
    catch (const Exception& e)
    {
        throw JobError(JobError::BadRequest, Describe(e) + "; " + ListUsual(output, format));
    }
}

/// By the file itself, whatever its names are. Devices and sockets may be both.
void CheckIsNoInput(const std::string& output, const std::vector<std::string>& inputs)
{
    std::error_code ignored;
    const std::string written = Host::IsStandardStream(output) ? "/dev/stdout" : output;
    for (const std::string& input : inputs)
        if (fs::is_regular_file(written, ignored) &&
            fs::equivalent(Host::IsStandardStream(input) ? "/dev/stdin" : input, written, ignored))
            throw JobError(JobError::BadRequest, Host::NameOutput(output) + ": the output is the input");
}

} // namespace

void CheckOutput(const std::string& output, const std::vector<std::string>& inputs, const Host::MuxerSettings& writing)
{
    CheckContainer(output, writing.format);
    if (Host::IsStandardStream(output))
        CheckIsNoInput(output, inputs);
    else
        CheckPlace(output, inputs, writing.overwrite);
}

void CheckPlace(const std::string& output, const std::vector<std::string>& inputs, bool overwrite)
{
    CheckIsNoInput(output, inputs); // first, since -y must not help here
    std::error_code ignored;
    if (fs::is_directory(output, ignored))
        throw JobError(JobError::Failed, output + ": is a folder");
    if (!overwrite && fs::exists(output, ignored))
        throw JobError(JobError::OutputExists, output + ": exists");
}

void CheckOutputEncoder(const std::string& output, const std::string& format, MediaType type,
                        const Host::EncoderOptions& options)
{
    try
    {
        Host::CheckEncoder(output, format, type, options);
    }
    catch (const Exception& e)
    {
        throw JobError(JobError::BadRequest, Describe(e));
    }
}

Host::MuxerSettings Cancellable(const Host::MuxerSettings& writing, const IProgress& progress)
{
    Host::MuxerSettings settings = writing;
    settings.checkpoint = [&progress] { ThrowIfCancelled(progress); };
    return settings;
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
