#include "cli/Progress.h"
#include "cli/Report.h"
#include "cli/UserError.h"
#include "jobs/OutputFile.h"
#include "jobs/cut/CutJob.h"
#include "jobs/cut/CutPlan.h"
#include "jobs/cut/Verify.h"

#include <cmath>
#include <fmt/format.h>
#include <optional>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

Json RangesToJson(const std::vector<Range>& ranges)
{
    Json json = Json::array();
    for (const Range& range : ranges)
        json.push_back({Seconds(range.start), Seconds(range.end)});
    return json;
}

Json TrackToJson(const TrackReport& track)
{
    Json json = {{"index", track.index},
                 {"kind", track.kind},
                 {"codec", track.codec},
                 {"copied_packets", track.GetCopiedPackets()},
                 {"recoded_packets", track.recodedPackets},
                 {"encoder", track.encoder.empty() ? Json(nullptr) : Json(track.encoder)},
                 {"recode_seconds", track.recodeSeconds},
                 {"cut_anywhere", track.cutAnywhere}};
    if (!track.cutAnywhere)
        json["cut_at_key_frames_because"] = track.obstacle;
    return json;
}

Json RatioToJson(double ratio)
{
    return std::isinf(ratio) ? Json(nullptr) : Json(ratio);
}

Json VerdictToJson(const TrackVerdict& track)
{
    Json json = {
        {"index", track.index}, {"kind", track.kind}, {"codec", track.codec}, {"checked", track.unchecked.empty()}};
    if (!track.unchecked.empty())
        json["unchecked_because"] = track.unchecked;
    if (track.pictures)
        json.update({{"expected_pictures", track.pictures->expected},
                     {"output_pictures", track.pictures->found},
                     {"identical_pictures", track.pictures->identical},
                     {"lowest_psnr", RatioToJson(track.pictures->lowestRatio)},
                     {"worst_time_error_ms", track.pictures->worstTimeErrorMs}});
    if (!track.packets)
        return json;
    json.update({{"expected_packets", track.packets->expected},
                 {"output_packets", track.packets->found},
                 {"identical_packets", track.packets->identical}});
    // those of video that are encoded anew are none of the source's, and its pictures are what counts
    if (!track.pictures)
        json.update({{"missing_packets", track.packets->missing},
                     {"doubled_packets", track.packets->doubled},
                     {"misplaced_packets", track.packets->misplaced},
                     {"foreign_packets", track.packets->foreign},
                     {"adjusted_packets", track.packets->adjusted},
                     {"worst_time_error_ms", track.packets->worstTimeErrorMs}});
    return json;
}

Json VerdictToJson(const VerifyReport& report)
{
    const PictureVerdict pictures = report.SumPictures();
    const PacketVerdict packets = report.SumVideoPackets();
    Json json = {{"good", report.IsGood()},
                 {"faults", report.faults},
                 {"expected_pictures", pictures.expected},
                 {"output_pictures", pictures.found},
                 {"identical_pictures", pictures.identical},
                 {"lowest_psnr", RatioToJson(pictures.lowestRatio)},
                 {"worst_time_error_ms", pictures.worstTimeErrorMs},
                 {"video_packets", packets.found},
                 {"identical_video_packets", packets.identical},
                 {"tracks", Json::array()}};
    for (const TrackVerdict& track : report.tracks)
        json["tracks"].push_back(VerdictToJson(track));
    return json;
}

Json PlanToJson(const std::vector<GroupPlan>& plan)
{
    Json json = Json::array();
    for (const GroupPlan& row : plan)
        json.push_back({{"track", row.track},
                        {"start", Seconds(row.group.start)},
                        {"end", Seconds(row.group.end)},
                        {"pictures", row.group.pictures.size()},
                        {"bytes", row.group.bytes},
                        {"open", row.group.IsOpen()},
                        {"action", ActionName(row.action)},
                        {"copied_pictures", row.copied},
                        {"recoded_pictures", row.recoded},
                        {"reason", row.reason}});
    return json;
}

Json TrackToJson(const CutTrack& track)
{
    Json json = {{"index", track.index}, {"cut_anywhere", track.cutAnywhere}};
    if (!track.cutAnywhere)
        json["cut_at_key_frames_because"] = track.obstacle;
    return json;
}

