#include "cli/options/OutputFlags.h"

#include "cli/UserError.h"

namespace Tessor::Cli
{

void OutputFlags::AddOptions(OptionTable& table, Host::MuxerSettings& settings)
{
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

void OutputFlags::Read(Host::MuxerSettings& settings, const std::string& input) const
{
    if (indexFirst && indexLast)
        throw UserError(ExitCode::Usage, "--faststart and --no-faststart exclude each other");
    settings.indexFirst = !indexLast;
    if (keepDate)
        settings.datesOf = input;
}

} // namespace Tessor::Cli
