#include "media/formats/FrameInfo.h"

#include <numeric>

namespace Tessor::Conf
{

FrameInfo::FrameInfo(int width, int height, unsigned num, unsigned den) : width(width), height(height)
{
    if (num == 0 || den == 0)
        return;
    const unsigned divisor = std::gcd(num, den);
    aspectNum = num / divisor;
    aspectDen = den / divisor;
}

} // namespace Tessor::Conf
