#include "Fnd/Plural.h"
#include "cli/Printable.h"
#include "cli/Progress.h"
#include "cli/Report.h"
#include "cli/UserError.h"
#include "cli/options/InputFlags.h"
#include "cli/verbs/LosslessText.h"
#include "jobs/InputFile.h"
#include "jobs/detect/LosslessJob.h"
#include "jobs/detect/VolumeJob.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

struct Asked
{
    Input input;
    avTime maxGap;
};

ExitCode DetectLossless(const Asked& asked, const CommonOptions& common)
{
    const Input& input = asked.input;
    const LosslessReport report = Follow(common, "detect",
                                         [&](IProgress& progress) {
                                             return LosslessJob({input.path, input.reading}).Run(progress);
                                         });
    PrintReport(common, report,
                [&]
                {
                    for (const LosslessFinding& track : report.tracks)
                        Print("track {}, {} ({}), {}: {}\n", track.track, track.kind, track.codec,
                              Count(track.packets, "packet"), DescribeLossless(track));
                });
    for (const LosslessFinding& track : report.tracks)
        if (!track.fault.empty())
            throw UserError(ExitCode::Failed, fmt::format("{}: track {}: {}", report.input, track.track, track.fault));
    return report.IsLossless() ? ExitCode::Done : ExitCode::Failed;
}

ExitCode DetectVolume(const Asked& asked, const CommonOptions& common)
{
    const VolumeSettings settings{asked.input.path, asked.input.reading, asked.maxGap};
    const VolumeReport report =
        Follow(common, "detect", [&](IProgress& progress) { return VolumeJob(settings).Run(progress); });
    const std::optional<double> decibels = report.GetDecibels();
    const std::string level = decibels ? fmt::format("peak {:.4f} ({:.1f} dB)", report.peak, *decibels) : "silence";
    PrintReport(common, report, [&] { Print("{}: {}{}\n", report.input, level, report.lowLevel ? ": quiet" : ""); });
    return ExitCode::Done;
}

struct Kind
{
    const char* name;
    const char* help;
    ExitCode (*detect)(const Asked& asked, const CommonOptions& common);
};

constexpr Kind kinds[] = {
    {"lossless", "whether all tracks can be copied and cut at key frames; status 1 when not", DetectLossless},
    {"volume", "how loud the beginning is, and whether that is quiet", DetectVolume},
};

class DetectVerb final : public Verb
{
public:
    std::string GetName() const override { return "detect"; }
    std::string GetSummary() const override { return "find something out about a file"; }
    OptionTable GetOptions() override
    {
        std::string help;
        std::vector<std::string> names;
        for (const Kind& row : kinds)
        {
            help += fmt::format("{}{}: {}", help.empty() ? "" : "; ", row.name, row.help);
            names.emplace_back(row.name);
        }
        OptionTable table = {{"KIND", "", help, &kind, names, false, true},
                             {"IN", "", "the file; - is standard input", &input, {}, true, true}};
        AddInputOptions(table, reading);
        gap.AddOption(table);
        return table;
    }
    std::vector<Example> GetExamples() const override
    {
        return {{"tessor detect lossless film.ts", "can it be copied, and cut at key frames? status 0 or 1"},
                {"tessor detect volume film.mp4", "how loud it is"}};
    }
    bool Codes() const override { return true; }

    ExitCode Run(const CommonOptions& common) override
    {
        // always found: the option table has the same names for choices
        const Kind& chosen =
            *std::find_if(std::begin(kinds), std::end(kinds), [&](const Kind& row) { return row.name == kind; });
        return chosen.detect({{input, reading}, gap.Read()}, common);
    }

private:
    std::string kind, input;
    Host::DemuxerSettings reading;
    GapFlag gap;
};

} // namespace

std::unique_ptr<Verb> MakeDetectVerb()
{
    return std::make_unique<DetectVerb>();
}

} // namespace Tessor::Cli
