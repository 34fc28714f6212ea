#pragma once

#include "Fnd/Export.h"

#include <functional>
#include <memory>

namespace boost
{
class thread;
}

namespace Tessor::Proc
{

/// A thread of the library that knows interruption points (Boost.Thread), so that it can be ended while it waits or
/// reads.
class TESSOR_API BackgroundThread
{
public:
    explicit BackgroundThread(const std::function<void()>& body);
    ~BackgroundThread();

    /// The thread throws at its next interruption point.
    void Interrupt();
    /// Waits for the end, and is not itself cut short by an interruption of the caller. Throws the thread library's
    /// resource error when called from the thread itself.
    void Join();
    void Detach();

    /// Throws when the calling thread was interrupted.
    static void InterruptionPoint();
    /// In a catch handler: what was thrown is an interruption, which ends the thread quietly.
    static bool IsInterruption() noexcept;
    /// In a catch handler: writes to the log what was thrown.
    static void LogFailure();

private:
    const std::unique_ptr<boost::thread> thread;
};

} // namespace Tessor::Proc
