#include "ffhost/io/Writeback.h"

#include <fcntl.h>

namespace Tessor::Host
{

Writeback::Writeback(int fd) : fd(fd), thread([this] { Run(); }) {}

Writeback::~Writeback()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        ended = true;
    }
    changed.notify_one();
    thread.join();
}

void Writeback::Start()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        requested = true;
    }
    changed.notify_one();
}

void Writeback::Run()
{
    for (;;)
    {
        {
            std::unique_lock<std::mutex> lock(mutex);
            changed.wait(lock, [&] { return requested || ended; });
            if (ended)
                return;
            requested = false;
        }
        // A failure is one of the flush at the end too.
        sync_file_range(fd, 0, 0, SYNC_FILE_RANGE_WRITE);
    }
}

} // namespace Tessor::Host
