#include "cli/options/ManPage.h"

#include <iostream>

namespace Tessor::Cli
{

namespace
{

class ManualVerb final : public Verb
{
public:
    std::string GetName() const override { return "manual"; }
    std::string GetSummary() const override { return "print the manual page (roff)"; }
    OptionTable GetOptions() override { return {}; }
    std::vector<Example> GetExamples() const override { return {{"tessor manual | man -l -", "read it"}}; }
    bool TakesCommonOptions() const override { return false; }

    ExitCode Run(const CommonOptions&) override
    {
        std::cout << GetManPage(MakeVerbs());
        return ExitCode::Done;
    }
};

} // namespace

std::unique_ptr<Verb> MakeManualVerb()
{
    return std::make_unique<ManualVerb>();
}

} // namespace Tessor::Cli
