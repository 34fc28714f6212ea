#include "jobs/sound/ToneJob.h"

#include "Proc/Settings/SettingsAudioGenerator.h"
#include "ffhost/streams/Tap.h"
#include "host/ImplNames.h"
#include "jobs/JobError.h"
#include "jobs/OutputFile.h"

#include <cmath>
#include <fmt/format.h>
#include <numbers>

namespace Tessor::Jobs
{

namespace
{

/// Draws the tone into a block of silence that begins with a period.
void DrawSine(const Proc::AudioRef& block, const ToneSettings& tone)
{
    const int channels = block.sampleInfo.GetChannelCount();
    for (int i = 0; i < block.sampleCount; ++i)
    {
        // whole numbers, so that no rounding adds up: the phase in parts of a period
        const long long phase = static_cast<long long>(i) * tone.frequency % tone.rate;
        const double sample = tone.level * std::sin(2 * std::numbers::pi * static_cast<double>(phase) / tone.rate);
        for (int channel = 0; channel < channels; ++channel)
            reinterpret_cast<float*>(block.data + channel * block.linesize)[i] = static_cast<float>(sample);
    }
}

template <class T>
void CheckNumber(const char* name, T value, T least, T most)
{
    // written so that a level that is no number (NaN) is refused, too
    if (!(value >= least && value <= most))
        throw JobError(JobError::BadRequest,
                       fmt::format("{} {}: a number from {} to {} is wanted", name, value, least, most));
}

} // namespace

SoundReport ToneJob::Run(IProgress& progress) const
{
    Check();
    const Factories factories = Factories::Make();
    return WriteSound(MakeStream(factories), settings.output, settings.writing, settings.encoder, factories, progress);
}

void ToneJob::Check() const
{
    CheckOutput(settings.output, {}, settings.writing);
    CheckOutputEncoder(settings.output, settings.writing.format, MediaType::Audio, settings.encoder);
    CheckNumber("rate", settings.rate, 1000, 768000);
    CheckNumber("frequency", settings.frequency, 1, settings.rate / 2);
    CheckNumber("level", settings.level, 0.0, 1.0);
    CheckNumber("duration", settings.duration, avTime{1}, MAX_DURATION);
}

/// The generator's function is not told which tone is wanted, but its blocks can be drawn into as they pass. They last
/// a second, which holds whole periods of any whole frequency.
SP<Proc::IStreamAudio> ToneJob::MakeStream(const Factories& factories) const
{
    Proc::SettingsAudioGenerator silence;
    silence.duration = settings.duration;
    silence.samplesPerBlock = static_cast<uint32_t>(settings.rate);
    silence.sampleRate = settings.rate;
    silence.sampleFormat = Conf::SampleFormats::FloatP;
    silence.channelLayout = settings.layout;
    return Host::Tap<Proc::IStreamAudio>::Create(
        factories.filters->CreateFilterAudioEx(silence, Proc::ImplNames::DEFAULT, nullptr),
        [tone = settings](const SP<Proc::IDataAudio>& block) { DrawSine(block->GetAudioRef(), tone); });
}

} // namespace Tessor::Jobs
