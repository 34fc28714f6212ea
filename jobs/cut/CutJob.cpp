#include "jobs/cut/CutJob.h"

#include "ffhost/io/StandardStreams.h"
#include "jobs/JobError.h"
#include "jobs/OutputFile.h"
#include "jobs/PreviousOutput.h"
#include "jobs/cut/CutPlan.h"
#include "jobs/cut/CutWriter.h"
#include "jobs/cut/KeptRanges.h"
#include "jobs/verify/VerifyJob.h"

#include <optional>

namespace Tessor::Jobs
{

PlanReport CutJob::Plan(IProgress& progress) const
{
    const ListOutput list = MakeList();
    CutSession session(settings, progress);
    PlanReport report;
    report.input = Host::NameInput(settings.input);
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
    if (settings.verify && Host::IsStandardStream(settings.output))
        throw JobError(JobError::BadRequest, "standard output: what is passed on can't be verified");
    CheckOutput(settings.output, ListInputs(), settings.writing);
    const ListOutput list = MakeList();
    CutSession session(settings, progress);
    std::optional<PreviousOutput> previous;
    if (settings.verify || !settings.listOutput.empty())
        previous.emplace(settings.output);
    CutReport report =
        CutWriter(session, settings.output, Cancellable(settings.writing, progress), settings.changes).Run(progress);
    report.input = Host::NameInput(settings.input);
    report.output = Host::NameOutput(settings.output);
    try
    {
        if (settings.verify)
            Verify(report, progress);
        list.Write(report.intervals, session.GetAsked(), session.GetInfo());
    }
    catch (...)
    {
        if (previous)
            previous->PutBack();
        throw;
    }
    return report;
}

ListOutput CutJob::MakeList() const
{
    std::vector<std::string> others = ListInputs();
    others.push_back(settings.output);
    return {settings.listOutput, settings.listFormat, others, settings.writing.overwrite};
}

std::vector<std::string> CutJob::ListInputs() const
{
    std::vector<std::string> inputs = {settings.input};
    inputs.insert(inputs.end(), settings.keep.files.begin(), settings.keep.files.end());
    inputs.insert(inputs.end(), settings.remove.files.begin(), settings.remove.files.end());
    return inputs;
}

void CutJob::Verify(CutReport& report, IProgress& progress) const
{
    progress.BeginStage("verify");
    VerifySettings asked = VerifySettings::Of(report);
    asked.source = settings.input;
    asked.reading = settings.reading;
    report.verdict = VerifyJob(asked).Run(progress);
}

} // namespace Tessor::Jobs
