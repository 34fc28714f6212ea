#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"

#include <functional>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Reads streams of one file from its start to its end side by side, and hands each packet over with the place of its
/// stream in the list. Where packets may be at fault, `note` is told, and reading goes on with the next one.
TESSOR_API void ReadJointly(const std::vector<SP<Proc::IStreamRaw>>& streams,
                            const std::function<void(size_t place, const SP<Proc::IDataPacket>& packet)>& take,
                            const std::function<void(size_t place, const std::string& fault)>& note = nullptr);

} // namespace Tessor::Jobs
