#include "ffhost/io/writing/FileWriter.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace Tessor::Host
{

namespace
{

constexpr size_t BLOCK_SIZE = 1 << 18;        // what goes to the thread at once
constexpr size_t MAX_QUEUED = 8;              // blocks
constexpr size_t WRITEBACK_PORTION = 8 << 20; // bytes: large enough for a disk to write in one go

} // namespace

FileWriter::FileWriter(int fd, bool seekable) : fd(fd), seekable(seekable)
{
    spare.reserve(MAX_QUEUED + 1); // there are no more blocks: the thread, which nobody would hear, needs no memory
    thread = std::thread([this] { Run(); });
}

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
    if (offset != gathered.offset + static_cast<int64_t>(gathered.bytes.size()))
    {
        HandOver();
        gathered.offset = offset;
    }
    while (size > 0)
    {
        gathered.bytes.reserve(BLOCK_SIZE);
        const size_t part = std::min(size, BLOCK_SIZE - gathered.bytes.size());
        gathered.bytes.insert(gathered.bytes.end(), data, data + part);
        data += part;
        size -= part;
        if (gathered.bytes.size() == BLOCK_SIZE)
            HandOver();
    }
}

// The next block goes on where this one ends.
void FileWriter::HandOver()
{
    if (gathered.bytes.empty())
        return;
    Block next{.offset = gathered.offset + static_cast<int64_t>(gathered.bytes.size()), .bytes = {}};
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return queue.size() < MAX_QUEUED; });
        if (!spare.empty())
        {
            next.bytes = std::move(spare.back());
            spare.pop_back();
        }
        queue.push_back(std::move(gathered));
    }
    changed.notify_all();
    gathered = std::move(next);
}

void FileWriter::Finish()
{
    HandOver();
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
        spare.push_back(std::move(queue.front().bytes));
        spare.back().clear();
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
