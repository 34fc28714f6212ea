#include "Proc/Filters/Filters/Audio/FilterAudioVolume.h"

#include "Fnd/TimerSimple.h"
#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Filters/Filters/FilterHelpers.h"
#include "media/items/DataAudioFF.h"

#include <cmath>

namespace Tessor::Proc
{

namespace
{

constexpr double PASSING = 0.001;    // a gain as near as this to unity leaves the block alone
constexpr double LOUD_ENOUGH = 0.95; // a peak that high is not lifted further
constexpr double CLIMB = 0.7;        // of the factor, in a second of sound
constexpr double HIGHEST = 4.0;      // of the factor

} // namespace

SP<IStreamAudioEx> FilterAudioVolume::Create(const SP<IStreamAudio>& parent, const SP<const IEffectFactory>&,
                                             const Settings& settings)
{
    return SP<IStreamAudioEx>(new FilterAudioVolume(parent, settings));
}

FilterAudioVolume::FilterAudioVolume(const SP<IStreamAudio>& parent, const Settings& settings)
    : PassThrough(parent, "FilterAudioVolume"), settings(SettingsCast<SettingsFilterAudioVolume>(settings))
{
}

void FilterAudioVolume::Initialize(const Core::Property& tree)
{
    Initialize(Property2Settings(tree));
}

void FilterAudioVolume::Initialize(const Settings& newSettings)
{
    Initialize(SettingsCast<SettingsFilterAudioVolume>(newSettings));
}

void FilterAudioVolume::Initialize(const SettingsFilterAudioVolume& newSettings)
{
    const std::lock_guard lock(mutex);
    normalizeFactor = 1.0;
    settings = newSettings;
}

Core::Property FilterAudioVolume::GetSettings() const
{
    const std::lock_guard lock(mutex);
    return Settings2Property(settings);
}

Core::Property FilterAudioVolume::GetStatistic() const
{
    return AddStatistics(parentStream->GetStatistic(), Core::StatisticsTag("FilterAudioVolume"), statisticsTime,
                         statisticsCount);
}

SP<IDataAudio> FilterAudioVolume::ReadInternal()
{
    if (IsTerminated())
        return nullptr;
    SP<IDataAudio> block = parentStream->Read();
    if (!block)
        return nullptr;
    const Core::TimerSimple timer(statisticsTime);
    const double gain = GetGain(*block);
    // a gain that is no number is not near either
    if (!(std::abs(gain - 1.0) < PASSING))
        block = ApplyVolume(*block, gain);
    ++statisticsCount;
    return block;
}

double FilterAudioVolume::GetGain(const IDataAudio& block)
{
    // held for the decision alone: neither the parent's read nor the scaling keeps a change of the settings waiting
    const std::lock_guard lock(mutex);
    return UpdateNormalizeFactor(block) * settings.volume;
}

double FilterAudioVolume::UpdateNormalizeFactor(const IDataAudio& block)
{
    if (!settings.normalize)
        return 1.0;
    const double peak = EstimatePeak(block.GetConstAudioRef());
    const double limit = 1.0 / peak; // at which the peak reaches full scale; infinite for silence
    // The climb is not held to the limit: the next block of that peak pulls the factor back.
    if (normalizeFactor > limit)
        normalizeFactor = limit;
    else if (peak * normalizeFactor < LOUD_ENOUGH && block.GetDuration() != NoTime)
        normalizeFactor += static_cast<double>(block.GetDuration()) * CLIMB / SECOND;
    normalizeFactor = std::min(normalizeFactor, HIGHEST);
    return normalizeFactor;
}

SP<IDataAudio> FilterAudioVolume::ApplyVolume(const IDataAudio& block, double gain)
{
    const AudioRef source = block.GetConstAudioRef();
    const SP<IDataAudio> scaled = DataAudioFF::CreateBySampleCount(block.GetSampleInfo(), block.GetSampleCount());
    scaled->SetPTS(block.GetPTS());
    scaled->SetDuration(block.GetDuration());
    const AudioRef result = scaled->GetAudioRef();
    // The loop runs over the lines of the result: samples of other lines are brought into them first.
    const bool sameLines = source.linesize == result.linesize;
    if (!sameLines)
        RepackAudio(result, source);
    VolumizeAudio(result, sameLines ? source : result, gain);
    return scaled;
}

void FilterAudioVolume::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    {
        const std::lock_guard lock(mutex);
        normalizeFactor = 1.0;
    }
    parentStream->RequestSeek(target, partner);
}

} // namespace Tessor::Proc
