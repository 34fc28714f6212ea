#include "effects/TimeToProgress.h"

namespace Tessor::Proc
{

double TimeToProgress::Linear(const avTime& current, const avTime& begin, const avTime& end)
{
    return static_cast<double>(current - begin) / static_cast<double>(end - begin);
}

} // namespace Tessor::Proc
