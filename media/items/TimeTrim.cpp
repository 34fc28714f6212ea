#include "media/items/TimeTrim.h"

#include "Fnd/Exception.h"

namespace Tessor::Proc::Details
{

namespace
{

/// A cut of the whole duration is refused as well: an item that lasts no time would stay.
void RequireTrim(avTime pts, avTime duration, avTime amount)
{
    if (pts == NoTime || duration == NoTime || amount < 0 || amount >= duration)
        Throw<Exception>(TESSOR_HERE,
                         "Can't cut " + T2S(amount) + " off an item at " + T2S(pts) + " that lasts " + T2S(duration));
}

} // namespace

void TrimTimeStart(avTime& pts, avTime& duration, avTime amount)
{
    RequireTrim(pts, duration, amount);
    pts = AddTime(pts, amount);
    duration -= amount;
}

void TrimTimeEnd(avTime pts, avTime& duration, avTime amount)
{
    RequireTrim(pts, duration, amount);
    duration -= amount;
}

} // namespace Tessor::Proc::Details
