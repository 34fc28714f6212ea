#include "ffhost/Log.h"

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

void Write(void* context, int level, const char* format, va_list arguments)
{
    const int verbosity = level <= AV_LOG_WARNING ? 21 : level <= AV_LOG_INFO ? 31 : 4001;
    if (!VLOG_IS_ON(verbosity))
        return;
    thread_local int printPrefix = 1; // libavutil's own state: whether the next text begins a line
    std::array<char, 1024> line{};
    av_log_format_line2(context, level, format, arguments, line.data(), static_cast<int>(line.size()), &printPrefix);
    VLOG(verbosity) << line.data();
}

} // namespace

void RouteFFmpegLog()
{
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_callback(Write); });
}

} // namespace Tessor::Host
