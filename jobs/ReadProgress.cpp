#include "jobs/ReadProgress.h"

#include <algorithm>

namespace Tessor::Jobs
{

ReadProgress& ReadProgress::BeginPass(double newEnd)
{
    begin = end;
    end = newEnd;
    reached = 0;
    return *this;
}

void ReadProgress::Reach(avTime time)
{
    reached = std::clamp<avTime>(time, reached, std::max(duration, reached));
    const double share = duration > 0 ? static_cast<double>(reached) / static_cast<double>(duration) : 0;
    const double done = begin + (end - begin) * share;
    progress.Tell(done, static_cast<avTime>(done * static_cast<double>(duration)));
}

} // namespace Tessor::Jobs
