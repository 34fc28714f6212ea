#pragma once

#include "Fnd/Export.h"

#include <string>

namespace Tessor
{

/// The call stack of the calling thread as text, one frame a line.
TESSOR_API std::string GetCallStack();

} // namespace Tessor
