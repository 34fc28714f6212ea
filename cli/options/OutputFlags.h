#pragma once

#include "cli/options/OptionTable.h"
#include "ffhost/io/writing/MuxerSettings.h"

namespace Tessor::Cli
{

/// The options by which verbs write their output.
class OutputFlags
{
public:
    void AddOptions(OptionTable& table, Host::MuxerSettings& settings);
    /// For verbs whose output stands for one input; Read completes it.
    void AddDateOption(OptionTable& table);
    /// Throws UserError for what excludes each other, and for what standard input or output can't have.
    void Read(Host::MuxerSettings& settings, const std::string& output, const std::string& input = {}) const;

private:
    bool indexFirst = false, indexLast = false, keepDate = false;
};

} // namespace Tessor::Cli
