#pragma once

#include "ffhost/io/FileHandle.h"

#include <functional>
#include <string>

namespace Tessor::Host
{

/// Opens what is read in any order: an ordinary file, or standard input, which may have to be waited for; `checkpoint`
/// is asked meanwhile. Throws Core::IOException "FILE: cause" for what can't be opened, is empty or can't be sought:
/// folders, pipes, sockets and devices.
FileHandle OpenInputHandle(const std::string& path, const std::function<void()>& checkpoint);

} // namespace Tessor::Host
