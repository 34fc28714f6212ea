#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"

#include <functional>
#include <vector>

namespace Tessor::Jobs
{

/// Reads streams of one file from its start to its end side by side, and hands each packet over with the place of its
/// stream in the list.
TESSOR_API void ReadJointly(const std::vector<SP<Proc::IStreamRaw>>& streams,
                            const std::function<void(size_t place, const SP<Proc::IDataPacket>& packet)>& take);

} // namespace Tessor::Jobs
