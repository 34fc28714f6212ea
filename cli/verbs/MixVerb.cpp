#include "Proc/Filters/Filters/Audio/IFilterAudioMixer.h"
#include "cli/Progress.h"
#include "cli/UserError.h"
#include "cli/Verb.h"
#include "cli/options/EncoderFlags.h"
#include "cli/verbs/SoundText.h"
#include "host/ImplNames.h"
#include "jobs/OutputFile.h"
#include "jobs/sound/SoundFile.h"

#include <charconv>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

/// Beyond it nothing is left of a sound but its clipping.
constexpr int loudest = 10000;

struct MixInput
{
    std::string path;
    int volume = 100; // percent
};

/// "FILE:VOLUME"; without a number behind the last colon all of it is the name of the file.
MixInput ReadInput(const std::string& text)
{
    const size_t colon = text.rfind(':');
    MixInput input{text};
    if (colon == std::string::npos)
        return input;
    const char* end = text.data() + text.size();
    int volume = 0;
    const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, volume);
    if (rest != end || error == std::errc::invalid_argument)
        return input;
    if (error != std::errc() || volume < -loudest || volume > loudest)
        throw UserError(ExitCode::Usage, "\"" + text + "\": a volume is at most 10000 percent");
    return {text.substr(0, colon), volume};
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
             "IN[:PERCENT]... OUT: what is mixed, each with its volume (100), and the file to write",
             &files,
             {},
             true,
             true},
        };
        encoder.AddOptions(table);
        table.push_back({"-y,--overwrite", "", "overwrite the output", &overwrite});
        return table;
    }

    ExitCode Run(const CommonOptions& common) override
    {
        if (files.size() < 2)
            throw UserError(ExitCode::Usage, "mix takes at least one file to read and one to write");
        const std::string output = files.back();
        std::vector<MixInput> inputs;
        std::vector<std::string> paths;
        for (size_t i = 0; i + 1 < files.size(); ++i)
        {
            inputs.push_back(ReadInput(files[i]));
            paths.push_back(inputs.back().path);
        }
        CheckOutput(output, paths, overwrite);
        Progress progress(common, "mix");
        const Factories factories = Factories::Make();
        const SP<Proc::IFilterAudioMixer> mixer = factories.filters->CreateAudioMixer(Proc::ImplNames::DEFAULT);
        for (const MixInput& input : inputs)
            mixer->AddStream(OpenSound(input.path, progress).stream, input.volume);
        PrintSound(WriteSound(mixer, output, encoder.Read(), factories, progress), output, common);
        return ExitCode::Done;
    }

private:
    std::vector<std::string> files;
    AudioEncoderFlags encoder;
    bool overwrite = false;
};

} // namespace

std::unique_ptr<Verb> MakeMixVerb()
{
    return std::make_unique<MixVerb>();
}

} // namespace Tessor::Cli
