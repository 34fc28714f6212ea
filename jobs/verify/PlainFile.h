#pragma once

#include "ffhost/bitstream/PacketForm.h"
#include "jobs/InputFile.h"
#include "jobs/ReadProgress.h"
#include "jobs/verify/KeptTime.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// A track of a file as a plain read from start to end finds it.
struct PlainTrack
{
    Host::TrackInfo info;
    bool linear = false; ///< what stands for packets are stretches of linear samples
    avTime longest = 0;  ///< of the packets and of what stands for them
    std::vector<Host::PacketPrint> packets;
};

struct PlainFile
{
    Host::MediaInfo info;
    std::vector<PlainTrack> tracks;
};

/// Reads all tracks that can be copied, video first. With kept time only what it holds, at its place there.
PlainFile ReadPlainFile(const Input& input, const IProgress& progress, ReadProgress& reading,
                        const KeptTime* kept = nullptr);

} // namespace Tessor::Jobs
