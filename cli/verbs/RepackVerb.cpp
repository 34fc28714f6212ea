#include "Fnd/Plural.h"
#include "cli/Printable.h"
#include "cli/Progress.h"
#include "cli/Report.h"
#include "cli/UserError.h"
#include "cli/options/InputFlags.h"
#include "cli/options/OutputFlags.h"
#include "cli/options/TrackFlags.h"
#include "cli/verbs/SplitText.h"
#include "jobs/Times.h"
#include "jobs/repack/RepackJob.h"

#include <charconv>

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

/// "2G", "1.5M", "800000"
long long ReadSize(const std::string& text)
{
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    const std::string unit(rest, end);
    const double factor = unit.empty() ? 1 : unit == "k" ? 1e3 : unit == "M" ? 1e6 : unit == "G" ? 1e9 : 0;
    if (error != std::errc() || !(value * factor >= 1 && value * factor <= 1e15))
        throw UserError(ExitCode::Usage, "\"" + text + "\" is no size such as 700M or 2G");
    return static_cast<long long>(value * factor);
}

class RepackVerb final : public Verb
{
public:
    std::string GetName() const override { return "repack"; }
    std::string GetSummary() const override { return "bring a file into another container without loss"; }
    OptionTable GetOptions() override
    {
        OptionTable table = {
            {"IN", "", "the file to read; - is standard input", &settings.input, {}, true, true},
            {"OUT",
             "",
             "the file to write; its name tells the container; - is standard output",
             &settings.output,
             {},
             true,
             true},
            {"--split-size", "BYTES", "files of at most that size (2G, 700M), from key frame to key frame", &size},
            {"--split-time", "TIME", "files that end at the first key frame after that time (10m)", &time},
            {"--split-chapters", "", "a file for each chapter; OUT may hold {name}, {number} and {title}", &chapters},
        };
        AddTracksOption(table, settings.tracks);
        changes.AddOptions(table);
        output.AddOptions(table, settings.writing);
        output.AddDateOption(table);
        AddInputOptions(table, settings.reading);
        return table;
    }
    std::vector<Example> GetExamples() const override
    {
        return {{"tessor repack film.mp4 film.ts", "another container, all tracks copied"},
                {"tessor repack film.mkv film.mp4 --tracks v,a:eng --title a=Original --no-tags",
                 "the pictures, and English sound with a title; nothing else is told"}};
    }
    std::string GetOutput() const override { return settings.output; }

    ExitCode Run(const CommonOptions& common) override
    {
        settings.changes = changes.Read();
        output.Read(settings.writing, settings.output, settings.input);
        if (!size.empty() || !time.empty() || chapters)
            return Split(ReadSplit(), common);
        const RepackReport report =
            Follow(common, "repack", [&](IProgress& progress) { return RepackJob(settings).Run(progress); });
        PrintReport(common, report, [&] { PrintText(report); });
        return ExitCode::Done;
    }

private:
    SplitSettings ReadSplit() const
    {
        if (!size.empty() + !time.empty() + chapters > 1)
            throw UserError(ExitCode::Usage, "--split-size, --split-time and --split-chapters exclude each other");
        SplitSettings split;
        split.cut.input = settings.input;
        split.cut.reading = settings.reading;
        split.cut.output = settings.output;
        split.cut.tracks = settings.tracks;
        split.cut.changes = settings.changes;
        split.cut.writing = settings.writing;
        split.size = size.empty() ? 0 : ReadSize(size);
        split.time = time.empty() ? 0 : ParseLength("--split-time", time);
        split.chapters = chapters;
        return split;
    }

    RepackSettings settings;
    ChangeFlags changes;
    OutputFlags output;
    std::string size, time;
    bool chapters = false;
};

} // namespace

std::unique_ptr<Verb> MakeRepackVerb()
{
    return std::make_unique<RepackVerb>();
}

} // namespace Tessor::Cli
