#pragma once

namespace Tessor::Host
{

/// How a file is written.
struct MuxerSettings
{
    bool overwrite = false; ///< what is at the place when the file is complete
};

} // namespace Tessor::Host
