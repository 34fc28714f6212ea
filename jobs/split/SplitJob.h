#pragma once

#include "jobs/IProgress.h"
#include "jobs/cut/CutReport.h"
#include "jobs/split/SplitSettings.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

struct SplitReport : JobReport
{
    std::string input;
    std::vector<CutReport> pieces;
    double wallSeconds = 0;
};

/// Writes parts of a file to a file each, as CutJob cuts them. All names are checked before the first piece is written;
/// each is complete or not there, and those that are complete stay when a later one fails.
class TESSOR_API SplitJob
{
public:
    explicit SplitJob(SplitSettings settings) : settings(std::move(settings)) {}
    SplitReport Run(IProgress& progress) const;

private:
    std::vector<AskedRange> ReadPieces(const IProgress& progress, std::vector<std::string>& warnings) const;
    std::vector<std::string> MakeNames(const std::vector<AskedRange>& pieces) const;

    const SplitSettings settings;
};

} // namespace Tessor::Jobs
