#include "jobs/cut/CutJob.h"

#include "jobs/OutputFile.h"
#include "jobs/cut/CutPlan.h"
#include "jobs/cut/CutWriter.h"
#include "jobs/cut/KeptRanges.h"
#include "jobs/cut/VerifyJob.h"

namespace Tessor::Jobs
{

PlanReport CutJob::Plan(IProgress& progress) const
{
    CutSession session(settings, progress);
    PlanReport report;
    report.input = settings.input;
    report.groups = MakePlan(session);
    report.intervals = GetKeptRanges(session.GetCut(), session.GetInfo().duration);
    for (const CutTrack& track : session.GetTracks())
        if (track.IsVideo())
            report.tracks.push_back({track.index, track.cutAnywhere, track.obstacle});
    report.warnings = session.GetWarnings();
    return report;
}

CutReport CutJob::Run(IProgress& progress) const
{
    CheckOutput(settings.output, {settings.input}, settings.overwrite);
    CutSession session(settings, progress);
    CutReport report = CutWriter(session, settings.output).Run(progress);
    report.input = settings.input;
    report.output = settings.output;
    if (settings.verify)
        report.verdict = Judge(report, progress);
    return report;
}

VerifyReport CutJob::Judge(const CutReport& report, IProgress& progress) const
{
    try
    {
        return VerifyJob(VerifySettings::Of(report)).Run(progress);
    }
    catch (...)
    {
        RemoveOutput(settings.output);
        throw;
    }
}

} // namespace Tessor::Jobs
