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
#include "jobs/Times.h"
#include "jobs/convert/ConvertJob.h"

#include <cmath>
#include <fmt/format.h>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

bool ChangesRate(const ConvertTrack& track)
{
    // the same ratio may come out of two divisions
    return track.doubled > 0 || track.dropped > 0 || std::abs(track.sourceRate - track.resultRate) > 1e-6;
}

/// "29.97", "25"
std::string Rate(double rate)
{
    return fmt::format("{:g}", std::round(rate * 1000) / 1000);
}

void PrintTrack(const ConvertTrack& track)
{
    Print("  track {}, {} ({}): ", track.index, track.kind, track.codec);
    if (track.encoder.empty())
        Print("{} copied\n", Count(track.itemsOut, "packet"));
    else
        Print("{} in, {} out of {}\n", Count(track.itemsIn, track.kind == "video" ? "frame" : "block"),
              Count(track.itemsOut, "packet"), track.encoder);
    if (ChangesRate(track))
        Print("    {} to {} fps: {} doubled, {} dropped\n", Rate(track.sourceRate), Rate(track.resultRate),
              Count(track.doubled, "frame"), track.dropped);
}

void PrintText(const ConvertReport& report)
{
    Print("{}: {} in {:.2f} s\n", report.output, T2S(report.duration), report.wallSeconds);
    for (const ConvertTrack& track : report.tracks)
        PrintTrack(track);
}

class ConvertVerb final : public Verb
{
public:
    std::string GetName() const override { return "convert"; }
    std::string GetSummary() const override { return "decode a file, run it through filters and encode it anew"; }
    OptionTable GetOptions() override
    {
        OptionTable table = {
            {"IN", "", "the file to convert; - is standard input", &settings.input, {}, true, true},
            {"OUT",
             "",
             "the file to write; its name tells the container; - is standard output",
             &settings.output,
             {},
             true,
             true},
        };
        AddRangeOptions(table, settings.keep, settings.remove);
        const OptionTable more = {
            {"--vf", "CHAIN", "filters of pictures: name=key=value:key=value,name=... (tessor filters lists them)",
             &settings.videoChain},
            {"--af", "CHAIN", "filters of sound", &settings.audioChain},
            {"--video",
             "HOW",
             "encode the pictures (the default), or copy them as they are",
             &videoWay,
             {"encode", "copy"}},
            {"--audio",
             "HOW",
             "the same for the sound; copied, it is cut to whole packets",
             &audioWay,
             {"encode", "copy"}},
            {"--no-video", "", "leave the pictures out", &settings.noVideo},
            {"--no-audio", "", "leave the sound out", &settings.noAudio},
        };
        table.insert(table.end(), more.begin(), more.end());
        video.AddOptions(table);
        audio.AddOptions(table);
        AddTracksOption(table, settings.tracks);
        changes.AddOptions(table);
        AddInputOptions(table, settings.reading);
        gap.AddOption(table);
        output.AddOptions(table, settings.writing);
        output.AddDateOption(table);
        return table;
    }
    std::vector<Example> GetExamples() const override
    {
        return {
            {"tessor convert in.mts out.mp4 --vf deinterlace,scale=width=1280 --af volume=normalize=yes",
             "smaller, and louder"},
            {"tessor convert film.mkv clip.mov --keep 10-20 --video-encoder ffv1",
             "ten seconds, cut to the picture and the sample, decoded"},
            {"tessor convert film.mkv loud.mkv --video copy --af volume=normalize=yes", "only the sound is encoded"}};
    }
    bool TakesTimes() const override { return true; }
    std::string GetOutput() const override { return settings.output; }
    bool Codes() const override { return true; }

    ExitCode Run(const CommonOptions& common) override
    {
        settings.video = video.Read();
        settings.audio = audio.Read();
        settings.copyVideo = videoWay == "copy";
        settings.copyAudio = audioWay == "copy";
        settings.changes = changes.Read();
        settings.maxGap = gap.Read();
        output.Read(settings.writing, settings.output, settings.input);
        const ConvertReport report =
            Follow(common, "convert", [&](IProgress& progress) { return ConvertJob(settings).Run(progress); });
        PrintReport(common, report, [&] { PrintText(report); });
        return ExitCode::Done;
    }

private:
    ConvertSettings settings;
    VideoEncoderFlags video;
    AudioEncoderFlags audio;
    std::string videoWay = "encode", audioWay = "encode";
    ChangeFlags changes;
    GapFlag gap;
    OutputFlags output;
};

} // namespace

std::unique_ptr<Verb> MakeConvertVerb()
{
    return std::make_unique<ConvertVerb>();
}

} // namespace Tessor::Cli
