#pragma once

#include "ffhost/io/Damage.h"
#include "ffhost/io/reading/SourceFile.h"

namespace Tessor::Host
{

/// Holds what there is of a file against what its container tells: packets that lie beyond the end of the file, by the
/// index, or an end that comes long before the file's duration. `info` has the container's own duration still, and
/// `end` is what was measured. None where nothing is missing.
Damage FindTruncation(const SourceFile& file, const MediaInfo& info, avTime end);

} // namespace Tessor::Host
