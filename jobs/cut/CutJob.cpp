#include "jobs/cut/CutJob.h"

#include "jobs/OutputFile.h"
#include "jobs/PreviousOutput.h"
#include "jobs/cut/CutPlan.h"
#include "jobs/cut/CutWriter.h"
#include "jobs/cut/KeptRanges.h"
#include "jobs/verify/VerifyJob.h"

namespace Tessor::Jobs
{

PlanReport CutJob::Plan(IProgress& progress) const
{
    const ListOutput list = MakeList();
    CutSession session(settings, progress);
    PlanReport report;
    report.input = settings.input;
    report.groups = MakePlan(session, progress, report.warnings);
    report.intervals = GetKeptRanges(session.GetCut(), session.GetInfo().duration);
    for (const CutTrack& track : session.GetTracks())
        if (track.IsVideo())
            report.tracks.push_back({track.index, track.cutAnywhere, track.obstacle});
    report.moved = session.GetMoved();
    report.warnings.insert(report.warnings.begin(), session.GetWarnings().begin(), session.GetWarnings().end());
    list.Write(report.intervals, session.GetAsked(), session.GetInfo());
    progress.Finish(session.GetInfo().duration);
    return report;
}

CutReport CutJob::Run(IProgress& progress) const
{
    CheckOutput(settings.output, {settings.input}, settings.writing.overwrite);
    const ListOutput list = MakeList();
    CutSession session(settings, progress);
    CutReport report = settings.verify ? WriteVerified(session, progress) : Write(session, progress);
    list.Write(report.intervals, session.GetAsked(), session.GetInfo());
    return report;
}

ListOutput CutJob::MakeList() const
{
    return {settings.listOutput, settings.listFormat, {settings.input, settings.output}, settings.writing.overwrite};
}

CutReport CutJob::WriteVerified(CutSession& session, IProgress& progress) const
{
    PreviousOutput previous(settings.output);
    CutReport report = Write(session, progress);
    try
    {
        progress.BeginStage("verify");
        VerifySettings asked = VerifySettings::Of(report);
        asked.reading = settings.reading;
        report.verdict = VerifyJob(asked).Run(progress);
    }
    catch (...)
    {
        previous.PutBack();
        throw;
    }
    return report;
}

CutReport CutJob::Write(CutSession& session, IProgress& progress) const
{
    CutReport report = CutWriter(session, settings.output, settings.writing, settings.changes).Run(progress);
    report.input = settings.input;
    report.output = settings.output;
    return report;
}

} // namespace Tessor::Jobs
