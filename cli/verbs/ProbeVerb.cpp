#include "Fnd/Plural.h"
#include "cli/Printable.h"
#include "cli/Progress.h"
#include "cli/Report.h"
#include "cli/options/InputFlags.h"
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
        Print(", {} Hz, {}", track.samples->GetSampleRate(), Count(track.samples->GetChannelCount(), "channel"));
    Print("\n");
}

/// What is told, one after the other.
void PrintList(const std::vector<std::string>& texts)
{
    std::vector<std::string> told;
    std::copy_if(texts.begin(), texts.end(), std::back_inserter(told), [](const auto& text) { return !text.empty(); });
    if (!told.empty())
        Print("    {}\n", fmt::format("{}", fmt::join(told, ", ")));
}

std::string Named(const char* name, const std::string& value)
{
    return value.empty() ? "" : name + value;
}

void PrintHdr(const PictureDescription& pictures)
{
    if (pictures.mastering && pictures.mastering->luminance)
        Print("    mastered for {:g} to {:g} cd/m2\n", (*pictures.mastering->luminance)[0],
              (*pictures.mastering->luminance)[1]);
    if (pictures.light)
        Print("    brightest pixel {} cd/m2, brightest picture {} cd/m2\n", pictures.light->pixel,
              pictures.light->picture);
    if (pictures.dolbyVision)
        Print("    Dolby Vision, profile {}, level {}\n", pictures.dolbyVision->profile, pictures.dolbyVision->level);
}

void PrintTraits(const ProbeTrack& track)
{
    const PictureDescription pictures = track.pictures.value_or(PictureDescription());
    PrintList({pictures.pixelFormat, pictures.fieldOrder,
               pictures.rotation != 0 ? fmt::format("turned by {} degrees clockwise", pictures.rotation) : "",
               track.bitRate > 0 ? fmt::format("{:.0f} kb/s", static_cast<double>(track.bitRate) / 1000) : "",
               Named("language ", track.GetLanguage())});
    PrintList({Named("primaries ", pictures.primaries), Named("transfer ", pictures.transfer),
               Named("matrix ", pictures.matrix), Named("range ", pictures.range)});
    PrintHdr(pictures);
}

void PrintHeader(const Core::Property& header)
{
    Print("    header:\n");
    for (const Core::Property& field : header)
    {
        const auto value = PropertyToJson(field);
        Print("      {:<36} {}\n", field.GetName(), value.is_string() ? value.get<std::string>() : value.dump());
    }
}

void PrintCutting(const ProbeCutting& cutting)
{
    Print("    {} in {}, the longest {}, {} open\n", Count(cutting.CountPictures(), "picture"),
          Count(static_cast<long long>(cutting.groups.size()), "group"), cutting.GetLongest(), cutting.CountOpen());
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
    PrintTraits(track);
    if (!track.headerFault.empty())
        Print("    header unusable: {}{}\n", track.headerFault, header ? "; packets bring this one:" : "");
    if (header)
        PrintHeader(track.header);
    if (!track.fault.empty() && (!track.lossless || track.lossless->fault != track.fault))
        Print("    could not be examined to its end: {}\n", track.fault);
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
    OptionTable GetOptions() override
    {
        OptionTable table = {{"IN", "", "the file to examine; - is standard input", &settings.input, {}, true, true}};
        AddInputOptions(table, settings.reading);
        return table;
    }
    std::vector<Example> GetExamples() const override
    {
        return {{"tessor probe film.mp4", "its tracks, their headers and groups of pictures"}};
    }
    bool Codes() const override { return true; }

    ExitCode Run(const CommonOptions& common) override
    {
        const ProbeReport report =
            Follow(common, "probe", [&](IProgress& progress) { return ProbeJob(settings).Run(progress); });
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
