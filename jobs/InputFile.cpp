#include "jobs/InputFile.h"

namespace Tessor::Jobs
{

// What ends a job ends it where it waits: in reading. So neither filters nor codecs have to know of it.
SP<Host::Demuxer> OpenInput(const Input& input, const IProgress& progress)
{
    Host::DemuxerSettings settings = input.reading;
    settings.checkpoint = [&progress] { ThrowIfCancelled(progress); };
    return Host::Demuxer::Open(input.path, settings);
}

} // namespace Tessor::Jobs
