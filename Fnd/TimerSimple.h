#pragma once

#include <chrono>

namespace Tessor::Core
{

/// Adds the span of its own lifetime, in microseconds, to a variable.
class TimerSimple
{
public:
    explicit TimerSimple(long long& total) : total(total), start(Clock::now()) {}
    ~TimerSimple() { total += std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count(); }
    TimerSimple(const TimerSimple&) = delete;
    TimerSimple& operator=(const TimerSimple&) = delete;

private:
    using Clock = std::chrono::steady_clock;

    long long& total;
    const Clock::time_point start;
};

} // namespace Tessor::Core
