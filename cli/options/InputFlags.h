#pragma once

#include "Fnd/Time.h"
#include "cli/options/OptionTable.h"
#include "ffhost/io/reading/DemuxerSettings.h"

namespace Tessor::Cli
{

/// The options by which verbs read their inputs.
void AddInputOptions(OptionTable& table, Host::DemuxerSettings& settings);

/// The option by which verbs fill gaps in what they decode.
class GapFlag
{
public:
    void AddOption(OptionTable& table);
    /// Throws JobError for what is no length of time.
    avTime Read() const;

private:
    std::string maxGap = "10";
};

} // namespace Tessor::Cli
