#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace Tessor::Host
{

/// Gathers what is written into blocks, and writes these on a thread of its own, so that filling the file and handing
/// it to the system go on at the same time. The disk is told to begin while the file still grows, which leaves the
/// flush at the end little to wait for.
///
/// Threads: one thread calls.
class FileWriter
{
public:
    /// What can't be sought is written in the order of the calls. `fd` stays the caller's.
    FileWriter(int fd, bool seekable);
    /// Drops what is not written yet.
    ~FileWriter();
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;

    /// The thread may be far behind, for as long as a pipe is not read: waits for at most `patience` until there is
    /// room for a block. Returns whether there is.
    bool WaitForRoom(std::chrono::milliseconds patience);
    /// Copies the bytes, once. There has to be room; what is larger than a block takes more of it.
    void Write(int64_t offset, const uint8_t* data, size_t size);
    /// Waits in the same way until everything is written, or has failed. Returns whether that is so.
    bool Finish(std::chrono::milliseconds patience);
    /// errno of the first write that failed, after which nothing is written any more; 0 while all is well.
    int GetError() const { return error; }

private:
    struct Block
    {
        int64_t offset = 0;
        std::vector<uint8_t> bytes;
    };

    /// Gives the thread what is gathered.
    void HandOver();
    void Run();
    void WriteOut(const Block& block);
    ssize_t WritePart(const uint8_t* data, size_t size, int64_t offset) const;
    void StartWriteback(size_t written);

    const int fd;
    const bool seekable;
    Block gathered;             // grows up to its full size, or until something is written elsewhere; the caller's own
    size_t unsynced = 0;        // bytes since the disk was last told to begin; the thread's own
    std::atomic<int> error = 0; // set by the thread
    std::mutex mutex;           // round what follows
    std::condition_variable changed;
    std::deque<Block> queue;                 // to be written; the front one is being written
    std::vector<std::vector<uint8_t>> spare; // empty, memory of blocks that are written: it goes round
    std::atomic<bool> ended = false; // the thread is to end; also asked without the mutex, in the middle of a block
    std::thread thread;              // last: it uses all of the above
};

} // namespace Tessor::Host
