#include "ffhost/codecs/Threads.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace Tessor::Host
{

namespace
{

std::atomic<int> limit = 0; // 0: none

} // namespace

void LimitThreads(int count)
{
    limit = std::max(count, 0);
}

int GetThreadLimit()
{
    return limit;
}

int GetThreadCount()
{
    constexpr unsigned useful = 16; // libavcodec advises against more
    const int wanted = limit;
    return wanted > 0 ? wanted : static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, useful));
}

} // namespace Tessor::Host
