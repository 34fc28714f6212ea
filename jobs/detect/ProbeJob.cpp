#include "jobs/detect/ProbeJob.h"

#include "Fnd/Exception.h"
#include "Proc/Filters/Filters/Cutting/FilterCutController.h"
#include "ffhost/codecs/CodecFactory.h"
#include "ffhost/streams/FieldJoiner.h"
#include "jobs/InputDamage.h"
#include "jobs/InputFile.h"
#include "jobs/Times.h"
#include "jobs/TrackFault.h"
#include "jobs/TrackSelection.h"
#include "jobs/detect/CodecHeaders.h"
#include "media/formats/IFormatCodecAudio.h"
#include "media/formats/IFormatCodecVideo.h"

#include <algorithm>
#include <cmath>

namespace Tessor::Jobs
{

namespace
{

void AddVideo(ProbeTrack& track, const Conf::IFormatCodecVideo& format)
{
    track.frame = format.GetFrameInfo();
    const std::string& fps = Conf::IFormatCodecVideo::TAG_FPS;
    if (format.GetProperties().ChildExists(fps))
        track.frameRate = format.GetProperties()[fps].GetRatio();
}

/// Whether a track has groups of pictures. Of those each is read apart.
bool IsCut(const Host::TrackInfo& track)
{
    return track.type == MediaType::Video && track.IsDense() && track.format;
}

long long MeasureBitRate(const LosslessFinding& finding, const Host::TrackInfo& track, avTime whole)
{
    const avTime length = track.start != NoTime && track.end != NoTime ? track.end - track.start : whole;
    return length > 0 ? std::llround(8.0 * static_cast<double>(finding.bytes) / Seconds(length)) : 0;
}

/// Whether cuts of a video track can fall anywhere, as the cut stream itself finds out.
bool CanCutAnywhere(const SP<Proc::IStreamRaw>& stream)
{
    // nothing is cut: adding the stream is what makes it look for an encoder
    const auto controller =
        Proc::FilterCutController::Create(Proc::SettingsFilterCutController(), Host::CodecFactory::Create());
    const SP<Proc::IStreamRaw> cut = controller->AddStream(stream);
    return cut->GetFormatCodec()->GetProperties()[Conf::IFormatCodecVideo::TAG_CUT_ANYWHERE].GetBool();
}

} // namespace

ProbeReport ProbeJob::Run(IProgress& progress) const
{
    const SP<Host::Demuxer> demuxer = OpenInput({settings.input, settings.reading}, progress);
    const Host::MediaInfo& info = demuxer->GetInfo();
    ProbeReport report;
    report.input = info.path;
    report.container = info.container;
    report.duration = info.duration;
    report.origin = info.origin;
    report.bitRate = info.bitRate;
    report.tags = info.tags;
    report.chapters = info.chapters;
    ReadProgress reading(progress, info.duration);
    const auto passes = std::count_if(info.tracks.begin(), info.tracks.end(), IsCut) + 1;
    for (int pass = 1; const Host::TrackInfo& track : info.tracks)
    {
        if (IsCut(track))
            reading.BeginPass(static_cast<double>(pass++) / static_cast<double>(passes));
        report.tracks.push_back(ProbeOne(*demuxer, track, reading));
    }
    // last: it has all tracks delivered, where the scans before read one
    reading.BeginPass(1);
    for (const LosslessFinding& finding : DetectLossless(*demuxer, reading))
    {
        ProbeTrack& track = report.tracks[static_cast<size_t>(finding.track)];
        track.lossless = finding;
        track.bitRate = MeasureBitRate(finding, info.tracks[static_cast<size_t>(finding.track)], info.duration);
        track.fault = track.fault.empty() ? finding.fault : track.fault;
        report.statistics.push_back({finding.track, finding.statistic});
    }
    report.damage = demuxer->GetDamage();
    AddDamage(report.input, report.damage, report.warnings);
    progress.Finish(info.duration);
    return report;
}

ProbeTrack ProbeJob::ProbeOne(Host::Demuxer& demuxer, const Host::TrackInfo& info, ReadProgress& reading)
{
    ProbeTrack track;
    track.index = info.index;
    track.kind = KindName(info);
    track.codec = info.codecName;
    track.tags = info.tags;
    if (!info.format)
        return track;
    if (const auto* video = dynamic_cast<const Conf::IFormatCodecVideo*>(info.format.get()))
        AddVideo(track, *video);
    if (const auto* audio = dynamic_cast<const Conf::IFormatCodecAudio*>(info.format.get()))
        track.samples = audio->GetSampleInfo();
    if (track.frame)
        track.pictures = DescribePictures(info);
    track.headerFault = info.headerFault;
    track.header = DescribeHeader(*info.format);
    if (IsCut(info))
        track.fault = FindFault([&] { ProbePackets(track, demuxer.GetStream(info.index), info, reading); });
    return track;
}

void ProbeJob::ProbePackets(ProbeTrack& track, const SP<Proc::IStreamRaw>& stream, const Host::TrackInfo& info,
                            ReadProgress& reading)
{
    ProbeCutting& cutting = track.cutting.emplace();
    AddMessages(*track.pictures, stream);
    const auto ask = [&]
    {
        cutting.anywhere = CanCutAnywhere(stream);
        if (!cutting.anywhere)
            cutting.obstacle = FindCutObstacle(*stream);
    };
    cutting.refusal = FindFault(ask); // a cut will end with it
    cutting.groups = ScanGroups(*Host::FieldJoiner::Create(stream, info), reading);
}

} // namespace Tessor::Jobs
