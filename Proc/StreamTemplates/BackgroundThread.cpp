#include "Proc/StreamTemplates/BackgroundThread.h"

#include <boost/exception/diagnostic_information.hpp>
#include <boost/thread/thread.hpp>
#include <glog/logging.h>

namespace Tessor::Proc
{

BackgroundThread::BackgroundThread(const std::function<void()>& body) : thread(std::make_unique<boost::thread>(body)) {}

BackgroundThread::~BackgroundThread() = default;

void BackgroundThread::Interrupt()
{
    thread->interrupt();
}

void BackgroundThread::Join()
{
    // cut short by an interruption of the caller, the thread would be left running over an object that goes away
    const boost::this_thread::disable_interruption noInterruption;
    thread->join();
}

void BackgroundThread::Detach()
{
    thread->detach();
}

void BackgroundThread::InterruptionPoint()
{
    boost::this_thread::interruption_point();
}

bool BackgroundThread::IsInterruption() noexcept
{
    try
    {
        throw;
    }
    catch (const boost::thread_interrupted&) // derives from nothing
    {
        return true;
    }
    catch (...)
    {
        return false;
    }
}

void BackgroundThread::LogFailure()
{
    LOG(ERROR) << "Background reading thread: " << boost::current_exception_diagnostic_information(true);
}

} // namespace Tessor::Proc
