#pragma once

#include "Fnd/RefCount.h"
#include "media/items/TimeTrim.h"

namespace Tessor::Proc::Details
{

/// An item that keeps its own times, and the count of who holds it. Unless a class overrides them, the trims cut these
/// times and nothing else; they throw as TrimTimeStart.
template <class Interface>
class TimedData : public Interface, public RefCountImpl
{
public:
    avTime GetDuration() const override { return duration; }
    void SetDuration(avTime newDuration) override { duration = newDuration; }
    avTime GetPTS() const override { return pts; }
    void SetPTS(avTime newPts) override { pts = newPts; }
    void TrimStart(avTime amount) override { TrimTimeStart(pts, duration, amount); }
    void TrimEnd(avTime amount) override { TrimTimeEnd(pts, duration, amount); }

protected:
    explicit TimedData(avTime pts = NoTime, avTime duration = NoTime) : pts(pts), duration(duration) {}

    avTime pts;
    avTime duration;
};

} // namespace Tessor::Proc::Details
