#include "Proc/Filters/Filters/IFilterVolumeDetect.h"
#include "cli/SoundFile.h"
#include "cli/UserError.h"
#include "cli/Verb.h"
#include "host/ImplNames.h"

#include <cmath>
#include <fmt/format.h>
#include <iostream>
#include <nlohmann/json.hpp>

namespace Tessor::Cli
{

namespace
{

using Json = nlohmann::ordered_json;

constexpr int schema_version = 1;

/// What a detector found: for programs and for people.
struct Finding
{
    Json json;
    std::string text;
};

Finding DetectVolume(const std::string& path)
{
    const Factories factories = Factories::Make();
    const SP<Proc::IFilterVolumeDetect> detector = factories.filters->CreateVolumeDetect(Proc::ImplNames::DEFAULT);
    detector->Process(OpenSound(path));
    const double peak = detector->GetPeakValue();
    const bool silent = peak <= 0;
    const double decibels = silent ? 0 : 20 * std::log10(peak);
    const std::string level = silent ? "silence" : fmt::format("peak {:.4f} ({:.1f} dB)", peak, decibels);
    return {
        {{"peak", peak}, {"peak_db", silent ? Json(nullptr) : Json(decibels)}, {"low_level", detector->IsLowLevel()}},
        level + (detector->IsLowLevel() ? ": quiet" : "")};
}

/// A kind of detection: its name, and what does it.
struct Kind
{
    const char* name;
    Finding (*detect)(const std::string& path);
};

constexpr Kind kinds[] = {
    {"volume", DetectVolume},
};

class DetectVerb final : public Verb
{
public:
    std::string GetName() const override { return "detect"; }
    std::string GetSummary() const override { return "find out about the content of a file"; }
    OptionTable GetOptions() override
    {
        std::vector<std::string> names;
        for (const Kind& known : kinds)
            names.push_back(known.name);
        return {
            {"KIND", "", "what is looked for: " + fmt::format("{}", fmt::join(names, ", ")), &kind, names, false, true},
            {"IN", "", "the file to look at", &input, {}, true, true},
        };
    }

    ExitCode Run(const CommonOptions& common) override
    {
        for (const Kind& known : kinds)
        {
            if (kind != known.name)
                continue;
            const Finding finding = known.detect(input);
            Json json = {{"schema_version", schema_version}, {"input", input}, {"kind", kind}};
            json.update(finding.json);
            if (common.json)
                std::cout << json.dump(2) << "\n";
            else if (!common.quiet)
                fmt::print("{}: {}\n", input, finding.text);
        }
        return ExitCode::Done;
    }

private:
    std::string kind, input;
};

} // namespace

std::unique_ptr<Verb> MakeDetectVerb()
{
    return std::make_unique<DetectVerb>();
}

} // namespace Tessor::Cli
