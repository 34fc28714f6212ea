#include "ffhost/io/writing/FileWriter.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace Tessor::Host
{

namespace
{

constexpr size_t BLOCK_SIZE = 1 << 18;        // what goes to the thread at once
constexpr size_t MAX_QUEUED = 8;              // blocks
constexpr int PATIENCE = 100;                 // ms between two looks at whether to go on
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

bool FileWriter::WaitForRoom(std::chrono::milliseconds patience)
{
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, patience, [this] { return queue.size() < MAX_QUEUED; });
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
        const std::lock_guard<std::mutex> lock(mutex);
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

bool FileWriter::Finish(std::chrono::milliseconds patience)
{
    HandOver();
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, patience, [this] { return queue.empty(); });
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
    for (size_t done = 0; done < block.bytes.size() && !error && !ended;)
    {
        const ssize_t count =
            WritePart(block.bytes.data() + done, block.bytes.size() - done, block.offset + static_cast<int64_t>(done));
        if (count > 0)
            done += static_cast<size_t>(count);
        else if (count == 0)
            error = EIO; // it would go on like this for ever
        else if (errno != EINTR)
            error = errno;
    }
    StartWriteback(block.bytes.size());
}

// A pipe that says so takes PIPE_BUF bytes at once; of more it could keep us until someone reads.
ssize_t FileWriter::WritePart(const uint8_t* data, size_t size, int64_t offset) const
{
    if (seekable)
        return pwrite(fd, data, size, offset);
    pollfd output = {fd, POLLOUT, 0};
    if (poll(&output, 1, PATIENCE) > 0)
        return write(fd, data, std::min<size_t>(size, PIPE_BUF));
    errno = EINTR;
    return -1;
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
