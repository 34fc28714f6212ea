#pragma once

#include "jobs/IProgress.h"
#include "jobs/cut/CutReport.h"
#include "jobs/cut/CutSettings.h"
#include "jobs/lists/ListOutput.h"

namespace Tessor::Jobs
{

class CutSession;

/// Takes time out of a file without loss, exactly: what is wholly kept is copied, and only a group of pictures that a
/// cut runs through is encoded anew.
class TESSOR_API CutJob
{
public:
    explicit CutJob(CutSettings settings) : settings(std::move(settings)) {}

    /// What Run would do; nothing is written.
    PlanReport Plan(IProgress& progress) const;
    /// Cuts. A result that is verified and not good is a finding, not an error: it stays, and the verdict tells of it.
    /// Where it can't be verified, or the cut list can't be written, it goes, and the file that it replaced comes back.
    CutReport Run(IProgress& progress) const;

private:
    ListOutput MakeList() const;
    std::vector<std::string> ListInputs() const;
    void Verify(CutReport& report, IProgress& progress) const;

    const CutSettings settings;
};

} // namespace Tessor::Jobs
