#include "ffhost/Log.h"

#include "ffhost/ErrorText.h"

extern "C"
{
#include <libavutil/log.h>
}

#include <array>
#include <glog/logging.h>
#include <mutex>

namespace Tessor::Host
{

namespace
{

// The innermost one of the thread: a call that is watched may make others that are watched as well.
thread_local FFmpegErrorCapture* current_capture = nullptr;

std::string Format(void* context, int level, const char* format, va_list arguments)
{
    thread_local int printPrefix = 1; // libavutil's own state: whether the next text begins a line
    std::array<char, 1024> line{};
    av_log_format_line2(context, level, format, arguments, line.data(), static_cast<int>(line.size()), &printPrefix);
    return line.data();
}

} // namespace

/// The callback, which libavutil calls on whichever thread has something to tell. What nobody will see is not
/// formatted.
struct FFmpegLogWriter
{
    static void Write(void* context, int level, const char* format, va_list arguments)
    {
        // beside our own levels: warnings are rare, and debugging texts come for every packet
        const int verbosity = level <= AV_LOG_WARNING ? 21 : level <= AV_LOG_INFO ? 31 : 4001;
        // later errors are mostly consequences of the first
        const bool captured = level <= AV_LOG_ERROR && current_capture && current_capture->first.empty();
        if (!captured && !VLOG_IS_ON(verbosity))
            return;
        const std::string line = Format(context, level, format, arguments);
        if (captured)
            current_capture->first = line;
        VLOG(verbosity) << line;
    }
};

void RouteFFmpegLog()
{
    // libavutil has one callback a process, and no way to take it back
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_callback(FFmpegLogWriter::Write); });
}

FFmpegErrorCapture::FFmpegErrorCapture() : outer(current_capture)
{
    RouteFFmpegLog();
    current_capture = this;
}

FFmpegErrorCapture::~FFmpegErrorCapture()
{
    current_capture = outer;
}

std::string FFmpegErrorCapture::GetText(int code) const
{
    return first.empty() ? DescribeError(code) : GetText();
}

std::string FFmpegErrorCapture::GetText() const
{
    // After the name of the context, "[crop @ 0x55d0] ".
    const size_t bracket = !first.empty() && first.front() == '[' ? first.find("] ") : std::string::npos;
    std::string text = bracket == std::string::npos ? first : first.substr(bracket + 2);
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

} // namespace Tessor::Host