void PrintRanges(const std::vector<Range>& ranges)
{
    avTime result = 0;
    for (const Range& range : ranges)
    {
        fmt::print("  kept {} to {}, in the result from {}\n", T2S(range.start), T2S(range.end), T2S(result));
        result += range.end - range.start;
    }
}

void PrintTracks(const CutReport& report)
{
    for (const TrackReport& track : report.tracks)
    {
        fmt::print("  track {}, {} ({}): {} packets copied", track.index, track.kind, track.codec,
                   track.GetCopiedPackets());
        if (track.recodedPackets > 0)
            fmt::print(", {} re-encoded with {} ({:.1f} %, {:.2f} s)", track.recodedPackets, track.encoder,
                       100.0 * static_cast<double>(track.recodedPackets) / static_cast<double>(track.packets),
                       track.recodeSeconds);
        fmt::print("{}\n", track.cutAnywhere ? "" : "; cuts fall to key frames: " + track.obstacle);
    }
}

void PrintVerdict(const PictureVerdict& pictures, const PacketVerdict& packets)
{
    fmt::print("{} of {} pictures, {} of them identical", pictures.found, pictures.expected, pictures.identical);
    if (!std::isinf(pictures.lowestRatio))
        fmt::print(", the others at {:.1f} dB or better", pictures.lowestRatio);
    fmt::print("; {} of {} packets are the source's\n", packets.identical, packets.found);
}

void PrintVerdict(const TrackVerdict& track)
{
    fmt::print("  {} track {}, {} ({}): ", track.unchecked.empty() ? "verified" : "not verified", track.index,
               track.kind, track.codec);
    if (!track.unchecked.empty())
        fmt::print("{}\n", track.unchecked);
    else if (track.pictures)
        PrintVerdict(*track.pictures, *track.packets);
    else if (track.packets)
        fmt::print("{} packets, {} expected, at most {:.1f} ms off their places\n", track.packets->found,
                   track.packets->expected, track.packets->worstTimeErrorMs);
    else
        fmt::print("it is gone\n");
}

void PrintVerdict(const VerifyReport& report)
{
    for (const TrackVerdict& track : report.tracks)
        PrintVerdict(track);
    for (const std::string& fault : report.faults)
        fmt::print("  fault: {}\n", fault);
    fmt::print("  verdict: {}\n", report.IsGood() ? "good" : "NOT good");
}

class CutVerb final : public Verb
{
public:
    std::string GetName() const override { return "cut"; }
    std::string GetSummary() const override { return "take time out of a file without loss, exactly"; }
    OptionTable GetOptions() override
    {
        return {
            {"IN", "", "the file to cut", &request.input, {}, true, true},
            {"OUT", "", "the file to write; its name tells the container", &request.output, {}, true},
            {"--keep", "A-B[,C-D]", "ranges to keep, from picture to picture; may be given several times",
             &request.keep},
            {"--remove", "A-B[,C-D]", "ranges to remove", &request.remove},
            {"--plan", "",
             "print for each group of pictures whether it is copied, re-encoded or dropped, and why; write nothing",
             &planOnly},
            {"--verify", "", "decode the result and hold it against the source; exit status 4 when it is not good",
             &verify},
            {"-y,--overwrite", "", "overwrite the output", &overwrite},
        };
    }

    ExitCode Run(const CommonOptions& common) override
    {
        if (planOnly)
            return Plan(common);
        if (request.output.empty())
            throw UserError(ExitCode::Usage, "OUT is missing");
        CheckOutput(request.output, {request.input}, overwrite);
        return Cut(common);
    }

private:
    ExitCode Plan(const CommonOptions& common)
    {
        Progress progress(common, "plan");
        CutSession session(request, progress);
        const std::vector<GroupPlan> plan = MakePlan(session);
        const std::vector<Range> kept = GetKeptRanges(session.GetCut(), session.GetInfo().duration);
        PrintReport(
            common, [&] { return ToJson(plan, kept, session); }, [&] { PrintText(plan, kept, session); },
            session.GetWarnings());
        return ExitCode::Done;
    }

