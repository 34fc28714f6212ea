#pragma once

#include "jobs/IProgress.h"

namespace Tessor::Jobs
{

/// Tells the progress of a job that goes through a file, perhaps several times, and writes nothing.
class ReadProgress
{
public:
    /// The duration is that of the file.
    ReadProgress(IProgress& progress, avTime duration) : progress(progress), duration(duration) {}

    /// The pass that begins takes the job from where the one before ended to `end`, from 0 to 1.
    ReadProgress& BeginPass(double end);
    /// Reading has come to that time.
    void Reach(avTime time);

private:
    IProgress& progress;
    const avTime duration;
    double begin = 0, end = 0; // of the pass
    avTime reached = 0;        // the highest time of the pass: packets come in decoding order
};

} // namespace Tessor::Jobs
