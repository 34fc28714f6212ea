#pragma once

#include <mutex>
#include <string>

namespace Tessor::Test
{

/// What was asked of one or of several streams, in the order of the calls: "a.RequestSeek(80) a.DoSeek". Thread-safe.
class CallLog
{
public:
    void Add(const std::string& call)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        text += (text.empty() ? "" : " ") + call;
    }

    /// The calls since the last Take.
    std::string Take()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        std::string taken;
        taken.swap(text);
        return taken;
    }

private:
    std::mutex mutex;
    std::string text;
};

} // namespace Tessor::Test
