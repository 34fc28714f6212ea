#include "cli/options/Completion.h"

#include <iostream>

namespace Tessor::Cli
{

namespace
{

class CompletionVerb final : public Verb
{
public:
    std::string GetName() const override { return "completion"; }
    std::string GetSummary() const override { return "print the completion script of a shell"; }
    OptionTable GetOptions() override
    {
        return {{"SHELL", "", "bash, zsh or fish", &shell, {"bash", "zsh", "fish"}, false, true}};
    }
    std::vector<Example> GetExamples() const override
    {
        return {
            {"tessor completion bash >~/.local/share/bash-completion/completions/tessor", "for bash, from then on"}};
    }
    bool TakesCommonOptions() const override { return false; }

    ExitCode Run(const CommonOptions&) override
    {
        std::cout << GetCompletion(shell, MakeVerbs());
        return ExitCode::Done;
    }

private:
    std::string shell;
};

} // namespace

std::unique_ptr<Verb> MakeCompletionVerb()
{
    return std::make_unique<CompletionVerb>();
}

} // namespace Tessor::Cli
