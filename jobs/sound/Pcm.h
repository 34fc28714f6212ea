#pragma once

#include <string>

namespace Tessor::Jobs
{

/// Whether samples are stored as they are, by the name of the codec or encoder. To decode or encode them takes less
/// time than to hand them from one thread to another.
inline bool IsPcm(const std::string& name)
{
    return name.rfind("pcm_", 0) == 0;
}

} // namespace Tessor::Jobs
