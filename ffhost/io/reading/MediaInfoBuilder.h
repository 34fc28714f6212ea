#pragma once

#include "ffhost/io/MediaInfo.h"
#include "ffhost/io/reading/SourceFile.h"

namespace Tessor::Host
{

/// Describes a file as its container does. The duration is the container's claim, NoTime when it makes none.
MediaInfo BuildMediaInfo(const SourceFile& file, const std::string& path);

/// Gives a bit rate to the video tracks whose container tells none: what the other tracks leave of the file's size.
void CompleteBitRates(MediaInfo& info, long long fileSize);

} // namespace Tessor::Host
