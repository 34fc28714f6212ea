#include "Proc/Filters/Filters/Cutting/SaveThread.h"

#include <boost/exception/diagnostic_information.hpp>
#include <glog/logging.h>

namespace Tessor::Proc
{

namespace
{

void Join(boost::thread& thread)
{
    // The helper ends by itself soon. A caller whom an interruption drove away would leave it running.
    const boost::this_thread::disable_interruption uninterrupted;
    if (thread.joinable())
        thread.join();
}

} // namespace

void SaveThread::Start(std::function<void()> save, std::function<void()> failed)
{
    if (thread.joinable())
        former.push_back(std::move(thread));
    thread = boost::thread(
        [save = std::move(save), failed = std::move(failed)]
        {
            try
            {
                save();
            }
            catch (...)
            {
                failed();
                VLOG(11) << boost::current_exception_diagnostic_information(true);
            }
        });
}

void SaveThread::Wait()
{
    Join(thread);
}

void SaveThread::WaitForAll()
{
    Join(thread);
    for (boost::thread& old : former)
        Join(old);
    former.clear();
}

} // namespace Tessor::Proc
