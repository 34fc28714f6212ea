#pragma once

#include "Fnd/Export.h"
#include "Fnd/Time.h"

#include <functional>

namespace Tessor::Proc
{

/// The range of time in which an effect works, and the curve by which it runs from 0 to 1 over it.
struct TESSOR_API TimeToProgress
{
    using Curve = std::function<double(const avTime& current, const avTime& begin, const avTime& end)>;

    avTime begin = 0;
    avTime end = 0;
    Curve curve = &Linear;

    /// (current - begin) / (end - begin). An empty range gives infinity or NaN, as the division of doubles does.
    static double Linear(const avTime& current, const avTime& begin, const avTime& end);
    avTime GetDuration() const { return SubTime(end, begin); }
    double GetProgress(avTime current) const { return curve(current, begin, end); }
};

} // namespace Tessor::Proc
