#include "jobs/sound/MixJob.h"

#include "Proc/Filters/Filters/Audio/IFilterAudioMixer.h"
#include "ffhost/io/StandardStreams.h"
#include "host/ImplNames.h"
#include "jobs/JobError.h"
#include "jobs/OutputFile.h"

#include <algorithm>

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
    std::vector<OpenedSound> sounds;
    for (const MixSettings::Input& input : settings.inputs)
    {
        sounds.push_back(OpenSound({input.path, settings.reading}, settings.tracks, settings.maxGap, progress));
        mixer->AddStream(sounds.back().stream, input.volume);
    }
    SoundReport report = WriteSound(mixer, settings.output, settings.writing, settings.encoder, factories, progress);
    for (const OpenedSound& sound : sounds)
        sound.Warn(settings.maxGap, report.warnings);
    return report;
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
    if (std::count_if(paths.begin(), paths.end(), Host::IsStandardStream) > 1)
        throw JobError(JobError::BadRequest, "standard input: can't be several inputs");
    CheckOutput(settings.output, paths, settings.writing);
    CheckOutputEncoder(settings.output, settings.writing.format, MediaType::Audio, settings.encoder);
}

} // namespace Tessor::Jobs
