#include "jobs/InputFile.h"

namespace Tessor::Jobs
{

SP<Host::Demuxer> OpenInput(const std::string& path, const IProgress& progress)
{
    return Host::Demuxer::Open(path, {.checkpoint = [&progress] { ThrowIfCancelled(progress); }});
}

} // namespace Tessor::Jobs
