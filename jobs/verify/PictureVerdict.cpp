#include "jobs/verify/PictureVerdict.h"

#include <fmt/format.h>

namespace Tessor::Jobs
{

namespace
{

/// What the ticks of containers may move a picture by, in ms.
constexpr double time_tolerance = 5;

} // namespace

std::string PictureVerdict::DescribeFaults() const
{
    std::string text;
    const auto append = [&](const std::string& fault) { text += (text.empty() ? "" : "; ") + fault; };
    if (expected != found)
        append(fmt::format("{} pictures, {} expected", found, expected));
    else if (lowestRatio < LEAST_RATIO)
        append(fmt::format("a picture differs from its source: {:.1f} dB", lowestRatio));
    if (worstTimeErrorMs > time_tolerance)
        append(fmt::format("a picture lies {:.1f} ms off its place", worstTimeErrorMs));
    if (disordered > 0)
        append(fmt::format("the times of {} pictures contradict the order in which they are shown", disordered));
    return text;
}

} // namespace Tessor::Jobs
