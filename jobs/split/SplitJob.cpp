#include "jobs/split/SplitJob.h"

#include "ffhost/io/StandardStreams.h"
#include "jobs/InputFile.h"
#include "jobs/JobError.h"
#include "jobs/OutputFile.h"
#include "jobs/Stopwatch.h"
#include "jobs/cut/CutJob.h"
#include "jobs/cut/KeptRanges.h"
#include "jobs/split/PieceNames.h"
#include "jobs/split/SplitPoints.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

namespace Tessor::Jobs
{

namespace
{

/// A piece's share of the progress of all.
class PieceProgress final : public IProgress
{
public:
    /// `before`: of all, from 0 to 1; `share`: of one stage of the piece.
    PieceProgress(IProgress& whole, double before, double share, avTime written)
        : whole(whole), before(before), share(share), written(written)
    {
    }

    void BeginStage(const char*) override { before += share; }
    void Tell(double done, avTime more) override { whole.Tell(before + share * done, written + more); }
    void Finish(avTime more) override { Tell(1, more); }
    bool IsCancelled() const override { return whole.IsCancelled(); }

private:
    IProgress& whole;
    double before; // what was done before the stage that runs
    const double share;
    const avTime written; // of the pieces before
};

} // namespace

SplitReport SplitJob::Run(IProgress& progress) const
{
    if (!settings.cut.listOutput.empty())
        throw JobError(JobError::BadRequest, "pieces of their own leave no common list to write");
    const Stopwatch watch;
    SplitReport report;
    report.input = Host::NameInput(settings.cut.input);
    const std::vector<AskedRange> pieces = ReadPieces(progress, report.warnings);
    const std::vector<std::string> names = MakeNames(pieces);
    avTime written = 0;
    for (size_t i = 0; i < pieces.size(); ++i)
    {
        CutSettings one = settings.cut;
        one.output = names[i];
        one.keep = {.texts = {}, .times = {pieces[i].range}};
        one.remove = {};
        const double share = 1.0 / static_cast<double>(pieces.size());
        PieceProgress part(progress, share * static_cast<double>(i), settings.cut.verify ? share / 2 : share, written);
        report.pieces.push_back(CutJob(one).Run(part));
        written += report.pieces.back().resultDuration;
        std::error_code ignored;
        if (settings.size > 0 && std::cmp_greater(std::filesystem::file_size(names[i], ignored), settings.size))
            report.warnings.push_back(names[i] + ": is larger than was asked: it can't be parted any more");
        for (const std::string& warning : report.pieces.back().warnings)
            report.warnings.push_back(names[i] + ": " + warning);
    }
    progress.Finish(written);
    report.wallSeconds = watch.GetSeconds();
    return report;
}

std::vector<AskedRange> SplitJob::ReadPieces(const IProgress& progress, std::vector<std::string>& warnings) const
{
    if (settings.cut.keep.IsEmpty() && settings.cut.remove.IsEmpty())
        return FindPieces(settings, progress, warnings);
    const SP<Host::Demuxer> demuxer = OpenInput({settings.cut.input, settings.cut.reading}, progress);
    return ReadKeptRanges(settings.cut.keep, settings.cut.remove, *demuxer, settings.cut.tracks, warnings);
}

std::vector<std::string> SplitJob::MakeNames(const std::vector<AskedRange>& pieces) const
{
    if (Host::IsStandardStream(settings.cut.output))
        throw JobError(JobError::BadRequest, "standard output: each piece needs a file of its own");
    std::vector<std::string> titles;
    std::transform(pieces.begin(), pieces.end(), std::back_inserter(titles),
                   [](const AskedRange& piece) { return piece.title; });
    std::vector<std::string> names = NamePieces(settings.cut.output, Host::NameInput(settings.cut.input), titles);
    for (const std::string& name : names)
        CheckOutput(name, {settings.cut.input}, settings.cut.writing);
    return names;
}

} // namespace Tessor::Jobs
