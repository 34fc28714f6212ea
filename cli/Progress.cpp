#include "cli/Progress.h"

#include "cli/Interrupt.h"
#include "jobs/Times.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace Tessor::Cli
{

Progress::Progress(const CommonOptions& common, std::string title)
    : form(common.quiet || common.progress == "none" ? Form::None
           : common.progress == "json"               ? Form::Json
           : isatty(STDERR_FILENO)                   ? Form::Bar
                                                     : Form::None),
      title(std::move(title))
{
}

Progress::~Progress()
{
    if (drawn)
        std::fputs("\r\033[K", stderr); // to the start of the line, and wipes it
}

void Progress::Tell(double done, avTime written)
{
    if (form == Form::None)
        return;
    constexpr auto interval = std::chrono::milliseconds(200);
    const Clock::time_point now = Clock::now();
    if (now - lastDrawn < interval)
        return;
    lastDrawn = now;
    drawn = form == Form::Bar;
    Draw(done, written, false);
}

// A bar is wiped, not completed: the report stands in its place.
void Progress::Finish(avTime written)
{
    if (form == Form::Json)
        Draw(1, written, true);
}

bool Progress::IsCancelled() const
{
    return IsInterrupted();
}

void Progress::Draw(double done, avTime written, bool finished) const
{
    const double mediaSeconds = Jobs::Seconds(written);
    // the length of a result may be an estimate
    done = std::clamp(done, 0.0, 1.0);
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    const double rate = elapsed > 0 ? mediaSeconds / elapsed : 0;
    const double left = done > 0 ? elapsed * (1 - done) / done : 0;
    if (form == Form::Bar)
        return DrawBar(done, rate, left);
    const nlohmann::json line = {{"progress", done},   {"media_seconds", mediaSeconds},
                                 {"elapsed", elapsed}, {"seconds_left", left},
                                 {"rate", rate},       {"finished", finished}};
    std::fputs((line.dump() + "\n").c_str(), stderr);
}

void Progress::DrawBar(double done, double rate, double left) const
{
    constexpr int width = 30;
    const int filled = static_cast<int>(done * width);
    std::fputs(fmt::format("\r\033[K{} [{}{}] {:3.0f} %  {:.1f}x  {:.0f} s left", title, std::string(filled, '#'),
                           std::string(width - filled, '.'), done * 100, rate, left)
                   .c_str(),
               stderr);
    std::fflush(stderr);
}

} // namespace Tessor::Cli
