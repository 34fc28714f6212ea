#pragma once

#include "Fnd/Time.h"

namespace Tessor::Jobs
{

/// Follows a job, and may end it.
///
/// Threads: a job tells its progress on the thread that runs it, and asks on all of its threads.
class TESSOR_API IProgress
{
public:
    virtual ~IProgress() = default;

    /// The job goes on with something else, whose progress counts from 0 again: "verify".
    virtual void BeginStage(const char* name);
    /// `done` from 0 to 1; `written` is the time of the result that has been written so far. Comes for every packet.
    virtual void Tell(double done, avTime written) = 0;
    /// All is written or read, and a result complete once the job has returned. Comes once a stage.
    virtual void Finish(avTime written) = 0;
    /// Asked between packets: true ends the job with JobError::Cancelled, and nothing of its result stays.
    virtual bool IsCancelled() const = 0;
};

/// Of a job that nobody follows.
class TESSOR_API NoProgress final : public IProgress
{
    void Tell(double, avTime) override {}
    void Finish(avTime) override {}
    bool IsCancelled() const override { return false; }
};

/// Throws JobError when that is wanted.
TESSOR_API void ThrowIfCancelled(const IProgress& progress);

} // namespace Tessor::Jobs
