#include "Proc/Filters/Filters/Cutting/FilterCutController.h"
#include "cli/Progress.h"
#include "cli/Report.h"
#include "ffhost/FormatTags.h"
#include "ffhost/codecs/CodecFactory.h"
#include "ffhost/io/reading/Demuxer.h"
#include "jobs/InputFile.h"
#include "jobs/Times.h"
#include "jobs/TrackSelection.h"
#include "jobs/cut/Groups.h"
#include "jobs/detect/CodecHeaders.h"
#include "jobs/detect/Lossless.h"
#include "media/formats/IFormatCodecAudio.h"
#include "media/formats/IFormatCodecVideo.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

Json TagsToJson(const Host::Tags& tags)
{
    Json json = Json::object();
    for (const auto& [name, value] : tags)
        json[name] = value;
    return json;
}

void AddVideo(Json& json, const Conf::IFormatCodecVideo& format)
{
    const Conf::FrameInfo frame = format.GetFrameInfo();
    json["width"] = frame.width;
    json["height"] = frame.height;
    json["sample_aspect"] = fmt::format("{}:{}", frame.aspectNum, frame.aspectDen);
    const std::string& fps = Conf::IFormatCodecVideo::TAG_FPS;
    if (format.GetProperties().ChildExists(fps))
    {
        const Core::Property::Ratio rate = format.GetProperties()[fps].GetRatio();
        json["frame_rate"] = fmt::format("{}/{}", rate.numerator(), rate.denominator());
    }
}

void AddAudio(Json& json, const Conf::IFormatCodecAudio& format)
{
    json["sample_rate"] = format.GetSampleInfo().GetSampleRate();
    json["channels"] = format.GetSampleInfo().GetChannelCount();
}

/// Whether cuts of a video track can fall anywhere, as the cut stream itself finds out.
bool CanCutAnywhere(const SP<Proc::IStreamRaw>& stream)
{
    const auto controller =
        Proc::FilterCutController::Create(Proc::SettingsFilterCutController(), Host::CodecFactory::Create());
    const SP<Proc::IStreamRaw> cut = controller->AddStream(stream);
    return cut->GetFormatCodec()->GetProperties()[Conf::IFormatCodecVideo::TAG_CUT_ANYWHERE].GetBool();
}

Json GroupsToJson(const std::vector<Group>& groups)
{
    long long pictures = 0, longest = 0, open = 0;
    for (const Group& group : groups)
    {
        const auto count = static_cast<long long>(group.pictures.size());
        pictures += count;
        longest = std::max(longest, count);
        open += group.IsOpen();
    }
    Json list = Json::array();
    for (const Group& group : groups)
        list.push_back({{"start", Seconds(group.start)},
                        {"end", Seconds(group.end)},
                        {"pictures", group.pictures.size()},
                        {"bytes", group.bytes},
                        {"open", group.IsOpen()},
                        {"reordered", group.reordered}});
    return {{"count", groups.size()}, {"pictures", pictures}, {"longest", longest}, {"open", open}, {"list", list}};
}

class ProbeVerb final : public Verb
{
public:
    std::string GetName() const override { return "probe"; }
    std::string GetSummary() const override
    {
        return "tell a file's tracks, codec headers, groups of pictures, and how it can be cut";
    }
    OptionTable GetOptions() override { return {{"IN", "", "the file to examine", &input, {}, true, true}}; }

    ExitCode Run(const CommonOptions& common) override
    {
        Progress progress(common, "probe");
        const SP<Host::Demuxer> demuxer = OpenInput(input, progress);
        Statistics statistics;
        const Json json = Describe(*demuxer, statistics);
        PrintReport(
            common, [&] { return json; }, [&] { Print(json); }, {}, statistics);
        return ExitCode::Done;
    }

private:
    Json Describe(Host::Demuxer& demuxer, Statistics& statistics) const
    {
        const Host::MediaInfo& info = demuxer.GetInfo();
        Json json = {{"input", input},
                     {"container", info.container},
                     {"duration", Seconds(info.duration)},
                     {"start_time", Seconds(info.origin)},
                     {"bit_rate", info.bitRate},
                     {"tags", TagsToJson(info.tags)},
                     {"chapters", Json::array()},
                     {"tracks", Json::array()}};
        for (const Host::ChapterInfo& chapter : info.chapters)
            json["chapters"].push_back(
                {{"start", Seconds(chapter.start)}, {"end", Seconds(chapter.end)}, {"tags", TagsToJson(chapter.tags)}});
        for (const Host::TrackInfo& track : info.tracks)
            json["tracks"].push_back(DescribeTrack(demuxer, track));
        // last: it has all tracks delivered, where the scans before read one
        for (const LosslessFinding& finding : DetectLossless(demuxer))
        {
            json["tracks"][static_cast<size_t>(finding.track)]["lossless"] = LosslessToJson(finding);
            statistics.push_back({finding.track, finding.statistic});
        }
        return json;
    }

