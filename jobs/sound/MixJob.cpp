#include "jobs/sound/MixJob.h"

#include "Proc/Filters/Filters/Audio/IFilterAudioMixer.h"
#include "host/ImplNames.h"
#include "jobs/InputDamage.h"
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
    std::vector<SP<Host::Demuxer>> files;
    for (const MixSettings::Input& input : settings.inputs)
    {
        const OpenedSound sound = OpenSound({input.path, settings.reading}, settings.tracks, progress);
        files.push_back(sound.file);
        mixer->AddStream(sound.stream, input.volume);
    }
    SoundReport report =
        WriteSound(mixer, settings.output, {.overwrite = settings.overwrite}, settings.encoder, factories, progress);
    for (const SP<Host::Demuxer>& file : files)
        AddDamage(file->GetInfo().path, file->GetDamage(), report.warnings);
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
    CheckOutput(settings.output, paths, settings.overwrite);
    CheckOutputEncoder(settings.output, MediaType::Audio, settings.encoder);
}

} // namespace Tessor::Jobs
