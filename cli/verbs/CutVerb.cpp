#include "Fnd/Plural.h"
#include "cli/Printable.h"
#include "cli/Progress.h"
#include "cli/Report.h"
#include "cli/UserError.h"
#include "cli/options/EncoderFlags.h"
#include "cli/options/InputFlags.h"
#include "cli/options/OutputFlags.h"
#include "cli/options/RangeFlags.h"
#include "cli/options/TrackFlags.h"
#include "cli/verbs/SplitText.h"
#include "jobs/cut/CutJob.h"
#include "jobs/lists/CutLists.h"

#include <cmath>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

void PrintRanges(const std::vector<Range>& ranges)
{
    avTime result = 0;
    for (const Range& range : ranges)
    {
        Print("  kept {} to {}, in the result from {}\n", T2S(range.start), T2S(range.end), T2S(result));
        result += range.end - range.start;
    }
}

void PrintMoved(const std::vector<MovedBound>& moved)
{
    for (const MovedBound& bound : moved)
        Print("  moved {} to {}, where a key frame is\n", T2S(bound.asked), T2S(bound.kept));
}

void PrintTracks(const CutReport& report)
{
    for (const TrackReport& track : report.tracks)
    {
        Print("  track {}, {} ({}): {} copied", track.index, track.kind, track.codec,
              Count(track.GetCopiedPackets(), "packet"));
        if (track.recodedPackets > 0)
            Print(", {} re-encoded with {} ({:.1f} %, {:.2f} s)", track.recodedPackets, track.encoder,
                  100.0 * static_cast<double>(track.recodedPackets) / static_cast<double>(track.packets),
                  track.recodeSeconds);
        Print("{}\n", track.cutAnywhere ? "" : "; cuts fall to key frames: " + track.obstacle);
    }
}

void PrintVerdict(const PictureVerdict& pictures, const PacketVerdict& packets)
{
    Print("{} of {}, {} of them identical", pictures.found, Count(pictures.expected, "picture"), pictures.identical);
    if (!std::isinf(pictures.lowestRatio))
        Print(", the others at {:.1f} dB or better", pictures.lowestRatio);
    Print("; {} of {} the source's\n", packets.identical, Count(packets.found, "packet"));
}

void PrintVerdict(const TrackVerdict& track)
{
    Print("  {} track {}, {} ({}): ", track.unchecked.empty() ? "verified" : "not verified", track.index, track.kind,
          track.codec);
    if (!track.unchecked.empty())
        Print("{}\n", track.unchecked);
    else if (track.pictures)
        PrintVerdict(*track.pictures, *track.packets);
    else if (track.packets)
        Print("{}, {} expected, at most {:.1f} ms off their places\n", Count(track.packets->found, "packet"),
              track.packets->expected, track.packets->worstTimeErrorMs);
    else
        Print("it is gone\n");
}

void PrintVerdict(const VerifyReport& report)
{
    for (const TrackVerdict& track : report.tracks)
        PrintVerdict(track);
    for (const std::string& fault : report.faults)
        Print("  fault: {}\n", fault);
    Print("  verdict: {}\n", report.IsGood() ? "good" : "NOT good");
}

void PrintText(const PlanReport& plan)
{
    PrintRanges(plan.intervals);
    PrintMoved(plan.moved);
    for (const PlannedTrack& track : plan.tracks)
    {
        Print("  track {}{}\n", track.index, track.cutAnywhere ? ":" : ", cuts fall to key frames: " + track.obstacle);
        for (const GroupPlan& row : plan.groups)
            if (row.track == track.index)
                Print("  {} to {}  {:>13}  {:9}  {}\n", T2S(row.group.start), T2S(row.group.end),
                      Count(static_cast<long long>(row.group.pictures.size()), "picture"), ActionName(row.action),
                      row.reason);
    }
}

void PrintText(const CutReport& report)
{
    Print("{}: {} of {} in {:.2f} s\n", report.output, T2S(report.resultDuration), T2S(report.sourceDuration),
          report.wallSeconds);
    PrintRanges(report.intervals);
    PrintMoved(report.moved);
    PrintTracks(report);
    if (report.verdict)
        PrintVerdict(*report.verdict);
}

