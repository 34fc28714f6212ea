#pragma once

#include "Fnd/Export.h"
#include "ffhost/codecs/TrackEncoding.h"
#include "ffhost/io/writing/Muxer.h"
#include "jobs/IProgress.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Refuses an output in a container that there is not, or that can't be written there, one that is one of the inputs
/// (whatever its name), and one that exists already. Throws JobError.
TESSOR_API void CheckOutput(const std::string& output, const std::vector<std::string>& inputs,
                            const Host::MuxerSettings& writing);

/// The same for a file that is no media file: its name tells nothing.
void CheckPlace(const std::string& output, const std::vector<std::string>& inputs, bool overwrite);

/// Refuses an encoder that is not there, or that takes no such options, for tracks of that kind of an output in that
/// format. Throws JobError.
void CheckOutputEncoder(const std::string& output, const std::string& format, MediaType type,
                        const Host::EncoderOptions& options);

/// The same settings for a job that may be cancelled while what reads its output is waited for. The progress outlives
/// the muxer.
Host::MuxerSettings Cancellable(const Host::MuxerSettings& writing, const IProgress& progress);

/// Completes the file. Throws JobError as above when something has appeared at its place in the meantime.
void FinishOutput(Host::Muxer& muxer);

} // namespace Tessor::Jobs
