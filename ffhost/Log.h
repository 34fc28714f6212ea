#pragma once

#include "Fnd/Export.h"

#include <string>

namespace Tessor::Host
{

/// Sends what FFmpeg's libraries log to our verbose log, once a process: nothing of it reaches stderr by itself.
TESSOR_API void RouteFFmpegLog();

/// Keeps the first error that FFmpeg's libraries log on this thread while the object lives: it says more than the code
/// that a call returns.
class FFmpegErrorCapture
{
public:
    FFmpegErrorCapture();
    ~FFmpegErrorCapture();
    FFmpegErrorCapture(const FFmpegErrorCapture&) = delete;
    FFmpegErrorCapture& operator=(const FFmpegErrorCapture&) = delete;

    /// The error on one line, or the text of the code where nothing was logged.
    std::string GetText(int code) const;
    /// The error on one line; empty where nothing was logged.
    std::string GetText() const;

private:
    FFmpegErrorCapture* const outer;
    std::string first; // written by the log's callback

    friend struct FFmpegLogWriter;
};

} // namespace Tessor::Host
