#include "cli/Progress.h"
#include "cli/UserError.h"
#include "cli/Verb.h"
#include "cli/options/EncoderFlags.h"
#include "cli/options/OutputFlags.h"
#include "cli/verbs/SoundText.h"
#include "jobs/Times.h"
#include "jobs/sound/ToneJob.h"

#include <charconv>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

template <class T>
T ReadNumber(const std::string& name, const std::string& text)
{
    T value{};
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end)
        throw UserError(ExitCode::Usage, name + "=" + text + ": a number is wanted");
    return value;
}

Conf::ChannelLayout ReadLayout(const std::string& name)
{
    return name == "mono"  ? Conf::ChannelLayout::Mono
           : name == "5.1" ? Conf::ChannelLayout::L5_1
                           : Conf::ChannelLayout::Stereo;
}

class ToneVerb final : public Verb
{
public:
    std::string GetName() const override { return "tone"; }
    std::string GetSummary() const override { return "make a file with a sine tone"; }
    OptionTable GetOptions() override
    {
        OptionTable table = {
            {"OUT", "", "the file to write; - is standard output", &settings.output, {}, true, true},
            {"--frequency", "HZ", "of the tone, a whole number (440)", &frequency},
            {"--duration", "TIME", "of the file (10 s)", &duration},
            {"--rate", "HZ", "samples per second (48000)", &rate},
            {"--layout",
             "NAME",
             "of the channels, all of which sound alike (stereo)",
             &layout,
             {"mono", "stereo", "5.1"}},
            {"--level", "N", "from 0 to 1, 1 for full scale (0.5)", &level},
        };
        encoder.AddOptions(table);
        output.AddOptions(table, settings.writing);
        return table;
    }
    std::vector<Example> GetExamples() const override
    {
        return {{"tessor tone a.flac --frequency 1000 --duration 1:30", "a minute and a half of 1 kHz"}};
    }
    std::string GetOutput() const override { return settings.output; }
    bool Codes() const override { return true; }

    ExitCode Run(const CommonOptions& common) override
    {
        settings.frequency = ReadNumber<int>("--frequency", frequency);
        settings.rate = ReadNumber<int>("--rate", rate);
        settings.level = ReadNumber<double>("--level", level);
        settings.duration = ParseLength("--duration", duration);
        settings.layout = ReadLayout(layout);
        settings.encoder = encoder.Read();
        output.Read(settings.writing, settings.output);
        PrintSound(Follow(common, "tone", [&](IProgress& progress) { return ToneJob(settings).Run(progress); }),
                   common);
        return ExitCode::Done;
    }

private:
    ToneSettings settings;
    std::string frequency = "440", duration = "10", rate = "48000", layout = "stereo", level = "0.5";
    AudioEncoderFlags encoder;
    OutputFlags output;
};

} // namespace

std::unique_ptr<Verb> MakeToneVerb()
{
    return std::make_unique<ToneVerb>();
}

} // namespace Tessor::Cli
