#include "effects/TimeToProgress.h"

namespace Tessor::Proc
{

double TimeToProgress::Linear(const avTime& current, const avTime& begin, const avTime& end)
{
    return static_cast<double>(SubTime(current, begin)) / static_cast<double>(SubTime(end, begin));
}

} // namespace Tessor::Proc
