#include "Proc/Filters/Filters/Video/FilterFrameRateAdjust.h"

#include "Fnd/TimerSimple.h"

#include <boost/math/special_functions/round.hpp>
#include <boost/math/special_functions/trunc.hpp>
#include <glog/logging.h>

namespace Tessor::Proc
{

namespace
{

/// The first double beyond 64 bits counts as one that does not fit, which the rounding functions miss.
double RefuseBeyondInt64(double value)
{
    return value == 0x1p63 ? std::numeric_limits<double>::infinity() : value;
}

} // namespace

SP<IStreamVideoEx> FilterFrameRateAdjust::Create(const SP<IStreamVideo>& parent, const Settings& settings)
{
    const SP<FilterFrameRateAdjust> filter(new FilterFrameRateAdjust(parent));
    filter->Initialize(settings);
    return filter;
}

SP<IDataVideo> FilterFrameRateAdjust::ReadInternal()
{
    const auto lock = LockMutex();
    const Core::TimerSimple timer(statisticsTime);
    SP<IDataVideo> next = ReadParent();
    SP<IDataVideo> result;
    if (!next)
    {
        result.swap(pending);
        statisticsCount += result ? 1 : 0;
        return result;
    }
    if (!pending)
    {
        pending.swap(next);
        next = ReadParent();
    }
    // the time first: the duration lasts to wherever the next frame has been moved
    if (next)
    {
        AdjustTimestamp(*pending, *next);
        AdjustDuration(*pending, *next);
    }
    // only the frame at the end is counted, not those that leave here
    result.swap(pending);
    pending.swap(next);
    return result;
}

double FilterFrameRateAdjust::GetRate() const
{
    const Core::Property::Ratio rate = GetFrameRate();
    if (rate.denominator() < 1)
        return 0.0;
    return static_cast<double>(rate.numerator()) / static_cast<double>(rate.denominator());
}

long long FilterFrameRateAdjust::CalculateFrameNumber(avTime time) const
{
    return boost::math::llround(RefuseBeyondInt64(static_cast<double>(time) * GetRate() / SECOND));
}

avTime FilterFrameRateAdjust::CalculateMinimumTimestampForFrameNumber(long long number) const
{
    return boost::math::lltrunc(RefuseBeyondInt64((static_cast<double>(number) - 0.49) / GetRate() * SECOND));
}

void FilterFrameRateAdjust::AdjustTimestamp(const IDataVideo& previous, IDataVideo& next) const
{
    const long long previousNumber = CalculateFrameNumber(previous.GetPTS());
    const long long nextNumber = CalculateFrameNumber(next.GetPTS());
    // frame numbers of their own: the times stay, however uneven they are
    if (previousNumber < nextNumber)
        return;
    if (nextNumber < previousNumber)
        VLOG(31) << "Previous frame number > next frame number";
    const avTime old = next.GetPTS();
    next.SetPTS(CalculateMinimumTimestampForFrameNumber(AddTime(previousNumber, 1)));
    VLOG(31) << "Adjusted timestamp from " << old << " to " << next.GetPTS() << " offset "
             << SubTime(next.GetPTS(), old);
}

void FilterFrameRateAdjust::AdjustDuration(IDataVideo& previous, const IDataVideo& next)
{
    const avTime old = previous.GetDuration();
    const avTime distance = SubTime(next.GetPTS(), previous.GetPTS());
    if (distance == old)
        return;
    previous.SetDuration(distance);
    VLOG(31) << "Adjusted duration from " << old << " to " << distance << " offset " << SubTime(distance, old);
}

} // namespace Tessor::Proc
