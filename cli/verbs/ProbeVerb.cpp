#include "cli/Printable.h"
#include "cli/Progress.h"
#include "cli/Report.h"
#include "cli/verbs/LosslessText.h"
#include "jobs/Times.h"
#include "jobs/detect/ProbeJob.h"
#include "jobs/reports/PropertyJson.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

/// The last one when there are several.
std::string TitleOf(const Host::ChapterInfo& chapter)
{
    const auto title =
        std::find_if(chapter.tags.rbegin(), chapter.tags.rend(), [](const auto& tag) { return tag.first == "title"; });
    return title == chapter.tags.rend() ? "" : title->second;
}

void PrintFormat(const ProbeTrack& track)
{
    Print("  track {}: {} ({})", track.index, track.kind, track.codec);
    if (track.frame)
        Print(", {}x{}, pixels {}:{}, {} pictures a second", track.frame->width, track.frame->height,
              track.frame->aspectNum, track.frame->aspectDen,
              track.frameRate ? fmt::format("{}/{}", track.frameRate->numerator(), track.frameRate->denominator())
                              : "?");
    if (track.samples)
        Print(", {} Hz, {} channels", track.samples->GetSampleRate(), track.samples->GetChannelCount());
    Print("\n");
}

void PrintCutting(const ProbeCutting& cutting)
{
    Print("    {} pictures in {} groups, the longest {}, {} open\n", cutting.CountPictures(), cutting.groups.size(),
          cutting.GetLongest(), cutting.CountOpen());
    if (!cutting.refusal.empty())
        Print("    can't be cut: {}\n", cutting.refusal);
    else if (cutting.anywhere)
        Print("    can be cut at any picture: the groups that a cut runs through are re-encoded\n");
    else
        Print("    can be cut at key frames: {}\n", cutting.obstacle);
}

void PrintTrack(const ProbeTrack& track)
{
    const bool header = track.header.GetType() != Core::Property::TypeEmpty;
    PrintFormat(track);
    if (!track.headerFault.empty())
        Print("    header unusable: {}{}\n", track.headerFault, header ? "; packets bring this one:" : "");
    if (header)
        Print("    header: {}\n", PropertyToJson(track.header).dump());
    if (track.lossless)
        Print("    {}\n", DescribeLossless(*track.lossless));
    if (track.cutting)
        PrintCutting(*track.cutting);
}

void PrintText(const ProbeReport& report)
{
    Print("{}: {}, {:.3f} s\n", report.input, report.container, Seconds(report.duration));
    for (const Host::ChapterInfo& chapter : report.chapters)
        Print("  chapter {:.3f} to {:.3f} s  {}\n", Seconds(chapter.start), Seconds(chapter.end), TitleOf(chapter));
    for (const ProbeTrack& track : report.tracks)
        PrintTrack(track);
}

class ProbeVerb final : public Verb
{
public:
    std::string GetName() const override { return "probe"; }
    std::string GetSummary() const override
    {
        return "tell a file's tracks, codec headers, groups of pictures, and how it can be cut";
    }
    OptionTable GetOptions() override { return {{"IN", "", "the file to examine", &settings.input, {}, true, true}}; }

    ExitCode Run(const CommonOptions& common) override
    {
        Progress progress(common, "probe");
        const ProbeReport report = ProbeJob(settings).Run(progress);
        PrintReport(common, report, [&] { PrintText(report); });
        return ExitCode::Done;
    }

private:
    ProbeSettings settings;
};

} // namespace

std::unique_ptr<Verb> MakeProbeVerb()
{
    return std::make_unique<ProbeVerb>();
}

} // namespace Tessor::Cli
