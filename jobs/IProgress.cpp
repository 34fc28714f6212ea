#include "jobs/IProgress.h"

#include "jobs/JobError.h"

namespace Tessor::Jobs
{

void IProgress::BeginStage(const char*) {}

void ThrowIfCancelled(const IProgress& progress)
{
    if (progress.IsCancelled())
        throw JobError(JobError::Cancelled, "interrupted");
}

} // namespace Tessor::Jobs
