#include "jobs/detect/Lossless.h"

#include "Proc/Filters/Filters/Proof/FilterLosslessDetect.h"
#include "jobs/ReadJointly.h"
#include "jobs/TrackSelection.h"

#include <algorithm>

namespace Tessor::Jobs
{

namespace
{

using Settings = Proc::SettingsLosslessDetect;

/// An unknown time here and there is what containers do; a run of them, or many, is no clock.
constexpr uint64_t longest_run_of_unknown_times = 16;
constexpr uint64_t packets_per_unknown_time = 20;

Settings MakeSettings()
{
    Settings settings;
    settings.detectors = Settings::DetectDtsOverPts | Settings::DetectNotIncresingDts | Settings::DetectBadPts |
                         Settings::DetectCRAinHEVC;
    settings.maxSequentialBadPts = longest_run_of_unknown_times;
    settings.minPacketsPerBadPts = packets_per_unknown_time;
    return settings;
}

struct Detection
{
    SP<Proc::FilterLosslessDetect> filter;
    LosslessFinding finding;
};

LosslessFinding Conclude(const Detection& detection)
{
    LosslessFinding finding = detection.finding;
    // by the interface: what filters override is private
    finding.statistic = SP<Proc::IStream>(detection.filter)->GetStatistic();
    finding.copying = detection.filter->LosslessPossible();
    finding.cutting = detection.filter->LosslessCutPossible();
    finding.copyingEnd = static_cast<long long>(detection.filter->GetLosslessEnd());
    finding.cuttingEnd = static_cast<long long>(detection.filter->GetLosslessCutEnd());
    return finding;
}

} // namespace

std::vector<LosslessFinding> DetectLossless(Host::Demuxer& demuxer, ReadProgress& reading)
{
    std::vector<std::string> ignored;
    std::vector<Detection> detections;
    for (const SelectedTrack& track : SelectTracks(demuxer, "", ignored))
    {
        const Host::TrackInfo& info = demuxer.GetInfo().tracks[static_cast<size_t>(track.index)];
        if (track.stream)
            detections.push_back({Proc::FilterLosslessDetect::Create(track.stream, MakeSettings()),
                                  {track.index, KindName(info), info.codecName}});
    }
    std::vector<SP<Proc::IStreamRaw>> streams;
    streams.reserve(detections.size());
    for (const Detection& detection : detections)
        streams.emplace_back(detection.filter);
    // side by side, as a job that copies would read them: so the demuxer holds few packets
    ReadJointly(
        streams,
        [&](size_t place, const SP<Proc::IDataPacket>& packet)
        {
            ++detections[place].finding.packets;
            detections[place].finding.bytes += packet->GetSize();
            reading.Reach(packet->GetPTS());
        },
        [&](size_t place, const std::string& fault)
        {
            LosslessFinding& finding = detections[place].finding;
            finding.fault = finding.fault.empty() ? fault : finding.fault;
            ++finding.packets;
        });
    std::vector<LosslessFinding> findings;
    std::transform(detections.begin(), detections.end(), std::back_inserter(findings), Conclude);
    return findings;
}

} // namespace Tessor::Jobs
