#pragma once

#include "Fnd/Export.h"

#include <cstdint>
#include <limits>
#include <string>

namespace Tessor
{

/// A time or a span of time in microseconds.
using avTime = int64_t;

inline constexpr avTime MILLISECOND = 1000;
inline constexpr avTime SECOND = 1000 * MILLISECOND;

/// "No value": the same bits as FFmpeg's AV_NOPTS_VALUE.
inline constexpr avTime NoTime = std::numeric_limits<int64_t>::min();

/// The longest time that the system accepts: 30 days.
inline constexpr avTime MAX_DURATION = 30LL * 24 * 3600 * SECOND;

/// a + b. NoTime when either is NoTime; a sum outside of the range stops at its bound.
TESSOR_API avTime AddTime(avTime a, avTime b);

/// a - b under the rules of AddTime.
TESSOR_API avTime SubTime(avTime a, avTime b);

/// "[-]H:MM:SS.uuuuuu", and "NoTime" for NoTime.
TESSOR_API std::string T2S(avTime time);

} // namespace Tessor