Snap ReadSnap(const std::string& name)
{
    return name == "inward"    ? Snap::Inward
           : name == "nearest" ? Snap::Nearest
           : name == "fail"    ? Snap::Fail
                               : Snap::Outward;
}

std::vector<std::string> NameFormats()
{
    std::vector<std::string> names;
    for (const auto& format : GetCutListFormats())
        names.push_back(format->GetName());
    return names;
}

class CutVerb final : public Verb
{
public:
    std::string GetName() const override { return "cut"; }
    std::string GetSummary() const override { return "take time out of a file without loss, exactly"; }
    OptionTable GetOptions() override
    {
        OptionTable table = {
            {"IN", "", "the file to cut; - is standard input", &settings.input, {}, true, true},
            {"OUT",
             "",
             "the file to write; its name tells the container; - is standard output",
             &settings.output,
             {},
             true},
        };
        AddRangeOptions(table, settings.keep, settings.remove);
        const OptionTable more = {
            {"--write-list",
             "FILE",
             "write what is kept to a cut list; its name tells the format",
             &settings.listOutput,
             {},
             true},
            {"--list-format", "NAME", "the format of that list, whatever its name is", &settings.listFormat,
             NameFormats()},
            {"--split", "",
             "a file for each range; OUT may hold {name} of IN, {number} and {title}, and gets -{number} without",
             &split},
            {"--snap",
             "WHERE",
             "the key frame that a cut falls to where it can't be exact: outward (nothing asked for is lost), inward, "
             "nearest, or fail",
             &snap,
             {"outward", "inward", "nearest", "fail"}},
            {"--plan", "",
             "print for each group of pictures whether it is copied, re-encoded or dropped, and why; write nothing; "
             "without OUT it is for a container that can hide pictures, as MP4 does",
             &planOnly},
            {"--verify", "", "decode the result and hold it against the source; exit status 4 when it is not good",
             &settings.verify},
        };
        table.insert(table.end(), more.begin(), more.end());
        AddTracksOption(table, settings.tracks);
        changes.AddOptions(table);
        output.AddOptions(table, settings.writing);
        output.AddDateOption(table);
        recode.AddOptions(table);
        AddInputOptions(table, settings.reading);
        return table;
    }
    std::vector<Example> GetExamples() const override
    {
        return {
            {"tessor cut film.mp4 out.mp4 --keep 1:02-1:10.5,2:00-",
             "keep eight and a half seconds, and what comes after two minutes"},
            {"tessor cut film.ts out.mkv --remove 300f-450f --verify", "remove 150 frames, and prove the result"},
            {"tessor cut film.mp4 --keep start-90s --plan", "what would be copied, re-encoded and dropped, and why"}};
    }
    bool TakesTimes() const override { return true; }
    std::string GetOutput() const override { return planOnly ? "" : settings.output; }
    bool Codes() const override { return true; }

    ExitCode Run(const CommonOptions& common) override
    {
        settings.recode = recode.Read();
        settings.changes = changes.Read();
        output.Read(settings.writing, settings.output, settings.input);
        settings.snap = ReadSnap(snap);
        if (planOnly)
            return Plan(common);
        if (settings.output.empty())
            throw UserError(ExitCode::Usage, "OUT is missing");
        return split ? Split({settings}, common) : Cut(common);
    }

private:
    ExitCode Plan(const CommonOptions& common) const
    {
        const PlanReport plan =
            Follow(common, "plan", [&](IProgress& progress) { return CutJob(settings).Plan(progress); });
        PrintReport(common, plan, [&] { PrintText(plan); });
        return ExitCode::Done;
    }

    ExitCode Cut(const CommonOptions& common) const
    {
        const CutReport report =
            Follow(common, "cut", [&](IProgress& progress) { return CutJob(settings).Run(progress); });
        PrintReport(common, report, [&] { PrintText(report); });
        if (report.verdict && !report.verdict->IsGood())
            throw UserError(ExitCode::VerificationFailed, report.output + ": " + report.verdict->faults.front());
        return ExitCode::Done;
    }

    CutSettings settings;
    OutputFlags output;
    RecodeFlags recode;
    ChangeFlags changes;
    std::string snap = "outward";
    bool planOnly = false, split = false;
};

} // namespace

std::unique_ptr<Verb> MakeCutVerb()
{
    return std::make_unique<CutVerb>();
}

} // namespace Tessor::Cli
