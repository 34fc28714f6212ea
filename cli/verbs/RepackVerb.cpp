#include "cli/Progress.h"
#include "cli/Report.h"
#include "jobs/InputFile.h"
#include "jobs/OutputFile.h"
#include "jobs/Times.h"
#include "jobs/TrackSelection.h"
#include "jobs/repack/TrackCopier.h"

#include <chrono>
#include <fmt/format.h>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

struct RepackReport
{
    avTime duration = 0;
    std::vector<CopiedTrack> tracks;
    std::vector<std::string> warnings;
    Statistics statistics;
    double wallSeconds = 0;
};

class RepackVerb final : public Verb
{
public:
    std::string GetName() const override { return "repack"; }
    std::string GetSummary() const override { return "bring a file into another container without loss"; }
    OptionTable GetOptions() override
    {
        return {
            {"IN", "", "the file to read", &input, {}, true, true},
            {"OUT", "", "the file to write; its name tells the container", &output, {}, true, true},
            {"-y,--overwrite", "", "overwrite the output", &overwrite},
        };
    }

    ExitCode Run(const CommonOptions& common) override
    {
        CheckOutput(output, {input}, overwrite);
        Progress progress(common, "repack");
        const RepackReport report = Repack(progress);
        PrintReport(
            common, [&] { return ToJson(report); }, [&] { PrintText(report); }, report.warnings, report.statistics);
        return ExitCode::Done;
    }

private:
    RepackReport Repack(IProgress& progress) const
    {
        const auto start = std::chrono::steady_clock::now();
        const SP<Host::Demuxer> demuxer = OpenInput(input, progress);
        // nothing is decoded, and packets that nobody else holds are converted where they lie
        demuxer->KeepLeadIns(false);
        RepackReport report;
        TrackCopier copier(*demuxer, output);
        for (const SelectedTrack& track : SelectTracks(*demuxer, report.warnings))
        {
            if (track.stream)
                copier.AddStream(track.index, track.stream, track.stream->GetFormatCodec());
            else
                copier.AddSparse(track.index);
        }
        copier.Open(demuxer->GetInfo().chapters);
        report.duration = demuxer->GetInfo().duration;
        copier.Copy(progress, report.duration);
        copier.Finish();
        report.tracks = copier.GetTracks();
        report.statistics = copier.GetStatistics();
        report.warnings.insert(report.warnings.end(), copier.GetWarnings().begin(), copier.GetWarnings().end());
        report.wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return report;
    }

    Json ToJson(const RepackReport& report) const
    {
        Json json = {{"input", input},
                     {"output", output},
                     {"duration", Seconds(report.duration)},
                     {"tracks", Json::array()},
                     {"warnings", report.warnings},
                     {"wall_seconds", report.wallSeconds}};
        for (const CopiedTrack& track : report.tracks)
            json["tracks"].push_back({{"index", track.index},
                                      {"kind", track.kind},
                                      {"codec", track.codec},
                                      {"copied_packets", track.packets}});
        return json;
    }

    void PrintText(const RepackReport& report) const
    {
        fmt::print("{}: {} in {:.2f} s\n", output, T2S(report.duration), report.wallSeconds);
        for (const CopiedTrack& track : report.tracks)
            fmt::print("  track {}, {} ({}): {} packets\n", track.index, track.kind, track.codec, track.packets);
    }

    std::string input, output;
    bool overwrite = false;
};

} // namespace

std::unique_ptr<Verb> MakeRepackVerb()
{
    return std::make_unique<RepackVerb>();
}

} // namespace Tessor::Cli
