#pragma once

#include "cli/options/OptionTable.h"
#include "jobs/MediaChanges.h"

#include <string>
#include <utility>
#include <vector>

namespace Tessor::Cli
{

/// The option that tells which tracks of a file take part.
void AddTracksOption(OptionTable& table, std::string& tracks);

/// The options by which a result says otherwise than its source.
class ChangeFlags
{
public:
    void AddOptions(OptionTable& table);
    /// Throws UserError with ExitCode::Usage for what has no "=".
    Jobs::MediaChanges Read() const;

private:
    std::string defaults;
    std::vector<std::string> languages, titles, tags;
    bool noChapters = false, noTags = false;
};

} // namespace Tessor::Cli
