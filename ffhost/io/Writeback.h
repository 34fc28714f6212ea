#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace Tessor::Host
{

/// Lets the disk work while a file still grows, so that the flush at the end has little left to wait for. A thread of
/// its own asks for it: the request itself waits when the disk has enough to do.
class Writeback
{
public:
    explicit Writeback(int fd);
    /// Waits for a request that is under way.
    ~Writeback();
    Writeback(const Writeback&) = delete;
    Writeback& operator=(const Writeback&) = delete;

    /// Begins with what has been written so far; does not wait.
    void Start();

private:
    void Run();

    const int fd;
    std::mutex mutex; // round what follows
    std::condition_variable changed;
    bool requested = false; // since the last request was made
    bool ended = false;
    std::thread thread; // last: it uses all of the above
};

} // namespace Tessor::Host
