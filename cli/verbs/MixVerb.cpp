#include "cli/Progress.h"
#include "cli/UserError.h"
#include "cli/Verb.h"
#include "cli/options/EncoderFlags.h"
#include "cli/options/InputFlags.h"
#include "cli/options/OutputFlags.h"
#include "cli/options/TrackFlags.h"
#include "cli/verbs/SoundText.h"
#include "jobs/sound/MixJob.h"

#include <charconv>
#include <limits>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

/// "FILE:VOLUME"; without a number after the last colon all of it is the name of the file.
MixSettings::Input ReadInput(const std::string& text)
{
    const size_t colon = text.rfind(':');
    MixSettings::Input input{text};
    if (colon == std::string::npos)
        return input;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, input.volume);
    if (rest != end || error == std::errc::invalid_argument)
        return {text};
    if (error == std::errc::result_out_of_range)
        // out of range for the job, too, which refuses it with the name of the file
        input.volume = std::numeric_limits<int>::max();
    input.path.resize(colon);
    return input;
}

class MixVerb final : public Verb
{
public:
    std::string GetName() const override { return "mix"; }
    std::string GetSummary() const override { return "add up the sound of several files"; }
    OptionTable GetOptions() override
    {
        OptionTable table = {
            {"FILES",
             "",
             "IN[:PERCENT]... OUT: what is mixed, each with its volume (100), and the file to write; - is standard "
             "input "
             "or output",
             &files,
             {},
             true,
             true},
        };
        encoder.AddOptions(table);
        AddTracksOption(table, settings.tracks);
        AddInputOptions(table, settings.reading);
        gap.AddOption(table);
        output.AddOptions(table, settings.writing);
        return table;
    }
    std::vector<Example> GetExamples() const override
    {
        return {{"tessor mix voice.wav:100 music.mp3:35 out.flac", "sounds added, each with its weight in percent"}};
    }
    std::string GetOutput() const override { return files.size() > 1 ? files.back() : ""; }
    bool Codes() const override { return true; }

    ExitCode Run(const CommonOptions& common) override
    {
        if (files.size() < 2)
            throw UserError(ExitCode::Usage, "mix takes at least one file to read and one to write");
        settings.output = files.back();
        for (size_t i = 0; i + 1 < files.size(); ++i)
            settings.inputs.push_back(ReadInput(files[i]));
        settings.encoder = encoder.Read();
        settings.maxGap = gap.Read();
        output.Read(settings.writing, settings.output);
        PrintSound(Follow(common, "mix", [&](IProgress& progress) { return MixJob(settings).Run(progress); }), common);
        return ExitCode::Done;
    }

private:
    std::vector<std::string> files;
    AudioEncoderFlags encoder;
    GapFlag gap;
    OutputFlags output;
    MixSettings settings;
};

} // namespace

std::unique_ptr<Verb> MakeMixVerb()
{
    return std::make_unique<MixVerb>();
}

} // namespace Tessor::Cli
