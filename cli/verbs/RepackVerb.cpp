#include "Fnd/Plural.h"
#include "cli/Printable.h"
#include "cli/Progress.h"
#include "cli/Report.h"
#include "jobs/repack/RepackJob.h"

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

void PrintText(const RepackReport& report)
{
    Print("{}: {} in {:.2f} s\n", report.output, T2S(report.duration), report.wallSeconds);
    for (const CopiedTrack& track : report.tracks)
        Print("  track {}, {} ({}): {}\n", track.index, track.kind, track.codec, Count(track.packets, "packet"));
}

class RepackVerb final : public Verb
{
public:
    std::string GetName() const override { return "repack"; }
    std::string GetSummary() const override { return "bring a file into another container without loss"; }
    OptionTable GetOptions() override
    {
        return {
            {"IN", "", "the file to read", &settings.input, {}, true, true},
            {"OUT", "", "the file to write; its name tells the container", &settings.output, {}, true, true},
            {"-y,--overwrite", "", "overwrite the output", &settings.overwrite},
        };
    }
    std::vector<Example> GetExamples() const override
    {
        return {{"tessor repack film.mp4 film.ts", "another container, all tracks copied"}};
    }

    ExitCode Run(const CommonOptions& common) override
    {
        const RepackReport report =
            Follow(common, "repack", [&](IProgress& progress) { return RepackJob(settings).Run(progress); });
        PrintReport(common, report, [&] { PrintText(report); });
        return ExitCode::Done;
    }

private:
    RepackSettings settings;
};

} // namespace

std::unique_ptr<Verb> MakeRepackVerb()
{
    return std::make_unique<RepackVerb>();
}

} // namespace Tessor::Cli
