#include "Proc/Filters/Filters/Effects/FilterApplyEffectsAudio.h"

#include "Fnd/TimerSimple.h"
#include "Proc/StreamTemplates/Visitors.h"

namespace Tessor::Proc
{

SP<IFilterApplyEffectsAudio> FilterApplyEffectsAudio::Create(const SP<IStreamAudio>& parent,
                                                             const SP<const IEffectFactory>& effectFactory)
{
    return SP<IFilterApplyEffectsAudio>(new FilterApplyEffectsAudio(parent, effectFactory));
}

FilterApplyEffectsAudio::FilterApplyEffectsAudio(const SP<IStreamAudio>& parent,
                                                 const SP<const IEffectFactory>& effectFactory)
    : PassThrough(parent, "FilterApplyEffectsAudio"), effects(effectFactory)
{
}

void FilterApplyEffectsAudio::Initialize(const Core::Property& settings)
{
    const std::vector<Core::Property> trees = FilterSettings2SettingsEffects(settings);
    const Lock lock(mutex);
    ClearEffects();
    for (const Core::Property& tree : trees)
        AddEffect(tree);
}

Core::Property FilterApplyEffectsAudio::GetSettings() const
{
    const Lock lock(mutex);
    return SettingsEffects2FilterSettings(effects.GetSettings());
}

Core::Property FilterApplyEffectsAudio::GetStatistic() const
{
    const Core::Property upstream = parentStream->GetStatistic();
    const Lock lock(mutex);
    Core::Property record =
        Core::MakeStatistics(Core::StatisticsTag("FilterApplyEffectsAudio"), statisticsTime, statisticsCount);
    effects.AddStatistics(record);
    record.Add(upstream);
    return record;
}

SP<Conf::IFormatCodecAudio> FilterApplyEffectsAudio::GetFormatCodec() const
{
    // Not under the lock: the chain stands still while formats are agreed on, and blocks need not wait for that.
    return effects.UpdateFormat(parentStream->GetFormatCodec());
}

void FilterApplyEffectsAudio::AddEffect(SP<IOneInputEffectAudio> effect)
{
    const Lock lock(mutex);
    effects.Add(effect);
}

void FilterApplyEffectsAudio::AddEffect(const Core::Property& settings)
{
    const Lock lock(mutex);
    effects.Add(settings, ImplNames::DEFAULT);
}

void FilterApplyEffectsAudio::ClearEffects()
{
    const Lock lock(mutex);
    effects.PollStatistics();
    effects.Clear();
}

void FilterApplyEffectsAudio::AcceptInternal(IStreamVisitor& visitor)
{
    const Lock lock(mutex);
    Visitors::ProcessStandartVisitors(visitor,
                                      "FilterApplyEffectsAudio (" + std::to_string(effects.GetEffects().size()) + ")",
                                      effects.GetFrameAllocType(), nullptr);
}

SP<IDataAudio> FilterApplyEffectsAudio::ReadInternal()
{
    SP<IDataAudio> block = parentStream->Read();
    if (!block)
        return nullptr;
    const Lock lock(mutex);
    const Core::TimerSimple timer(statisticsTime);
    for (const SP<IOneInputEffectAudio>& effect : effects.GetEffects())
        effect->Process(block);
    statisticsCount += block ? 1 : 0;
    return block;
}

} // namespace Tessor::Proc
