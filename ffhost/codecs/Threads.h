#pragma once

#include "Fnd/Export.h"

/// How many threads FFmpeg's libraries and the encoders behind them start for one piece of work.
namespace Tessor::Host
{

/// For each codec, scaler and filter that is opened from now on in this process, whatever job it is for; 0: as many as
/// are of use. What encoders make may depend on it.
TESSOR_API void LimitThreads(int count);
/// 0 when there is none.
TESSOR_API int GetThreadLimit();

/// The limit, or else all cores, up to the number that is of use.
int GetThreadCount();

} // namespace Tessor::Host