    static Json DescribeTrack(Host::Demuxer& demuxer, const Host::TrackInfo& track)
    {
        Json json = {{"index", track.index},
                     {"kind", KindName(track)},
                     {"codec", track.codecName},
                     {"tags", TagsToJson(track.tags)}};
        if (!track.format)
            return json;
        if (const auto* video = dynamic_cast<const Conf::IFormatCodecVideo*>(track.format.get()))
            AddVideo(json, *video);
        if (const auto* audio = dynamic_cast<const Conf::IFormatCodecAudio*>(track.format.get()))
            AddAudio(json, *audio);
        if (!track.headerFault.empty())
            json["header_unusable"] = track.headerFault;
        const Json header = DescribeHeader(*track.format);
        if (!header.is_null())
            json["header"] = header;
        if (track.type == MediaType::Video && !track.attachedPicture)
            DescribeCutting(json, demuxer, track);
        return json;
    }

    static void DescribeCutting(Json& json, Host::Demuxer& demuxer, const Host::TrackInfo& track)
    {
        const SP<Proc::IStreamRaw> stream = demuxer.GetStream(track.index);
        try
        {
            const bool anywhere = CanCutAnywhere(stream);
            json["cut_anywhere"] = anywhere;
            if (!anywhere)
                json["cut_at_key_frames_because"] = FindCutObstacle(*stream);
        }
        catch (const Exception& e) // a cut will end with it
        {
            json["cut_refused_because"] = Tessor::Describe(e);
        }
        json["groups"] = GroupsToJson(ScanGroups(*stream));
    }

    static void Print(const Json& json)
    {
        fmt::print("{}: {}, {:.3f} s\n", json["input"].get<std::string>(), json["container"].get<std::string>(),
                   json["duration"].get<double>());
        for (const Json& chapter : json["chapters"])
            fmt::print("  chapter {:.3f} to {:.3f} s  {}\n", chapter["start"].get<double>(),
                       chapter["end"].get<double>(), chapter["tags"].value("title", ""));
        for (const Json& track : json["tracks"])
            PrintTrack(track);
    }

    static void PrintTrack(const Json& track)
    {
        fmt::print("  track {}: {} ({})", track["index"].get<int>(), track["kind"].get<std::string>(),
                   track["codec"].get<std::string>());
        if (track.contains("width"))
            fmt::print(", {}x{}, pixels {}, {} pictures a second", track["width"].get<int>(),
                       track["height"].get<int>(), track["sample_aspect"].get<std::string>(),
                       track.value("frame_rate", "?"));
        if (track.contains("sample_rate"))
            fmt::print(", {} Hz, {} channels", track["sample_rate"].get<int>(), track["channels"].get<int>());
        fmt::print("\n");
        if (track.contains("header_unusable"))
            fmt::print("    header unusable: {}{}\n", track["header_unusable"].get<std::string>(),
                       track.contains("header") ? "; packets bring this one:" : "");
        if (track.contains("header"))
            fmt::print("    header: {}\n", track["header"].dump());
        if (track.contains("lossless"))
            fmt::print("    {}\n", DescribeLossless(track["lossless"]));
        if (!track.contains("groups"))
            return;
        const Json& groups = track["groups"];
        fmt::print("    {} pictures in {} groups, the longest {}, {} open\n", groups["pictures"].get<long long>(),
                   groups["count"].get<size_t>(), groups["longest"].get<long long>(), groups["open"].get<long long>());
        if (track.contains("cut_refused_because"))
            fmt::print("    can't be cut: {}\n", track["cut_refused_because"].get<std::string>());
        else if (track["cut_anywhere"].get<bool>())
            fmt::print("    can be cut at any picture: the groups that a cut runs through are re-encoded\n");
        else
            fmt::print("    can be cut at key frames: {}\n", track["cut_at_key_frames_because"].get<std::string>());
    }

    std::string input;
};

} // namespace

std::unique_ptr<Verb> MakeProbeVerb()
{
    return std::make_unique<ProbeVerb>();
}

} // namespace Tessor::Cli
