#pragma once

#include "cli/Verb.h"
#include "jobs/IProgress.h"

#include <chrono>
#include <string>
#include <utility>

namespace Tessor::Cli
{

/// Progress of a job on standard error: a bar with rate and time left on a terminal, or JSON lines. Redrawn a few
/// times a second however often it is told. It begins when a second has passed: what is measured in less is no rate.
class Progress final : public Jobs::IProgress
{
public:
    Progress(const CommonOptions& common, std::string stage);
    ~Progress() override;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void BeginStage(const char* name) override;
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

    static Form ChooseForm(const CommonOptions& common);
    void Draw(double done, avTime written, bool finished) const;

    const Form form;
    std::string stage;                      // what is being done
    Clock::time_point start = Clock::now(); // of the stage
    Clock::time_point lastDrawn = start;    // when the display was last renewed
    bool drawn = false;                     // a bar stands on the terminal and has to be wiped
};

/// Runs a job and shows its progress, of which nothing is left on the terminal when the job has returned or failed.
template <class Job>
auto Follow(const CommonOptions& common, std::string stage, Job job)
{
    Progress progress(common, std::move(stage));
    return job(progress);
}

} // namespace Tessor::Cli
