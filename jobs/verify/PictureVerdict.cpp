#include "jobs/verify/PictureVerdict.h"

#include "Fnd/Plural.h"

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
        append(fmt::format("{}, {} expected", Count(found, "picture"), expected));
    else if (lowestRatio < LEAST_RATIO)
        append(fmt::format("a picture differs from its source: {:.1f} dB", lowestRatio));
    if (worstTimeErrorMs > time_tolerance)
        append(fmt::format("a picture lies {:.1f} ms off its place", worstTimeErrorMs));
    if (disordered > 0)
        append(fmt::format("{} shown in an order that times contradict", Count(disordered, "picture")));
    return text;
}

} // namespace Tessor::Jobs
