#include "ffhost/io/writing/FileWriter.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace Tessor::Host
{

namespace
{

constexpr size_t MAX_QUEUED = 8;              // blocks, each a buffer of OutputFile's
constexpr size_t WRITEBACK_PORTION = 8 << 20; // bytes: large enough for a disk to write in one go

} // namespace

FileWriter::FileWriter(int fd, bool seekable) : fd(fd), seekable(seekable), thread([this] { Run(); }) {}

FileWriter::~FileWriter()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        ended = true;
    }
    changed.notify_all();
    thread.join();
}

void FileWriter::Write(int64_t offset, const uint8_t* data, size_t size)
{
    Block block;
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return queue.size() < MAX_QUEUED; });
        if (!spare.empty())
        {
            block = std::move(spare.back());
            spare.pop_back();
        }
    }
    // Copied without the lock, so that the thread takes the next block meanwhile. One thread calls: there still is
    // room.
    block.offset = offset;
    block.bytes.assign(data, data + size);
    {
        const std::lock_guard<std::mutex> lock(mutex);
        queue.push_back(std::move(block));
    }
    changed.notify_all();
}

void FileWriter::Finish()
{
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this] { return queue.empty(); });
}

void FileWriter::Run()
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;)
    {
        changed.wait(lock, [this] { return !queue.empty() || ended; });
        if (ended)
            return;
        // Written without the lock, or the caller would wait for the disk. A deque keeps its front in place while
        // others are added at its end; it stays there until it is written, as Finish waits for an empty queue.
        const Block& block = queue.front();
        lock.unlock();
        WriteOut(block);
        lock.lock();
        spare.push_back(std::move(queue.front()));
        queue.pop_front();
        changed.notify_all();
    }
}

// After a failure blocks are taken and dropped, so that nobody waits for room for ever. Pipes take part of a block.
void FileWriter::WriteOut(const Block& block)
{
    for (size_t done = 0; done < block.bytes.size() && !error;)
    {
        const uint8_t* const data = block.bytes.data() + done;
        const size_t left = block.bytes.size() - done;
        const ssize_t count =
            seekable ? pwrite(fd, data, left, block.offset + static_cast<int64_t>(done)) : write(fd, data, left);
        if (count > 0)
            done += static_cast<size_t>(count);
        else if (count == 0)
            error = EIO; // it would go on like this for ever
        else if (errno != EINTR)
            error = errno;
    }
    StartWriteback(block.bytes.size());
}

void FileWriter::StartWriteback(size_t written)
{
    unsynced += written;
    if (unsynced < WRITEBACK_PORTION)
        return;
    unsynced = 0;
    // A failure is one of the flush at the end too.
    sync_file_range(fd, 0, 0, SYNC_FILE_RANGE_WRITE);
}

} // namespace Tessor::Host