    Json ToJson(const std::vector<GroupPlan>& plan, const std::vector<Range>& kept, CutSession& session) const
    {
        Json json = {{"input", request.input}, {"intervals", RangesToJson(kept)}, {"tracks", Json::array()}};
        for (const CutTrack& track : session.GetTracks())
            if (track.IsVideo())
                json["tracks"].push_back(TrackToJson(track));
        json["groups"] = PlanToJson(plan);
        if (const CutTrack* video = session.GetVideo(); video && !video->obstacle.empty())
            json["cut_at_key_frames_because"] = video->obstacle;
        json["warnings"] = session.GetWarnings();
        return json;
    }

    static void PrintText(const std::vector<GroupPlan>& plan, const std::vector<Range>& kept, CutSession& session)
    {
        PrintRanges(kept);
        for (const CutTrack& track : session.GetTracks())
        {
            if (!track.IsVideo())
                continue;
            fmt::print("  track {}{}\n", track.index,
                       track.cutAnywhere ? ":" : ", cuts fall to key frames: " + track.obstacle);
            for (const GroupPlan& row : plan)
                if (row.track == track.index)
                    fmt::print("  {} to {}  {:4} pictures  {:9}  {}\n", T2S(row.group.start), T2S(row.group.end),
                               row.group.pictures.size(), ActionName(row.action), row.reason);
        }
    }

    ExitCode Cut(const CommonOptions& common)
    {
        Progress progress(common, "cut");
        CutSession session(request, progress);
        CutJob job(session, request.output);
        const CutReport report = job.Run(progress);
        std::optional<VerifyReport> verdict;
        if (verify)
            verdict = VerifyTracks(report, session, progress);
        PrintReport(
            common, [&] { return ToJson(report, verdict); }, [&] { PrintText(report, verdict, session); },
            report.warnings, GetStatistics(session));
        if (verdict && !verdict->IsGood())
            throw UserError(ExitCode::VerificationFailed, request.output + ": " + verdict->faults.front());
        return ExitCode::Done;
    }

    VerifyReport VerifyTracks(const CutReport& report, const CutSession& session, const IProgress& progress) const
    {
        std::vector<int> tracks;
        ExposedPictures exposed;
        for (const TrackReport& track : report.tracks)
        {
            tracks.push_back(track.index);
            exposed[track.index] = track.exposed;
        }
        const KeptTime kept(report.intervals, session.GetInfo().duration, session.KeepsLead());
        return Verify(request.input, request.output, kept, tracks, exposed, progress);
    }

    Json ToJson(const CutReport& report, const std::optional<VerifyReport>& verdict) const
    {
        Json json = {{"input", request.input}, {"output", request.output}};
        json["intervals"] = RangesToJson(report.intervals);
        json["result_duration"] = Seconds(report.resultDuration);
        json["tracks"] = Json::array();
        for (const TrackReport& track : report.tracks)
            json["tracks"].push_back(TrackToJson(track));
        json["warnings"] = report.warnings;
        json["wall_seconds"] = report.wallSeconds;
        if (verdict)
            json["verify"] = VerdictToJson(*verdict);
        return json;
    }

    void PrintText(const CutReport& report, const std::optional<VerifyReport>& verdict, CutSession& session) const
    {
        fmt::print("{}: {} of {} in {:.2f} s\n", request.output, T2S(report.resultDuration),
                   T2S(session.GetInfo().duration), report.wallSeconds);
        PrintRanges(report.intervals);
        PrintTracks(report);
        if (verdict)
            PrintVerdict(*verdict);
    }

    static Statistics GetStatistics(CutSession& session)
    {
        Statistics statistics;
        for (const CutTrack& track : session.GetTracks())
            if (track.stream)
                statistics.push_back({track.index, track.stream->GetStatistic()});
        return statistics;
    }

    CutRequest request;
    bool planOnly = false;
    bool verify = false;
    bool overwrite = false;
};

} // namespace

std::unique_ptr<Verb> MakeCutVerb()
{
    return std::make_unique<CutVerb>();
}

} // namespace Tessor::Cli
