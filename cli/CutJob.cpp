#include "cli/CutJob.h"

#include "cli/UserError.h"
#include "ffhost/FormatTags.h"
#include "media/IFormatCodecVideo.h"

#include <algorithm>
#include <chrono>
#include <fmt/format.h>

namespace Tessor::Cli
{

std::vector<Range> GetKeptRanges(const Proc::SettingsFilterCutController& cut, avTime duration)
{
    std::vector<Range> ranges;
    for (const auto& interval : cut.intervals)
    {
        if (!interval.deleted && interval.start < duration)
            ranges.push_back({interval.start, std::min(interval.end, duration)});
    }
    return ranges;
}

CutJob::CutJob(CutSession& session, const std::string& output)
    : session(session), muxer(Host::Muxer::Create(output)), pump(*muxer), warnings(session.GetWarnings())
{
    AddTracks();
    CarryMetadata();
    muxer->Open();
}

void CutJob::AddTracks()
{
    for (CutTrack& track : session.GetTracks())
    {
        const Host::TrackInfo& info = session.GetInfo().tracks[track.index];
        if (!muxer->CanCarry(info))
        {
            warnings.push_back(fmt::format("track {} ({}, {}) is left out: the output's container can't carry it",
                                           track.index, KindName(info), info.codecName));
            continue;
        }
        const SP<Conf::IFormatCodec> format = track.stream ? track.stream->GetFormatCodec() : info.format;
        // parameter sets that no packet uses would keep the result from being cut again
        if (track.untouched)
            format->SetExtradata(track.header);
        const int number = muxer->AddTrack(info, format, !track.stream);
        const size_t place = track.stream ? pump.Add(track.stream, number)
                                          : pump.AddSparse(session.ShareDemuxer(), info, number,
                                                           [&session = session] { return session.GetCut(); });
        outputs.push_back({&track, place, MakeReport(track)});
    }
    const bool any =
        std::any_of(outputs.begin(), outputs.end(), [](const Output& o) { return o.track->stream != nullptr; });
    if (!any)
        throw UserError(ExitCode::Failed,
                        session.GetInfo().path + ": the output's container can carry none of the tracks");
}

TrackReport CutJob::MakeReport(const CutTrack& track) const
{
    const Host::TrackInfo& info = session.GetInfo().tracks[track.index];
    TrackReport report;
    report.index = track.index;
    report.kind = KindName(info);
    report.codec = info.codecName;
    report.cutAnywhere = track.cutAnywhere;
    report.obstacle = track.obstacle;
    return report;
}

void CutJob::CarryMetadata()
{
    const Proc::SettingsFilterCutController cut = session.GetCut();
    muxer->SetTags(session.GetInfo().tags);
    std::vector<Host::ChapterInfo> chapters;
    for (Host::ChapterInfo chapter : session.GetInfo().chapters)
    {
        chapter.start = cut.Source2Result(chapter.start);
        chapter.end = cut.Source2Result(std::min(chapter.end, session.GetInfo().duration));
        if (chapter.start < chapter.end)
            chapters.push_back(chapter);
    }
    muxer->SetChapters(chapters);
}

CutReport CutJob::Run(Progress& progress)
{
    const auto start = std::chrono::steady_clock::now();
    pump.Run(session.GetCut().Source2Result(session.GetInfo().duration), progress);
    CollectStatistics();
    muxer->Finish();

    CutReport report;
    const avTime duration = session.GetInfo().duration;
    report.intervals = GetKeptRanges(session.GetCut(), duration);
    report.resultDuration = session.GetCut().Source2Result(duration);
    for (Output& output : outputs)
        report.tracks.push_back(output.report);
    for (const std::string& loss : muxer->GetLosses())
        warnings.push_back("not carried over: " + loss);
    if (const long long damaged = session.GetDemuxer().GetDamagedCount())
        warnings.push_back(fmt::format("{} damaged packets in {}", damaged, session.GetInfo().path));
    report.warnings = warnings;
    report.wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return report;
}

void CutJob::CollectStatistics()
{
    for (Output& output : outputs)
    {
        output.report.copiedPackets = pump.GetPacketCount(output.place);
        // other kinds are never encoded: what the cut counts there are packets that were cut one by one
        if (!output.track->stream || session.GetInfo().tracks[output.track->index].type != MediaType::Video)
            continue;
        const Core::Property statistics = output.track->stream->GetStatistic();
        for (const Core::Property& record : statistics)
        {
            if (record.ChildExists("Recoded pakets"))
                output.report.recodedPackets = record["Recoded pakets"].GetInt64();
        }
        output.report.copiedPackets -= output.report.recodedPackets;
        if (output.report.recodedPackets == 0)
            continue;
        if (output.track->untouched)
            throw UserError(ExitCode::Failed, "groups were re-encoded that had to stay whole");
        output.report.encoder = session.GetEncoderUse().encoder;
        output.report.recodeSeconds = Seconds(session.GetEncoderUse().time);
    }
}

} // namespace Tessor::Cli
