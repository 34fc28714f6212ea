#include "Proc/Filters/Filters/Effects/FilterApplyEffectsVideo.h"

#include "Fnd/TimerSimple.h"
#include "Proc/Settings/SettingsEffectStabilizer.h"
#include "Proc/StreamTemplates/Visitors.h"

namespace Tessor::Proc
{

SP<IFilterApplyEffectsVideo> FilterApplyEffectsVideo::Create(const SP<IStreamVideo>& parent,
                                                             const SP<const IEffectFactory>& effectFactory)
{
    return SP<IFilterApplyEffectsVideo>(new FilterApplyEffectsVideo(parent, effectFactory));
}

FilterApplyEffectsVideo::FilterApplyEffectsVideo(const SP<IStreamVideo>& parent,
                                                 const SP<const IEffectFactory>& effectFactory)
    : PassThrough(parent, "FilterApplyEffectsVideo"), effects(effectFactory), reconciler(effectFactory)
{
}

void FilterApplyEffectsVideo::Initialize(const Core::Property& settings)
{
    const std::vector<Core::Property> trees = FilterSettings2SettingsEffects(settings);
    const Lock lock(mutex);
    ClearEffects();
    for (const Core::Property& tree : trees)
        AddEffect(tree, ImplNames::DEFAULT);
}

Core::Property FilterApplyEffectsVideo::GetSettings() const
{
    const Lock lock(mutex);
    return SettingsEffects2FilterSettings(effects.GetSettings());
}

Core::Property FilterApplyEffectsVideo::GetStatistic() const
{
    const Core::Property upstream = parentStream->GetStatistic();
    const Lock lock(mutex);
    Core::Property record =
        Core::MakeStatistics(Core::StatisticsTag("FilterApplyEffectsVideo"), statisticsTime, statisticsCount);
    SaveStat();
    effects.AddStatistics(record);
    record.Add(upstream);
    return record;
}

void FilterApplyEffectsVideo::ReleaseInternalData()
{
    {
        const Lock lock(mutex);
        for (const SP<IOneInputEffectVideo>& effect : effects.GetEffects())
            effect->ReleaseInternalData();
    }
    PassThrough::ReleaseInternalData(); // takes the lock of reads, which comes before this one
}

SP<Conf::IFormatCodecVideo> FilterApplyEffectsVideo::GetFormatCodec() const
{
    const SP<Conf::IFormatCodecVideo> format = parentStream->GetFormatCodec();
    const Lock lock(mutex);
    return effects.UpdateFormat(format);
}

void FilterApplyEffectsVideo::AddEffect(SP<IOneInputEffectVideo> effect)
{
    const Lock lock(mutex);
    effects.Add(effect);
}

void FilterApplyEffectsVideo::AddEffect(const Core::Property& settings, const std::string& implementation)
{
    const Lock lock(mutex);
    effects.Add(settings, implementation);
}

void FilterApplyEffectsVideo::AddEffect(const Settings& settings, const std::string& implementation)
{
    const TimeToProgress whole{0, parentStream->GetDuration(), TimeToProgress::Linear};
    const Lock lock(mutex);
    effects.Add(settings, implementation, whole);
}

SP<IOneInputEffectVideo> FilterApplyEffectsVideo::FindEffect(const std::string&)
{
    const Lock lock(mutex);
    for (const SP<IOneInputEffectVideo>& effect : effects.GetEffects())
        if (effect->GetSettings().GetName() == SettingsEffectStabilizer::CLASS_ID)
            return effect;
    return nullptr;
}

void FilterApplyEffectsVideo::ClearEffects()
{
    const Lock lock(mutex);
    SaveStat();
    effects.Clear();
}

void FilterApplyEffectsVideo::SaveStat() const
{
    reconciler.PollStatistics();
    effects.PollStatistics();
}

void FilterApplyEffectsVideo::AcceptInternal(IStreamVisitor& visitor)
{
    const Lock lock(mutex);
    Visitors::ProcessStandartVisitors(visitor,
                                      "FilterApplyEffectsVideo (" + std::to_string(effects.GetEffects().size()) + ")",
                                      effects.GetFrameAllocType(), nullptr);
}

SP<IDataVideo> FilterApplyEffectsVideo::ReadInternal()
{
    SP<IDataVideo> frame = parentStream->Read();
    if (!frame)
        return nullptr;
    const Lock lock(mutex);
    const Core::TimerSimple timer(statisticsTime);
    for (const SP<IOneInputEffectVideo>& effect : effects.GetEffects())
    {
        if (frame)
            reconciler.Reconcile(frame, effect->GetFrameAllocType());
        effect->Process(frame);
    }
    statisticsCount += frame ? 1 : 0;
    return frame;
}

} // namespace Tessor::Proc
