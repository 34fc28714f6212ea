#include "jobs/sound/MixJob.h"

#include "Proc/Filters/Filters/Audio/IFilterAudioMixer.h"
#include "host/ImplNames.h"
#include "jobs/JobError.h"
#include "jobs/OutputFile.h"

namespace Tessor::Jobs
{

namespace
{

/// Beyond it nothing is left of a sound but its clipping.
constexpr int loudest = 10000;

} // namespace

SoundReport MixJob::Run(IProgress& progress) const
{
    Check();
    const Factories factories = Factories::Make();
    const SP<Proc::IFilterAudioMixer> mixer = factories.filters->CreateAudioMixer(Proc::ImplNames::DEFAULT);
    for (const MixSettings::Input& input : settings.inputs)
        mixer->AddStream(OpenSound(input.path, progress).stream, input.volume);
    return WriteSound(mixer, settings.output, {.overwrite = settings.overwrite}, settings.encoder, factories, progress);
}

void MixJob::Check() const
{
    if (settings.inputs.empty())
        throw JobError(JobError::BadRequest, "there is nothing to mix");
    std::vector<std::string> paths;
    for (const MixSettings::Input& input : settings.inputs)
    {
        if (input.volume < -loudest || input.volume > loudest)
            throw JobError(JobError::BadRequest, "\"" + input.path + "\": a volume is at most 10000 percent");
        paths.push_back(input.path);
    }
    CheckOutput(settings.output, paths, settings.overwrite);
    CheckOutputEncoder(settings.output, MediaType::Audio, settings.encoder);
}

} // namespace Tessor::Jobs
