#include "Fnd/Time.h"

#include <cstdio>

namespace Tessor
{

namespace
{

/// The bound of the range on that side; NoTime lies just below it.
avTime Saturated(bool negative)
{
    return negative ? NoTime + 1 : std::numeric_limits<avTime>::max();
}

} // namespace

avTime AddTime(avTime a, avTime b)
{
    if (a == NoTime || b == NoTime)
        return NoTime;
    avTime sum = 0;
    // numbers of unlike signs don't overflow, so either sign tells at which end the sum left the range
    if (__builtin_add_overflow(a, b, &sum) || sum == NoTime)
        return Saturated(a < 0);
    return sum;
}

avTime SubTime(avTime a, avTime b)
{
    // -NoTime does not exist, every other value has its negative
    return b == NoTime ? NoTime : AddTime(a, -b);
}

std::string T2S(avTime time)
{
    if (time == NoTime)
        return "NoTime";
    const uint64_t us = time < 0 ? 0 - static_cast<uint64_t>(time) : static_cast<uint64_t>(time);
    const uint64_t seconds = us / SECOND;
    char text[48];
    std::snprintf(text, sizeof(text), "%s%llu:%02llu:%02llu.%06llu", time < 0 ? "-" : "",
                  static_cast<unsigned long long>(seconds / 3600), static_cast<unsigned long long>(seconds / 60 % 60),
                  static_cast<unsigned long long>(seconds % 60), static_cast<unsigned long long>(us % SECOND));
    return text;
}

} // namespace Tessor
