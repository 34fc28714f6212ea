#include "Proc/Settings/SettingsAudioGenerator.h"
#include "cli/Progress.h"
#include "cli/UserError.h"
#include "cli/Verb.h"
#include "cli/options/EncoderFlags.h"
#include "cli/verbs/SoundText.h"
#include "host/ImplNames.h"
#include "jobs/OutputFile.h"
#include "jobs/Times.h"
#include "jobs/sound/SoundFile.h"

#include <charconv>
#include <cmath>
#include <numbers>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

/// Of the one tone that a run of the program makes: the generator calls a plain function.
struct Tone
{
    int frequency = 440; // Hz
    int rate = 48000;    // Hz
    double level = 0.5;
};

Tone tone;

/// `index` counts from the start of a block of one second, which holds whole periods of any whole frequency.
double Sine(int index)
{
    const long long phase = static_cast<long long>(index) * tone.frequency % tone.rate;
    return tone.level * std::sin(2 * std::numbers::pi * static_cast<double>(phase) / tone.rate);
}

template <class T>
T ReadNumber(const std::string& name, const std::string& text, T least, T most)
{
    T value{};
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || !(value >= least && value <= most))
        throw UserError(ExitCode::Usage, name + "=" + text + ": a number from " + std::to_string(least) + " to " +
                                             std::to_string(most) + " is wanted");
    return value;
}

class ToneVerb final : public Verb
{
public:
    std::string GetName() const override { return "tone"; }
    std::string GetSummary() const override { return "make a file with a sine tone"; }
    OptionTable GetOptions() override
    {
        OptionTable table = {
            {"OUT", "", "the file to write", &output, {}, true, true},
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
        table.push_back({"-y,--overwrite", "", "overwrite the output", &overwrite});
        return table;
    }

    ExitCode Run(const CommonOptions& common) override
    {
        CheckOutput(output, {}, overwrite);
        tone.rate = ReadNumber("--rate", rate, 1000, 768000);
        tone.frequency = ReadNumber("--frequency", frequency, 1, tone.rate / 2);
        tone.level = ReadNumber("--level", level, 0.0, 1.0);
        const Factories factories = Factories::Make();
        const SP<Proc::IStreamAudio> stream =
            factories.filters->CreateFilterAudioEx(MakeSettings(), Proc::ImplNames::DEFAULT, nullptr);
        Progress progress(common, "tone");
        PrintSound(WriteSound(stream, output, encoder.Read(), factories, progress), output, common);
        return ExitCode::Done;
    }

private:
    Proc::SettingsAudioGenerator MakeSettings() const
    {
        Proc::SettingsAudioGenerator settings;
        settings.duration = ParseTime(duration, {MAX_DURATION, {}});
        settings.samplesPerBlock = static_cast<uint32_t>(tone.rate);
        settings.generator = Sine;
        settings.sampleRate = tone.rate;
        settings.sampleFormat = Conf::SampleFormats::FloatP;
        settings.channelLayout = layout == "mono"  ? Conf::ChannelLayout::Mono
                                 : layout == "5.1" ? Conf::ChannelLayout::L5_1
                                                   : Conf::ChannelLayout::Stereo;
        return settings;
    }

    std::string output;
    std::string frequency = "440", duration = "10", rate = "48000", layout = "stereo", level = "0.5";
    AudioEncoderFlags encoder;
    bool overwrite = false;
};

} // namespace

std::unique_ptr<Verb> MakeToneVerb()
{
    return std::make_unique<ToneVerb>();
}

} // namespace Tessor::Cli
