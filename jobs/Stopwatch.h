#pragma once

#include <chrono>

namespace Tessor::Jobs
{

/// Seconds on the wall since it was made.
class Stopwatch
{
public:
    double GetSeconds() const { return std::chrono::duration<double>(Clock::now() - start).count(); }

private:
    using Clock = std::chrono::steady_clock;

    const Clock::time_point start = Clock::now();
};

} // namespace Tessor::Jobs
