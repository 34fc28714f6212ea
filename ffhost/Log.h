#pragma once

namespace Tessor::Host
{

/// Sends what FFmpeg's libraries log to our verbose log, once a process: nothing of it reaches stderr by itself.
void RouteFFmpegLog();

} // namespace Tessor::Host
