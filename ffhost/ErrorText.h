#pragma once

#include "Fnd/Export.h"

#include <string>

namespace Tessor::Host
{

/// The cause that a code of FFmpeg's libraries stands for (AVERROR of errno, too), in plain words, for the end of a
/// message that says what was being done: "can't be written: no space is left on the device".
TESSOR_API std::string DescribeError(int code);

} // namespace Tessor::Host
