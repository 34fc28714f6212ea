#pragma once

#include "ffhost/io/reading/Demuxer.h"
#include "jobs/IProgress.h"
#include "jobs/ReadProgress.h"
#include "jobs/detect/ProbeReport.h"

#include <string>

namespace Tessor::Jobs
{

struct ProbeSettings
{
    std::string input;
    Host::DemuxerSettings reading = {}; ///< of the input
};

/// Tells a file's tracks, codec headers and groups of pictures, and how it can be cut. Reads it several times.
class TESSOR_API ProbeJob
{
public:
    explicit ProbeJob(ProbeSettings settings) : settings(std::move(settings)) {}
    ProbeReport Run(IProgress& progress) const;

private:
    static ProbeTrack ProbeOne(Host::Demuxer& demuxer, const Host::TrackInfo& info, ReadProgress& reading);
    static void ProbePackets(ProbeTrack& track, const SP<Proc::IStreamRaw>& stream, const Host::TrackInfo& info,
                             ReadProgress& reading);

    const ProbeSettings settings;
};

} // namespace Tessor::Jobs
