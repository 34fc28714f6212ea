#pragma once

#include "cli/FilterCatalog.h"
#include "cli/Progress.h"
#include "cli/Statistics.h"
#include "ffhost/codecs/TrackEncoding.h"

#include <string>
#include <vector>

namespace Tessor::Cli
{

/// Sound that is read on a thread of its own.
SP<Proc::IStreamAudio> ReadSoundAhead(const SP<Proc::IStreamAudio>& stream);

/// Brings sound to what the encoder takes, and encodes it.
SP<Host::TrackEncoder> EncodeSound(const SP<Proc::IStreamAudio>& stream, const Host::EncoderOptions& options,
                                   const Factories& factories);

struct OpenedSound
{
    int track; ///< in the file
    SP<Proc::IStreamAudio> stream;
};

/// The first track of sound of a file, decoded ahead. Throws UserError when there is none.
OpenedSound OpenSound(const std::string& path);

struct SoundReport
{
    avTime duration = 0;
    std::string encoder;
    int rate = 0, channels = 0;
    double wallSeconds = 0;
    Statistics statistics = {};
};

/// Encodes a stream as the only track of a file.
SoundReport WriteSound(const SP<Proc::IStreamAudio>& stream, const std::string& path,
                       const Host::EncoderOptions& options, const Factories& factories, Progress& progress);

/// Prints the report on standard output, as JSON where that is wanted.
void PrintSound(const SoundReport& report, const std::string& path, const CommonOptions& common);

} // namespace Tessor::Cli
