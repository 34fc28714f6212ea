#pragma once

#include "cli/Verb.h"
#include "jobs/IProgress.h"

#include <chrono>
#include <string>

namespace Tessor::Cli
{

/// Progress of a job on standard error: a bar with rate and time left on a terminal, or JSON lines. Redrawn a few
/// times a second however often it is told.
class Progress final : public Jobs::IProgress
{
public:
    Progress(const CommonOptions& common, std::string title);
    ~Progress() override;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Tell(double done, avTime written) override;
    void Finish(avTime written) override;
    bool IsCancelled() const override;

private:
    using Clock = std::chrono::steady_clock;
    enum class Form
    {
        None,
        Bar,
        Json,
    };

    void Draw(double done, avTime written, bool finished) const;
    void DrawBar(double done, double rate, double left) const;

    const Form form;
    const std::string title;
    const Clock::time_point start = Clock::now();
    Clock::time_point lastDrawn{}; // when the display was last renewed
    bool drawn = false;            // a bar stands on the terminal and has to be wiped
};

} // namespace Tessor::Cli
