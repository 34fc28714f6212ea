#pragma once

#include "Fnd/Export.h"

#include <boost/thread/thread.hpp>
#include <functional>
#include <vector>

namespace Tessor::Proc
{

/// The helper thread of a cut stream, which saves what a jump of the sources would lose. One thread calls at a time.
/// The owner's destructor calls WaitForAll before it touches what the function works on.
class TESSOR_API SaveThread
{
public:
    SaveThread() = default;
    SaveThread(const SaveThread&) = delete;
    SaveThread& operator=(const SaveThread&) = delete;
    ~SaveThread() { WaitForAll(); }

    /// Runs the function on a thread of its own. What it throws is logged at level 11 and ends the thread, after a
    /// call of `failed`, which must not throw. A former thread is left to itself.
    void Start(std::function<void()> save, std::function<void()> failed);
    /// Waits for the thread started last, if there is one; an interruption of the caller waits too. Throws the thread
    /// library's resource error when called from that thread.
    void Wait();
    /// Waits for former threads as well.
    void WaitForAll();

private:
    boost::thread thread;              // started last; not joinable when there is none
    std::vector<boost::thread> former; // nobody waited for these: joined at the end, for they use the owner
};

} // namespace Tessor::Proc
