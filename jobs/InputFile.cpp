#include "jobs/InputFile.h"

namespace Tessor::Jobs
{

// What ends a job ends it where it waits: in reading. So neither filters nor codecs have to know of it.
SP<Host::Demuxer> OpenInput(const std::string& path, const IProgress& progress)
{
    return Host::Demuxer::Open(path, {.checkpoint = [&progress] { ThrowIfCancelled(progress); }});
}

} // namespace Tessor::Jobs
