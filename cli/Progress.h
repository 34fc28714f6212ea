#pragma once

#include "cli/Verb.h"

#include <chrono>
#include <string>

namespace Tessor::Cli
{

/// Progress of a job on standard error: a bar with rate and time left on a terminal, or JSON lines. Redrawn a few
/// times a second however often it is told.
class Progress
{
public:
    Progress(const CommonOptions& common, std::string title);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `done` from 0 to 1; `mediaSeconds` is the media time written so far.
    void Tell(double done, double mediaSeconds);
    /// The job is complete.
    void Finish(double mediaSeconds);

private:
    using Clock = std::chrono::steady_clock;
    enum class Form
    {
        None,
        Bar,
        Json,
    };

    void Draw(double done, double mediaSeconds, bool finished) const;
    void DrawBar(double done, double rate, double left) const;

    const Form form;
    const std::string title;
    const Clock::time_point start = Clock::now();
    Clock::time_point lastDrawn{}; // when the display was last renewed
    bool drawn = false;            // a bar stands on the terminal and has to be wiped
};

} // namespace Tessor::Cli
