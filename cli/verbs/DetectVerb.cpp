#include "Proc/Filters/Filters/Audio/IFilterVolumeDetect.h"
#include "cli/Progress.h"
#include "cli/Report.h"
#include "host/ImplNames.h"
#include "jobs/InputFile.h"
#include "jobs/detect/Lossless.h"
#include "jobs/sound/SoundFile.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

/// What a detector found: a document, lines for people, and the answer for scripts.
struct Detected
{
    Json json = Json::object();
    std::vector<std::string> lines;
    bool positive = true;
    Statistics statistics = {};
};

Detected FindLossless(const std::string& input, const IProgress& progress)
{
    Detected detected;
    detected.json["tracks"] = Json::array();
    for (const LosslessFinding& finding : DetectLossless(*OpenInput(input, progress)))
    {
        Json row = {
            {"index", finding.track}, {"kind", finding.kind}, {"codec", finding.codec}, {"packets", finding.packets}};
        row.update(LosslessToJson(finding));
        detected.json["tracks"].push_back(row);
        detected.lines.push_back(fmt::format("track {}, {} ({}), {} packets: {}", finding.track, finding.kind,
                                             finding.codec, finding.packets, DescribeLossless(row)));
        detected.positive = detected.positive && finding.IsLossless();
        detected.statistics.push_back({finding.track, finding.statistic});
    }
    detected.json["lossless"] = detected.positive;
    return detected;
}

Detected DetectVolume(const std::string& input, const IProgress& progress)
{
    const Factories factories = Factories::Make();
    const SP<Proc::IFilterVolumeDetect> detector = factories.filters->CreateVolumeDetect(Proc::ImplNames::DEFAULT);
    const OpenedSound sound = OpenSound(input, progress);
    detector->Process(sound.stream);
    const double peak = detector->GetPeakValue();
    const bool silent = peak <= 0;
    const double decibels = silent ? 0 : 20 * std::log10(peak);
    const std::string level = silent ? "silence" : fmt::format("peak {:.4f} ({:.1f} dB)", peak, decibels);
    return {
        {{"peak", peak}, {"peak_db", silent ? Json(nullptr) : Json(decibels)}, {"low_level", detector->IsLowLevel()}},
        {input + ": " + level + (detector->IsLowLevel() ? ": quiet" : "")},
        true,
        {{sound.track, detector->GetStatistic()}}};
}

struct Kind
{
    const char* name;
    const char* help;
    Detected (*detect)(const std::string& input, const IProgress& progress);
};

constexpr Kind kinds[] = {
    {"lossless", "whether all tracks can be copied and cut at key frames; status 1 when not", FindLossless},
    {"volume", "how loud the beginning is, and whether that is quiet", DetectVolume},
};

class DetectVerb final : public Verb
{
public:
    std::string GetName() const override { return "detect"; }
    std::string GetSummary() const override { return "find something out about a file"; }
    OptionTable GetOptions() override
    {
        std::string help;
        std::vector<std::string> names;
        for (const Kind& row : kinds)
        {
            help += fmt::format("{}{}: {}", help.empty() ? "" : "; ", row.name, row.help);
            names.emplace_back(row.name);
        }
        return {{"KIND", "", help, &kind, names, false, true}, {"IN", "", "the file", &input, {}, true, true}};
    }

    ExitCode Run(const CommonOptions& common) override
    {
        const Kind& chosen =
            *std::find_if(std::begin(kinds), std::end(kinds), [&](const Kind& row) { return row.name == kind; });
        const Progress progress(common, "detect");
        const Detected detected = chosen.detect(input, progress);
        PrintReport(
            common,
            [&]
            {
                Json json = {{"input", input}, {"kind", kind}};
                json.update(detected.json);
                return json;
            },
            [&]
            {
                for (const std::string& line : detected.lines)
                    fmt::print("{}\n", line);
            },
            {}, detected.statistics);
        return detected.positive ? ExitCode::Done : ExitCode::Failed;
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
