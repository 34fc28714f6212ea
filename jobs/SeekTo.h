#pragma once

#include "Proc/StreamTemplates/IStream.h"

namespace Tessor::Jobs
{

/// Both phases of a seek at once, for a stream that is moved alone.
inline void SeekTo(Proc::IStream& stream, avTime time)
{
    stream.RequestSeek(time, nullptr);
    stream.DoSeek();
}

} // namespace Tessor::Jobs
