#include "ffhost/streams/PictureParts.h"

#include <algorithm>
#include <iterator>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

/// What a time that somebody wrote in milliseconds may have lost.
constexpr avTime rounding = 500;

} // namespace

SP<IStreamVideo> PictureParts::Create(const SP<IStreamVideo>& parent, const std::vector<avTime>& bounds)
{
    return SP<IStreamVideo>(new PictureParts(parent, bounds));
}

PictureParts::PictureParts(const SP<IStreamVideo>& parent, const std::vector<avTime>& bounds)
    : PartStream(parent, "PictureParts", bounds)
{
}

void PictureParts::Part(const SP<IDataVideo>& frame, std::deque<SP<IDataVideo>>& parts)
{
    const avTime start = Snap(frame->GetPTS());
    const avTime end = Snap(AddTime(frame->GetPTS(), frame->GetDuration()));
    parts.push_back(frame);
    // One that is no longer than the rounding would vanish: it keeps its own times.
    if (start == NoTime || end == NoTime || start >= end)
        return;
    // a part shares the picture with the others, and has its own times only
    frame->SetPTS(start);
    for (auto bound = std::upper_bound(bounds.begin(), bounds.end(), start); bound != bounds.end() && *bound < end;
         ++bound)
    {
        parts.back()->SetDuration(*bound - parts.back()->GetPTS());
        parts.push_back(frame->Clone(0));
        parts.back()->SetPTS(*bound);
    }
    parts.back()->SetDuration(end - parts.back()->GetPTS());
}

avTime PictureParts::Snap(avTime time) const
{
    const auto next = std::lower_bound(bounds.begin(), bounds.end(), time);
    if (time != NoTime && next != bounds.end() && *next - time <= rounding)
        return *next;
    if (time != NoTime && next != bounds.begin() && time - *std::prev(next) <= rounding)
        return *std::prev(next);
    return time;
}

} // namespace Tessor::Host
