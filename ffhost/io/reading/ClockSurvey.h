#pragma once

#include "ffhost/io/reading/SourceFile.h"

namespace Tessor::Host
{

/// Whether the clock of a file seems to start anew somewhere inside of it, so that its times can't be told by its two
/// ends. Told by samples, of which there are never more than a hundred: looked at more closely is where time and bytes
/// agree least. A gap of some seconds that the rate of the file would bear out as well stays unnoticed.
///
/// Moves the file. True for short files, which are read as quickly; false for formats whose clock does not jump.
TESSOR_API bool HasClockJump(SourceFile& file, int stream);

} // namespace Tessor::Host
