#include "cli/options/OutputFlags.h"

#include "cli/UserError.h"
#include "ffhost/codecs/Inventory.h"
#include "ffhost/io/StandardStreams.h"

namespace Tessor::Cli
{

namespace
{

std::vector<std::string> NameContainers()
{
    std::vector<std::string> names;
    for (const Host::ContainerEntry& entry : Host::ListContainers())
        names.push_back(entry.name);
    return names;
}

} // namespace

void OutputFlags::AddOptions(OptionTable& table, Host::MuxerSettings& settings)
{
    table.push_back({.names = "--format",
                     .value = "NAME",
                     .help = "the container, whatever the name of OUT; has to be told for - (standard output)",
                     .target = &settings.format,
                     .suggestions = NameContainers});
    table.push_back({"-y,--overwrite", "", "overwrite the output", &settings.overwrite});
    table.push_back({"--faststart", "",
                     "the index before the packets in MP4 and MOV, for players that load over a network (the default)",
                     &indexFirst});
    table.push_back({"--no-faststart", "", "the index after the packets, where it is written", &indexLast});
}

void OutputFlags::AddDateOption(OptionTable& table)
{
    table.push_back({"--keep-date", "", "the output's file has the dates of the input's", &keepDate});
}

void OutputFlags::Read(Host::MuxerSettings& settings, const std::string& output, const std::string& input) const
{
    if (indexFirst && Host::IsStandardStream(output))
        throw UserError(ExitCode::Usage, "standard output: --faststart is for files");
    if (keepDate && (Host::IsStandardStream(output) || Host::IsStandardStream(input)))
        throw UserError(ExitCode::Usage, "--keep-date is for files, and takes neither standard input nor output");
    if (indexFirst && indexLast)
        throw UserError(ExitCode::Usage, "--faststart and --no-faststart exclude each other");
    settings.indexFirst = !indexLast;
    if (keepDate)
        settings.datesOf = input;
}

} // namespace Tessor::Cli
