#pragma once

#include "ffhost/codecs/TrackEncoding.h"
#include "ffhost/io/reading/Demuxer.h"
#include "ffhost/io/writing/MuxerSettings.h"
#include "jobs/ClosedGaps.h"
#include "jobs/IProgress.h"
#include "jobs/InputFile.h"
#include "jobs/chains/FilterCatalog.h"
#include "jobs/reports/JobReport.h"

#include <memory>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Sound that is read on a thread of its own where that is of use.
SP<Proc::IStreamAudio> ReadSoundAhead(const SP<Proc::IStreamAudio>& stream);

/// Brings sound to what the encoder takes, and encodes it.
SP<Host::TrackEncoder> EncodeSound(const SP<Proc::IStreamAudio>& stream, const Host::EncoderOptions& options,
                                   const Factories& factories);

struct OpenedSound
{
    SP<Host::Demuxer> file;
    int track; ///< in the file
    SP<Proc::IStreamAudio> stream;
    std::shared_ptr<const ClosedGaps> gaps; ///< of the stream

    /// Warns of what reading has met: damage, and gaps longer than `maxGap`.
    void Warn(avTime maxGap, std::vector<std::string>& warnings) const;
};

/// The first track of sound of a file, decoded ahead, of the tracks that are wanted (in the form of TrackPattern;
/// empty: of all). Gaps that are longer than `maxGap` are closed. Throws JobError when there is none.
OpenedSound OpenSound(const Input& input, const std::string& wanted, avTime maxGap, const IProgress& progress);

/// What was written.
struct SoundReport : JobReport
{
    std::string output;
    avTime duration = 0;
    std::string encoder;
    int rate = 0, channels = 0;
    double wallSeconds = 0;
};

/// Encodes a stream as the only track of a file.
SoundReport WriteSound(const SP<Proc::IStreamAudio>& stream, const std::string& path, const Host::MuxerSettings& file,
                       const Host::EncoderOptions& options, const Factories& factories, IProgress& progress);

} // namespace Tessor::Jobs
