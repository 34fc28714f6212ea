#include "cli/Progress.h"

#include "cli/Interrupt.h"
#include "cli/ProgressBar.h"
#include "jobs/Times.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Tessor::Cli
{

namespace
{

/// Asked each time: the window may change.
size_t GetTerminalWidth()
{
    winsize size = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

} // namespace

// Lines for programs are not what -q is against.
Progress::Form Progress::ChooseForm(const CommonOptions& common)
{
    if (common.progress == "json")
        return Form::Json;
    return !common.quiet && common.progress != "none" && isatty(STDERR_FILENO) ? Form::Bar : Form::None;
}

Progress::Progress(const CommonOptions& common, std::string stage) : form(ChooseForm(common)), stage(std::move(stage))
{
}

Progress::~Progress()
{
    if (drawn)
        std::fputs("\r\033[K", stderr); // to the start of the line, and wipes it
}

void Progress::BeginStage(const char* name)
{
    stage = name;
    start = Clock::now();
}

void Progress::Tell(double done, avTime written)
{
    constexpr auto interval = std::chrono::milliseconds(200);
    const Clock::time_point now = Clock::now();
    if (form == Form::None || now - start < std::chrono::seconds(1) || now - lastDrawn < interval)
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
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    const double rate = elapsed > 0 ? mediaSeconds / elapsed : 0;
    const double left = done > 0 ? elapsed * (1 - done) / done : 0;
    if (form == Form::Bar)
    {
        std::fputs(("\r\033[K" + MakeProgressBar(stage, done, rate, left, GetTerminalWidth())).c_str(), stderr);
        std::fflush(stderr);
        return;
    }
    const nlohmann::json line = {{"stage", stage},      {"progress", done},     {"media_seconds", mediaSeconds},
                                 {"elapsed", elapsed},  {"seconds_left", left}, {"rate", rate},
                                 {"finished", finished}};
    std::fputs((line.dump() + "\n").c_str(), stderr);
}

} // namespace Tessor::Cli
