#pragma once

#include "Fnd/Export.h"
#include "ffhost/codecs/TrackEncoding.h"
#include "ffhost/io/writing/Muxer.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Refuses an output whose name tells no container, that is one of the inputs (whatever its name), or that exists
/// already. Throws JobError.
TESSOR_API void CheckOutput(const std::string& output, const std::vector<std::string>& inputs, bool overwrite);

/// The same for a file that is no media file: its name tells nothing.
void CheckPlace(const std::string& output, const std::vector<std::string>& inputs, bool overwrite);

/// Refuses an encoder that is not there, or that takes no such options, for the output's tracks of that kind. Throws
/// JobError.
void CheckOutputEncoder(const std::string& output, MediaType type, const Host::EncoderOptions& options);

/// Completes the file. Throws JobError as above when something has appeared at its place in the meantime.
void FinishOutput(Host::Muxer& muxer);

} // namespace Tessor::Jobs
